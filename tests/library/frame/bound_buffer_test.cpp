#include "frame/bound_buffer.h"

#include <gtest/gtest.h>

#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::RandomImage;
using kelra_test::SameImage;

cv::Mat ZerosLike(const cv::Mat& mat) { return cv::Mat::zeros(mat.size(), mat.type()); }

TEST(BoundBuffer, OutputSharesTheBufferFittedToTheInput) {
  for (const int type : kelra_test::kPixelTypes) {
    cv::Mat buffer;
    KelImage output(RandomImage(2, 2, CV_8UC1));
    const KelImage input(RandomImage(5, 7, type));
    BoundBuffer bound;
    bound.Bind(buffer, input, &output);
    EXPECT_EQ(buffer.size(), cv::Size(7, 5));
    EXPECT_EQ(buffer.type(), type);
    EXPECT_EQ(output.ImageData(), buffer.data);
  }
}

TEST(BoundBuffer, AFittingBufferIsKept) {
  cv::Mat buffer(5, 7, CV_16UC3);
  const void* pixels = buffer.data;
  KelImage output;
  BoundBuffer bound;
  bound.Bind(buffer, KelImage(RandomImage(5, 7, CV_16UC3)), &output);
  EXPECT_EQ(buffer.data, pixels);
}

TEST(BoundBuffer, ABufferOfOtherSizeDepthOrChannelsIsExchangedAndKeepsItsPixels) {
  for (const cv::Mat& before : {RandomImage(4, 7, CV_8UC3), RandomImage(5, 6, CV_8UC3),
                                RandomImage(5, 7, CV_16UC3), RandomImage(5, 7, CV_8UC1)}) {
    cv::Mat buffer = before;
    const cv::Mat copy = before.clone();
    KelImage output;
    {
      BoundBuffer bound;
      bound.Bind(buffer, KelImage(RandomImage(5, 7, CV_8UC3)), &output);
    }
    EXPECT_NE(buffer.data, before.data);
    EXPECT_EQ(buffer.size(), cv::Size(7, 5));
    EXPECT_EQ(buffer.type(), CV_8UC3);
    EXPECT_TRUE(SameImage(before, copy));
  }
}

TEST(BoundBuffer, WithoutAResultItReadsAsZerosAfterTheCall) {
  cv::Mat buffer = RandomImage(5, 7, CV_16UC1);
  KelImage output;
  {
    BoundBuffer bound;
    bound.Bind(buffer, KelImage(RandomImage(5, 7, CV_16UC1)), &output);
  }
  EXPECT_TRUE(SameImage(buffer, ZerosLike(buffer)));
  EXPECT_TRUE(SameImage(output.Mat(), ZerosLike(buffer)));
}

TEST(BoundBuffer, AResultStays) {
  cv::Mat buffer;
  KelImage output;
  const cv::Mat result = RandomImage(5, 7, CV_8UC1, 3);
  {
    BoundBuffer bound;
    bound.Bind(buffer, KelImage(RandomImage(5, 7, CV_8UC1)), &output);
    result.copyTo(output.Mat());
    bound.MarkOverwritten();
  }
  EXPECT_TRUE(SameImage(buffer, result));
}

TEST(BoundBuffer, WithoutBindingNothingIsCleared) {
  cv::Mat buffer = RandomImage(5, 7, CV_8UC1);
  const cv::Mat copy = buffer.clone();
  { const BoundBuffer bound; }
  EXPECT_TRUE(SameImage(buffer, copy));
}

TEST(BoundBuffer, AnInputInTheBufferKeepsItsPixels) {
  for (const bool whole : {true, false}) {
    cv::Mat buffer = RandomImage(5, 7, CV_8UC1);
    const KelImage input(whole ? buffer : buffer(cv::Rect(3, 2, 4, 3)));
    const cv::Mat copy = input.Mat().clone();
    KelImage output;
    {
      BoundBuffer bound;
      bound.Bind(buffer, input, &output);
    }
    EXPECT_TRUE(SameImage(input.Mat(), copy));
    EXPECT_NE(buffer.data, input.Mat().data);
    EXPECT_EQ(output.ImageData(), buffer.data);
  }
}

TEST(BoundBuffer, AnotherInputInTheBufferKeepsItsPixels) {
  cv::Mat buffer = RandomImage(5, 7, CV_8UC1);
  const KelImage second(buffer(cv::Rect(3, 2, 4, 3)));
  const cv::Mat copy = second.Mat().clone();
  KelImage output;
  {
    BoundBuffer bound;
    BoundBuffer::KeepPixels(buffer, second);
    bound.Bind(buffer, KelImage(RandomImage(5, 7, CV_8UC1, 2)), &output);
  }
  EXPECT_TRUE(SameImage(second.Mat(), copy));
  EXPECT_EQ(output.ImageData(), buffer.data);
}

TEST(BoundBuffer, AnOutputInTheBufferOfAnotherSizeKeepsNothing) {
  cv::Mat buffer = RandomImage(5, 7, CV_8UC1);
  KelImage output(buffer);
  {
    BoundBuffer bound;
    bound.Bind(buffer, KelImage(RandomImage(3, 4, CV_8UC1)), &output);
  }
  EXPECT_TRUE(SameImage(output.Mat(), cv::Mat::zeros(3, 4, CV_8UC1)));
}

}  // namespace
}  // namespace KELRA
