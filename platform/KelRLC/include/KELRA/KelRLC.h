// Contours of binary images.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "KELRA/KelBase.h"
#include "KELRA/KelData.h"

#if defined(KelRLC_EXPORTS)
#define KELRLC_API KELRA_EXPORT
#else
#define KELRLC_API KELRA_IMPORT
#endif

namespace KELRA {

// Statuses of this library.
inline constexpr KelLong KEL_RLC_ERR_IMAGE = 16000001;   // empty, not 8-bit or not one channel
inline constexpr KelLong KEL_RLC_ERR_OUTPUT = 16000002;  // an output pointer is null
inline constexpr KelLong KEL_RLC_ERR_MEMORY = 16000003;  // the result does not fit in memory

class KELRLC_API KelRLC {
 public:
  // Contours of the objects (pixels that are not 0, joined over 8 neighbours) and of their holes
  // (background joined over 4 neighbours that does not reach the image's edge). The image is only
  // read. On failure the outputs stay as they are.
  //
  // `points` holds all contours one after another, contour i from index (*starts)[i] up to, not
  // including, (*starts)[i + 1]; `starts` has one entry more than there are contours, and none when
  // there are none. Straight lines between the points pass the contour's other pixels. `hierarchy`
  // has per contour: next sibling, previous sibling, first child, parent, or -1.
  //
  // Every object is a top-level contour, one inside another's hole too; contour 0 is one. Its holes
  // are its children. A hole's contour runs through the hole's own pixels, and has as children its
  // contours around the objects inside it, in its own pixels as well. So a contour drawn filled
  // with its descendants, by the even-odd rule and with its lines, covers a hole exactly.
  static KelLong FindContours(KelImage& image, std::vector<cv::Point>* points,
                              std::vector<int>* starts, std::vector<cv::Vec4i>* hierarchy);
};

}  // namespace KELRA
