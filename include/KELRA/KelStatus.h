// The statuses that every public method returns.
#pragma once

#include "KELRA/KelBase.h"

namespace KELRA {

inline constexpr KelLong STATUS_OK = 0;

// Faults of the images.
inline constexpr KelLong ERR_IMAGE_EMPTY = 11000001;         // no pixels, or no image to write to
inline constexpr KelLong ERR_ROI_TYPE = 11000002;            // a kind of region without an area
inline constexpr KelLong ERR_NOT_SINGLE_CHANNEL = 11000005;  // one channel is needed
inline constexpr KelLong ERR_CHANNEL_COUNT = 11000006;       // neither 1 nor 3 channels
inline constexpr KelLong ERR_COUNT_LIMIT = 11000007;  // too few images, or a count past its limit
inline constexpr KelLong ERR_BIT_DEPTH = 11000009;    // a depth the method does not support
inline constexpr KelLong ERR_POINT_COUNT = 11000010;  // an array of points of the wrong length
inline constexpr KelLong ERR_GRID_COUNT = 11000012;   // images that do not fill the grid
inline constexpr KelLong ERR_DEPTH_MISMATCH = 11000016;    // images of different depths
inline constexpr KelLong ERR_CHANNEL_MISMATCH = 11000018;  // images of different channel counts
inline constexpr KelLong ERR_WIDTH_MISMATCH = 11000030;    // images of different widths
inline constexpr KelLong ERR_HEIGHT_MISMATCH = 11000031;   // images of different heights

// Faults of scalar parameters, numbered in the order in which the method checks them.
inline constexpr KelLong ERR_PARAM_1 = 11200001;
inline constexpr KelLong ERR_PARAM_2 = 11200002;
inline constexpr KelLong ERR_PARAM_3 = 11200003;
inline constexpr KelLong ERR_PARAM_4 = 11200004;
inline constexpr KelLong ERR_PARAM_5 = 11200005;
inline constexpr KelLong ERR_PARAM_6 = 11200006;

// Failures inside the pixel work of particular methods.
inline constexpr KelLong ERR_PASTE_WORK = 20201002;            // no image landed on the canvas
inline constexpr KelLong ERR_FILL_NO_CONTOUR = 20201003;       // nothing to fill
inline constexpr KelLong ERR_AVG_SIZE_MISMATCH = 20201004;     // averaged images of different sizes
inline constexpr KelLong ERR_AVG_CHANNEL_MISMATCH = 20201005;  // ... of different channel counts
inline constexpr KelLong ERR_AVG_DEPTH_MISMATCH = 20201006;    // ... of different depths
inline constexpr KelLong ERR_CREATE_EXCEPTION = 20201100;      // an exception while creating
inline constexpr KelLong ERR_SET_PIXEL_EXCEPTION = 20201101;   // ... while writing a pixel
inline constexpr KelLong ERR_GET_PIXEL_EXCEPTION = 20201102;   // ... while reading a pixel
inline constexpr KelLong ERR_BORDER_EXCEPTION = 20201103;      // ... while adding a border
inline constexpr KelLong ERR_CONVERT_EXCEPTION = 20201104;     // ... while wrapping a buffer
inline constexpr KelLong ERR_PASTE_EXCEPTION = 20201105;       // ... while pasting into a grid
inline constexpr KelLong ERR_BITWISE_EXCEPTION = 20201106;     // ... in a bitwise combination
inline constexpr KelLong ERR_WARP_EXCEPTION = 20201107;        // ... while turning an image

}  // namespace KELRA
