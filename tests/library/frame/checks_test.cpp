#include "frame/checks.h"

#include <gtest/gtest.h>

#include <climits>
#include <initializer_list>

namespace KELRA {
namespace {

TEST(Checks, OnlyDepths0And2AreSupported) {
  for (int depth = -8; depth <= 16; ++depth) {
    EXPECT_EQ(IsSupportedDepth(static_cast<KelImageType>(depth)), depth == 0 || depth == 2)
        << depth;
  }
  for (int depth = 0; depth <= 6; ++depth) {
    const KelImage image(cv::Mat(2, 2, CV_MAKETYPE(depth, 1)));
    EXPECT_EQ(CheckBitDepth(image), depth == 0 || depth == 2 ? STATUS_OK : ERR_BIT_DEPTH) << depth;
  }
}

TEST(Checks, SameDepthWhateverTheChannels) {
  for (int first = 0; first <= 6; ++first) {
    for (int second = 0; second <= 6; ++second) {
      EXPECT_EQ(CheckSameDepth(KelImage(cv::Mat(2, 2, CV_MAKETYPE(first, 1))),
                               KelImage(cv::Mat(3, 1, CV_MAKETYPE(second, 3)))),
                first == second ? STATUS_OK : ERR_DEPTH_MISMATCH);
    }
  }
}

TEST(Checks, OneOrThreeChannelsOfAnyDepthPass) {
  for (int depth = 0; depth <= 6; ++depth) {
    for (int channels = 1; channels <= 20; ++channels) {
      const cv::Mat mat(2, 2, CV_MAKETYPE(depth, channels));
      const bool passes = channels == 1 || channels == 3;
      EXPECT_EQ(HasOneOrThreeChannels(mat), passes) << channels;
      EXPECT_EQ(CheckChannels(KelImage(mat)), passes ? STATUS_OK : ERR_CHANNEL_COUNT) << channels;
    }
  }
}

// The flag of a matrix whose rows lie apart is none of the channel count's.
TEST(Checks, PartsOfLargerImagesPassTheChannelCheck) {
  const cv::Mat whole(4, 4, CV_8UC3);
  EXPECT_TRUE(HasOneOrThreeChannels(whole(cv::Rect(1, 1, 2, 2))));
}

TEST(Checks, ImagesWithoutPixelsAreEmpty) {
  const int sizes[] = {2, 3, 4};
  EXPECT_EQ(CheckNotEmpty(KelImage()), ERR_IMAGE_EMPTY);
  EXPECT_EQ(CheckNotEmpty(KelImage(cv::Mat(10, 0, CV_8UC1))), ERR_IMAGE_EMPTY);
  EXPECT_EQ(CheckNotEmpty(KelImage(cv::Mat(0, 10, CV_8UC1))), ERR_IMAGE_EMPTY);
  EXPECT_EQ(CheckNotEmpty(KelImage(cv::Mat(3, sizes, CV_8UC1))), ERR_IMAGE_EMPTY);
  EXPECT_EQ(CheckNotEmpty(KelImage(cv::Mat(1, 1, CV_8UC1))), STATUS_OK);
}

TEST(Checks, RegionKindsWithAnAreaPass) {
  for (const int kind : {0, 1, 2, 3, 4, 6, 8, 11}) {
    EXPECT_EQ(CheckRegionKind(KelROI(static_cast<KelROIType>(kind))), STATUS_OK) << kind;
  }
  for (const int kind : {-1, 5, 7, 9, 10, 12, 13, 99, 256, INT_MAX, INT_MIN}) {
    EXPECT_EQ(CheckRegionKind(KelROI(static_cast<KelROIType>(kind))), ERR_ROI_TYPE) << kind;
  }
}

TEST(Checks, ConstantsLieWithinTheSampleRange) {
  const struct {
    int depth, value, smallest;
    bool passes;
  } cases[] = {
      {CV_8U, -1, 0, false},       {CV_8U, 0, 0, true},        {CV_8U, 255, 0, true},
      {CV_8U, 256, 0, false},      {CV_8U, INT_MAX, 0, false}, {CV_8U, INT_MIN, 0, false},
      {CV_16U, -1, 0, false},      {CV_16U, 0, 0, true},       {CV_16U, 256, 0, true},
      {CV_16U, 65535, 0, true},    {CV_16U, 65536, 0, false},  {CV_16U, INT_MAX, 0, false},
      {CV_16U, INT_MIN, 0, false}, {CV_8U, 0, 1, false},       {CV_8U, 1, 1, true},
      {CV_16U, 0, 1, false},       {CV_16U, 1, 1, true},       {CV_16U, 65536, 1, false},
  };
  for (const auto& c : cases) {
    const KelImage image(cv::Mat(2, 2, CV_MAKETYPE(c.depth, 1)));
    EXPECT_EQ(CheckConstant(image, c.value, c.smallest), c.passes ? STATUS_OK : ERR_PARAM_1)
        << "depth " << c.depth << ", value " << c.value << ", smallest " << c.smallest;
  }
}

TEST(Checks, OutputMustBeThere) {
  const KelImage image;
  EXPECT_EQ(CheckOutput(nullptr), ERR_IMAGE_EMPTY);
  EXPECT_EQ(CheckOutput(&image), STATUS_OK);
}

}  // namespace
}  // namespace KELRA
