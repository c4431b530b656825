#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "recorded_log.h"
#include "test_images.h"

namespace {

using namespace KELRA;
using kelra_test::ExitRecord;
using kelra_test::LogRecord;
using kelra_test::RandomImage;
using kelra_test::SameImage;
using kelra_test::StartRecord;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

KelImageArray RandomImages(int count, int rows, int columns, int type) {
  KelImageArray images;
  for (int i = 0; i < count; ++i) {
    images.Append(KelImage(RandomImage(rows, columns, type, static_cast<std::uint64_t>(i) + 1)));
  }
  return images;
}

KelPointArray NoOffsets(int count) {
  KelPointArray offsets;
  for (int i = 0; i < count; ++i) offsets.Append({0, 0});
  return offsets;
}

KelLong Paste(KelImageArray& images, KelImage* result, int rows, int columns,
              KelPointArray offsets) {
  KelVarArray values;
  return KelImageOperation().Paste(images, result, rows, columns, offsets, values);
}

KelLong PasteOverlapping(KelImageArray& images, KelImage* result, int rows, int columns,
                         int overlap_x, int overlap_y) {
  return KelImageOperation().Paste(images, result, rows, columns, overlap_x, overlap_y);
}

// Pixel by pixel: each goes to its place on the canvas, if that is one.
void PutPixels(const cv::Mat& image, long left, long top, cv::Mat* canvas) {
  for (int row = 0; row < image.rows; ++row) {
    for (int column = 0; column < image.cols; ++column) {
      const long x = left + column;
      const long y = top + row;
      if (x >= 0 && x < canvas->cols && y >= 0 && y < canvas->rows) {
        image(cv::Rect(column, row, 1, 1))
            .copyTo((*canvas)(cv::Rect(static_cast<int>(x), static_cast<int>(y), 1, 1)));
      }
    }
  }
}

TEST(GridPaste, TilesImagesRowByRow) {
  for (const int type : kelra_test::kPixelTypes) {
    KelImageArray images = RandomImages(6, 5, 7, type);
    KelImage result;
    ASSERT_EQ(Paste(images, &result, 2, 3, NoOffsets(6)), STATUS_OK);
    cv::Mat expected = cv::Mat::zeros(10, 21, type);
    for (int i = 0; i < 6; ++i) {
      images[i].Mat().copyTo(expected(cv::Rect(i % 3 * 7, i / 3 * 5, 7, 5)));
    }
    EXPECT_TRUE(SameImage(result.Mat(), expected));
  }
}

// Shared out; where images lie over each other the later one shows in every row.
TEST(OverlappingGridPaste, OfLargeImagesGivesTheSame) {
  KelImageArray images = RandomImages(4, 400, 1400, CV_16UC1);
  KelImage result;
  ASSERT_EQ(PasteOverlapping(images, &result, 2, 2, 150, 90), STATUS_OK);
  cv::Mat expected = cv::Mat::zeros(710, 2650, CV_16UC1);
  for (int i = 0; i < 4; ++i) {
    images[i].Mat().copyTo(expected(cv::Rect(i % 2 * 1250, i / 2 * 310, 1400, 400)));
  }
  EXPECT_TRUE(SameImage(result.Mat(), expected));
}

TEST(GridPaste, MovesEachImageByItsOffsetAndCutsItAtTheCanvas) {
  const double values[] = {0,   0.9,  -0.9, 1,    -1,    2.5,  -2.5,      6,
                           -6,  7,    -7,   14,   -14,   -21,  20.9,      21,
                           1e9, -1e9, 3e9,  -3e9, 1e300, kNaN, kInfinity, -kInfinity};
  for (const double x : values) {
    for (const double y : values) {
      KelImageArray images = RandomImages(4, 5, 7, CV_8UC3);
      KelPointArray offsets = NoOffsets(4);
      offsets[1] = {x, y};
      offsets[2] = {y, x};
      KelImage result(RandomImage(10, 14, CV_8UC3, 9));
      ASSERT_EQ(Paste(images, &result, 2, 2, offsets), STATUS_OK);
      cv::Mat expected = cv::Mat::zeros(10, 14, CV_8UC3);
      for (int i = 0; i < 4; ++i) {
        const double left = i % 2 * 7 + offsets[i].x;
        const double top = i / 2 * 5 + offsets[i].y;
        if (std::abs(left) < 1e9 && std::abs(top) < 1e9) {
          PutPixels(images[i].Mat(), static_cast<long>(left), static_cast<long>(top), &expected);
        }
      }
      EXPECT_TRUE(SameImage(result.Mat(), expected)) << x << ", " << y;
    }
  }
}

TEST(GridPaste, WithEveryImageOffTheCanvasFails) {
  for (const KelPoint& offset : {KelPoint{100, 0}, KelPoint{0, -100}, KelPoint{kNaN, 0},
                                 KelPoint{0, kInfinity}, KelPoint{14, 0}}) {
    KelImageArray images = RandomImages(2, 5, 7, CV_8UC1);
    const cv::Mat before = RandomImage(5, 14, CV_8UC1, 9);
    KelImage result(before.clone());
    kelra_test::RecordedLog log;
    EXPECT_EQ(Paste(images, &result, 1, 2, {offset, offset}), ERR_PASTE_WORK);
    EXPECT_TRUE(SameImage(result.Mat(), before));
    EXPECT_EQ(log.Take(), std::vector<LogRecord>{StartRecord("Paste2", 9800)});
  }
}

TEST(OverlappingGridPaste, LaterImagesCoverEarlierOnes) {
  for (const int type : kelra_test::kPixelTypes) {
    for (int overlap_x = 0; overlap_x <= 7; ++overlap_x) {
      for (int overlap_y = 0; overlap_y <= 5; ++overlap_y) {
        for (const cv::Size grid : {cv::Size(3, 2), cv::Size(6, 1), cv::Size(1, 6)}) {
          KelImageArray images = RandomImages(6, 5, 7, type);
          KelImage result;
          ASSERT_EQ(
              PasteOverlapping(images, &result, grid.height, grid.width, overlap_x, overlap_y),
              STATUS_OK);
          cv::Mat expected = cv::Mat::zeros(5 * grid.height - (grid.height - 1) * overlap_y,
                                            7 * grid.width - (grid.width - 1) * overlap_x, type);
          for (int i = 0; i < 6; ++i) {
            PutPixels(images[i].Mat(), i % grid.width * (7 - overlap_x),
                      i / grid.width * (5 - overlap_y), &expected);
          }
          EXPECT_TRUE(SameImage(result.Mat(), expected)) << overlap_x << ", " << overlap_y;
        }
      }
    }
  }
}

// The grid, its images, and what both forms answer.
struct GridCase {
  std::vector<cv::Mat> images;
  int rows, columns;
  KelLong status;
};

std::vector<GridCase> FaultyGrids() {
  const cv::Mat grey = RandomImage(5, 7, CV_8UC1);
  const cv::Mat two = RandomImage(5, 7, CV_8UC2);
  const cv::Mat floats(5, 7, CV_32FC1, cv::Scalar(0));
  const cv::Mat other = RandomImage(6, 8, CV_16UC3);
  return {{{}, 0, 0, ERR_GRID_COUNT},
          {{}, 1, 0, ERR_GRID_COUNT},
          {{}, 1, 1, ERR_GRID_COUNT},
          {{cv::Mat()}, 1, 2, ERR_GRID_COUNT},
          {{cv::Mat()}, -1, -1, ERR_GRID_COUNT},
          {{cv::Mat()}, 65537, 65535, ERR_GRID_COUNT},
          {{cv::Mat()}, 641, 6700417, ERR_GRID_COUNT},  // 2^32 + 1
          {{cv::Mat(), grey}, 1, 2, ERR_IMAGE_EMPTY},
          {{cv::Mat(0, 7, CV_32FC2), grey}, 1, 2, ERR_IMAGE_EMPTY},
          {{cv::Mat(5, 7, CV_32FC2, cv::Scalar(0)), grey}, 2, 1, ERR_CHANNEL_COUNT},
          {{two, grey}, 2, 1, ERR_CHANNEL_COUNT},
          {{floats, grey}, 2, 1, ERR_BIT_DEPTH},
          {{grey, other}, 2, 1, ERR_WIDTH_MISMATCH},
          {{grey, grey, cv::Mat()}, 3, 1, ERR_WIDTH_MISMATCH},
          {{grey, other.colRange(0, 7)}, 1, 2, ERR_HEIGHT_MISMATCH},
          {{grey, other(cv::Rect(0, 0, 7, 5))}, 1, 2, ERR_CHANNEL_MISMATCH},
          {{grey, floats}, 1, 2, ERR_DEPTH_MISMATCH},
          {{grey, RandomImage(5, 7, CV_16UC1), other}, 1, 3, ERR_DEPTH_MISMATCH}};
}

KelImageArray ImagesOf(const GridCase& grid) {
  KelImageArray images;
  for (const cv::Mat& image : grid.images) images.Append(KelImage(image));
  return images;
}

TEST(GridPaste, TellsTheFirstFaultAndLeavesTheOutput) {
  for (const GridCase& grid : FaultyGrids()) {
    KelImageArray images = ImagesOf(grid);
    const cv::Mat before = RandomImage(5, 14, CV_8UC1, 9);
    KelImage result(before.clone());
    kelra_test::RecordedLog log;
    EXPECT_EQ(Paste(images, &result, grid.rows, grid.columns, NoOffsets(images.Length())),
              grid.status);
    EXPECT_EQ(log.Take(), std::vector<LogRecord>{StartRecord("Paste2", 9800)});
    // The number of offsets is looked at after the grid, before the images.
    EXPECT_EQ(Paste(images, nullptr, grid.rows, grid.columns, NoOffsets(images.Length() + 1)),
              grid.status == ERR_GRID_COUNT ? ERR_GRID_COUNT : ERR_POINT_COUNT);
    EXPECT_TRUE(SameImage(result.Mat(), before));
  }
  KelImageArray images = RandomImages(2, 5, 7, CV_8UC1);
  EXPECT_EQ(Paste(images, nullptr, 1, 2, NoOffsets(1)), ERR_POINT_COUNT);
  EXPECT_EQ(Paste(images, nullptr, 1, 2, {}), ERR_POINT_COUNT);
  EXPECT_EQ(Paste(images, nullptr, 1, 2, NoOffsets(2)), ERR_IMAGE_EMPTY);
}

TEST(OverlappingGridPaste, TellsTheFirstFaultAndLeavesTheOutput) {
  for (const GridCase& grid : FaultyGrids()) {
    KelImageArray images = ImagesOf(grid);
    const cv::Mat before = RandomImage(5, 14, CV_8UC1, 9);
    KelImage result(before.clone());
    kelra_test::RecordedLog log;
    EXPECT_EQ(PasteOverlapping(images, &result, grid.rows, grid.columns, 0, 0), grid.status);
    EXPECT_EQ(PasteOverlapping(images, &result, grid.rows, grid.columns, 2, 0), grid.status);
    const LogRecord start = StartRecord("Paste3", 9925);
    EXPECT_EQ(log.Take(), (std::vector<LogRecord>{start, start}));
    EXPECT_TRUE(SameImage(result.Mat(), before));
    // Overlaps are looked at after the first image, before the others.
    const bool first_is_fine =
        grid.status == ERR_WIDTH_MISMATCH || grid.status == ERR_HEIGHT_MISMATCH ||
        grid.status == ERR_CHANNEL_MISMATCH || grid.status == ERR_DEPTH_MISMATCH;
    const KelLong status = grid.status;
    EXPECT_EQ(PasteOverlapping(images, nullptr, grid.rows, grid.columns, -1, -1),
              first_is_fine ? ERR_PARAM_4 : status);
    EXPECT_EQ(PasteOverlapping(images, nullptr, grid.rows, grid.columns, 8, 6),
              first_is_fine ? ERR_PARAM_4 : status);
    EXPECT_EQ(PasteOverlapping(images, nullptr, grid.rows, grid.columns, 7, -1),
              first_is_fine ? ERR_PARAM_5 : status);
    EXPECT_EQ(PasteOverlapping(images, nullptr, grid.rows, grid.columns, 0, 6),
              first_is_fine ? ERR_PARAM_5 : status);
  }
  KelImageArray images = RandomImages(2, 5, 7, CV_8UC1);
  EXPECT_EQ(PasteOverlapping(images, nullptr, 1, 2, 0, 0), ERR_IMAGE_EMPTY);
}

// Headers that claim more pixels than there are: only their sizes may be looked at.
TEST(GridPaste, RefusesACanvasThatNoMatrixHolds) {
  std::uint8_t sample = 0;
  const cv::Mat tall(1 << 30, 1, CV_8UC1, &sample, 1);
  KelImageArray images{KelImage(tall), KelImage(tall)};
  KelImage result;
  EXPECT_EQ(Paste(images, &result, 2, 1, NoOffsets(2)), ERR_PASTE_WORK);
  EXPECT_EQ(PasteOverlapping(images, &result, 2, 1, 0, 0), ERR_PASTE_EXCEPTION);
  EXPECT_TRUE(result.Mat().empty());
}

TEST(GridPaste, LogsStartAndExit) {
  KelImageArray images = RandomImages(2, 5, 7, CV_8UC1);
  KelImage result;
  kelra_test::RecordedLog log;
  ASSERT_EQ(Paste(images, &result, 1, 2, NoOffsets(2)), STATUS_OK);
  EXPECT_EQ(log.Take(),
            (std::vector<LogRecord>{StartRecord("Paste2", 9800), ExitRecord("Paste2", 9915)}));
  ASSERT_EQ(PasteOverlapping(images, &result, 1, 2, 1, 1), STATUS_OK);
  EXPECT_EQ(log.Take(),
            (std::vector<LogRecord>{StartRecord("Paste3", 9925), ExitRecord("Paste3", 10040)}));
}

TEST(GridPaste, GivesTheSameResultWhenTheOutputSharesAnImagesPixels) {
  KelImageArray images = RandomImages(2, 6, 6, CV_8UC1);
  KelImage separate;
  ASSERT_EQ(Paste(images, &separate, 2, 1, NoOffsets(2)), STATUS_OK);
  cv::Mat memory(12, 6, CV_8UC1);
  // The images lie in the output, in the other order.
  for (int i = 0; i < 2; ++i) {
    cv::Mat part = memory.rowRange((1 - i) * 6, (1 - i) * 6 + 6);
    images[i].Mat().copyTo(part);
    images[i].Mat() = part;
  }
  KelImage result(memory);
  ASSERT_EQ(Paste(images, &result, 2, 1, NoOffsets(2)), STATUS_OK);
  EXPECT_TRUE(SameImage(result.Mat(), separate.Mat()));
  result.Mat() = memory;
  ASSERT_EQ(PasteOverlapping(images, &result, 2, 1, 0, 0), STATUS_OK);
  EXPECT_TRUE(SameImage(result.Mat(), separate.Mat()));

  ASSERT_EQ(PasteOverlapping(images, &images[0], 1, 2, 0, 0), STATUS_OK);
  EXPECT_EQ(images[0].Mat().size(), cv::Size(12, 6));
}

TEST(GridPaste, WritesIntoAnOutputOfTheResultsSizeAndType) {
  KelImageArray images = RandomImages(2, 6, 6, CV_8UC1);
  kelra_test::GuardedImage output(RandomImage(12, 6, CV_8UC1, 7), 3, 16);
  KelImage result(output.Mat());
  ASSERT_EQ(Paste(images, &result, 2, 1, NoOffsets(2)), STATUS_OK);
  EXPECT_EQ(result.ImageData(), output.Mat().data);
  ASSERT_EQ(PasteOverlapping(images, &result, 2, 1, 0, 0), STATUS_OK);
  EXPECT_EQ(result.ImageData(), output.Mat().data);
  EXPECT_TRUE(output.SurroundingsUntouched());
}

}  // namespace
