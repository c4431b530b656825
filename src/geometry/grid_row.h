// A row of pixels that are sampled from an image, at positions in parts of a pixel.
#pragma once

#include <cstddef>
#include <limits>
#include <opencv2/core.hpp>

#include "frame/kernels/row_kernels.h"
#include "geometry/column_search.h"

namespace KELRA {

// OpenCV refuses longer ones.
inline constexpr int kLongestSampledSide = std::numeric_limits<short>::max() - 1;

// Sampling a pixel takes as long as moving so many bytes.
inline constexpr std::size_t kBytesWorthASampledPixel = 64;

// Whether the image has one or three 8-bit or 16-bit channels.
bool HasGridSamples(const cv::Mat& image);

// Writes so many columns; what is not reached is `around`.
void WriteGridRow(const cv::Mat& image, const kernels::GridRow& source, Columns reached,
                  int columns, double around, void* row);

}  // namespace KELRA
