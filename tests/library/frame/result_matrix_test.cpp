#include "frame/result_matrix.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "test_images.h"

namespace KELRA {
namespace {

TEST(ResultMatrix, AnOutputOfTheRightSizeAndTypeIsUsed) {
  const cv::Mat whole(8, 9, CV_16UC3);
  for (const cv::Mat& mat : {cv::Mat(4, 6, CV_16UC3), whole(cv::Rect(2, 1, 6, 4))}) {
    KelImage output(mat);
    SpareMatrix fresh;
    EXPECT_EQ(&ResultMatrix(&output, {6, 4}, CV_16UC3, &fresh), &output.Mat());
    EXPECT_EQ(output.Mat().data, mat.data);
    EXPECT_EQ(output.Mat().step[0], mat.step[0]);
  }
}

TEST(ResultMatrix, OtherwiseANewMatrixIsMadeAndTheOutputStays) {
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
  for (const cv::Mat& mat : outputs) {
    KelImage output(mat);
    SpareMatrix fresh;
    const cv::Mat& result = ResultMatrix(&output, {6, 4}, CV_8UC1, &fresh);
    EXPECT_NE(&result, &output.Mat());
    EXPECT_EQ(result.size(), cv::Size(6, 4));
    EXPECT_EQ(result.type(), CV_8UC1);
    EXPECT_EQ(output.Mat().data, mat.data);
  }
}

// A caller's: it may end before the library does.
class OtherAllocator : public cv::MatAllocator {
 public:
  cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                         cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
    cv::UMatData* const made =
        cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, flags, usage);
    made->currAllocator = this;
    return made;
  }
  bool allocate(cv::UMatData*, cv::AccessFlag, cv::UMatUsageFlags) const override { return false; }
  void deallocate(cv::UMatData* data) const override {
    data->currAllocator = cv::Mat::getStdAllocator();
    cv::Mat::getStdAllocator()->deallocate(data);
  }
};

TEST(NewMatrix, IsTheOutputsOwnOnlyWhereNobodyCanTell) {
  const auto is_own = [](cv::Mat mat) {
    KelImage output;
    output.Mat() = std::move(mat);
    const void* const before = output.ImageData();
    SpareMatrix fresh;
    const cv::Mat& result = NewMatrix(&output, {6, 4}, CV_16UC3, &fresh);
    EXPECT_EQ(result.size(), cv::Size(6, 4));
    EXPECT_EQ(result.type(), CV_16UC3);
    EXPECT_EQ(output.ImageData(), before);
    return &result == &output.Mat();
  };
  EXPECT_TRUE(is_own(cv::Mat(4, 6, CV_16UC3)));
  EXPECT_FALSE(is_own(cv::Mat()));
  EXPECT_FALSE(is_own(cv::Mat(6, 4, CV_16UC3)));
  EXPECT_FALSE(is_own(cv::Mat(4, 6, CV_16SC3)));
  const cv::Mat shared(4, 6, CV_16UC3);
  EXPECT_FALSE(is_own(shared));
  std::uint16_t callers_memory[4 * 6 * 3] = {};
  EXPECT_FALSE(is_own(cv::Mat(4, 6, CV_16UC3, callers_memory)));
  cv::Mat part(4, 7, CV_16UC3);
  part = part.colRange(0, 6);
  EXPECT_FALSE(is_own(std::move(part)));
  cv::Mat part_made_whole(4, 6, CV_16UC3);
  part_made_whole = part_made_whole.colRange(0, 5);
  EXPECT_FALSE(is_own(std::move(part_made_whole.adjustROI(0, 0, 0, 1))));
  cv::Mat with_room(5, 6, CV_16UC3);
  with_room.pop_back();
  EXPECT_FALSE(is_own(std::move(with_room)));
  cv::UMat device(4, 6, CV_16UC3);
  EXPECT_FALSE(is_own(device.getMat(cv::ACCESS_RW)));
  const OtherAllocator other;
  cv::Mat with_allocator(4, 6, CV_16UC3);
  with_allocator.allocator = const_cast<OtherAllocator*>(&other);
  EXPECT_FALSE(is_own(std::move(with_allocator)));
  cv::Mat of_allocator;
  of_allocator.allocator = const_cast<OtherAllocator*>(&other);
  of_allocator.create(4, 6, CV_16UC3);
  of_allocator.allocator = nullptr;
  EXPECT_FALSE(is_own(std::move(of_allocator)));
}

TEST(AssignResult, TheOutputSharesTheResult) {
  const cv::Mat result(4, 6, CV_8UC1);
  for (const cv::Mat& before : {cv::Mat(), cv::Mat(2, 2, CV_8UC3), result}) {
    KelImage output(before);
    AssignResult(result, &output);
    EXPECT_EQ(output.Mat().data, result.data);
    EXPECT_EQ(output.Mat().size(), result.size());
    EXPECT_EQ(output.Mat().type(), result.type());
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

TEST(InputToReadWhileWriting, TheVeryPixelsOrOthersAltogetherAreReadWhereTheyAre) {
  cv::Mat whole(6, 9, CV_8UC1);
  const cv::Mat input = whole(cv::Rect(1, 1, 4, 3));
  for (const cv::Mat& result :
       {whole(cv::Rect(1, 1, 4, 3)), cv::Mat(3, 4, CV_8UC1), whole(cv::Rect(5, 1, 4, 3))}) {
    SpareMatrix copy;
    EXPECT_EQ(&InputToReadWhileWriting(result, input, &copy), &input);
  }
}

TEST(InputToReadWhileWriting, OverlappingPixelsAreCopiedFirst) {
  cv::Mat whole = kelra_test::RandomImage(6, 9, CV_8UC1);
  const cv::Mat input = whole(cv::Rect(1, 1, 4, 3));
  const cv::Mat results[] = {
      whole(cv::Rect(2, 1, 4, 3)),           whole(cv::Rect(0, 1, 4, 3)),
      whole(cv::Rect(1, 2, 4, 3)),           whole(cv::Rect(1, 1, 4, 2)),
      cv::Mat(3, 4, CV_8UC1, input.data, 5), cv::Mat(3, 4, CV_8SC1, input.data, input.step[0]),
  };
  for (const cv::Mat& result : results) {
    SpareMatrix copy;
    const cv::Mat& read = InputToReadWhileWriting(result, input, &copy);
    EXPECT_NE(&read, &input);
    EXPECT_FALSE(SharesPixels(read, result));
    EXPECT_TRUE(kelra_test::SameImage(read, input));
  }
}

}  // namespace
}  // namespace KELRA
