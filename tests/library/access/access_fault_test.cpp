// What the methods do when the libraries and the memory under them fail.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>

#include "KELRA/KelImageOperation.h"
#include "failing_siblings.h"

namespace kelra_test {
namespace {

using namespace KELRA;

// Matrices cannot be allocated while it lives.
class NoMemory : cv::MatAllocator {
 public:
  NoMemory() : before_(cv::Mat::getDefaultAllocator()) { cv::Mat::setDefaultAllocator(this); }
  ~NoMemory() override { cv::Mat::setDefaultAllocator(before_); }

  cv::UMatData* allocate(int, const int*, int, void*, size_t*, cv::AccessFlag,
                         cv::UMatUsageFlags) const override {
    throw std::bad_alloc();
  }
  bool allocate(cv::UMatData*, cv::AccessFlag, cv::UMatUsageFlags) const override {
    throw std::bad_alloc();
  }
  void deallocate(cv::UMatData*) const override {}

 private:
  cv::MatAllocator* before_;
};

class AccessFaults : public ::testing::Test {
 protected:
  AccessFaults() { Faults() = {}; }
  ~AccessFaults() override { Faults() = {}; }

  KelImageOperation op_;
  KelImage src_{cv::Mat(4, 6, CV_8UC1, cv::Scalar(50))};
  std::uint8_t output_pixels_[4] = {1, 2, 3, 4};
  KelImage dst_{cv::Mat(2, 2, CV_8UC1, output_pixels_)};
};

TEST_F(AccessFaults, GetPixelValueAnswersAnExceptionWithItsStatus) {
  double value = 0;
  Faults().log_records_before_a_throw = 1;
  EXPECT_EQ(op_.GetPixelValue(src_, 0, 0, 1, &value), ERR_GET_PIXEL_EXCEPTION);
}

TEST_F(AccessFaults, SetPixelValueAnswersAnExceptionWithItsStatus) {
  {
    const NoMemory no_memory;
    EXPECT_EQ(op_.SetPixelValue(src_, &dst_, 0, 0, 1, 9), ERR_SET_PIXEL_EXCEPTION);
  }
  EXPECT_EQ(dst_.ImageData(), output_pixels_);
  EXPECT_EQ(src_.Mat().at<std::uint8_t>(0, 0), 50);
  Faults().log_records_before_a_throw = 1;
  EXPECT_EQ(op_.SetPixelValue(src_, &dst_, 0, 0, 1, 9), ERR_SET_PIXEL_EXCEPTION);
}

TEST_F(AccessFaults, CreateConstAnswersMemoryRunningOutWithItsStatus) {
  const NoMemory no_memory;
  EXPECT_EQ(op_.CreateConst(&dst_, 2, 2, KEL_8U, 1, {9, 9, 9, 9}), ERR_CREATE_EXCEPTION);
  EXPECT_EQ(dst_.ImageData(), output_pixels_);
  EXPECT_EQ(output_pixels_[0], 1);
}

TEST_F(AccessFaults, ImageConvertAnswersAnExceptionWithItsStatus) {
  Faults().log_records_before_a_throw = 1;
  EXPECT_EQ(op_.ImageConvert(output_pixels_, &dst_, 1, 4, KEL_8U, 1, 0), ERR_CONVERT_EXCEPTION);
}

TEST_F(AccessFaults, MemoryRunningOutPassesTheOthersAndLeavesTheOutput) {
  KelRegionArray regions = {KelRegion(1, 1)};
  KelImageArray images = {dst_};
  const NoMemory no_memory;
  EXPECT_THROW((void)op_.SetRegionValue(src_, &dst_, regions, 1, 9), std::bad_alloc);
  EXPECT_THROW((void)op_.ImageDepthConvert(src_, &dst_, KEL_16U), std::bad_alloc);
  EXPECT_THROW((void)op_.ImageRowSeparate(src_, &images, 2), std::bad_alloc);
  EXPECT_EQ(dst_.ImageData(), output_pixels_);
  EXPECT_EQ(images.Length(), 1);
}

TEST_F(AccessFaults, ImageRowSeparateTellsOfAnArrayThatDidNotTakeAllImages) {
  KelImageArray images = {dst_, dst_, dst_};
  Faults().appended_images_lost = 1;
  EXPECT_EQ(op_.ImageRowSeparate(src_, &images, 3), ERR_DEPTH_MISMATCH);
  EXPECT_EQ(images.Length(), 2);
}

class BitmapFaults : public AccessFaults {
 protected:
  BitmapFaults() {
    Faults().bitmap = {.bmType = 0,
                       .bmWidth = 2,
                       .bmHeight = 2,
                       .bmWidthBytes = 2,
                       .bmPlanes = 1,
                       .bmBitsPixel = 8,
                       .bmBits = bits_};
  }

  KelLong Convert() { return op_.ImageConvertBITMAP(&dst_, 1, 2, 2, 8, 1, 1); }

  std::uint8_t bits_[4] = {5, 6, 7, 8};
};

TEST_F(BitmapFaults, WithoutPixelsInMemoryItIsRefusedAndConsumed) {
  const BITMAP whole = Faults().bitmap;
  for (int fault = 0; fault < 5; ++fault) {
    SCOPED_TRACE(fault);
    BITMAP& bitmap = Faults().bitmap;
    bitmap = whole;
    Faults().record_size = fault == 3 ? 0 : fault == 4 ? 16 : static_cast<int>(sizeof(BITMAP));
    bitmap.bmWidth = fault == 0 ? 0 : 2;
    bitmap.bmHeight = fault == 1 ? -2 : 2;
    bitmap.bmBits = fault == 2 ? nullptr : bits_;
    EXPECT_EQ(Convert(), ERR_PARAM_1);
    EXPECT_EQ(Faults().deleted_bitmaps, fault + 1);
    EXPECT_EQ(dst_.ImageData(), output_pixels_);
  }
}

TEST_F(BitmapFaults, ItIsConsumedWhenAnExceptionPasses) {
  dst_ = KelImage();
  {
    const NoMemory no_memory;
    EXPECT_THROW((void)Convert(), std::bad_alloc);
  }
  EXPECT_EQ(Faults().deleted_bitmaps, 1);
  EXPECT_EQ(Convert(), STATUS_OK);
  EXPECT_EQ(Faults().deleted_bitmaps, 2);
  EXPECT_EQ(dst_.Mat().at<std::uint8_t>(1, 0), 7);
}

TEST_F(BitmapFaults, NoHandleIsNothingToConsume) {
  EXPECT_EQ(op_.ImageConvertBITMAP(&dst_, 0, 2, 2, 8, 1, 1), ERR_PARAM_1);
  EXPECT_EQ(Faults().deleted_bitmaps, 0);
}

}  // namespace
}  // namespace kelra_test
