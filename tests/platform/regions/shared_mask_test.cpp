// Masks for callers that only read them, which a thread is given again for the same shape.

#include <KELRA/KelROIDataConvert.h>
#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <thread>
#include <vector>

#include "rasterize.h"
#include "run_grid.h"
#include "test_images.h"

namespace {

using namespace KELRA;  // the statuses' and kinds' names
using kelra_test::Painted;
using kelra_test::SameImage;

const cv::Size kSize(23, 17);

cv::Mat MaskToRead(KelROI roi, cv::Size size = kSize, int filled = 1, int inverted = 0) {
  cv::Mat image(size, CV_16UC3);
  cv::Mat mask(0, size.width, CV_8UC1);
  EXPECT_EQ(KelROIDataConvert().GenMaskImage(image, roi, &mask, filled, inverted), 0);
  return mask;
}

cv::Mat Expected(const KelROI& roi, cv::Size size = kSize) {
  return Painted(Rasterize(roi.Shape(), size).runs, size);
}

KelROI RowAsRegion(int row, int repeats = 1) {
  KelRegion region(1, 1);
  for (int i = 0; i < repeats; ++i) {
    region.Append({row, 2, 9});
  }
  return KelROI::Region(region);
}

TEST(RoiSharedMask, IsTheSameMatrixForTheSameShapeAndSize) {
  const KelROI roi = KelROI::Circle({10, 8}, 6);
  const cv::Mat mask = MaskToRead(roi);
  const cv::Mat again = MaskToRead(roi);
  EXPECT_EQ(again.data, mask.data);
  EXPECT_TRUE(SameImage(again, Expected(roi)));
}

TEST(RoiSharedMask, ShowsEachShapeOnEachSize) {
  const cv::Size turned(kSize.height, kSize.width);
  const std::vector<KelROI> shapes = {KelROI::Circle({10, 8}, 6), KelROI::Rectangle(3, 2, 9, 11),
                                      RowAsRegion(4)};
  for (int round = 0; round < 2; ++round) {
    for (const cv::Size size : {kSize, turned}) {
      for (const KelROI& roi : shapes) {
        EXPECT_TRUE(SameImage(MaskToRead(roi, size), Expected(roi, size))) << roi.ROIType();
      }
    }
  }
}

TEST(RoiSharedMask, ShowsShapesThatLiveForOneCall) {
  for (int row = 0; row < kSize.height; ++row) {
    EXPECT_TRUE(SameImage(MaskToRead(RowAsRegion(row)), Expected(RowAsRegion(row)))) << row;
  }
}

TEST(RoiSharedMask, IsNotPaintedOverWhileSomebodyHoldsIt) {
  const KelROI roi = KelROI::Circle({10, 8}, 6);
  const cv::Mat held = MaskToRead(roi);
  const cv::Mat other = MaskToRead(RowAsRegion(4));
  EXPECT_NE(other.data, held.data);
  EXPECT_TRUE(SameImage(held, Expected(roi)));
  EXPECT_TRUE(SameImage(other, Expected(RowAsRegion(4))));
}

TEST(RoiSharedMask, IsTheMemoryOfTheNextOneWhenNobodyHoldsIt) {
  const void* memory = MaskToRead(KelROI::Circle({10, 8}, 6)).data;
  EXPECT_EQ(MaskToRead(RowAsRegion(4)).data, memory);
}

// Which has no shape of its own by which it could be told from one that was not remembered.
TEST(RoiSharedMask, OfTheWholeImageIsNotThatOfARegionTooLargeToRemember) {
  const KelROI large = RowAsRegion(4, 20000);
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(SameImage(MaskToRead(large), Expected(large)));
    EXPECT_TRUE(
        SameImage(MaskToRead(KelROI::WholeImage()), cv::Mat(kSize, CV_8UC1, cv::Scalar(255))));
  }
}

TEST(RoiSharedMask, IsOnlyFilledAndNotInverted) {
  const KelROI roi = KelROI::Circle({10, 8}, 6);
  const cv::Mat mask = MaskToRead(roi);
  const cv::Mat inverted = MaskToRead(roi, kSize, 1, 1);
  EXPECT_TRUE(SameImage(inverted, 255 - Expected(roi)));
  const cv::Mat rim = MaskToRead(roi, kSize, 0, 0);
  EXPECT_LT(cv::countNonZero(rim), cv::countNonZero(mask));
  EXPECT_TRUE(SameImage(mask, Expected(roi)));
}

TEST(RoiSharedMask, IsTheThreadsOwn) {
  const KelROI roi = KelROI::Circle({10, 8}, 6);
  const cv::Mat mask = MaskToRead(roi);
  cv::Mat of_other;
  std::thread([&] { of_other = MaskToRead(roi); }).join();
  EXPECT_NE(of_other.data, mask.data);
  EXPECT_TRUE(SameImage(of_other, mask));
}

TEST(RoiSharedMask, IsNotGivenToCallersThatDoNotAskForIt) {
  const KelROI roi = KelROI::Circle({10, 8}, 6);
  const cv::Mat mask = MaskToRead(roi);
  cv::Mat image(kSize, CV_8UC1);
  for (const cv::Mat& out :
       {cv::Mat(), mask, cv::Mat(0, kSize.width + 1, CV_8UC1), cv::Mat(0, kSize.width, CV_8SC1)}) {
    cv::Mat own = out;
    KelROI same = roi;
    ASSERT_EQ(KelROIDataConvert().GenMaskImage(image, same, &own, 1, 0), 0);
    EXPECT_NE(own.data, mask.data);
    EXPECT_EQ(own.u->refcount, 1);
  }
}

// A caller's own memory, which tells how much of it is in use.
class CountingMemory : public cv::MatAllocator {
 public:
  CountingMemory() { cv::Mat::setDefaultAllocator(this); }
  ~CountingMemory() override { cv::Mat::setDefaultAllocator(cv::Mat::getStdAllocator()); }

  int InUse() const { return in_use_; }

  cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                         cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
    cv::UMatData* memory =
        cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
    memory->prevAllocator = memory->currAllocator = this;
    ++in_use_;
    return memory;
  }
  bool allocate(cv::UMatData*, cv::AccessFlag, cv::UMatUsageFlags) const override { return false; }
  void deallocate(cv::UMatData* data) const override {
    --in_use_;
    cv::Mat::getStdAllocator()->deallocate(data);
  }

 private:
  mutable int in_use_ = 0;
};

TEST(RoiSharedMask, IsNotRememberedInACallersOwnMemory) {
  const KelROI roi = KelROI::Circle({10, 8}, 6);
  MaskToRead(KelROI::Rectangle(1, 1, 2, 2), {5, 5});
  const CountingMemory memory;
  {
    const cv::Mat mask = MaskToRead(roi);
    EXPECT_TRUE(SameImage(mask, Expected(roi)));
    EXPECT_GT(memory.InUse(), 0);
  }
  EXPECT_EQ(memory.InUse(), 0);
}

}  // namespace
