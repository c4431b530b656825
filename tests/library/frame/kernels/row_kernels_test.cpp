#include "frame/kernels/row_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "every_instruction_set.h"

namespace KELRA::kernels {
namespace {

TEST(RowKernels, TheWidestSupportedSetIsInUse) {
  const auto supported = SupportedRowKernels();
  ASSERT_FALSE(supported.empty());
  EXPECT_EQ(&ActiveRowKernels(), supported.back());
  EXPECT_EQ(supported.front(), &sse41::kRowKernels);
}

TEST(RowKernels, SetsHaveDifferentNames) {
  std::set<std::string> names;
  for (const RowKernels* kernels : SupportedRowKernels()) {
    names.insert(kernels->instruction_set);
  }
  EXPECT_EQ(names.size(), SupportedRowKernels().size());
}

class StreamingRowKernels : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(StreamingRowKernels);

constexpr int kRows = 3;
constexpr int kStep = 480;
constexpr int kMargin = 64;

std::vector<std::uint8_t> RandomBytes(unsigned seed) {
  std::vector<std::uint8_t> bytes(kRows * kStep + 2 * kMargin);
  std::mt19937 random(seed);
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(random());
  }
  return bytes;
}

template <class Sample>
Rows<Sample> At(std::vector<std::uint8_t>* memory, int offset) {
  return {reinterpret_cast<Sample*>(memory->data() + kMargin + offset), kStep};
}

template <class Sample>
Rows<const Sample> AtConst(const std::vector<std::uint8_t>& memory) {
  return {reinterpret_cast<const Sample*>(memory.data() + kMargin + sizeof(Sample)), kStep};
}

// Runs `kernel` with and without bypassing the caches, on outputs at every alignment, and expects
// the same bytes in and around the rows.
template <class Sample, class Kernel>
void ExpectSameWhenStreaming(const Kernel& kernel) {
  constexpr int kSampleBytes = sizeof(Sample);
  for (int offset = 0; offset < 64; offset += kSampleBytes) {
    for (const std::ptrdiff_t samples : {1, 7, 16, 63, 64, 65, 128, 150, 200}) {
      for (const std::ptrdiff_t tail : {0, 1, 5, 15}) {
        if (tail > samples) {
          continue;
        }
        Extent extent{kRows, samples, samples - tail};
        std::vector<std::uint8_t> cached = RandomBytes(9);
        kernel(At<Sample>(&cached, offset), extent);
        extent.streaming = true;
        std::vector<std::uint8_t> streamed = RandomBytes(9);
        kernel(At<Sample>(&streamed, offset), extent);
        ASSERT_EQ(streamed, cached) << samples << " samples of " << kSampleBytes << " bytes, tail "
                                    << tail << ", offset " << offset;
      }
    }
  }
}

template <class Sample>
void CheckStreaming(const SampleKernels<Sample>& kernels) {
  const std::vector<std::uint8_t> a = RandomBytes(1);
  const std::vector<std::uint8_t> b = RandomBytes(2);
  constexpr Linear kLinear{0.7F, 3.5F};
  for (const auto with_constant : kernels.with_constant) {
    ExpectSameWhenStreaming<Sample>([&](Rows<Sample> dst, Extent extent) {
      with_constant(AtConst<Sample>(a), dst, extent, 3.0F, kLinear);
    });
  }
  for (const auto with_image : kernels.with_image) {
    ExpectSameWhenStreaming<Sample>([&](Rows<Sample> dst, Extent extent) {
      with_image(AtConst<Sample>(a), AtConst<Sample>(b), dst, extent, kLinear);
    });
  }
  for (const int shift : {-100, 100}) {
    ExpectSameWhenStreaming<Sample>([&](Rows<Sample> dst, Extent extent) {
      kernels.shift(AtConst<Sample>(a), dst, extent, shift);
    });
  }
  for (const auto saturate : {kernels.add, kernels.subtract}) {
    ExpectSameWhenStreaming<Sample>([&](Rows<Sample> dst, Extent extent) {
      saturate(AtConst<Sample>(a), AtConst<Sample>(b), dst, extent);
    });
  }
}

template <class Sample>
void CheckStreamedReductions(const SampleKernels<Sample>& kernels) {
  const std::vector<std::uint8_t> memory[] = {RandomBytes(1), RandomBytes(2), RandomBytes(3)};
  const auto expect_same = [&](const auto& reduce) {
    ExpectSameWhenStreaming<Sample>([&](Rows<Sample> dst, Extent extent) {
      for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
        const Sample* const images[] = {AtConst<Sample>(memory[0])[row],
                                        AtConst<Sample>(memory[1])[row],
                                        AtConst<Sample>(memory[2])[row]};
        reduce(ImageRows<Sample>{images, 3}, dst[row], extent.samples, extent.streaming);
      }
    });
  };
  expect_same(kernels.largest);
  expect_same(kernels.smallest);
  for (const auto mean : kernels.mean) {
    expect_same([&](ImageRows<Sample> src, Sample* dst, std::ptrdiff_t samples, bool streaming) {
      mean(src, dst, samples, 0.25F, streaming);
    });
  }
}

TEST_P(StreamingRowKernels, ReduceImagesToTheSameBytes) {
  CheckStreamedReductions(GetParam()->u8);
  CheckStreamedReductions(GetParam()->u16);
}

TEST_P(StreamingRowKernels, CopyEveryByteAndNoOther) {
  const std::vector<std::uint8_t> src = RandomBytes(1);
  const auto downwards = AtConst<std::uint8_t>(src);
  const Rows<const std::uint8_t> upwards{downwards[kRows - 1], -downwards.step};
  const Rows<const std::uint8_t> repeated{downwards[0], 0};
  for (int offset = 0; offset < 64; ++offset) {
    for (const std::ptrdiff_t bytes :
         {0, 1, 7, 15, 16, 17, 31, 32, 33, 63, 64, 65, 128, 200, 400}) {
      for (const auto& rows : {downwards, upwards, repeated}) {
        std::vector<std::uint8_t> expected = RandomBytes(9);
        for (std::ptrdiff_t row = 0; row < kRows; ++row) {
          std::copy_n(rows[row], bytes, At<std::uint8_t>(&expected, offset)[row]);
        }
        for (const bool streaming : {false, true}) {
          std::vector<std::uint8_t> copied = RandomBytes(9);
          GetParam()->copy(rows, At<std::uint8_t>(&copied, offset),
                           {kRows, bytes, bytes, streaming});
          ASSERT_EQ(copied, expected) << bytes << " bytes, offset " << offset << ", step "
                                      << rows.step << ", streaming " << streaming;
        }
      }
    }
  }
}

template <class Sample>
void CheckPainting(typename SampleKernels<Sample>::Paint paint, std::ptrdiff_t pitch) {
  constexpr int kSampleBytes = sizeof(Sample);
  for (const int offset : {0, kSampleBytes, 2 * kSampleBytes, 31 * kSampleBytes}) {
    for (std::ptrdiff_t samples = 1; samples <= 680; samples += samples < 200 ? 1 : 16) {
      std::vector<std::uint8_t> expected = RandomBytes(9);
      Sample* const pixels = At<Sample>(&expected, offset)[0];
      for (std::ptrdiff_t i = 0; i < samples; i += pitch) {
        pixels[i] = 99;
      }
      std::vector<std::uint8_t> painted = RandomBytes(9);
      paint(At<Sample>(&painted, offset)[0], samples, 99);
      ASSERT_EQ(painted, expected) << samples << " samples, every " << pitch << ", at " << offset;
    }
  }
}

class PaintingRowKernels : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(PaintingRowKernels);

TEST_P(PaintingRowKernels, SetWhatTheySayAndNothingElse) {
  CheckPainting<std::uint8_t>(GetParam()->u8.fill, 1);
  CheckPainting<std::uint16_t>(GetParam()->u16.fill, 1);
  CheckPainting<std::uint8_t>(GetParam()->u8.set_thirds, 3);
  CheckPainting<std::uint16_t>(GetParam()->u16.set_thirds, 3);
}

TEST_P(StreamingRowKernels, Give8BitRowsTheSameBytes) { CheckStreaming(GetParam()->u8); }

TEST_P(StreamingRowKernels, Give16BitRowsTheSameBytes) { CheckStreaming(GetParam()->u16); }

class RowKernelsAtAnyDistance : public kelra_test::EveryInstructionSet {};
KELRA_INSTANTIATE_FOR_EVERY_INSTRUCTION_SET(RowKernelsAtAnyDistance);

// Runs `kernel` into rows that lie `distance` bytes, modulo a page, above the input, and gives the
// bytes from there on, the margins included.
template <class Sample, class Kernel>
std::vector<std::uint8_t> ResultAt(std::ptrdiff_t distance, Extent extent, const Kernel& kernel) {
  constexpr std::ptrdiff_t kPage = 4096;
  constexpr std::ptrdiff_t kRowStep = kPage / 2;
  std::vector<std::uint8_t> memory(8 * kPage, 0xA5);
  std::uint8_t* src = memory.data() + kMargin;
  std::uint8_t* dst = src + 4 * kPage + distance;
  std::mt19937 random(5);
  std::generate(src, src + 2 * kRowStep, [&] { return static_cast<std::uint8_t>(random()); });
  kernel(Rows<const Sample>{reinterpret_cast<const Sample*>(src), kRowStep},
         Rows<Sample>{reinterpret_cast<Sample*>(dst), kRowStep}, extent);
  return {dst - kMargin, dst + 2 * kRowStep};
}

// Rows are walked downwards where the output lies a little above the input, else upwards.
template <class Sample>
void CheckDistances(const SampleKernels<Sample>& kernels) {
  const auto with_constant = [&](Rows<const Sample> src, Rows<Sample> dst, Extent extent) {
    kernels.with_constant[kAdd](src, dst, extent, 3.0F, {0.7F, 3.5F});
  };
  const auto with_image = [&](Rows<const Sample> src, Rows<Sample> dst, Extent extent) {
    kernels.with_image[kMultiply](src, src, dst, extent, {0.001F, 3.5F});
  };
  for (const std::ptrdiff_t samples : {1, 15, 16, 31, 32, 63, 64, 65, 127, 128, 200, 1000}) {
    for (const std::ptrdiff_t tail : {0, 1, 7}) {
      const Extent extent{2, samples, std::max(samples - tail, std::ptrdiff_t{0})};
      const auto constant_upwards = ResultAt<Sample>(2048, extent, with_constant);
      const auto image_upwards = ResultAt<Sample>(2048, extent, with_image);
      for (const std::ptrdiff_t distance : {-1024, -64, 0, 2, 16, 64, 66, 128, 512, 1022, 1024}) {
        ASSERT_EQ(ResultAt<Sample>(distance, extent, with_constant), constant_upwards)
            << samples << " samples, tail " << tail << ", distance " << distance;
        ASSERT_EQ(ResultAt<Sample>(distance, extent, with_image), image_upwards)
            << samples << " samples, tail " << tail << ", distance " << distance;
      }
    }
  }
}

TEST_P(RowKernelsAtAnyDistance, Give8BitRowsTheSameBytes) { CheckDistances(GetParam()->u8); }

TEST_P(RowKernelsAtAnyDistance, Give16BitRowsTheSameBytes) { CheckDistances(GetParam()->u16); }

}  // namespace
}  // namespace KELRA::kernels
