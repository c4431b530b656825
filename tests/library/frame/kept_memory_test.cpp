#include "frame/kept_memory.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

namespace KELRA {
namespace {

constexpr KeptFor kPurposes[] = {KeptFor::kConstantImage, KeptFor::kResult};

// Keeps a new matrix; its memory.
const void* KeepNew(KeptFor purpose, cv::Size size) {
  cv::Mat mat(size, CV_8UC1);
  const void* memory = mat.data;
  Keep(purpose, std::move(mat));
  return memory;
}

const void* TakenMemory(KeptFor purpose) {
  const cv::Mat taken = TakeKept(purpose);
  EXPECT_TRUE(taken.empty());
  return taken.data;
}

TEST(KeptMemory, IsGivenOnceAndHoldsTheRowsThatWereKept) {
  for (const KeptFor purpose : kPurposes) {
    const void* memory = KeepNew(purpose, {90, 60});
    cv::Mat taken = TakeKept(purpose);
    EXPECT_TRUE(taken.empty());
    EXPECT_EQ(taken.data, memory);
    EXPECT_EQ(TakenMemory(purpose), nullptr);
    taken.resize(60);
    EXPECT_EQ(taken.data, memory);
    EXPECT_EQ(taken.size(), cv::Size(90, 60));
  }
}

TEST(KeptMemory, IsOneForEachPurpose) {
  const void* of_constant_image = KeepNew(KeptFor::kConstantImage, {90, 60});
  const void* of_result = KeepNew(KeptFor::kResult, {90, 60});
  EXPECT_EQ(TakenMemory(KeptFor::kResult), of_result);
  EXPECT_EQ(TakenMemory(KeptFor::kConstantImage), of_constant_image);
}

TEST(KeptMemory, IsNoneThatSomebodyElseHolds) {
  for (const KeptFor purpose : kPurposes) {
    TakeKept(purpose);
    const cv::Mat held(60, 90, CV_8UC1);
    Keep(purpose, cv::Mat(held));
    EXPECT_EQ(TakenMemory(purpose), nullptr);
    cv::Mat memory_of_others(60, 90, CV_8UC1, held.data);
    Keep(purpose, std::move(memory_of_others));
    EXPECT_EQ(TakenMemory(purpose), nullptr);
  }
}

TEST(KeptMemory, IsAtMostSixteenMebibytes) {
  for (const KeptFor purpose : kPurposes) {
    TakeKept(purpose);
    KeepNew(purpose, {4096, 4097});
    EXPECT_EQ(TakenMemory(purpose), nullptr);
    KeepNew(purpose, {4096, 4096});
    EXPECT_NE(TakenMemory(purpose), nullptr);
  }
}

TEST(KeptMemory, CountsWithAllThatAMatrixHolds) {
  const int many[] = {400, 400, 400};
  cv::Mat cut(5000, 5000, CV_8UC1);
  cut.resize(10);
  cv::Mat part = cv::Mat(4000, 4000, CV_8UC3)(cv::Rect(5, 5, 100, 100));
  cv::Mat small_part = cv::Mat(40, 40, CV_8UC3)(cv::Rect(5, 5, 10, 10));
  for (cv::Mat* mat : {&cut, &part, &small_part}) {
    TakeKept(KeptFor::kResult);
    Keep(KeptFor::kResult, std::move(*mat));
    EXPECT_EQ(TakenMemory(KeptFor::kResult), nullptr);
  }
  Keep(KeptFor::kResult, cv::Mat(3, many, CV_8UC1));
  EXPECT_EQ(TakenMemory(KeptFor::kResult), nullptr);
}

TEST(KeptMemory, IsTheThreadsOwn) {
  const void* memory = KeepNew(KeptFor::kConstantImage, {90, 60});
  const void* of_other = memory;
  std::thread([&] { of_other = TakenMemory(KeptFor::kConstantImage); }).join();
  EXPECT_EQ(of_other, nullptr);
  EXPECT_EQ(TakenMemory(KeptFor::kConstantImage), memory);
}

}  // namespace
}  // namespace KELRA
