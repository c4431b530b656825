#include <cmath>
#include <cstdint>
#include <map>
#include <opencv2/imgproc.hpp>
#include <tuple>

#include "side_by_side.h"

namespace KELRA::bench {
namespace {

// An image of half the canvas's width and height, which stays inside it when turned by 30 degrees
// at Position.
const cv::Mat& SecondImage(const cv::Mat& canvas) {
  static std::map<std::tuple<int, int, int>, cv::Mat> images;
  cv::Mat& image = images[{canvas.rows, canvas.cols, canvas.type()}];
  if (image.empty()) {
    image = canvas(cv::Rect(0, 0, canvas.cols / 2, canvas.rows / 2)).clone();
  }
  return image;
}

cv::Point Position(const cv::Mat& canvas) { return {canvas.cols / 4, canvas.rows / 2}; }

constexpr double kAngle = 30;

KelLong PasteBy(double angle, KelImageOperation& op, KelImage& canvas, KelImage* dst) {
  const cv::Point at = Position(canvas.Mat());
  KelPoint position{static_cast<double>(at.x), static_cast<double>(at.y)};
  KelImage image(SecondImage(canvas.Mat()));
  return op.Paste(canvas, image, dst, position, angle);
}

template <class Sample>
void PlainPixel(const cv::Mat& image, double u, double v, Sample* target) {
  const int x = static_cast<int>(u);
  const int y = static_cast<int>(v);
  const int next_x = x < image.cols - 1 ? x + 1 : x;
  const int next_y = y < image.rows - 1 ? y + 1 : y;
  const int channels = image.channels();
  const auto* upper = image.ptr<Sample>(y);
  const auto* lower = image.ptr<Sample>(next_y);
  for (int k = 0; k < channels; ++k) {
    const double above = upper[x * channels + k] +
                         (u - x) * (upper[next_x * channels + k] - upper[x * channels + k]);
    const double below = lower[x * channels + k] +
                         (u - x) * (lower[next_x * channels + k] - lower[x * channels + k]);
    target[k] = static_cast<Sample>(above + (v - y) * (below - above));
  }
}

// The turned paste as one plainly writes it: every pixel of the box, on one thread.
template <class Sample>
void PlainTurnedPaste(const cv::Mat& canvas, cv::Mat* dst) {
  const cv::Mat& image = SecondImage(canvas);
  canvas.copyTo(*dst);
  const cv::Point at = Position(canvas);
  const double radians = (360 - kAngle) * 3.1415926535 / 180;
  const double c = std::cos(radians);
  const double s = std::sin(radians);
  const int width = static_cast<int>(image.cols * c - image.rows * s);
  const int height = static_cast<int>(image.rows * c - image.cols * s);
  const double tx = image.cols * 0.5 - (c * width / 2 + s * height / 2);
  const double ty = s * width / 2 - c * height / 2 + image.rows * 0.5;
  const int top = static_cast<int>(at.y + image.cols * s);
  for (int i = 0; i < height; ++i) {
    auto* target = dst->ptr<Sample>(top + i) + at.x * image.channels();
    for (int j = 0; j < width; ++j) {
      double u = c * j + s * i + tx;
      double v = c * i - s * j + ty;
      u = u < 0 && u > -0.0001 ? 0 : u;
      v = v < 0 && v > -0.0001 ? 0 : v;
      if (u >= 0 && u < image.cols && v >= 0 && v < image.rows) {
        PlainPixel(image, u, v, target + j * image.channels());
      }
    }
  }
}

}  // namespace

void RegisterPaste() {
  Register({"Paste",
            [](KelImageOperation& op, KelImage& canvas, KelImage* dst) {
              return PasteBy(0, op, canvas, dst);
            },
            [](const cv::Mat& canvas, cv::Mat* dst) {
              const cv::Mat& image = SecondImage(canvas);
              canvas.copyTo(*dst);
              image.copyTo((*dst)(cv::Rect(Position(canvas), image.size())));
            }});
  Register({"Paste turned, beside warpAffine",
            [](KelImageOperation& op, KelImage& canvas, KelImage* dst) {
              return PasteBy(kAngle, op, canvas, dst);
            },
            [](const cv::Mat& canvas, cv::Mat* dst) {
              const cv::Mat& image = SecondImage(canvas);
              canvas.copyTo(*dst);
              const cv::Point at = Position(canvas);
              cv::Mat turn = cv::getRotationMatrix2D(cv::Point2f(0, 0), kAngle, 1);
              turn.at<double>(0, 2) += at.x;
              turn.at<double>(1, 2) += at.y;
              cv::warpAffine(image, *dst, turn, dst->size(), cv::INTER_LINEAR,
                             cv::BORDER_TRANSPARENT);
            }});
  Register({"Paste turned, beside a plain loop",
            [](KelImageOperation& op, KelImage& canvas, KelImage* dst) {
              return PasteBy(kAngle, op, canvas, dst);
            },
            [](const cv::Mat& canvas, cv::Mat* dst) {
              if (canvas.depth() == CV_8U) {
                PlainTurnedPaste<std::uint8_t>(canvas, dst);
              } else {
                PlainTurnedPaste<std::uint16_t>(canvas, dst);
              }
            }});
}

}  // namespace KELRA::bench
