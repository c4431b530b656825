#include "twoimage/placement.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace KELRA {
namespace {

struct Range {
  std::int64_t lowest;
  std::int64_t highest;

  int Length() const { return cv::saturate_cast<int>(highest - lowest + 1); }
};

// The columns, or rows, that two images share.
struct Span {
  int on_first = 0;
  int on_second = 0;
  int length = 0;
};

// Both coefficients times their coordinates, for all corners of the image, fractions dropped.
Range RangeOverCorners(cv::Size image, float of_x, float of_y) {
  const auto right = static_cast<float>(image.width - 1);
  const auto bottom = static_cast<float>(image.height - 1);
  const auto [lowest, highest] = std::minmax({
      static_cast<std::int64_t>(of_x * 0.0F + of_y * 0.0F),
      static_cast<std::int64_t>(of_x * right + of_y * 0.0F),
      static_cast<std::int64_t>(of_x * 0.0F + of_y * bottom),
      static_cast<std::int64_t>(of_x * right + of_y * bottom),
  });
  return {lowest, highest};
}

// `start` is where the turned image begins, in coordinates of the first.
Span SpanFrom(float start, int first, int turned) {
  std::int64_t on_first = 0;
  std::int64_t on_second = 0;
  std::int64_t length = turned;
  if (start < 0) {
    const float before = std::max(start, static_cast<float>(-turned));
    on_second = static_cast<std::int64_t>(-before);
    length = static_cast<std::int64_t>(static_cast<float>(turned) + before);
  } else {
    on_first = static_cast<std::int64_t>(start);
  }
  // Rounding to single precision must not lead out of either image.
  length = std::min({length, first - on_first, turned - on_second});
  if (length <= 0) {
    return {};
  }
  return {static_cast<int>(on_first), static_cast<int>(on_second), static_cast<int>(length)};
}

}  // namespace

Placement PlaceUpright(cv::Size first, cv::Size second, const KelPoint& position) {
  const int x = static_cast<int>(position.x);
  const int y = static_cast<int>(position.y);
  const cv::Size size(std::min(second.width, first.width - x),
                      std::min(second.height, first.height - y));
  return {{{x, y}, size}, {}};
}

Turn TurnOf(cv::Size image, double angle) {
  const double radians = angle * CV_PI / 180;
  const auto c = static_cast<float>(std::cos(radians));
  const auto s = static_cast<float>(std::sin(radians));
  const Range x = RangeOverCorners(image, c, s);
  const Range y = RangeOverCorners(image, -s, c);
  return {{c, s, static_cast<float>(-x.lowest), -s, c, static_cast<float>(-y.lowest)},
          {x.Length(), y.Length()}};
}

std::array<cv::Point2f, 4> TurnedCorners(cv::Size image, double angle) {
  const cv::Point2f center(static_cast<float>(image.width / 2),
                           static_cast<float>(image.height / 2));
  std::array<cv::Point2f, 4> corners;
  cv::RotatedRect(center, image, static_cast<float>(360 - angle)).points(corners.data());
  return corners;
}

std::array<cv::Point2f, 4> Footprint(cv::Size image, const KelPoint& position, double angle) {
  std::array<cv::Point2f, 4> corners = TurnedCorners(image, angle);
  const cv::Point2f shift(static_cast<float>(position.x - corners[1].x),
                          static_cast<float>(position.y - corners[1].y));
  for (cv::Point2f& corner : corners) {
    corner += shift;
  }
  return corners;
}

Placement PlaceTurned(cv::Size first, cv::Size turned,
                      const std::array<cv::Point2f, 4>& footprint) {
  cv::Point2f start = footprint[0];
  for (const cv::Point2f& corner : footprint) {
    start = {std::min(start.x, corner.x), std::min(start.y, corner.y)};
  }
  const Span x = SpanFrom(start.x, first.width, turned.width);
  const Span y = SpanFrom(start.y, first.height, turned.height);
  if (x.length == 0 || y.length == 0) {
    return {};
  }
  return {{x.on_first, y.on_first, x.length, y.length}, {x.on_second, y.on_second}};
}

}  // namespace KELRA
