#include <KELRA/KelData.h>
#include <gtest/gtest.h>

#include <opencv2/core.hpp>

#include "test_images.h"

namespace {

using KELRA::KelImage;
using kelra_test::RandomImage;
using kelra_test::SameImage;

TEST(Image, DefaultIsEmpty) {
  const KelImage image;
  EXPECT_EQ(image.Width(), 0);
  EXPECT_EQ(image.Height(), 0);
  EXPECT_EQ(image.ImageData(), nullptr);
  EXPECT_TRUE(image.Mat().empty());
}

TEST(Image, TellsTheGeometryAndDepthOfItsMatrix) {
  for (int depth = CV_8U; depth <= CV_64F; ++depth) {
    for (const int channels : {1, 2, 3, 4}) {
      const cv::Mat mat(5, 7, CV_MAKETYPE(depth, channels));
      const KelImage image(mat);
      EXPECT_EQ(image.Width(), 7);
      EXPECT_EQ(image.Height(), 5);
      EXPECT_EQ(image.Channels(), channels);
      EXPECT_EQ(static_cast<int>(image.BitDepth()), depth);
      EXPECT_EQ(image.ImageData(), mat.data);
    }
  }
}

TEST(Image, WithoutColumnsKeepsItsRows) {
  const KelImage image(cv::Mat(10, 0, CV_8UC1));
  EXPECT_EQ(image.Width(), 0);
  EXPECT_EQ(image.Height(), 10);
}

TEST(Image, OfMoreThanTwoDimensionsHasNoSize) {
  const int sizes[] = {2, 3, 4};
  const KelImage image(cv::Mat(3, sizes, CV_8UC1));
  EXPECT_EQ(image.Width(), 0);
  EXPECT_EQ(image.Height(), 0);
}

TEST(Image, HasNoSizeOnceAnEmptyOneIsAssignedToMoreThanTwoDimensions) {
  const int sizes[] = {2, 3, 4};
  const KelImage empty;
  KelImage image(cv::Mat(3, sizes, CV_8UC1));
  image = empty;
  EXPECT_EQ(image.Width(), 0);
  EXPECT_EQ(image.Height(), 0);
}

TEST(Image, CopiesSharePixels) {
  KelImage image(RandomImage(3, 4, CV_8UC1));
  KelImage copy(image);
  KelImage assigned;
  assigned = image;
  image.Mat().at<uchar>(1, 2) = 77;
  EXPECT_EQ(copy.Mat().at<uchar>(1, 2), 77);
  EXPECT_EQ(assigned.Mat().at<uchar>(1, 2), 77);
}

TEST(Image, DeepCopyOwnsItsPixels) {
  KelImage image(RandomImage(3, 4, CV_16UC3));
  const cv::Mat before = image.Mat().clone();
  const KelImage copy = image.DeepCopy();
  image.Mat().setTo(cv::Scalar::all(1));
  EXPECT_NE(copy.ImageData(), image.ImageData());
  EXPECT_TRUE(SameImage(copy.Mat(), before));
}

TEST(Image, DeepCopyOfAPartOfALargerMatrixHoldsThePartAlone) {
  const cv::Mat whole = RandomImage(9, 11, CV_8UC3);
  const cv::Mat part = whole(cv::Rect(2, 3, 5, 4));
  const KelImage copy = KelImage(part).DeepCopy();
  EXPECT_TRUE(SameImage(copy.Mat(), part));
  EXPECT_TRUE(copy.Mat().isContinuous());
}

TEST(Image, DeepCopyOfAnEmptyImageIsEmpty) { EXPECT_TRUE(KelImage().DeepCopy().Mat().empty()); }

}  // namespace
