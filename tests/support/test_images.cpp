#include "test_images.h"

#include <cstddef>

namespace kelra_test {
namespace {

template <class Sample>
void FillRandomly(cv::Mat* image, cv::RNG* random) {
  constexpr int kLargest = sizeof(Sample) == 1 ? 255 : 65535;
  for (int row = 0; row < image->rows; ++row) {
    auto* samples = image->ptr<Sample>(row);
    for (int i = 0; i < image->cols * image->channels(); ++i) {
      const int choice = random->uniform(0, 16);
      const int value = choice == 0   ? 0
                        : choice == 1 ? kLargest
                        : choice == 2 ? random->uniform(0, 4)
                                      : random->uniform(0, kLargest + 1);
      samples[i] = static_cast<Sample>(value);
    }
  }
}

int SampleAt(const cv::Mat& image, int row, int sample) {
  return image.depth() == CV_8U ? image.ptr<std::uint8_t>(row)[sample]
                                : image.ptr<std::uint16_t>(row)[sample];
}

}  // namespace

std::string TypeName(int type) {
  constexpr const char* kDepths[] = {"8U", "8S", "16U", "16S", "32S", "32F", "64F", "16F"};
  return std::string(kDepths[CV_MAT_DEPTH(type)]) + "C" + std::to_string(CV_MAT_CN(type));
}

cv::Mat RandomImage(int rows, int columns, int type, std::uint64_t seed) {
  cv::RNG random(seed * 0x9E3779B97F4A7C15U + 1);
  cv::Mat image(rows, columns, type);
  if (image.depth() == CV_8U) {
    FillRandomly<std::uint8_t>(&image, &random);
  } else {
    FillRandomly<std::uint16_t>(&image, &random);
  }
  return image;
}

std::vector<std::uint8_t> BytesOf(const cv::Mat& image) {
  std::vector<std::uint8_t> bytes;
  const auto row_bytes = static_cast<std::ptrdiff_t>(image.elemSize()) * image.cols;
  for (int row = 0; row < image.rows; ++row) {
    const auto* first = image.ptr<std::uint8_t>(row);
    bytes.insert(bytes.end(), first, first + row_bytes);
  }
  return bytes;
}

::testing::AssertionResult SameImage(const cv::Mat& actual, const cv::Mat& expected) {
  if (actual.size() != expected.size() || actual.type() != expected.type()) {
    return ::testing::AssertionFailure()
           << actual.cols << " x " << actual.rows << ' ' << TypeName(actual.type())
           << " instead of " << expected.cols << " x " << expected.rows << ' '
           << TypeName(expected.type());
  }
  if (BytesOf(actual) == BytesOf(expected)) {
    return ::testing::AssertionSuccess();
  }
  if (actual.depth() != CV_8U && actual.depth() != CV_16U) {
    return ::testing::AssertionFailure() << "bytes differ";
  }
  const int channels = actual.channels();
  for (int row = 0; row < actual.rows; ++row) {
    for (int i = 0; i < actual.cols * channels; ++i) {
      const int is = SampleAt(actual, row, i);
      const int should = SampleAt(expected, row, i);
      if (is != should) {
        return ::testing::AssertionFailure()
               << "row " << row << ", column " << i / channels << " of " << actual.cols
               << ", channel " << i % channels << ": " << is << " instead of " << should;
      }
    }
  }
  return ::testing::AssertionFailure() << "bytes differ outside the samples";
}

GuardedImage::GuardedImage(const cv::Mat& pixels, int gap, int margin) {
  const std::size_t row_bytes = pixels.elemSize() * static_cast<std::size_t>(pixels.cols);
  const std::size_t step = row_bytes + static_cast<std::size_t>(gap);
  const auto rows = static_cast<std::size_t>(pixels.rows);
  const auto before = static_cast<std::size_t>(margin);
  memory_.resize(before + step * rows - static_cast<std::size_t>(gap) + before);
  for (std::size_t i = 0; i < memory_.size(); ++i) {
    memory_[i] = static_cast<std::uint8_t>(i * 37 + 11);
  }
  mat_ = cv::Mat(pixels.rows, pixels.cols, pixels.type(), memory_.data() + margin, step);
  pixels.copyTo(mat_);
  original_ = memory_;
}

::testing::AssertionResult GuardedImage::SurroundingsUntouched() const {
  const auto first = static_cast<std::size_t>(mat_.data - memory_.data());
  const std::size_t row_bytes = mat_.elemSize() * static_cast<std::size_t>(mat_.cols);
  for (std::size_t i = 0; i < memory_.size(); ++i) {
    const bool is_pixel = i >= first &&
                          (i - first) / mat_.step[0] < static_cast<std::size_t>(mat_.rows) &&
                          (i - first) % mat_.step[0] < row_bytes;
    if (!is_pixel && memory_[i] != original_[i]) {
      return ::testing::AssertionFailure() << "byte " << static_cast<std::ptrdiff_t>(i - first)
                                           << " from the first pixel changed";
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace kelra_test
