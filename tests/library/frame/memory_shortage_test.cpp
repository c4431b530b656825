// What a call under a shape answers when there is no memory for its result.

#include <gtest/gtest.h>

#include "KELRA/KelImageOperation.h"
#include "KELRA/KelROIDataConvert.h"
#include "test_images.h"

namespace KELRA {
namespace {

using kelra_test::RandomImage;
using kelra_test::SameImage;

// While it lives, no matrix of a megabyte is to be had.
class ScarceMemory : public cv::MatAllocator {
 public:
  ScarceMemory() { cv::Mat::setDefaultAllocator(this); }
  ~ScarceMemory() override { cv::Mat::setDefaultAllocator(cv::Mat::getStdAllocator()); }

  cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                         cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
    std::size_t bytes = CV_ELEM_SIZE(type);
    for (int i = 0; i < dims; ++i) {
      bytes *= static_cast<std::size_t>(sizes[i]);
    }
    if (bytes >= std::size_t{1024} * 1024) {
      CV_Error(cv::Error::StsNoMem, "Too large");
    }
    return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
  }
  bool allocate(cv::UMatData*, cv::AccessFlag, cv::UMatUsageFlags) const override { return false; }
  void deallocate(cv::UMatData* data) const override {
    cv::Mat::getStdAllocator()->deallocate(data);
  }
};

class MemoryShortage : public ::testing::Test {
 protected:
  KelImage image_{RandomImage(1000, 2000, CV_8UC1)};
  KelROI roi_ = KelROI::Rectangle(5, 5, 10, 10);
  KelImageOperation object_;
};

TEST_F(MemoryShortage, IsTheRegionLibrarysStatus) {
  const ScarceMemory scarce;
  KelImage dst;
  EXPECT_EQ(object_.AddConst(image_, roi_, &dst, 40, 1.1F, 3.0F), KEL_ROI_ERR_MEMORY);
  EXPECT_TRUE(dst.Mat().empty());
}

TEST_F(MemoryShortage, LeavesAnOutputThatMustSurvive) {
  KelImage dst(RandomImage(1000, 2000, CV_8UC1, 2));
  const cv::Mat before = dst.Mat().clone();
  const ScarceMemory scarce;
  EXPECT_EQ(object_.SubtractConst(image_, roi_, &dst, 40, 1.1F, 3.0F), KEL_ROI_ERR_MEMORY);
  EXPECT_TRUE(SameImage(dst.Mat(), before));
}

TEST_F(MemoryShortage, IsSuccessWhereARestoresStatusIsIgnored) {
  const ScarceMemory scarce;
  KelImage dst;
  EXPECT_EQ(object_.PixelMaxConst(image_, roi_, &dst, 40), STATUS_OK);
  EXPECT_TRUE(dst.Mat().empty());
}

}  // namespace
}  // namespace KELRA
