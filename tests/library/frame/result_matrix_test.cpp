#include "frame/result_matrix.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <vector>

namespace KELRA {
namespace {

TEST(ResultMatrix, AnOutputOfTheRightSizeAndTypeIsUsed) {
  KelImage output(cv::Mat(4, 6, CV_16UC3));
  cv::Mat fresh;
  EXPECT_EQ(&ResultMatrix(&output, {6, 4}, CV_16UC3, &fresh), &output.Mat());
}

TEST(ResultMatrix, AStridedOutputIsUsed) {
  const cv::Mat whole(8, 9, CV_8UC1);
  KelImage output(whole(cv::Rect(2, 1, 6, 4)));
  cv::Mat fresh;
  EXPECT_EQ(&ResultMatrix(&output, {6, 4}, CV_8UC1, &fresh), &output.Mat());
  EXPECT_EQ(output.Mat().step[0], whole.step[0]);
}

TEST(ResultMatrix, OtherwiseANewMatrixIsMade) {
  const int sizes[] = {4, 6, 2};
  const cv::Mat outputs[] = {
      cv::Mat(),
      cv::Mat(4, 5, CV_8UC1),
      cv::Mat(5, 6, CV_8UC1),
      cv::Mat(6, 4, CV_8UC1),
      cv::Mat(4, 6, CV_8UC3),
      cv::Mat(4, 6, CV_16UC1),
      cv::Mat(4, 6, CV_8SC1),
      cv::Mat(3, sizes, CV_8UC1),
  };
  for (const cv::Mat& output : outputs) {
    KelImage image(output);
    cv::Mat fresh;
    const cv::Mat& result = ResultMatrix(&image, {6, 4}, CV_8UC1, &fresh);
    EXPECT_EQ(&result, &fresh);
    EXPECT_EQ(result.size(), cv::Size(6, 4));
    EXPECT_EQ(result.type(), CV_8UC1);
    EXPECT_NE(result.data, output.data);
  }
}

// The bytes of the pixels, which is what sharing is about.
std::set<const std::uint8_t*> AddressesOf(const cv::Mat& mat) {
  std::set<const std::uint8_t*> addresses;
  const auto row_bytes = static_cast<int>(mat.elemSize()) * mat.cols;
  for (int row = 0; row < mat.rows; ++row) {
    for (int i = 0; i < row_bytes; ++i) {
      addresses.insert(mat.ptr(row) + i);
    }
  }
  return addresses;
}

bool HaveCommonElement(const std::set<const std::uint8_t*>& a,
                       const std::set<const std::uint8_t*>& b) {
  for (const std::uint8_t* address : a) {
    if (b.count(address) != 0) {
      return true;
    }
  }
  return false;
}

constexpr int kStep = 24;

// A view of `memory` with whole samples, rows `step` bytes apart.
cv::Mat RandomView(std::vector<std::uint8_t>* memory, int step, cv::RNG* random) {
  constexpr int kTypes[] = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};
  const int type = kTypes[random->uniform(0, 4)];
  const int largest_width = step / static_cast<int>(CV_ELEM_SIZE(type));
  const int columns = random->uniform(1, largest_width + 1);
  const int rows = random->uniform(1, 7);
  const int bytes = step * (rows - 1) + columns * static_cast<int>(CV_ELEM_SIZE(type));
  const int begin = random->uniform(0, (static_cast<int>(memory->size()) - bytes) / 2 + 1) * 2;
  return cv::Mat(rows, columns, type, memory->data() + begin, static_cast<std::size_t>(step));
}

TEST(SharesPixels, AgreesWithTheBytesOfViewsOnOneGrid) {
  std::vector<std::uint8_t> memory(kStep * 10);
  cv::RNG random(5);
  int sharing = 0;
  constexpr int kPairs = 4000;
  for (int i = 0; i < kPairs; ++i) {
    const cv::Mat a = RandomView(&memory, kStep, &random);
    const cv::Mat b = RandomView(&memory, kStep, &random);
    const bool expected = HaveCommonElement(AddressesOf(a), AddressesOf(b));
    sharing += expected ? 1 : 0;
    ASSERT_EQ(SharesPixels(a, b), expected)
        << "a: " << a.rows << " rows of " << a.cols * static_cast<int>(a.elemSize())
        << " bytes, b: " << b.rows << " rows of " << b.cols * static_cast<int>(b.elemSize())
        << " bytes, b - a: " << b.data - a.data;
  }
  EXPECT_GT(sharing, kPairs / 10);
  EXPECT_LT(sharing, kPairs * 9 / 10);
}

// Different steps may count as sharing where they only interleave, never the other way round.
TEST(SharesPixels, NeverMissesACommonByteOfViewsWithDifferentSteps) {
  std::vector<std::uint8_t> memory(400);
  cv::RNG random(6);
  int apart = 0;
  for (int i = 0; i < 4000; ++i) {
    const cv::Mat a = RandomView(&memory, 2 * random.uniform(3, 20), &random);
    const cv::Mat b = RandomView(&memory, 2 * random.uniform(3, 20), &random);
    const auto of_a = AddressesOf(a);
    const auto of_b = AddressesOf(b);
    const bool ranges_apart = *of_a.rbegin() < *of_b.begin() || *of_b.rbegin() < *of_a.begin();
    apart += ranges_apart ? 1 : 0;
    if (HaveCommonElement(of_a, of_b)) {
      ASSERT_TRUE(SharesPixels(a, b));
    } else if (ranges_apart) {
      ASSERT_FALSE(SharesPixels(a, b));
    }
  }
  EXPECT_GT(apart, 100);
}

// Reshaping gives a single row that is longer than the rows of its neighbours.
TEST(SharesPixels, ALongRowSharesWithTheRowsThatItSpans) {
  const cv::Mat whole(5, 8, CV_8UC1);
  const cv::Mat one_row = whole.reshape(1, 1);
  for (int row = 0; row < whole.rows; ++row) {
    const cv::Mat part = whole(cv::Rect(3, row, 4, whole.rows - row));
    EXPECT_TRUE(SharesPixels(one_row, part)) << row;
    EXPECT_TRUE(SharesPixels(part, one_row)) << row;
  }
}

TEST(SharesPixels, EmptyMatricesShareNothing) {
  const cv::Mat whole(5, 8, CV_8UC1);
  EXPECT_FALSE(SharesPixels(cv::Mat(), whole));
  EXPECT_FALSE(SharesPixels(whole, cv::Mat()));
  EXPECT_FALSE(SharesPixels(whole(cv::Rect(2, 2, 0, 0)), whole));
}

bool IsReadAsItIs(const cv::Mat& result, const cv::Mat& input) {
  cv::Mat copy;
  const cv::Mat& read = InputToReadWhileWriting(result, input, &copy);
  if (&read == &input) {
    return true;
  }
  EXPECT_EQ(&read, &copy);
  EXPECT_EQ(cv::norm(copy, input, cv::NORM_INF), 0);
  EXPECT_FALSE(SharesPixels(copy, input));
  return false;
}

TEST(CanWriteWhileReading, OnlyTheVeryPixelsOrOthersAltogether) {
  cv::Mat whole(6, 9, CV_8UC1);
  const cv::Mat input = whole(cv::Rect(1, 1, 4, 3));
  const cv::Mat same = whole(cv::Rect(1, 1, 4, 3));
  EXPECT_TRUE(IsReadAsItIs(same, input));
  EXPECT_TRUE(IsReadAsItIs(cv::Mat(3, 4, CV_8UC1), input));
  EXPECT_TRUE(IsReadAsItIs(whole(cv::Rect(5, 1, 4, 3)), input));
  EXPECT_FALSE(IsReadAsItIs(whole(cv::Rect(2, 1, 4, 3)), input));
  EXPECT_FALSE(IsReadAsItIs(whole(cv::Rect(1, 2, 4, 3)), input));
  EXPECT_FALSE(IsReadAsItIs(whole(cv::Rect(1, 1, 4, 2)), input));
  const cv::Mat other_step(3, 4, CV_8UC1, input.data, 5);
  EXPECT_FALSE(IsReadAsItIs(other_step, input));
  const cv::Mat other_type(3, 4, CV_8SC1, input.data, input.step[0]);
  EXPECT_FALSE(IsReadAsItIs(other_type, input));
}

}  // namespace
}  // namespace KELRA
