#include <KELRA/KelImageOperation.h>

#include <string>
#include <vector>

#include "KELRA/KelDataConvert.h"
#include "KELRA/KelROIDataConvert.h"
#include "holes.h"
#include "recorded_log.h"
#include "region_of_interest.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

// '#' is an object.
cv::Mat Drawn(const std::vector<std::string>& rows) {
  cv::Mat image(static_cast<int>(rows.size()), static_cast<int>(rows[0].size()), CV_8UC1);
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      const char pixel = rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
      image.at<uchar>(row, column) = pixel == '#' ? 255 : 0;
    }
  }
  return image;
}

cv::Mat Model(const cv::Mat& image, bool holes_only) {
  return holes_only ? kelra_reference::Holes(image) : kelra_reference::Filled(image);
}

KelLong Compute(const cv::Mat& image, KelROI roi, bool holes_only, KelImage* dst) {
  KelImage src(image);
  return KelImageOperation().ImageFill(src, roi, holes_only, dst);
}

void ExpectModel(const cv::Mat& image, const std::string& what) {
  for (const bool holes_only : {false, true}) {
    const cv::Mat before = image.clone();
    KelImage dst;
    ASSERT_EQ(Compute(image, KelROI(), holes_only, &dst), STATUS_OK) << what;
    EXPECT_TRUE(SameImage(dst.Mat(), Model(image, holes_only))) << what << ' ' << holes_only;
    EXPECT_TRUE(SameImage(image, before)) << what;
  }
}

TEST(ImageFill, IsTheFloodFillOfDrawnCases) {
  const std::vector<std::vector<std::string>> kCases = {
      {"#"},
      {"###", "#.#", "###"},
      {".....", ".###.", ".#.#.", ".###.", "....."},
      // Joined diagonally, which encloses the pixel.
      {".#.", "#.#", ".#."},
      // Background that is joined diagonally is two holes.
      {"####", "#.##", "##.#", "####"},
      // An object in the hole of an object, and a hole in that.
      {"#######", "#.....#", "#.###.#", "#.#.#.#", "#.###.#", "#.....#", "#######"},
      // An object that touches the hole's border diagonally is part of the object around it.
      {"#####", "##..#", "#.#.#", "#...#", "#####"},
      // The border of the image does not enclose.
      {"#.#", "#.#", "###"},
      {"###", "#..", "###"},
      // A hole of one pixel's width.
      {"######", "#....#", "######"},
      {"#####.", "#.#.#.", "###.##", "#.#..#", "######"},
      {"###.###", "#.#.#.#", "###.###"},
  };
  for (const auto& rows : kCases) {
    std::string what;
    for (const std::string& row : rows) {
      what += '\n' + row;
    }
    ExpectModel(Drawn(rows), what);
  }
}

TEST(ImageFill, IsTheFloodFillOfRandomImagesOfEveryDensity) {
  cv::RNG random(7);
  for (int i = 0; i < 1500; ++i) {
    const int rows = random.uniform(1, 24);
    const int columns = random.uniform(1, 24);
    const int density = random.uniform(5, 100);
    cv::Mat image(rows, columns, CV_8UC1);
    for (int row = 0; row < rows; ++row) {
      for (int column = 0; column < columns; ++column) {
        // Any value that is not 0 is part of an object.
        image.at<uchar>(row, column) =
            random.uniform(0, 100) < density ? static_cast<uchar>(random.uniform(1, 256)) : 0;
      }
    }
    if (cv::countNonZero(image) > 0) {
      ExpectModel(image, "image " + std::to_string(i));
    }
  }
}

TEST(ImageFill, IsTheFloodFillOfManyNestedRings) {
  cv::Mat image = cv::Mat::zeros(199, 203, CV_8UC1);
  for (int ring = 0; 4 * ring < 190; ++ring) {
    const cv::Rect box(2 * ring, 2 * ring, 203 - 4 * ring, 199 - 4 * ring);
    image(box).setTo(255);
    image(cv::Rect(box.x + 1, box.y + 1, box.width - 2, box.height - 2)).setTo(0);
  }
  ExpectModel(image, "rings");
}

TEST(ImageFill, ReadsAndWritesParts) {
  cv::Mat pixels = Drawn({"........", ".#####..", ".#...##.", ".#.#..#.", ".######.", "........"});
  GuardedImage guarded(pixels, 7, 5);
  for (const bool holes_only : {false, true}) {
    KelImage dst;
    ASSERT_EQ(Compute(guarded.Mat(), KelROI(), holes_only, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), Model(pixels, holes_only)));
    EXPECT_TRUE(guarded.SurroundingsUntouched());
    EXPECT_TRUE(SameImage(guarded.Mat(), pixels));
  }
}

TEST(ImageFill, MayBeWrittenOverItsInput) {
  const cv::Mat pixels = Drawn({"###.", "#.#.", "###.", "...."});
  KelImageOperation object;
  KelROI whole;
  for (const bool holes_only : {false, true}) {
    KelImage image(pixels.clone());
    ASSERT_EQ(object.ImageFill(image, whole, holes_only, &image), STATUS_OK);
    EXPECT_TRUE(SameImage(image.Mat(), Model(pixels, holes_only)));

    cv::Mat larger = cv::Mat::zeros(6, 4, CV_8UC1);
    pixels.copyTo(larger.rowRange(0, 4));
    KelImage upper(larger.rowRange(0, 4));
    KelImage lower(larger.rowRange(1, 5));
    ASSERT_EQ(object.ImageFill(upper, whole, holes_only, &lower), STATUS_OK);
    EXPECT_TRUE(SameImage(lower.Mat(), Model(pixels, holes_only)));
  }
}

TEST(ImageFill, WritesAnOutputThatFitsInPlaceAndTouchesNothingBesideIt) {
  const cv::Mat pixels = Drawn({"####.", "#..#.", "####."});
  for (const bool holes_only : {false, true}) {
    GuardedImage guarded(RandomImage(3, 5, CV_8UC1), 5, 9);
    KelImage dst(guarded.Mat());
    ASSERT_EQ(Compute(pixels, KelROI(), holes_only, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(guarded.Mat(), Model(pixels, holes_only)));
    EXPECT_TRUE(guarded.SurroundingsUntouched());
  }
}

TEST(ImageFill, WorksOnTheRegionsPartAndKeepsTheInputOutside) {
  KelRegion runs(30, 20);
  for (int row = 2; row < 15; ++row) {
    runs.Append({row, 3, 9 + row});
  }
  cv::RNG random(3);
  for (const KelROI& roi :
       {KelROI::Rectangle(3, 2, 20, 15), KelROI::Circle({14, 9}, 8), KelROI::Region(runs)}) {
    KelROI region = roi;
    for (int i = 0; i < 40; ++i) {
      cv::Mat image(20, 30, CV_8UC1);
      random.fill(image, cv::RNG::UNIFORM, 0, 2);
      image = image * 255;
      for (const bool holes_only : {false, true}) {
        cv::Mat mask;
        ASSERT_EQ(KelROIDataConvert().GenMaskImage(image, region, &mask, 1, 0), 0);
        KelImage dst;
        ASSERT_EQ(Compute(image, region, holes_only, &dst), STATUS_OK);
        EXPECT_TRUE(SameImage(
            dst.Mat(), kelra_reference::OnPart(
                           image, mask, [&](const cv::Mat& p) { return Model(p, holes_only); })))
            << region.ROIType();
      }
    }
  }
}

// A grid of single pixels, each an object of its own.
cv::Mat Dots(int count) {
  cv::Mat image = cv::Mat::zeros(2 * (count / 100 + 1), 200, CV_8UC1);
  for (int i = 0; i < count; ++i) {
    image.at<uchar>(2 * (i / 100), 2 * (i % 100)) = 255;
  }
  return image;
}

TEST(ImageFill, AcceptsTenThousandContoursAndNoMore) {
  KelImage dst;
  const cv::Mat most = Dots(10000);
  ASSERT_EQ(Compute(most, KelROI(), false, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), most));
  ASSERT_EQ(Compute(most, KelROI(), true, &dst), STATUS_OK);
  EXPECT_EQ(cv::countNonZero(dst.Mat()), 0);
  EXPECT_EQ(Compute(Dots(10001), KelROI(), false, &dst), ERR_COUNT_LIMIT);
}

TEST(ImageFill, ReportsTheFirstFailingCheckAndLeavesTheOutputAlone) {
  const cv::Mat good = Drawn({"###", "#.#", "###"});
  struct {
    const char* what;
    cv::Mat image;
    KelROI roi;
    KelLong status;
  } const kCases[] = {
      {"empty, depth", cv::Mat(0, 5, CV_16UC3), KelROI(), ERR_IMAGE_EMPTY},
      {"depth, channels", cv::Mat(4, 5, CV_16UC3), KelROI(), ERR_BIT_DEPTH},
      {"channels, region", cv::Mat(4, 5, CV_8UC3), KelROI(KEL_ROI_POINT), ERR_NOT_SINGLE_CHANNEL},
      {"region without an area, contours", cv::Mat::zeros(4, 5, CV_8UC1), KelROI(KEL_ROI_POINT),
       KEL_ROI_ERR_KIND},
      {"region outside", good, KelROI::Rectangle(10, 10, 2, 2), KEL_ROI_ERR_OUTSIDE},
      {"no object", cv::Mat::zeros(4, 5, CV_8UC1), KelROI(), ERR_FILL_NO_CONTOUR},
      {"no object in the region", good, KelROI::Rectangle(1, 1, 1, 1), ERR_FILL_NO_CONTOUR},
  };
  for (const auto& test : kCases) {
    const cv::Mat before(1, 2, CV_8UC1, cv::Scalar(3));
    KelImage dst(before);
    RecordedLog log;
    EXPECT_EQ(Compute(test.image, test.roi, false, &dst), test.status) << test.what;
    EXPECT_EQ(dst.ImageData(), before.data) << test.what;
    EXPECT_EQ(log.Take(), std::vector{StartRecord("ImageFill", 6986)}) << test.what;
  }
  EXPECT_EQ(Compute(good, KelROI(), false, nullptr), ERR_IMAGE_EMPTY);
  EXPECT_EQ(Compute(cv::Mat(4, 5, CV_8UC3), KelROI(), false, nullptr), ERR_NOT_SINGLE_CHANNEL);
}

TEST(ImageFill, LogsItsStartAndExit) {
  KelImage dst;
  RecordedLog log;
  for (const KelROI& roi : {KelROI(), KelROI::Rectangle(0, 0, 3, 3)}) {
    ASSERT_EQ(Compute(Drawn({"###", "#.#", "###"}), roi, false, &dst), STATUS_OK);
    EXPECT_EQ(log.Take(),
              (std::vector{StartRecord("ImageFill", 6986), ExitRecord("ImageFill", 7102)}));
  }
}

cv::Mat ImageOf(KelRegion region) {
  KelImage image;
  EXPECT_EQ(KelDataConvert::KelRegionToImage(region, &image), 0);
  return image.Mat();
}

TEST(ImageFillOfRegions, IsTheFloodFillOfTheRegionsImage) {
  cv::RNG random(11);
  for (int i = 0; i < 100; ++i) {
    cv::Mat pixels(12, 17, CV_8UC1);
    random.fill(pixels, cv::RNG::UNIFORM, 0, 2);
    KelImage image(pixels);
    KelRegion src;
    ASSERT_EQ(KelDataConvert::KelImageToRegion(image, &src), 0);
    KelROI whole;
    for (const bool holes_only : {false, true}) {
      KelRegion dst;
      ASSERT_EQ(KelImageOperation().ImageFill(src, whole, holes_only, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(ImageOf(dst), Model(pixels, holes_only)));
    }
    ASSERT_EQ(KelImageOperation().ImageFill(src, whole, false, &src), STATUS_OK);
    EXPECT_TRUE(SameImage(ImageOf(src), Model(pixels, false)));
  }
}

TEST(ImageFillOfRegions, PassesOnWhatTheFillingReports) {
  KelROI whole;
  KelRegion dst;
  KelRegion no_pixels;
  EXPECT_EQ(KelImageOperation().ImageFill(no_pixels, whole, false, &dst), ERR_IMAGE_EMPTY);
  KelRegion no_runs(5, 4);
  EXPECT_EQ(KelImageOperation().ImageFill(no_runs, whole, false, &dst), ERR_FILL_NO_CONTOUR);
  KelRegion one_run(5, 4);
  one_run.Append({1, 1, 2});
  EXPECT_EQ(KelImageOperation().ImageFill(one_run, whole, false, nullptr), ERR_IMAGE_EMPTY);
}

TEST(ImageFillOfRegions, LogsBothCallsAndItsExitEvenAfterAFailure) {
  KelROI whole;
  KelRegion dst;
  KelRegion region(5, 4);
  RecordedLog log;
  EXPECT_EQ(KelImageOperation().ImageFill(region, whole, false, &dst), ERR_FILL_NO_CONTOUR);
  EXPECT_EQ(log.Take(),
            (std::vector{StartRecord("ImageFill2", 7114), StartRecord("ImageFill", 6986),
                         ExitRecord("ImageFill2", 7132)}));
  region.Append({1, 1, 2});
  EXPECT_EQ(KelImageOperation().ImageFill(region, whole, false, &dst), STATUS_OK);
  EXPECT_EQ(log.Take(),
            (std::vector{StartRecord("ImageFill2", 7114), StartRecord("ImageFill", 6986),
                         ExitRecord("ImageFill", 7102), ExitRecord("ImageFill2", 7132)}));
}

}  // namespace
}  // namespace kelra_test
