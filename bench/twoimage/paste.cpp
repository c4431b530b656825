#include <map>
#include <memory>
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
    image = canvas(cv::Rect(0, 0, (canvas.cols + 1) / 2, (canvas.rows + 1) / 2)).clone();
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

// What a call takes, made once: OpenCV's side finds its images made, too.
struct GridInputs {
  KelImageOperation op;
  KelImageArray images;
  KelPointArray offsets{{0, 0}, {0, 0}, {0, 0}, {0, 0}};
  KelVarArray values;
  KelImage our_dst;
  cv::Mat opencv_dst;
};

using Grid = KelLong (*)(GridInputs& on);

// Four images side by side, `overlap` columns and rows over each other.
void RegisterGrid(const char* name, int overlap, Grid grid) {
  const auto make = [grid, overlap](cv::Size size, int type) {
    const auto on = std::make_shared<GridInputs>();
    const cv::Mat image = SecondImage(Noise(size, type));
    for (int i = 0; i < 4; ++i) {
      on->images.Append(KelImage(image));
    }
    return Calls{[=] { return grid(*on); },
                 [=] {
                   const cv::Size step(image.cols - overlap, image.rows - overlap);
                   cv::Mat& dst = on->opencv_dst;
                   dst.create(image.rows + step.height, image.cols + step.width, image.type());
                   for (const cv::Point at : {cv::Point(0, 0), cv::Point(step.width, 0),
                                              cv::Point(0, step.height), cv::Point(step)}) {
                     image.copyTo(dst(cv::Rect(at, image.size())));
                   }
                 }};
  };
  Register(CallsSideBySide{name, make, 2});
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
  Register({"Paste turned",
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
  RegisterGrid("Paste in a grid, by offsets", 0, [](GridInputs& on) {
    return on.op.Paste(on.images, &on.our_dst, 2, 2, on.offsets, on.values);
  });
  RegisterGrid("Paste in a grid, overlapping", 1,
               [](GridInputs& on) { return on.op.Paste(on.images, &on.our_dst, 2, 2, 1, 1); });
}

}  // namespace KELRA::bench
