#include "frame/kept_mask.h"

#include <gtest/gtest.h>

#include <thread>

namespace KELRA {
namespace {

// The memory that the thread's next mask is offered.
const void* NextMemory() {
  KeptMask next;
  EXPECT_TRUE(next.Mat().empty());
  return next.Mat().data;
}

const void* MemoryOf(cv::Size size) {
  KeptMask mask;
  mask.Mat().create(size, CV_8UC1);
  return mask.Mat().data;
}

TEST(KeptMask, OffersTheMemoryOfTheLastMask) {
  const void* memory = MemoryOf({90, 60});
  KeptMask mask;
  EXPECT_TRUE(mask.Mat().empty());
  EXPECT_EQ(mask.Mat().data, memory);
  mask.Mat().resize(60);
  EXPECT_EQ(mask.Mat().data, memory);
  EXPECT_EQ(mask.Mat().size(), cv::Size(90, 60));
}

TEST(KeptMask, LeavesWhatSomebodyElseHoldsAlone) {
  const cv::Mat held(60, 90, CV_8UC1);
  { KeptMask().Mat() = held; }
  EXPECT_EQ(NextMemory(), nullptr);
}

TEST(KeptMask, DoesNotKeepWhatIsLargerThanSixteenMebibytes) {
  EXPECT_NE(MemoryOf({4096, 4096}), nullptr);
  EXPECT_NE(NextMemory(), nullptr);
  EXPECT_NE(MemoryOf({4096, 4097}), nullptr);
  EXPECT_EQ(NextMemory(), nullptr);
}

TEST(KeptMask, MasksWithinEachOtherAndOfOtherThreadsAreApart) {
  MemoryOf({90, 60});
  KeptMask outer;
  EXPECT_EQ(NextMemory(), nullptr);
  const void* memory_of_other = &memory_of_other;
  std::thread([&] { memory_of_other = NextMemory(); }).join();
  EXPECT_EQ(memory_of_other, nullptr);
}

}  // namespace
}  // namespace KELRA
