#include "scene.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kelra_fuzz {
namespace {

using KELRA::KelImage;

int AnyType(InputReader* reader) {
  constexpr int kDepths[] = {CV_8U,  CV_8U,  CV_8U,  CV_16U, CV_16U, CV_8U, CV_16U, CV_8S,
                             CV_16S, CV_32S, CV_32F, CV_64F, CV_16F, CV_8U, CV_16U, CV_8U};
  constexpr int kChannels[] = {1, 3, 1, 3, 1, 3, 1, 3, 1, 3, 1, 3, 2, 4, 5, 33};
  const int depth = reader->OneOf(kDepths);
  return CV_MAKETYPE(depth, reader->OneOf(kChannels));
}

// Mostly small; wide ones are low, so that rows of several vectors do not cost much.
cv::Size AnySize(InputReader* reader) {
  switch (reader->Between(0, 15)) {
    case 11:
    case 12:
    case 13: {
      const int width = reader->Between(1, 200);
      return {width, reader->Between(1, 3)};
    }
    case 14:
      return {1, reader->Between(1, 64)};
    case 15: {
      // Large enough to be shared among threads, or nothing at all.
      const cv::Size kExtremes[] = {{0, 0}, {0, 3}, {3, 0}, {1, 1}, {2, 2}, {3, 1}, {700, 100}};
      return reader->OneOf(kExtremes);
    }
    default: {
      const int width = reader->Between(1, 40);
      return {width, reader->Between(1, 12)};
    }
  }
}

enum class Content { kAny, kSmall, kBinary, kMostlyZero, kConstant };

// Splitmix: cheap, and every seed gives another sequence.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint32_t Next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
    return static_cast<std::uint32_t>(z >> 32U);
  }

 private:
  std::uint64_t state_;
};

double FloatingSample(std::uint32_t random) {
  using Limits = std::numeric_limits<double>;
  constexpr double kSpecial[] = {
      Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), 1e30, -1e300, 0.5, -0.0, 2.5};
  return random % 8 == 0 ? kSpecial[random / 8 % 8] : (random % 4096) / 8.0 - 100;
}

std::uint32_t IntegerSample(Content content, std::uint32_t random) {
  switch (content) {
    case Content::kSmall:
      return random % 20;
    case Content::kBinary:
      return random % 3 == 0 ? 0 : 0xFFFFFFFFU;
    case Content::kMostlyZero:
      return random % 16 == 0 ? random >> 4U : 0;
    default:
      return random % 16 == 0 ? 0 : random % 16 == 1 ? 0xFFFFFFFFU : random >> 4U;
  }
}

// Draws a sequence of samples; all others repeat it, as drawing many would take most of the time.
template <class Sample, class Next>
void FillAs(cv::Mat* image, Next next) {
  constexpr std::size_t kDrawn = 509;
  const auto row_samples = static_cast<std::size_t>(image->cols * image->channels());
  std::array<Sample, kDrawn> drawn;
  const auto end =
      drawn.begin() + static_cast<std::ptrdiff_t>(
                          std::min(kDrawn, row_samples * static_cast<std::size_t>(image->rows)));
  std::generate(drawn.begin(), end, next);
  auto sample = drawn.begin();
  for (int row = 0; row < image->rows; ++row) {
    auto* samples = image->ptr<Sample>(row);
    for (std::size_t i = 0; i < row_samples; ++i) {
      samples[i] = *sample;
      sample = sample + 1 == end ? drawn.begin() : sample + 1;
    }
  }
}

void Fill(cv::Mat* image, Content content, std::uint64_t seed) {
  Random random(seed);
  const std::uint32_t constant = random.Next();
  const auto integer = [&] {
    return content == Content::kConstant ? constant : IntegerSample(content, random.Next());
  };
  switch (image->depth()) {
    case CV_32F:
      return FillAs<float>(image,
                           [&] { return static_cast<float>(FloatingSample(random.Next())); });
    case CV_64F:
      return FillAs<double>(image, [&] { return FloatingSample(random.Next()); });
    case CV_32S:
      return FillAs<std::uint32_t>(image, integer);
    case CV_8U:
    case CV_8S:
      return FillAs<std::uint8_t>(image, [&] { return static_cast<std::uint8_t>(integer()); });
    default:
      return FillAs<std::uint16_t>(image, [&] { return static_cast<std::uint16_t>(integer()); });
  }
}

void FillAsRead(InputReader* reader, cv::Mat* image) {
  constexpr Content kContents[] = {Content::kAny,    Content::kAny,        Content::kSmall,
                                   Content::kBinary, Content::kMostlyZero, Content::kConstant};
  const Content content = reader->OneOf(kContents);
  Fill(image, content, static_cast<std::uint64_t>(reader->Between(0, 255)));
}

// A matrix that has no rows and columns, but pixels.
cv::Mat OfThreeDimensions(int type) {
  const int sizes[] = {2, 3, 4};
  return cv::Mat(3, sizes, type, cv::Scalar());
}

// What the image is a view of.
cv::Mat WholeOf(cv::Mat view) {
  cv::Size size;
  cv::Point corner;
  view.locateROI(size, corner);
  return view.adjustROI(corner.y, size.height - corner.y - view.rows, corner.x,
                        size.width - corner.x - view.cols);
}

int WithOtherChannels(int type) {
  return CV_MAKETYPE(CV_MAT_DEPTH(type), CV_MAT_CN(type) == 1 ? 3 : 1);
}

}  // namespace

Scene::Scene(InputReader* reader) {
  for (int i = 0; i < kImages; ++i) {
    Image(i) = KelImage(i == 0 ? FirstImage(reader) : RelatedImage(reader, i));
  }
}

std::uint8_t* Scene::AddBuffer(std::size_t size, std::uint8_t seed) {
  const Block& block = blocks_.emplace_back(size);
  for (std::size_t i = 0; i < size; ++i) {
    block.begin()[i] = static_cast<std::uint8_t>(seed + i * 37);
  }
  return block.begin();
}

// Half of the images fill a block of their own; the others have pixels around them, which nobody
// may touch.
cv::Mat Scene::NewImage(InputReader* reader, cv::Size size, int type) {
  if (size.empty()) {
    return cv::Mat(size, type);
  }
  constexpr int kMostSamples = 700 * 100 * 3;
  if (size.area() * CV_MAT_CN(type) > kMostSamples) {
    size.height = 1;
  }
  cv::Rect place(cv::Point(), size);
  cv::Size whole = size;
  if (reader->Flip()) {
    place.x = reader->Between(0, 3);
    place.y = reader->Between(0, 2);
    whole.width += place.x + reader->Between(0, 3);
    whole.height += place.y + reader->Between(0, 2);
  }
  const auto pixels =
      static_cast<std::size_t>(whole.width) * static_cast<std::size_t>(whole.height);
  const Block& block = blocks_.emplace_back(pixels * CV_ELEM_SIZE(type));
  cv::Mat all(whole, type, block.begin());
  FillAsRead(reader, &all);
  return all(place);
}

cv::Mat Scene::FirstImage(InputReader* reader) {
  const int type = AnyType(reader);
  const cv::Size size = AnySize(reader);
  if (reader->Rarely(64)) {
    return reader->Flip() ? cv::Mat() : OfThreeDimensions(type);
  }
  return NewImage(reader, size, type);
}

cv::Mat Scene::RelatedImage(InputReader* reader, int index) {
  const cv::Mat& model = Image(reader->Between(0, index - 1)).Mat();
  const int type = model.type();
  if (model.dims > 2 || model.empty()) {
    return NewImage(reader, AnySize(reader), AnyType(reader));
  }
  switch (reader->Between(0, 15)) {
    case 5:
      return model;
    case 6: {
      const cv::Mat whole = WholeOf(model);
      const cv::Point corner(reader->Between(0, whole.cols - 1),
                             reader->Between(0, whole.rows - 1));
      return whole(cv::Rect(corner, model.size()) & cv::Rect({}, whole.size()));
    }
    case 7:
      // The same bytes as one channel.
      return model.reshape(1);
    case 8:
      // In memory of OpenCV's.
      return model.clone();
    case 9:
      return NewImage(reader, model.size(), WithOtherChannels(type));
    case 10:
      return NewImage(reader, AnySize(reader), type);
    case 11:
      return NewImage(reader, AnySize(reader), WithOtherChannels(type));
    case 12:
      return NewImage(reader, model.size(), AnyType(reader));
    case 13:
      return NewImage(reader, {model.rows, model.cols}, type);
    case 14:
      return cv::Mat();
    case 15:
      return reader->Flip() ? OfThreeDimensions(type)
                            : NewImage(reader, AnySize(reader), AnyType(reader));
    default:
      return NewImage(reader, model.size(), type);
  }
}

}  // namespace kelra_fuzz
