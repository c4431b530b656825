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

class KELRLC_API KelRLC {
 public:
  // Outer contours of the objects (pixels that are not 0, joined over 8 neighbours) and contours of
  // their holes (background joined over 4 neighbours that does not reach the image's border).
  //
  // `points` holds all contours one after another, contour i from index (*starts)[i] up to, not
  // including, (*starts)[i + 1]; `starts` has one entry more than there are contours and is empty
  // when there is none. `hierarchy` has per contour: next sibling, previous sibling, first child,
  // parent, or -1; contour 0 is a top-level one. A hole's contour runs through the hole's own
  // outermost pixels, not through the object around it, so that drawing it filled covers the hole
  // and nothing of the object.
  static KelLong FindContours(KelImage& image, std::vector<cv::Point>* points,
                              std::vector<int>* starts, std::vector<cv::Vec4i>* hierarchy);
};

}  // namespace KELRA
