// An image turned and pasted onto a canvas, by definition: one pixel of the target box at a time.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/core.hpp>

namespace kelra_reference {

template <class Sample>
void PastePixel(const cv::Mat& image, double u, double v, cv::Mat* target, int row, int column) {
  const int x0 = static_cast<int>(u);
  const int y0 = static_cast<int>(v);
  const int x1 = x0 == image.cols - 1 ? x0 : x0 + 1;
  const int y1 = y0 == image.rows - 1 ? y0 : y0 + 1;
  const int channels = image.channels();
  for (int k = 0; k < channels; ++k) {
    const auto sample = [&](int y, int x) {
      return static_cast<double>(image.ptr<Sample>(y)[x * channels + k]);
    };
    const double fx = u - x0;
    const double fy = v - y0;
    const double above = sample(y0, x0) + fx * (sample(y0, x1) - sample(y0, x0));
    const double below = sample(y1, x0) + fx * (sample(y1, x1) - sample(y1, x0));
    target->ptr<Sample>(row)[column * channels + k] =
        static_cast<Sample>(std::trunc(above + fy * (below - above)));
  }
}

// The result of pasting `image` with its corner at (x, y), which are not negative.
inline cv::Mat TurnedPaste(const cv::Mat& canvas, const cv::Mat& image, int x, int y,
                           double angle) {
  cv::Point2f corners[4];
  cv::RotatedRect(
      cv::Point2f(static_cast<float>(image.cols / 2), static_cast<float>(image.rows / 2)),
      cv::Size2f(static_cast<float>(image.cols), static_cast<float>(image.rows)),
      static_cast<float>(360 - angle))
      .points(corners);
  double min_x = x, min_y = y, max_x = x, max_y = y;
  for (const cv::Point2f& corner : corners) {
    const double corner_x = x + (static_cast<double>(corner.x) - corners[1].x);
    const double corner_y = y + (static_cast<double>(corner.y) - corners[1].y);
    min_x = std::min(min_x, corner_x);
    min_y = std::min(min_y, corner_y);
    max_x = std::max(max_x, corner_x);
    max_y = std::max(max_y, corner_y);
  }
  const int left = min_x < 0 ? static_cast<int>(-min_x) : 0;
  const int top = min_y < 0 ? static_cast<int>(-min_y) : 0;
  const int right = max_x > canvas.cols ? static_cast<int>(max_x - canvas.cols) : 0;
  const int bottom = max_y > canvas.rows ? static_cast<int>(max_y - canvas.rows) : 0;
  cv::Mat result =
      cv::Mat::zeros(canvas.rows + top + bottom, canvas.cols + left + right, canvas.type());
  canvas.copyTo(result(cv::Rect(left, top, canvas.cols, canvas.rows)));

  const int width = static_cast<int>(max_x - min_x);
  const int height = static_cast<int>(max_y - min_y);
  const int begin_x = static_cast<int>(std::max(min_x, 0.0));
  const int begin_y = static_cast<int>(std::max(min_y, 0.0));
  const double phi = (360 - angle) * 3.1415926535 / 180;
  const double c = std::cos(phi);
  const double s = std::sin(phi);
  const double tx = image.cols * 0.5 - (c * (width / 2.0) + s * (height / 2.0));
  const double ty = s * (width / 2.0) - c * (height / 2.0) + image.rows * 0.5;
  for (int i = 0; i < height && begin_y + i < result.rows; ++i) {
    for (int j = 0; j < width && begin_x + j < result.cols; ++j) {
      double u = c * j + s * i + tx;
      double v = c * i - s * j + ty;
      if (u > -0.0001 && u < 0) u = 0;
      if (v > -0.0001 && v < 0) v = 0;
      if (u < 0 || u >= image.cols || v < 0 || v >= image.rows) continue;
      if (image.depth() == CV_8U) {
        PastePixel<std::uint8_t>(image, u, v, &result, begin_y + i, begin_x + j);
      } else {
        PastePixel<std::uint16_t>(image, u, v, &result, begin_y + i, begin_x + j);
      }
    }
  }
  return result;
}

}  // namespace kelra_reference
