#include <opencv2/imgproc.hpp>
#include <string>

#include "side_by_side.h"

namespace KELRA::bench {
namespace {

using Arithmetic = KelLong (KelImageOperation::*)(KelImage&, KelImage&, KelImage*, KelPoint&,
                                                  double, float, float);
using Bitwise = KelLong (KelImageOperation::*)(KelImage&, KelImage&, KelImage*, KelPoint&, double);
using Combine = std::function<void(const cv::Mat& a, const cv::Mat& b, cv::Mat* dst)>;

void RegisterArithmetic(const char* name, Arithmetic method, double scale, double offset,
                        const Combine& opencv) {
  Register({name,
            [=](KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst) {
              KelPoint origin;
              return (op.*method)(image, second, dst, origin, 0, static_cast<float>(scale),
                                  static_cast<float>(offset));
            },
            opencv},
           Work::kRowKernels);
}

void RegisterBitwise(const char* name, Bitwise method, const Combine& opencv) {
  Register({name,
            [=](KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst) {
              KelPoint origin;
              return (op.*method)(image, second, dst, origin, 0);
            },
            opencv});
}

// The second image's middle part, a quarter of the whole, so that the turned box lies inside.
cv::Rect Middle(const cv::Mat& image) {
  return {image.cols / 4, image.rows / 4, image.cols / 2, image.rows / 2};
}

constexpr double kAngle = 20;

struct TurnedBox {
  cv::Matx23d transform;
  cv::Rect on_first;
};

// A place where the turned image's bounding box is inside the first image.
cv::Point CornerOfBox(cv::Size size) { return {size.width / 2, size.height / 2}; }

TurnedBox BoxOf(cv::Size size) {
  const cv::Point2f center(static_cast<float>(size.width - 1) / 2,
                           static_cast<float>(size.height - 1) / 2);
  cv::Matx23d transform = cv::getRotationMatrix2D(center, kAngle, 1);
  const cv::Rect box = cv::RotatedRect(center, size, static_cast<float>(-kAngle)).boundingRect();
  transform(0, 2) -= box.x;
  transform(1, 2) -= box.y;
  return {transform, {CornerOfBox(size), box.size()}};
}

using OnTurned = std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage& part,
                                       KelImage* dst, KelPoint& at)>;
// What OpenCV makes of the covered pixels and the turned ones.
using OfTurned = Combine;

// With a mask, only what the turned image covers is written; without, `around` changes nothing.
struct Turned {
  std::string name;
  OnTurned ours;
  OfTurned opencv;
  bool masked;
  double around;
};

void ByOpenCv(const Turned& turned, const cv::Mat& image, const cv::Mat& second, cv::Mat* dst) {
  static cv::Mat pixels, combined, white, mask;
  const cv::Mat part = second(Middle(second));
  const TurnedBox box = BoxOf(part.size());
  const cv::Rect on_first = box.on_first & cv::Rect({}, image.size());
  const cv::Rect visible({}, on_first.size());
  cv::warpAffine(part, pixels, box.transform, box.on_first.size(), cv::INTER_LINEAR,
                 cv::BORDER_CONSTANT, cv::Scalar::all(turned.around));
  image.copyTo(*dst);
  cv::Mat target = (*dst)(on_first);
  if (!turned.masked) {
    turned.opencv(image(on_first), pixels(visible), &target);
    return;
  }
  turned.opencv(image(on_first), pixels(visible), &combined);
  if (white.size() != part.size()) {
    white = cv::Mat(part.size(), CV_8UC1, cv::Scalar(255));
  }
  cv::warpAffine(white, mask, box.transform, box.on_first.size());
  combined.copyTo(target, mask(visible));
}

void RegisterTurned(const Turned& turned) {
  Register(
      {turned.name,
       [=](KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst) {
         KelImage part(second.Mat()(Middle(second.Mat())));
         const TurnedBox box = BoxOf(part.Mat().size());
         KelPoint at{static_cast<double>(box.on_first.x), box.on_first.y + 0.342 * part.Width()};
         return turned.ours(op, image, part, dst, at);
       },
       [=](const cv::Mat& image, const cv::Mat& second, cv::Mat* dst) {
         ByOpenCv(turned, image, second, dst);
       },
       kAllTypes,
       {8, 8}});
}

void RegisterTurnedArithmetic(const char* name, Arithmetic method, float scale, float offset,
                              double around, const OfTurned& opencv) {
  RegisterTurned(
      {name,
       [=](KelImageOperation& op, KelImage& image, KelImage& part, KelImage* dst, KelPoint& at) {
         return (op.*method)(image, part, dst, at, kAngle, scale, offset);
       },
       opencv, scale != 1.0F || offset != 0.0F, around});
}

void RegisterTurnedBitwise(const char* name, Bitwise method, double around,
                           const OfTurned& opencv) {
  RegisterTurned({name,
                  [=](KelImageOperation& op, KelImage& image, KelImage& part, KelImage* dst,
                      KelPoint& at) { return (op.*method)(image, part, dst, at, kAngle); },
                  opencv, false, around});
}

}  // namespace

void RegisterTwoImages() {
  RegisterArithmetic("Add", &KelImageOperation::Add, 1, 0,
                     [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::add(a, b, *dst); });
  RegisterArithmetic("Add x0.5 +3", &KelImageOperation::Add, 0.5, 3,
                     [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) {
                       cv::addWeighted(a, 0.5, b, 0.5, 3, *dst);
                     });
  RegisterArithmetic("Subtract x0.5 +128", &KelImageOperation::Subtract, 0.5, 128,
                     [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) {
                       cv::addWeighted(a, 0.5, b, -0.5, 128, *dst);
                     });
  RegisterArithmetic(
      "Multiply x0.004", &KelImageOperation::Multiply, 0.004, 0,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::multiply(a, b, *dst, 0.004); });
  RegisterArithmetic(
      "Divide x64", &KelImageOperation::Divide, 64, 0,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::divide(a, b, *dst, 64); });
  RegisterBitwise(
      "BitAnd", &KelImageOperation::BitAnd,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::bitwise_and(a, b, *dst); });
  RegisterBitwise(
      "BitOr", &KelImageOperation::BitOr,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::bitwise_or(a, b, *dst); });
  RegisterBitwise(
      "BitXor", &KelImageOperation::BitXor,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::bitwise_xor(a, b, *dst); });
  RegisterTurnedArithmetic(
      "Add turned", &KelImageOperation::Add, 1, 0, 0,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::add(a, b, *dst); });
  RegisterTurnedArithmetic("Add turned, x0.5 +3", &KelImageOperation::Add, 0.5F, 3, 0,
                           [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) {
                             cv::addWeighted(a, 0.5, b, 0.5, 3, *dst);
                           });
  RegisterTurnedArithmetic(
      "Multiply turned", &KelImageOperation::Multiply, 1, 0, 1,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::multiply(a, b, *dst); });
  RegisterTurnedArithmetic(
      "Divide turned, x64", &KelImageOperation::Divide, 64, 0, 1,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::divide(a, b, *dst, 64); });
  RegisterTurnedBitwise(
      "BitAnd turned", &KelImageOperation::BitAnd, 65535,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::bitwise_and(a, b, *dst); });
  RegisterTurnedBitwise(
      "BitOr turned", &KelImageOperation::BitOr, 0,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::bitwise_or(a, b, *dst); });
  RegisterTurnedBitwise(
      "BitXor turned", &KelImageOperation::BitXor, 0,
      [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) { cv::bitwise_xor(a, b, *dst); });
  Register({"Compare greater",
            [](KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst) {
              return op.Compare(image, second, dst, 7);
            },
            [](const cv::Mat& a, const cv::Mat& b, cv::Mat* dst) {
              static cv::Mat mask;
              cv::compare(a, b, mask, cv::CMP_GT);
              a.copyTo(*dst);
              dst->setTo(255, mask);
            },
            {CV_8UC1, CV_16UC1}},
           Work::kRowKernels);
  Register({"CompareConst greater",
            [](KelImageOperation& op, KelImage& image, KelROI& roi, KelImage* dst) {
              return op.CompareConst(image, roi, dst, 100, 7);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              static cv::Mat mask;
              cv::compare(src, 100, mask, cv::CMP_GT);
              src.copyTo(*dst);
              dst->setTo(255, mask);
            },
            {CV_8UC1, CV_16UC1}},
           Work::kRowKernels);
}

}  // namespace KELRA::bench
