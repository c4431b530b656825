// Constant arithmetic on images and regions of every width, on every instruction set. The masks of
// the shapes are made here, not by the region library.

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <ostream>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "constant_methods.h"
#include "every_instruction_set.h"
#include "linear_cases.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_reference::ArithmeticWithConstant;
using kelra_test::ConstantMethod;
using kelra_test::GuardedImage;
using kelra_test::kConstantMethods;
using kelra_test::kPixelTypes;
using kelra_test::LinearCase;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::TypeName;

int LargestOf(int type) { return CV_MAT_DEPTH(type) == CV_8U ? 255 : 65535; }

struct Parameters {
  const ConstantMethod& method;
  int value;
  LinearCase linear;
};

std::ostream& operator<<(std::ostream& stream, const Parameters& p) {
  return stream << p.method.name << ", value " << p.value << ", scale " << p.linear.scale
                << ", offset " << p.linear.offset;
}

KelLong Call(const Parameters& p, KelImage& src, const KelROI& roi, KelImage* dst) {
  KelImageOperation object;
  return p.method.Call(&object, src, roi, dst, p.value, p.linear.scale, p.linear.offset);
}

cv::Mat Model(const Parameters& p, const cv::Mat& input) {
  return ArithmeticWithConstant(p.method.operation, input, p.value, p.linear.scale,
                                p.linear.offset);
}

cv::Mat Result(const Parameters& p, const cv::Mat& input, const KelROI& roi = {}) {
  KelImage src(input);
  KelImage dst;
  EXPECT_EQ(Call(p, src, roi, &dst), STATUS_OK) << p;
  return dst.Mat();
}

// All methods with values and scales that differ from one seed to the next.
std::vector<Parameters> ParametersFor(int type, int seed) {
  const int largest = LargestOf(type);
  const int values[] = {1, 7, largest / 3, largest};
  const std::vector<LinearCase> linears = kelra_test::UsualLinearCases();
  std::vector<Parameters> all;
  for (std::size_t i = 0; i < std::size(kConstantMethods); ++i) {
    const std::size_t n = static_cast<std::size_t>(seed) + i;
    all.push_back({kConstantMethods[i], values[n % 4], linears[n % linears.size()]});
  }
  return all;
}

std::vector<int> Widths() {
  std::vector<int> widths(70);
  std::iota(widths.begin(), widths.end(), 1);
  widths.insert(widths.end(), {127, 128, 129, 640});
  return widths;
}

class ConstantArithmeticWidths : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(ConstantArithmeticWidths);

TEST_P(ConstantArithmeticWidths, EveryWidthOfTheWholeImage) {
  for (const int width : Widths()) {
    for (const int type : kPixelTypes) {
      const cv::Mat pixels = RandomImage(3, width, type, static_cast<std::uint64_t>(width));
      for (int seed = width; seed < width + 5; ++seed) {
        for (const Parameters& p : ParametersFor(type, seed)) {
          SCOPED_TRACE(testing::Message() << p << ", " << TypeName(type) << ", width " << width);
          const cv::Mat expected = Model(p, pixels);
          ASSERT_TRUE(SameImage(Result(p, pixels), expected));
          for (const int gap : {0, 14}) {
            GuardedImage input(pixels, gap, gap);
            GuardedImage output(RandomImage(3, width, type, 99), 14 - gap, 6);
            KelImage src(input.Mat());
            KelImage dst(output.Mat());
            ASSERT_EQ(Call(p, src, KelROI::WholeImage(), &dst), STATUS_OK);
            ASSERT_TRUE(SameImage(output.Mat(), expected));
            ASSERT_EQ(dst.ImageData(), output.Mat().data);
            ASSERT_TRUE(output.SurroundingsUntouched());
            ASSERT_TRUE(SameImage(input.Mat(), pixels));

            ASSERT_EQ(Call(p, src, KelROI::WholeImage(), &src), STATUS_OK);
            ASSERT_TRUE(SameImage(input.Mat(), expected));
            ASSERT_EQ(src.ImageData(), input.Mat().data);
            ASSERT_TRUE(input.SurroundingsUntouched());
          }
        }
      }
    }
  }
}

TEST_P(ConstantArithmeticWidths, SingleRowsAndSingleColumns) {
  for (const int length : {1, 2, 7, 8, 9, 15, 16, 17, 33, 300}) {
    for (const int type : kPixelTypes) {
      for (const cv::Size size : {cv::Size(length, 1), cv::Size(1, length)}) {
        const cv::Mat input = RandomImage(size.height, size.width, type, 4);
        for (const Parameters& p : ParametersFor(type, length)) {
          EXPECT_TRUE(SameImage(Result(p, input), Model(p, input)))
              << p << ", " << TypeName(type) << ' ' << size;
        }
      }
    }
  }
}

// 65535 * 65533 = 4294705155 lies between two numbers of single precision that are 256 apart.
TEST_P(ConstantArithmeticWidths, ProductsAreRoundedToSinglePrecisionBeforeTheOffsetIsAdded) {
  const cv::Mat input(1, 9, CV_16UC1, cv::Scalar(65535));
  const Parameters p{kConstantMethods[kelra_reference::kMultiply], 65533, {1, -4294704128.0F}};
  EXPECT_TRUE(SameImage(Result(p, input), cv::Mat(1, 9, CV_16UC1, cv::Scalar(1024))));
}

cv::Mat RectangleMask(cv::Size size, const cv::Rect& rectangle) {
  cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
  mask(rectangle & cv::Rect(cv::Point(), size)).setTo(255);
  return mask;
}

cv::Mat CircleMask(cv::Size size, double x, double y, double radius) {
  cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
  for (int row = 0; row < size.height; ++row) {
    for (int column = 0; column < size.width; ++column) {
      const double dx = column - x;
      const double dy = row - y;
      if (dx * dx + dy * dy <= radius * radius) {
        mask.at<std::uint8_t>(row, column) = 255;
      }
    }
  }
  return mask;
}

cv::Mat RunsMask(const KelRegion& region) {
  cv::Mat mask = cv::Mat::zeros(region.Height(), region.Width(), CV_8UC1);
  for (const KelRun& run : region.Runs()) {
    for (int column = run.firstColumn; column <= run.lastColumn; ++column) {
      if (run.row >= 0 && run.row < mask.rows && column >= 0 && column < mask.cols) {
        mask.at<std::uint8_t>(run.row, column) = 255;
      }
    }
  }
  return mask;
}

// The call on a region against the model, into a new output, one of its own, and in place.
void ExpectOnRegion(const Parameters& p, const cv::Mat& input, const KelROI& roi,
                    const cv::Mat& mask) {
  const auto work = [&](const cv::Mat& part) { return Model(p, part); };
  const cv::Mat expected = roi.ROIType() == KEL_ROI_REGION
                               ? kelra_reference::UnderMask(input, mask, work)
                               : kelra_reference::OnPart(input, mask, work);
  SCOPED_TRACE(testing::Message() << p << ", " << TypeName(input.type()));
  GuardedImage strided(input, 10, 6);
  ASSERT_TRUE(SameImage(Result(p, strided.Mat(), roi), expected));
  ASSERT_TRUE(SameImage(strided.Mat(), input));

  KelImage src(input.clone());
  KelImage dst(RandomImage(input.rows, input.cols, input.type(), 55));
  ASSERT_EQ(Call(p, src, roi, &dst), STATUS_OK);
  ASSERT_TRUE(SameImage(dst.Mat(), expected));
  ASSERT_EQ(Call(p, src, roi, &src), STATUS_OK);
  ASSERT_TRUE(SameImage(src.Mat(), expected));
}

// Blocks and tails count on the box that is cut out.
TEST_P(ConstantArithmeticWidths, RectanglesOfEveryWidth) {
  for (int width = 1; width <= 40; ++width) {
    for (const int type : kPixelTypes) {
      const cv::Mat input = RandomImage(6, 45, type, static_cast<std::uint64_t>(width));
      for (const Parameters& p : ParametersFor(type, width)) {
        SCOPED_TRACE(width);
        ExpectOnRegion(p, input, KelROI::Rectangle(3, 2, width, 3),
                       RectangleMask(input.size(), {3, 2, width, 3}));
      }
    }
  }
}

TEST_P(ConstantArithmeticWidths, CirclesOfEveryRadius) {
  for (int radius = 0; radius <= 18; ++radius) {
    for (const int type : kPixelTypes) {
      const cv::Mat input = RandomImage(30, 45, type, static_cast<std::uint64_t>(radius));
      for (const Parameters& p : ParametersFor(type, radius)) {
        SCOPED_TRACE(radius);
        ExpectOnRegion(p, input, KelROI::Circle({21, 14}, radius),
                       CircleMask(input.size(), 21, 14, radius));
      }
    }
  }
}

// Blocks and tails count on whole rows.
TEST_P(ConstantArithmeticWidths, RunLengthRegionsInImagesOfEveryWidth) {
  for (int width = 1; width <= 40; ++width) {
    KelRegion region(width, 5);
    region.Append({1, 0, width - 1});
    region.Append({3, width / 3, width - 1});
    region.Append({3, width / 2, width / 2});
    region.Append({4, width - 1, width + 7});
    for (const int type : kPixelTypes) {
      const cv::Mat input = RandomImage(5, width, type, static_cast<std::uint64_t>(width));
      for (const Parameters& p : ParametersFor(type, width)) {
        SCOPED_TRACE(width);
        ExpectOnRegion(p, input, KelROI::Region(region), RunsMask(region));
      }
    }
  }
}

TEST_P(ConstantArithmeticWidths, RegionsThatLiePartlyOutsideAreCutAtTheEdges) {
  KelRegion region(45, 12);
  region.Append({-1, 0, 44});
  region.Append({2, -5, 20});
  region.Append({11, 30, 60});
  region.Append({12, 0, 44});
  const cv::Size size(45, 12);
  for (const int type : kPixelTypes) {
    const cv::Mat input = RandomImage(size.height, size.width, type, 6);
    for (const Parameters& p : ParametersFor(type, 1)) {
      ExpectOnRegion(p, input, KelROI::Rectangle(-4, -3, 30, 9),
                     RectangleMask(size, {-4, -3, 30, 9}));
      ExpectOnRegion(p, input, KelROI::Rectangle(28, 7, 100, 100),
                     RectangleMask(size, {28, 7, 100, 100}));
      ExpectOnRegion(p, input, KelROI::Circle({2, 3}, 9), CircleMask(size, 2, 3, 9));
      ExpectOnRegion(p, input, KelROI::Region(region), RunsMask(region));
    }
  }
}

}  // namespace
}  // namespace KELRA
