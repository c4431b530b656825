// Transforms, borders and pastes.

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "call_checker.h"
#include "polar.h"
#include "turned_paste.h"

namespace {

using namespace kelra_fuzz;
using KELRA::KelImageOperation;
using KELRA::KelLong;

KelLong CallTranspose(KelImageOperation& object, Call& c) {
  return object.Transpose(*c.first, c.output);
}

template <auto kMethod>
KelLong CallOfPoints(KelImageOperation& object, Call& c) {
  return (object.*kMethod)(*c.first, c.output, c.from, c.to);
}

KelLong CallAddBorder(KelImageOperation& object, Call& c) {
  return object.AddBorder(*c.first, c.output, c.lengths[0], c.lengths[1], c.lengths[2],
                          c.lengths[3], c.color);
}

KelLong CallWarp(KelImageOperation& object, Call& c) {
  return object.Warp(*c.first, c.output, c.center.x, c.center.y);
}

KelLong CallUnwarp(KelImageOperation& object, Call& c) {
  return object.Unwarp(*c.first, c.output, c.center.x, c.center.y, c.angles[0], c.angles[1],
                       c.lengths[0], c.lengths[1]);
}

KelLong CallPaste(KelImageOperation& object, Call& c) {
  return object.Paste(*c.first, *c.second, c.output, c.position, c.angle);
}

KelLong CallGridPaste(KelImageOperation& object, Call& c) {
  KELRA::KelVarArray values;
  return object.Paste(c.images, c.output, c.grid[0], c.grid[1], c.offsets, values);
}

KelLong CallOverlappingPaste(KelImageOperation& object, Call& c) {
  return object.Paste(c.images, c.output, c.grid[0], c.grid[1], c.lengths[0], c.lengths[1]);
}

std::vector<cv::Point2f> Narrowed(const KELRA::KelPointArray& points) {
  std::vector<cv::Point2f> narrowed;
  for (int i = 0; i < points.Length(); ++i) {
    narrowed.emplace_back(static_cast<float>(points[i].x), static_cast<float>(points[i].y));
  }
  return narrowed;
}

void CopyPixel(const cv::Mat& from, cv::Point source, cv::Mat* to, cv::Point target) {
  const std::size_t bytes = from.elemSize();
  std::copy_n(from.ptr(source.y) + static_cast<std::size_t>(source.x) * bytes, bytes,
              to->ptr(target.y) + static_cast<std::size_t>(target.x) * bytes);
}

// Pixel by pixel, where the canvas has one.
void Lay(const cv::Mat& image, cv::Point corner, cv::Mat* canvas) {
  const cv::Rect whole({}, canvas->size());
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      const cv::Point source(column, row);
      if (whole.contains(corner + source)) {
        CopyPixel(image, source, canvas, corner + source);
      }
    }
  }
}

cv::Mat Transposed(const Call& c) {
  const cv::Mat& image = c.first->Mat();
  cv::Mat result(image.cols, image.rows, image.type());
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      CopyPixel(image, {column, row}, &result, {row, column});
    }
  }
  return result;
}

cv::Mat AffinelyWarped(const Call& c) {
  const cv::Mat& image = c.first->Mat();
  cv::Mat result;
  cv::warpAffine(image, result, cv::getAffineTransform(Narrowed(c.from), Narrowed(c.to)),
                 image.size());
  return result;
}

cv::Mat PerspectivelyWarped(const Call& c) {
  const cv::Mat& image = c.first->Mat();
  cv::Mat result;
  cv::warpPerspective(image, result, cv::getPerspectiveTransform(Narrowed(c.from), Narrowed(c.to)),
                      image.size());
  return result;
}

cv::Mat Bordered(const Call& c) {
  const cv::Mat& image = c.first->Mat();
  const cv::Scalar color =
      image.channels() == 1 ? cv::Scalar(c.color.red)
                            : cv::Scalar(c.color.blue, c.color.green, c.color.red, c.color.alpha);
  cv::Mat result(image.rows + c.lengths[1] + c.lengths[3], image.cols + c.lengths[0] + c.lengths[2],
                 image.type());
  // More channels than a colour has are all painted alike, or refused.
  (image.channels() > 4 ? result.reshape(1) : result).setTo(color);
  Lay(image, {c.lengths[0], c.lengths[1]}, &result);
  return result;
}

cv::Mat Remapped(const cv::Mat& image, const kelra_reference::SourceMaps& maps) {
  cv::Mat result;
  cv::remap(image, result, maps.columns, maps.rows, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
  return result;
}

cv::Mat Unrolled(const Call& c) {
  const cv::Mat& image = c.first->Mat();
  return Remapped(image,
                  kelra_reference::UnrollingMaps(image.size(), static_cast<double>(c.center.x),
                                                 static_cast<double>(c.center.y)));
}

cv::Mat RolledUp(const Call& c) {
  const cv::Mat& strip = c.first->Mat();
  return Remapped(
      strip, kelra_reference::RollingMaps(strip.size(), c.center.x, c.center.y,
                                          {c.angles[0], c.angles[1], c.lengths[0], c.lengths[1]}));
}

cv::Mat Pasted(const Call& c) {
  const cv::Mat& image = c.second->Mat();
  const int left = c.position.x <= -1 ? -static_cast<int>(c.position.x) : 0;
  const int top = c.position.y <= -1 ? -static_cast<int>(c.position.y) : 0;
  const cv::Point corner(std::max(static_cast<int>(c.position.x), 0),
                         std::max(static_cast<int>(c.position.y), 0));
  cv::Mat canvas =
      cv::Mat::zeros(c.first->Mat().rows + top, c.first->Mat().cols + left, c.first->Mat().type());
  Lay(c.first->Mat(), {left, top}, &canvas);
  if (c.angle != 0) {
    return kelra_reference::TurnedPaste(canvas, image, corner.x, corner.y, c.angle);
  }
  cv::Mat result = cv::Mat::zeros(std::max(canvas.rows, corner.y + image.rows),
                                  std::max(canvas.cols, corner.x + image.cols), image.type());
  Lay(canvas, {}, &result);
  Lay(image, corner, &result);
  return result;
}

// The offsets that leave an image out lie beyond every canvas here, too.
int Truncated(double coordinate) {
  return coordinate > -1e6 && coordinate < 1e6 ? static_cast<int>(coordinate) : 1000000;
}

cv::Mat PastedIntoGrid(const Call& c) {
  const cv::Size cell = c.images[0].Mat().size();
  cv::Mat canvas =
      cv::Mat::zeros(cell.height * c.grid[0], cell.width * c.grid[1], c.images[0].Mat().type());
  for (int i = 0; i < c.images.Length(); ++i) {
    const int x = Truncated(i % c.grid[1] * cell.width + c.offsets[i].x);
    const int y = Truncated(i / c.grid[1] * cell.height + c.offsets[i].y);
    Lay(c.images[i].Mat(), {x, y}, &canvas);
  }
  return canvas;
}

cv::Mat PastedWithOverlap(const Call& c) {
  const cv::Size cell = c.images[0].Mat().size();
  const cv::Size step(cell.width - c.lengths[0], cell.height - c.lengths[1]);
  cv::Mat canvas =
      cv::Mat::zeros(cell.height + step.height * (c.grid[0] - 1),
                     cell.width + step.width * (c.grid[1] - 1), c.images[0].Mat().type());
  for (int i = 0; i < c.images.Length(); ++i) {
    Lay(c.images[i].Mat(), {i % c.grid[1] * step.width, i / c.grid[1] * step.height}, &canvas);
  }
  return canvas;
}

using Object = KelImageOperation;

constexpr Operation kOperations[] = {
    {"Transpose", CallTranspose, Transposed},
    {"Affine", CallOfPoints<&Object::Affine>, AffinelyWarped},
    {"Perspective", CallOfPoints<&Object::Perspective>, PerspectivelyWarped},
    {"AddBorder", CallAddBorder, Bordered, kThrowsNothing},
    {"Warp", CallWarp, Unrolled},
    {"Unwarp", CallUnwarp, RolledUp},
    {"Paste", CallPaste, Pasted},
    {"Paste into a grid", CallGridPaste, PastedIntoGrid},
    {"Paste with overlap", CallOverlappingPaste, PastedWithOverlap, kThrowsNothing},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CheckCalls(kOperations, data, size);
  return 0;
}
