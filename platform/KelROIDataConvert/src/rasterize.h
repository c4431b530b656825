// Shapes to pixel runs: which pixels of an image a region of interest covers.
#pragma once

#include <cstddef>
#include <opencv2/core.hpp>
#include <vector>

#include "KELRA/KelData.h"

namespace KELRA {

// The pixels of a shape that lie in the image.
struct PixelRuns {
  std::vector<KelRun> runs;  // by row, then by column; no two of them overlap or touch
  cv::Rect box;  // the smallest upright rectangle around them; empty when there are none

  std::size_t pixels = 0;  // how many they are

  bool FillsBox() const {
    return pixels == static_cast<std::size_t>(box.width) * static_cast<std::size_t>(box.height);
  }
};

// A pixel belongs to a shape when its centre, at its integer coordinates, does:
//
//   rectangle          x <= column < x + width, the rows likewise, so that rectangles side by side
//                      share no pixel and leave none out
//   rotated rectangle  the same in the rectangle's own axes; of two opposite edges the left one
//                      belongs to it and the right one does not (of level edges the upper one), at
//                      any angle. Turned by 0 or 180 degrees it is the rectangle of the same centre
//                      and size, by 90 or 270 the one with width and height exchanged
//   circle, ellipse    inside or on the rim; an ellipse with a radius of 0 covers nothing
//   annulus            inner radius <= distance <= outer radius
//   polygon            inside by the even-odd rule, or on an edge; fewer than three vertices cover
//                      nothing
//   region             on one of its runs; runs whose first column lies after their last are
//                      skipped, and the region's own grid sets no limit
//
// Each rule is one floating-point predicate evaluated at the pixel; the runs are exactly the pixels
// that satisfy it. A shape with a NaN, an infinity or a negative length covers nothing. A shape
// without geometry (std::monostate) covers nothing either. Takes time in proportion to the image
// rows that the shape reaches, whatever the size of its coordinates.
PixelRuns Rasterize(const KelShape& shape, cv::Size image);

}  // namespace KELRA
