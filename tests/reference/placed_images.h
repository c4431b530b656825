// A second image laid onto a first one, by definition.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "arithmetic.h"
#include "masked_steps.h"

namespace kelra_reference {

// What becomes of two images of one size and type.
using Combination = std::function<cv::Mat(const cv::Mat& first, const cv::Mat& second)>;

// Three equal channels of one.
inline cv::Mat InColor(const cv::Mat& image) {
  cv::Mat color;
  cv::merge(std::vector<cv::Mat>(3, image), color);
  return color;
}

inline cv::Mat PlacedUpright(const cv::Mat& first, const cv::Mat& second, int x, int y,
                             const Combination& combine) {
  const cv::Rect overlap = cv::Rect({x, y}, second.size()) & cv::Rect({}, first.size());
  cv::Mat output = first.clone();
  combine(first(overlap).clone(), second(overlap - overlap.tl()).clone()).copyTo(output(overlap));
  return output;
}

// A turned image, and where it lies on a first one.
struct TurnedImage {
  cv::Mat pixels;
  cv::Mat mask;
  float left;
  float top;
};

inline TurnedImage TurnSecond(const cv::Mat& image, double x, double y, double angle,
                              double border) {
  const double theta = angle * CV_PI / 180;
  const auto c = static_cast<float>(std::cos(theta));
  const auto s = static_cast<float>(std::sin(theta));
  int x_range[2] = {0, 0};
  int y_range[2] = {0, 0};
  for (const int column : {0, image.cols - 1}) {
    for (const int row : {0, image.rows - 1}) {
      const auto u = static_cast<float>(column);
      const auto v = static_cast<float>(row);
      const int to_x = static_cast<int>(c * u + s * v);
      const int to_y = static_cast<int>(c * v - s * u);
      x_range[0] = std::min(x_range[0], to_x);
      x_range[1] = std::max(x_range[1], to_x);
      y_range[0] = std::min(y_range[0], to_y);
      y_range[1] = std::max(y_range[1], to_y);
    }
  }
  float elements[] = {c,  s, static_cast<float>(-x_range[0]),
                      -s, c, static_cast<float>(-y_range[0])};
  const cv::Mat matrix(2, 3, CV_32F, elements);
  const cv::Size size(x_range[1] - x_range[0] + 1, y_range[1] - y_range[0] + 1);
  TurnedImage turned{{}, {}, 1e9F, 1e9F};
  cv::warpAffine(image, turned.pixels, matrix, size, cv::INTER_LINEAR, cv::BORDER_CONSTANT,
                 cv::Scalar(border, border, border, border));
  cv::warpAffine(cv::Mat(image.size(), CV_8UC1, cv::Scalar(255)), turned.mask, matrix, size,
                 cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar());

  cv::Point2f corners[4];
  const cv::Point2f center(static_cast<float>(image.cols / 2), static_cast<float>(image.rows / 2));
  cv::RotatedRect(center, image.size(), static_cast<float>(360 - angle)).points(corners);
  const auto shift_x = static_cast<float>(x - corners[1].x);
  const auto shift_y = static_cast<float>(y - corners[1].y);
  for (const cv::Point2f& corner : corners) {
    turned.left = std::min(turned.left, corner.x + shift_x);
    turned.top = std::min(turned.top, corner.y + shift_y);
  }
  return turned;
}

// The part of the first image, and of the turned one, along one axis.
struct Cut {
  int on_first;
  int on_turned;
  int length;
};

inline Cut CutAlong(float start, int first, int turned) {
  Cut cut{static_cast<int>(start), 0, turned};
  if (start < 0) {
    const float limited = std::max(start, -static_cast<float>(turned));
    cut = {0, static_cast<int>(-limited), static_cast<int>(static_cast<float>(turned) + limited)};
  }
  cut.length = std::min(cut.length, first - cut.on_first);
  return cut;
}

using TurnedCombination =
    std::function<cv::Mat(const cv::Mat& first, const cv::Mat& turned, const cv::Mat& mask)>;

inline cv::Mat PlacedTurned(const cv::Mat& first, const cv::Mat& second, double x, double y,
                            double angle, double border, const TurnedCombination& combine) {
  const TurnedImage turned = TurnSecond(second, x, y, angle, border);
  const Cut columns = CutAlong(turned.left, first.cols, turned.pixels.cols);
  const Cut rows = CutAlong(turned.top, first.rows, turned.pixels.rows);
  cv::Mat output = first.clone();
  if (columns.length > 0 && rows.length > 0) {
    const cv::Rect on_first(columns.on_first, rows.on_first, columns.length, rows.length);
    const cv::Rect on_turned(columns.on_turned, rows.on_turned, columns.length, rows.length);
    combine(first(on_first).clone(), turned.pixels(on_turned).clone(),
            turned.mask(on_turned).clone())
        .copyTo(output(on_first));
  }
  return output;
}

// What OpenCV says that it computes of two samples, scaled products and quotients as it rounds
// them.
template <class Sample>
cv::Mat UnmaskedArithmetic(Operation operation, const cv::Mat& first, const cv::Mat& turned,
                           float scale) {
  cv::Mat output(first.size(), first.type());
  if (operation == kDivide) {
    cv::divide(first, turned, output, scale);
    return output;
  }
  if (operation == kMultiply && scale != 1.0F) {
    cv::multiply(first, turned, output, scale);
    return output;
  }
  for (int row = 0; row < first.rows; ++row) {
    for (int i = 0; i < first.cols * first.channels(); ++i) {
      const std::int64_t a = first.ptr<Sample>(row)[i];
      const std::int64_t b = turned.ptr<Sample>(row)[i];
      const std::int64_t exact = operation == kAdd ? a + b : operation == kSubtract ? a - b : a * b;
      output.ptr<Sample>(row)[i] = ClampAndTruncate<Sample>(static_cast<double>(exact));
    }
  }
  return output;
}

// The combinations of a turned second image.
template <class Sample>
cv::Mat TurnedArithmetic(Operation operation, const cv::Mat& first, const cv::Mat& turned,
                         const cv::Mat& mask, float scale, float offset) {
  cv::Mat t = UnmaskedArithmetic<Sample>(operation, first, turned, scale);
  constexpr bool k16Bit = sizeof(Sample) == 2;
  if ((scale == 1.0F && offset == 0.0F) || (k16Bit && operation == kMultiply)) {
    return t;
  }
  cv::Mat output = t.clone();
  if (operation == kMultiply || operation == kDivide) {
    MaskedSumOrSecond<Sample>(&output, t, first, mask, t.rows, t.cols, offset);
    t = output.clone();
  }
  if (operation == kAdd || operation == kSubtract || k16Bit) {
    MaskedScaleAndOffset<Sample>(&output, t, mask, t.rows, t.cols, scale, offset);
  }
  return output;
}

}  // namespace kelra_reference
