// What an object is when there was no memory for its matrix.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <optional>

#include "KELRA/KelImageOperation.h"
#include "fake_settings.h"

namespace {

bool g_memory_is_short = false;

}  // namespace

void* operator new(std::size_t size) {
  void* memory = g_memory_is_short ? nullptr : std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace KELRA {
namespace {

TEST(OperationObject, WithoutItsMatrixWorksAsIfEfficiencyModeWereOff) {
  const kelra_test::ScopedSettings settings({.efficiency = 1});
  std::optional<KelImageOperation> object;
  g_memory_is_short = true;
  try {
    object.emplace();
  } catch (const std::bad_alloc&) {
    // Leaves no object.
  }
  g_memory_is_short = false;
  ASSERT_TRUE(object.has_value());

  KelImageOperation copy;
  copy = *object;
  for (KelImageOperation* each : {&*object, &copy}) {
    KelImage src(cv::Mat(4, 6, CV_8UC1, cv::Scalar(50)));
    KelROI whole;
    KelImage first;
    KelImage second;
    ASSERT_EQ(each->MultiplyConst(src, whole, &first, 2, 1.0F, 0.0F), STATUS_OK);
    ASSERT_EQ(each->MultiplyConst(src, whole, &second, 3, 1.0F, 0.0F), STATUS_OK);
    EXPECT_EQ(first.Mat().at<uchar>(0, 0), 100);
    EXPECT_EQ(second.Mat().at<uchar>(0, 0), 150);
  }
}

}  // namespace
}  // namespace KELRA
