#include <KELRA/KelROIDataConvert.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <opencv2/core.hpp>
#include <string>
#include <thread>
#include <vector>

#include "rasterize.h"
#include "run_grid.h"
#include "test_images.h"

// Under a sanitizer too an allocation that fails is to fail, not to end the program.
#if defined(__GNUC__)
// NOLINTBEGIN(readability-identifier-naming): the runtimes look for these names.
#define RUNTIME_HOOK extern "C" __attribute__((visibility("default"), used))
RUNTIME_HOOK const char* __asan_default_options() { return "allocator_may_return_null=1"; }
RUNTIME_HOOK const char* __tsan_default_options() { return "allocator_may_return_null=1"; }
// NOLINTEND(readability-identifier-naming)
#endif

namespace {

using namespace KELRA;  // the statuses' and kinds' names
using kelra_test::GuardedImage;
using kelra_test::Painted;
using kelra_test::SameImage;
using kelra_test::TypeName;

constexpr int kTypes[] = {CV_8UC1,  CV_8UC3,  CV_8UC4,  CV_8SC2,  CV_16UC1, CV_16UC3,
                          CV_16SC1, CV_32SC1, CV_32FC1, CV_32FC3, CV_64FC1, CV_8UC(7)};

const cv::Size kSize(23, 17);

struct NamedRegion {
  std::string name;
  KelROI roi;
};

// Every kind, inside the image and reaching over its edges.
std::vector<NamedRegion> Regions() {
  KelRegion runs(5, 5);
  runs.Append({9, 3, 8});
  runs.Append({4, 15, 40});
  runs.Append({9, 6, 12});
  runs.Append({9, 14, 14});
  KelRegion pixel(1, 1);
  pixel.Append({16, 22, 22});
  return {
      {"whole image", KelROI::WholeImage()},
      {"rectangle", KelROI::Rectangle(3, 2, 9, 11)},
      {"rectangle over the corner", KelROI::Rectangle(-4, 10, 12.5, 30)},
      {"rectangle around the image", KelROI::Rectangle(-4, -10, 120, 130)},
      {"full rows", KelROI::Rectangle(-1, 5, 99, 4)},
      {"rotated rectangle", KelROI::RotatedRectangle({11, 8}, 18, 7, 25)},
      {"circle", KelROI::Circle({10, 8}, 6)},
      {"circle over the edge", KelROI::Circle({21, 3}, 9.3)},
      {"ellipse", KelROI::Ellipse({11, 8}, 12, 4, -40)},
      {"annulus", KelROI::Annulus({11, 8}, 3, 7)},
      {"bow tie", KelROI::Polygon({{2, 2}, {20, 14}, {20, 2}, {2, 14}})},
      {"comb", KelROI::Polygon({{0, 0}, {22, 0}, {22, 9}, {18, 3}, {14, 9}, {9, 3}, {4, 12}})},
      {"runs", KelROI::Region(runs)},
      {"one pixel", KelROI::Region(pixel)},
  };
}

// Any bytes, so that floating-point samples are of every kind as well.
cv::Mat RandomBytes(cv::Size size, int type, std::uint64_t seed) {
  cv::Mat image(size, type);
  cv::RNG random(seed);
  for (int row = 0; row < image.rows; ++row) {
    for (std::size_t i = 0; i < image.elemSize() * static_cast<std::size_t>(image.cols); ++i) {
      image.ptr(row)[i] = static_cast<uchar>(random.uniform(0, 256));
    }
  }
  return image;
}

void CopyPixel(const cv::Mat& from, cv::Point at, cv::Mat& to, cv::Point where) {
  std::memcpy(to.ptr(where.y, where.x), from.ptr(at.y, at.x), from.elemSize());
}

// What the shape covers: 255 inside.
struct Cover {
  Cover(const KelROI& roi, cv::Size size) : grid(size, CV_8UC1, cv::Scalar(255)), box({}, size) {
    if (roi.ROIType() != KEL_ROI_WHOLE_IMAGE) {
      const PixelRuns covered = Rasterize(roi.Shape(), size);
      grid = Painted(covered.runs, size);
      box = covered.box;
    }
  }
  bool Has(cv::Point pixel) const { return grid.at<uchar>(pixel) != 0; }

  cv::Mat grid;
  cv::Rect box;
};

void ForEachPixel(cv::Size size, const std::function<void(cv::Point)>& visit) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      visit({x, y});
    }
  }
}

cv::Mat PlainExtraction(const cv::Mat& image, const Cover& cover, bool clip, double fill) {
  cv::Mat cut(cover.box.size(), image.type());
  cut.reshape(1).setTo(cv::Scalar(fill));
  ForEachPixel(cut.size(), [&](cv::Point pixel) {
    const cv::Point source = pixel + cover.box.tl();
    if (!clip || cover.Has(source)) {
      CopyPixel(image, source, cut, pixel);
    }
  });
  return cut;
}

cv::Mat PlainRestore(const cv::Mat& image, const cv::Mat& part, const Cover& cover, bool masked) {
  cv::Mat restored = image.clone();
  ForEachPixel(part.size(), [&](cv::Point pixel) {
    const cv::Point target = pixel + cover.box.tl();
    if (!masked || cover.Has(target)) {
      CopyPixel(part, pixel, restored, target);
    }
  });
  return restored;
}

struct Layout {
  int gap;
  int margin;
};
constexpr Layout kLayouts[] = {{0, 0}, {24, 64}};  // in bytes; whole samples of every depth

// Offers the memory of the matrix.
cv::Mat WithHiddenRows(cv::Mat mat) {
  mat.adjustROI(0, -mat.rows, 0, 0);
  mat.flags |= cv::Mat::SUBMATRIX_FLAG;
  return mat;
}

using RegionCheck = std::function<void(int type, Layout layout, KelROI& roi, const Cover& cover)>;

void ForEveryTypeLayoutAndRegion(const RegionCheck& check) {
  for (const int type : kTypes) {
    for (const Layout layout : kLayouts) {
      for (NamedRegion& region : Regions()) {
        SCOPED_TRACE(region.name + ", " + TypeName(type));
        check(type, layout, region.roi, Cover(region.roi, kSize));
      }
    }
  }
}

// Whether the matrix lies in its own memory, from the first byte to the last.
bool OwnsItsPixels(const cv::Mat& mat) {
  return mat.u != nullptr && mat.u->refcount == 1 && mat.isContinuous() && !mat.isSubmatrix();
}

TEST(RoiExtraction, CutsTheBoxAndFillsBesideTheShape) {
  KelROIDataConvert converter;
  ForEveryTypeLayoutAndRegion([&](int type, Layout layout, KelROI& roi, const Cover& cover) {
    GuardedImage image(RandomBytes(kSize, type, 3), layout.gap, layout.margin);
    const cv::Mat before = image.Mat().clone();
    for (const int clip : {0, 1}) {
      for (const double fill : {0.0, 77.0}) {
        cv::Mat out;
        ASSERT_EQ(converter.ROIImageExtraction(image.Mat(), roi, &out, clip, fill), 0);
        EXPECT_TRUE(SameImage(out, PlainExtraction(before, cover, clip != 0, fill)));
        EXPECT_TRUE(OwnsItsPixels(out));
      }
    }
    EXPECT_TRUE(SameImage(image.Mat(), before));
    EXPECT_TRUE(image.SurroundingsUntouched());
  });
}

TEST(RoiExtraction, FillIsCutToTheDepth) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    int type;
    double fill;
    double expected;
  };
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({4, 4}, 3);  // (1, 1), the box's corner, lies outside
  for (const Case& c : {Case{CV_8UC1, 254.6, 255},
                        {CV_8UC1, 1e10, 255},
                        {CV_8UC1, -1e10, 0},
                        {CV_8UC3, kInfinity, 255},
                        {CV_8UC3, kNan, 0},
                        {CV_8SC1, -1e300, -128},
                        {CV_8SC1, 1e300, 127},
                        {CV_16UC1, 1e10, 65535},
                        {CV_16UC3, -kInfinity, 0},
                        {CV_16SC1, -1e10, -32768},
                        {CV_16SC1, 1e10, 32767},
                        {CV_32SC1, 1e10, 2147483647.0},
                        {CV_32SC1, -kInfinity, -2147483648.0},
                        {CV_32SC1, kNan, 0},
                        {CV_32FC1, 0.5, 0.5},
                        {CV_64FC1, 1e300, 1e300}}) {
    cv::Mat image(9, 9, c.type, cv::Scalar::all(100));
    cv::Mat out;
    ASSERT_EQ(converter.ROIImageExtraction(image, roi, &out, 1, c.fill), 0);
    cv::Mat samples;
    out.reshape(1).convertTo(samples, CV_64F);
    for (int channel = 0; channel < out.channels(); ++channel) {
      EXPECT_EQ(samples.at<double>(0, channel), c.expected) << TypeName(c.type) << ' ' << c.fill;
    }
  }
}

TEST(RoiExtraction, OutputMayBeTheInputOrShareItsMemory) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({10, 8}, 6);
  const cv::Mat original = RandomBytes(kSize, CV_8UC3, 4);
  const cv::Mat expected = PlainExtraction(original, Cover(roi, kSize), true, 9);

  cv::Mat image = original.clone();
  const cv::Mat keeper = image;
  ASSERT_EQ(converter.ROIImageExtraction(image, roi, &image, 1, 9), 0);
  EXPECT_TRUE(SameImage(image, expected));
  EXPECT_TRUE(SameImage(keeper, original));

  cv::Mat source = original.clone();
  cv::Mat part = source(cv::Rect(cv::Point(2, 1), expected.size()));  // of the result's size
  ASSERT_EQ(converter.ROIImageExtraction(source, roi, &part, 1, 9), 0);
  EXPECT_TRUE(SameImage(part, expected));
  EXPECT_TRUE(SameImage(source, original));
}

TEST(RoiExtraction, AnOutputThatHoldsNoRowsOfTheImageBecomesAPartOfIt) {
  KelROIDataConvert converter;
  ForEveryTypeLayoutAndRegion([&](int type, Layout layout, KelROI& roi, const Cover& cover) {
    GuardedImage guarded(RandomBytes(kSize, type, 3), layout.gap, layout.margin);
    cv::Mat image = guarded.Mat();
    const cv::Mat before = image.clone();
    cv::Mat part(0, image.cols, type, image.data, image.step[0]);
    ASSERT_EQ(converter.ROIImageExtraction(image, roi, &part, 1, 9), 0);
    EXPECT_EQ(part.data, image(cover.box).data);
    EXPECT_EQ(part.size(), cover.box.size());
    EXPECT_TRUE(SameImage(image, before));
  });
}

TEST(RoiExtraction, OtherOutputsWithoutRowsGetACopy) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({10, 8}, 6);
  cv::Mat image = RandomBytes(kSize, CV_8UC1, 4);
  const cv::Mat expected = PlainExtraction(image, Cover(roi, kSize), true, 9);
  for (const cv::Mat& other :
       {cv::Mat(0, image.cols, CV_8UC1, image.data + 1, image.step[0]),
        cv::Mat(0, image.cols - 1, CV_8UC1, image.data, image.step[0]),
        cv::Mat(0, image.cols, CV_8SC1, image.data, image.step[0]), cv::Mat(0, 0, CV_8UC1)}) {
    cv::Mat out = other;
    ASSERT_EQ(converter.ROIImageExtraction(image, roi, &out, 1, 9), 0);
    EXPECT_TRUE(SameImage(out, expected));
    EXPECT_TRUE(OwnsItsPixels(out));
  }
}

// Neither a region nor an image is taken for the one before it, whichever changes.
TEST(RoiExtraction, RegionsAndSizesMayAlternate) {
  KelROIDataConvert converter;
  const cv::Mat images[] = {RandomBytes({30, 20}, CV_8UC1, 1), RandomBytes({11, 20}, CV_8UC1, 2),
                            RandomBytes({30, 9}, CV_8UC3, 3)};
  KelROI changing = KelROI::Circle({8, 6}, 5);
  KelROI rois[] = {KelROI::Circle({8, 6}, 5),         KelROI::Circle({7, 6}, 5),
                   KelROI::Ellipse({8, 6}, 5, 3, 30), KelROI::Region(KelRegion(3, 3)),
                   KelROI::Annulus({8, 6}, 2, 5),     KelROI::Circle({400, 6}, 5)};
  for (int round = 0; round < 3; ++round) {
    for (const cv::Mat& image : images) {
      for (KelROI& roi : rois) {
        cv::Mat pixels = image.clone();
        changing = roi;
        for (KelROI* same : {&roi, &changing}) {
          const Cover cover(*same, pixels.size());
          cv::Mat out;
          const KelLong status = converter.ROIImageExtraction(pixels, *same, &out, 1, 7);
          ASSERT_EQ(status, cover.box.empty() ? KEL_ROI_ERR_OUTSIDE : 0);
          if (status == 0) {
            EXPECT_TRUE(SameImage(out, PlainExtraction(image, cover, true, 7)));
          }
        }
      }
    }
  }
}

// Rows of a padded matrix, and rows that follow each other.
TEST(RoiRestore, WritesAnOutputThatFitsAndLiesApart) {
  KelROIDataConvert converter;
  ForEveryTypeLayoutAndRegion([&](int type, Layout layout, KelROI& roi, const Cover& cover) {
    cv::Mat image = RandomBytes(kSize, type, 3);
    cv::Mat part = RandomBytes(cover.box.size(), type, 4);
    GuardedImage out(RandomBytes(kSize, type, 5), layout.gap, layout.margin);
    cv::Mat written = out.Mat();
    ASSERT_EQ(converter.ROIImageRestore(image, part, roi, &written, 1), 0);
    EXPECT_EQ(written.data, out.Mat().data);
    EXPECT_TRUE(SameImage(written, PlainRestore(image, part, cover, true)));
    EXPECT_TRUE(out.SurroundingsUntouched());
  });
}

// The part lies where it belongs, and is left there.
TEST(RoiRestore, WritesAroundAPartThatLiesInTheOutput) {
  KelROIDataConvert converter;
  ForEveryTypeLayoutAndRegion([&](int type, Layout layout, KelROI& roi, const Cover& cover) {
    cv::Mat image = RandomBytes(kSize, type, 3);
    for (const int masked : {0, 1}) {
      GuardedImage out(RandomBytes(kSize, type, 5), layout.gap, layout.margin);
      cv::Mat part = out.Mat()(cover.box);
      const cv::Mat expected = PlainRestore(image, part.clone(), cover, masked != 0);
      cv::Mat written = WithHiddenRows(out.Mat());
      ASSERT_EQ(converter.ROIImageRestore(image, part, roi, &written, masked), 0);
      EXPECT_EQ(written.data, out.Mat().data);
      EXPECT_TRUE(SameImage(written, expected));
      EXPECT_TRUE(out.SurroundingsUntouched());
    }
  });
}

TEST(RoiRestore, LeavesAPartAloneThatLiesInAnOutputWithItsRows) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({10, 8}, 6);
  const Cover cover(roi, kSize);
  cv::Mat image = RandomBytes(kSize, CV_8UC3, 3);
  const cv::Mat whole = RandomBytes(kSize, CV_8UC3, 5);
  const cv::Mat before = whole.clone();
  cv::Mat part = whole(cover.box);
  cv::Mat out = whole;
  ASSERT_EQ(converter.ROIImageRestore(image, part, roi, &out, 1), 0);
  EXPECT_TRUE(SameImage(out, PlainRestore(image, before(cover.box).clone(), cover, true)));
  EXPECT_TRUE(SameImage(whole, before));
}

TEST(RoiRestore, UsesTheRowsThatAnOutputHides) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({10, 8}, 6);
  const Cover cover(roi, kSize);
  cv::Mat image = RandomBytes(kSize, CV_8UC3, 3);
  for (const bool part_lies_in_it : {false, true}) {
    const cv::Mat own = RandomBytes(kSize, CV_8UC3, 5);
    cv::Mat part = part_lies_in_it ? own(cover.box) : RandomBytes(cover.box.size(), CV_8UC3, 6);
    const cv::Mat expected = PlainRestore(image, part.clone(), cover, true);
    cv::Mat out = WithHiddenRows(own);
    ASSERT_EQ(converter.ROIImageRestore(image, part, roi, &out, 1), 0);
    EXPECT_EQ(out.data, own.data);
    EXPECT_TRUE(SameImage(out, expected));
  }
  // Too few or too many rows, rows of another width, and rows among others: those are not written.
  cv::Mat part = RandomBytes(cover.box.size(), CV_8UC3, 6);
  const cv::Mat expected = PlainRestore(image, part, cover, true);
  const cv::Mat canvas = RandomBytes({kSize.width, kSize.height + 2}, CV_8UC3, 7);
  const cv::Mat wide = RandomBytes({kSize.width + 2, kSize.height}, CV_8UC3, 8);
  for (const cv::Mat& other :
       {RandomBytes({kSize.width, kSize.height - 1}, CV_8UC3, 5), canvas, wide,
        canvas.rowRange(0, kSize.height), canvas.rowRange(1, kSize.height + 1),
        wide.colRange(0, kSize.width), wide.colRange(1, kSize.width + 1)}) {
    const cv::Mat before = other.clone();
    cv::Mat out = WithHiddenRows(other);
    ASSERT_EQ(converter.ROIImageRestore(image, part, roi, &out, 1), 0);
    EXPECT_TRUE(SameImage(out, expected));
    EXPECT_TRUE(SameImage(other, before));
  }
}

TEST(RoiRestore, LeavesAnOutputAloneThatDoesNotFitOrOverlapsAnInput) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Rectangle(1, 1, 3, 2);
  const cv::Mat canvas = RandomBytes({kSize.width, 2 * kSize.height}, CV_8UC1, 3);
  cv::Mat image = canvas.rowRange(0, kSize.height);
  cv::Mat part = canvas(cv::Rect(0, kSize.height + 2, 3, 2));
  const cv::Mat expected = PlainRestore(image.clone(), part.clone(), Cover(roi, kSize), true);
  for (const cv::Mat& other :
       {image, canvas.rowRange(1, kSize.height + 1), canvas.rowRange(kSize.height, canvas.rows),
        cv::Mat(kSize, CV_8UC3), cv::Mat(kSize, CV_16UC1), cv::Mat(3, 3, CV_8UC1), cv::Mat()}) {
    cv::Mat out = other;
    ASSERT_EQ(converter.ROIImageRestore(image, part, roi, &out, 1), 0);
    EXPECT_NE(out.data, other.data);
    EXPECT_TRUE(SameImage(out, expected));
  }
}

TEST(RoiRestore, TakesThePixelsInsideTheShapeFromThePart) {
  KelROIDataConvert converter;
  ForEveryTypeLayoutAndRegion([&](int type, Layout layout, KelROI& roi, const Cover& cover) {
    GuardedImage image(RandomBytes(kSize, type, 5), layout.gap, layout.margin);
    GuardedImage part(RandomBytes(cover.box.size(), type, 6), layout.gap, layout.margin);
    const cv::Mat before = image.Mat().clone();
    const cv::Mat part_before = part.Mat().clone();
    for (const int masked : {0, 1}) {
      cv::Mat out;
      ASSERT_EQ(converter.ROIImageRestore(image.Mat(), part.Mat(), roi, &out, masked), 0);
      EXPECT_TRUE(SameImage(out, PlainRestore(before, part_before, cover, masked != 0)));
      EXPECT_TRUE(OwnsItsPixels(out));
    }
    EXPECT_TRUE(SameImage(image.Mat(), before));
    EXPECT_TRUE(image.SurroundingsUntouched());
    EXPECT_TRUE(SameImage(part.Mat(), part_before));
    EXPECT_TRUE(part.SurroundingsUntouched());
  });
}

TEST(RoiRestore, OfWhatWasCutOutGivesTheImage) {
  KelROIDataConvert converter;
  cv::Mat image = RandomBytes(kSize, CV_16UC3, 7);
  for (NamedRegion& region : Regions()) {
    cv::Mat part;
    cv::Mat out;
    ASSERT_EQ(converter.ROIImageExtraction(image, region.roi, &part, 1, 0), 0) << region.name;
    ASSERT_EQ(converter.ROIImageRestore(image, part, region.roi, &out, 1), 0) << region.name;
    EXPECT_TRUE(SameImage(out, image)) << region.name;
  }
}

TEST(RoiRestore, OutputMayBeAnInputOrShareItsMemory) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({10, 8}, 6);
  const Cover cover(roi, kSize);
  const cv::Mat original = RandomBytes(kSize, CV_8UC3, 8);
  const cv::Mat original_part = RandomBytes(cover.box.size(), CV_8UC3, 9);
  const cv::Mat expected = PlainRestore(original, original_part, cover, true);

  cv::Mat image = original.clone();
  cv::Mat part = original_part.clone();
  cv::Mat keeper = image;
  ASSERT_EQ(converter.ROIImageRestore(image, part, roi, &image, 1), 0);
  EXPECT_TRUE(SameImage(image, expected));
  EXPECT_TRUE(SameImage(keeper, original));

  ASSERT_EQ(converter.ROIImageRestore(keeper, part, roi, &part, 1), 0);
  EXPECT_TRUE(SameImage(part, expected));

  cv::Mat sharing = keeper;
  part = keeper(cover.box);  // a part that lies in the image
  ASSERT_EQ(converter.ROIImageRestore(keeper, part, roi, &sharing, 1), 0);
  EXPECT_TRUE(SameImage(sharing, original));
  EXPECT_TRUE(SameImage(keeper, original));
}

TEST(RoiRestore, RefusesAPartOfAnotherSizeOrType) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Rectangle(2, 3, 5, 4);
  cv::Mat image = RandomBytes(kSize, CV_8UC3, 10);
  const int cube[] = {4, 5, 1};
  std::vector<cv::Mat> parts = {cv::Mat(),
                                cv::Mat(5, 4, CV_8UC3),
                                cv::Mat(4, 6, CV_8UC3),
                                cv::Mat(4, 5, CV_8UC1),
                                cv::Mat(4, 5, CV_16UC3),
                                cv::Mat(3, cube, CV_8UC3)};
  for (std::size_t i = 0; i < parts.size(); ++i) {
    cv::Mat out(1, 1, CV_8UC1, cv::Scalar(3));
    EXPECT_EQ(converter.ROIImageRestore(image, parts[i], roi, &out, 1), KEL_ROI_ERR_PART) << i;
    EXPECT_TRUE(SameImage(out, cv::Mat(1, 1, CV_8UC1, cv::Scalar(3)))) << i;
  }
}

TEST(RoiMask, IsWhiteInsideAndBlackOutsideOrTheOtherWayRound) {
  KelROIDataConvert converter;
  for (const int type : {CV_8UC1, CV_16UC3, CV_64FC4}) {
    cv::Mat image(kSize, type);
    for (NamedRegion& region : Regions()) {
      const Cover cover(region.roi, kSize);
      cv::Mat mask;
      ASSERT_EQ(converter.GenMaskImage(image, region.roi, &mask, 1, 0), 0) << region.name;
      EXPECT_TRUE(SameImage(mask, cover.grid)) << region.name;
      EXPECT_TRUE(OwnsItsPixels(mask));
      ASSERT_EQ(converter.GenMaskImage(image, region.roi, &mask, 1, 1), 0) << region.name;
      EXPECT_TRUE(SameImage(mask, 255 - cover.grid)) << region.name;
    }
  }
}

TEST(RoiMask, NotFilledIsTheRim) {
  KelROIDataConvert converter;
  cv::Mat image(kSize, CV_8UC1);
  for (NamedRegion& region : Regions()) {
    const Cover cover(region.roi, kSize);
    cv::Mat rim = cv::Mat::zeros(kSize, CV_8UC1);
    const cv::Rect all({}, kSize);
    ForEachPixel(kSize, [&](cv::Point pixel) {
      const auto covered = [&](int dx, int dy) {
        const cv::Point neighbour = pixel + cv::Point(dx, dy);
        return all.contains(neighbour) && cover.Has(neighbour);
      };
      if (cover.Has(pixel) &&
          !(covered(1, 0) && covered(-1, 0) && covered(0, 1) && covered(0, -1))) {
        rim.at<uchar>(pixel) = 255;
      }
    });
    cv::Mat mask;
    ASSERT_EQ(converter.GenMaskImage(image, region.roi, &mask, 0, 0), 0) << region.name;
    EXPECT_TRUE(SameImage(mask, rim)) << region.name;
    ASSERT_EQ(converter.GenMaskImage(image, region.roi, &mask, 0, 1), 0) << region.name;
    EXPECT_TRUE(SameImage(mask, 255 - rim)) << region.name;
  }
}

TEST(RoiMask, LeavesOtherOutputsAlone) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({10, 8}, 6);
  const cv::Mat canvas = RandomBytes({kSize.width + 1, kSize.height}, CV_8UC1, 3);
  cv::Mat image = RandomBytes(kSize, CV_8UC1, 4);
  cv::Mat without_rows = image;
  without_rows.resize(0);
  const std::vector<cv::Mat> before = {canvas.clone(), image.clone()};
  for (const cv::Mat& other : {cv::Mat(image), without_rows, cv::Mat(canvas),
                               cv::Mat(canvas.colRange(0, kSize.width)), cv::Mat(kSize, CV_8SC1)}) {
    cv::Mat out = other;
    ASSERT_EQ(converter.GenMaskImage(image, roi, &out, 1, 0), 0);
    EXPECT_NE(out.data, other.data);
    EXPECT_TRUE(SameImage(out, Cover(roi, kSize).grid));
    EXPECT_TRUE(SameImage(canvas, before[0]));
    EXPECT_TRUE(SameImage(image, before[1]));
  }
}

TEST(RoiMask, MayReplaceTheImageItIsMadeFor) {
  KelROIDataConvert converter;
  KelROI roi = KelROI::Circle({10, 8}, 6);
  cv::Mat image = RandomBytes(kSize, CV_8UC1, 11);
  const cv::Mat keeper = image;
  const cv::Mat before = image.clone();
  ASSERT_EQ(converter.GenMaskImage(image, roi, &image, 1, 0), 0);
  EXPECT_TRUE(SameImage(image, Cover(roi, kSize).grid));
  EXPECT_TRUE(SameImage(keeper, before));
}

// The status of all three calls, which must leave the output as it was.
KelLong StatusOfAll(cv::Mat& image, KelROI roi) {
  KelROIDataConvert converter;
  const cv::Mat mark(2, 2, CV_8UC1, cv::Scalar(3));
  cv::Mat part(1, 1, CV_8UC1);
  cv::Mat out = mark.clone();
  const KelLong status = converter.ROIImageExtraction(image, roi, &out, 1, 0);
  EXPECT_TRUE(SameImage(out, mark));
  EXPECT_EQ(converter.ROIImageRestore(image, part, roi, &out, 1), status);
  EXPECT_TRUE(SameImage(out, mark));
  EXPECT_EQ(converter.GenMaskImage(image, roi, &out, 1, 0), status);
  EXPECT_TRUE(SameImage(out, mark));
  return status;
}

TEST(RoiConvert, EmptyImageIsRefusedFirst) {
  const int sizes[] = {3, 3, 3};
  std::vector<cv::Mat> images = {cv::Mat(), cv::Mat(0, 5, CV_8UC1), cv::Mat(3, sizes, CV_8UC1)};
  for (cv::Mat& image : images) {
    EXPECT_EQ(StatusOfAll(image, KelROI::WholeImage()), KEL_ROI_ERR_IMAGE);
    EXPECT_EQ(StatusOfAll(image, KelROI(KEL_ROI_LINE)), KEL_ROI_ERR_IMAGE);
  }
}

TEST(RoiConvert, KindWithoutGeometryIsRefused) {
  cv::Mat image(kSize, CV_8UC1);
  for (int kind = -1; kind <= 13; ++kind) {
    if (kind != KEL_ROI_WHOLE_IMAGE) {
      EXPECT_EQ(StatusOfAll(image, KelROI(static_cast<KelROIType>(kind))), KEL_ROI_ERR_KIND)
          << kind;
    }
  }
}

TEST(RoiConvert, ShapeWithoutPixelsInTheImageIsRefused) {
  cv::Mat image(kSize, CV_8UC1);
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  for (const KelROI& roi :
       {KelROI::Rectangle(23, 0, 5, 5), KelROI::Rectangle(0, 17, 5, 5),
        KelROI::Rectangle(-5, 0, 5, 5), KelROI::Rectangle(2, 2, 0, 5),
        KelROI::Rectangle(2.25, 2.25, 0.5, 0.5), KelROI::Rectangle(kNan, 0, 5, 5),
        KelROI::RotatedRectangle({-40, 5}, 10, 10, 45), KelROI::Circle({5, 5}, -1),
        KelROI::Circle({-5, 5}, 4.5), KelROI::Ellipse({5, 1e300}, 3, 3, 0),
        KelROI::Annulus({5, 5}, 4, 3), KelROI::Annulus({11, 8}, 100, 200), KelROI::Polygon({}),
        KelROI::Polygon({{30, 0}, {40, 0}, {35, 9}}), KelROI::Region(KelRegion(10, 10))}) {
    EXPECT_EQ(StatusOfAll(image, roi), KEL_ROI_ERR_OUTSIDE) << roi.ROIType();
  }
}

TEST(RoiConvert, NullOutputIsRefused) {
  KelROIDataConvert converter;
  cv::Mat image;
  cv::Mat part;
  KelROI roi;
  EXPECT_EQ(converter.ROIImageExtraction(image, roi, nullptr, 1, 0), KEL_ROI_ERR_OUTPUT);
  EXPECT_EQ(converter.ROIImageRestore(image, part, roi, nullptr, 1), KEL_ROI_ERR_OUTPUT);
  EXPECT_EQ(converter.GenMaskImage(image, roi, nullptr, 1, 0), KEL_ROI_ERR_OUTPUT);
}

TEST(RoiConvert, ConcurrentCallsOnOneObjectGiveTheSameResults) {
  KelROIDataConvert converter;
  cv::Mat image = RandomBytes(kSize, CV_8UC3, 12);
  KelROI roi = KelROI::Circle({10, 8}, 6);
  const Cover cover(roi, kSize);
  const cv::Mat expected = PlainExtraction(image, cover, true, 3);
  std::atomic<int> wrong = 0;
  const auto work = [&] {
    for (int i = 0; i < 200; ++i) {
      cv::Mat part;
      cv::Mat restored;
      cv::Mat mask;
      const bool ok = converter.ROIImageExtraction(image, roi, &part, 1, 3) == 0 &&
                      converter.ROIImageRestore(image, part, roi, &restored, 1) == 0 &&
                      converter.GenMaskImage(image, roi, &mask, 1, 0) == 0 &&
                      SameImage(part, expected) && SameImage(restored, image) &&
                      SameImage(mask, cover.grid);
      wrong += ok ? 0 : 1;
    }
  };
  std::thread threads[4];
  for (std::thread& thread : threads) {
    thread = std::thread(work);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

TEST(RoiConvert, ResultThatDoesNotFitInMemoryIsAStatus) {
  // Geometry alone: making a mask of it reads no pixel, and restoring fails before it reads one.
  uchar pixel = 0;
  constexpr int kSide = 1 << 23;
  cv::Mat image(kSide, kSide, CV_8UC1, &pixel);
  cv::Mat part(1, 1, CV_8UC1);
  KelROI roi = KelROI::Rectangle(0, 0, 1, 1);
  KelROIDataConvert converter;
  cv::Mat out;
  EXPECT_EQ(converter.GenMaskImage(image, roi, &out, 1, 0), KEL_ROI_ERR_MEMORY);
  EXPECT_EQ(converter.ROIImageRestore(image, part, roi, &out, 1), KEL_ROI_ERR_MEMORY);
  KelROI large = KelROI::Rectangle(0, 0, kSide, kSide - 1);
  EXPECT_EQ(converter.ROIImageExtraction(image, large, &out, 0, 0), KEL_ROI_ERR_MEMORY);
  EXPECT_TRUE(out.empty());
}

}  // namespace
