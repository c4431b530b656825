// The inner loops over rows of samples: pointers, widths and constants, nothing of images or
// threads.
//
// Written once in row_kernels.inl and compiled for each instruction set, which all give the same
// bytes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace KELRA::kernels {

// Rows of samples in memory.
template <class Sample>
struct Rows {
  Sample* first;
  std::ptrdiff_t step;  // bytes from row to row

  Sample* operator[](std::ptrdiff_t row) const {
    using Byte = std::conditional_t<std::is_const_v<Sample>, const char, char>;
    return reinterpret_cast<Sample*>(reinterpret_cast<Byte*>(first) + row * step);
  }
};

// The extent of the work. The first `blocks` samples of a row are rounded to nearest, the
// rest of its `samples` are truncated; a division treats both alike.
struct Extent {
  std::ptrdiff_t rows;
  std::ptrdiff_t samples;
  std::ptrdiff_t blocks;
  // The result bypasses the caches: for images that they cannot hold, whose lines would be read
  // from memory only to be overwritten.
  bool streaming = false;
};

// y = t * scale + offset
struct Linear {
  float scale;
  float offset;
};

enum Arithmetic : unsigned { kAdd = 0, kSubtract = 1, kMultiply = 2, kDivide = 3 };
inline constexpr int kArithmeticCount = 4;

enum Relation : unsigned {
  kEqual = 0,
  kGreater = 1,
  kGreaterOrEqual = 2,
  kLess = 3,
  kLessOrEqual = 4,
  kNotEqual = 5
};
inline constexpr int kRelationCount = 6;

// Combinations of two samples in which blocks and tails do not differ. kMean is rounded to nearest,
// ties to even.
enum Combination : unsigned {
  kBitAnd = 0,
  kBitOr = 1,
  kBitXor = 2,
  kMaximum = 3,
  kMinimum = 4,
  kAbsoluteDifference = 5,
  kMean = 6
};
inline constexpr int kCombinationCount = 7;

// What a mean leaves out of the values of each sample: one of the smallest, one of the largest.
enum Trim : unsigned { kTrimNone = 0, kTrimSmallest = 1, kTrimLargest = 2, kTrimBoth = 3 };
inline constexpr int kTrimCount = 4;

// One row of each of several images.
template <class Sample>
struct ImageRows {
  const Sample* const* first;
  std::ptrdiff_t count;
};

// The sum of so many words is a whole number that a float holds, and that of so many bytes one that
// 16 bits hold.
inline constexpr std::size_t kMostSummedImages = 256;

// An image that is sampled between its pixels.
template <class Sample>
struct SampledImage {
  Rows<const Sample> rows;
  std::ptrdiff_t row_count;
  std::ptrdiff_t columns;
};

// Where a row of a result is sampled: one coordinate of each of its columns. Every step is rounded,
// and so it never turns back from one column to the next.
struct Coordinate {
  double slope;
  double row;
  double shift;

  double At(double column) const { return slope * column + row + shift; }
};

// Where the pixels of a row of a result are sampled, in parts of a pixel of which the upper five
// bits count: what is added, for each, to where the row is sampled.
struct GridRow {
  static constexpr int kBits = 10;

  const int* x_steps;
  const int* y_steps;
  int x;
  int y;

  int X(std::ptrdiff_t k) const { return x + x_steps[k]; }
  int Y(std::ptrdiff_t k) const { return y + y_steps[k]; }
  GridRow From(std::ptrdiff_t k) const { return {x_steps + k, y_steps + k, x, y}; }
};

// Where the pixels of a row of a result are sampled in perspective: at (x / w, y / w), the k-th of
// each being first + step * k; at (0, 0) where w is 0.
struct PerspectiveRow {
  // In parts of a pixel as a GridRow's: outside any image whose sides OpenCV takes.
  static constexpr int kFarthest = 1 << 30;

  struct Progression {
    double first;
    double step;
  };

  Progression x, y, w;
};

template <class Sample>
struct SampleKernels {
  // dst = saturate((src op constant) * scale + offset)
  using WithConstant = void (*)(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent,
                                float constant, Linear linear);
  // dst = saturate((a op b) * scale + offset); a / 0 gives 0 whatever the offset
  using WithImage = void (*)(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst,
                             const Extent& extent, Linear linear);
  // dst = saturate(src + shift), |shift| at most the largest sample: the constant forms of sums and
  // differences whose scale is 1 and whose offset is whole, in integers
  using Shift = void (*)(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent, int shift);
  // dst = saturate(a op b): the image forms with scale 1 and offset 0, in integers
  using Saturate = void (*)(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst,
                            const Extent& extent);
  // dst = the mark where the relation holds between a and b, elsewhere a; a row's first sample is
  // not tested
  using MarkByImage = void (*)(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst,
                               const Extent& extent, Sample mark);
  // The same between src and a constant
  using MarkByConstant = void (*)(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent,
                                  Sample constant, Sample mark);

  // dst = src op constant
  using CombineConstant = void (*)(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent,
                                   Sample constant);
  // dst = a op b
  using CombineImages = Saturate;
  // dst = saturate(src * scale + offset), truncated, for one run of samples; in double precision,
  // `rounded` to single precision before the truncation
  using InDouble = void (*)(const Sample* src, Sample* dst, std::ptrdiff_t samples, double scale,
                            double offset);
  // dst = the square root of src, to nearest
  using Root = void (*)(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent);
  // dst = the largest or smallest of all images; `streaming` as in Extent
  using Extreme = void (*)(ImageRows<Sample> src, Sample* dst, std::ptrdiff_t samples,
                           bool streaming);
  // dst = (the sum of all images - what is left out) * factor, to nearest, ties to even, in single
  // precision; of at most kMostSummedImages, for a factor of at most 1 / (their number less what is
  // left out)
  using Mean = void (*)(ImageRows<Sample> src, Sample* dst, std::ptrdiff_t samples, float factor,
                        bool streaming);
  // sums = sums + each image, in their order, - the largest - the smallest as far as left out
  using AddImages = void (*)(ImageRows<Sample> src, float* sums, std::ptrdiff_t samples);
  // sums = sums * factor, and dst = saturate(sums), to nearest, ties to even
  using Means = void (*)(Rows<float> sums, Rows<Sample> dst, const Extent& extent, float factor);
  // dst = `count` pixels of a row from the column `first` on, bilinear between the neighbours of
  // (x, y) and truncated, in double precision. Below 0 a position counts as 0; it lies before the
  // image's last column and row or in them. Behind those a pixel is its own neighbour. The image
  // has at least two columns.
  using Bilinear = void (*)(const SampledImage<Sample>& image, Coordinate x, Coordinate y,
                            std::ptrdiff_t first, std::ptrdiff_t count, Sample* dst);
  // dst = the first `count` pixels of a row, bilinear between the neighbours of each; outside the
  // image all samples are `around`. Bytes are rounded half up; words are interpolated in single
  // precision, upper left, upper right, lower left, lower right, and rounded to nearest, ties to
  // even. Precondition: the pixels whose neighbours are all inside follow each other; what lies
  // between the first and the last of them is read unchecked.
  using OnGrid = void (*)(const SampledImage<Sample>& image, GridRow row, std::ptrdiff_t count,
                          Sample around, Sample* dst);

  // dst = so many rows and columns of src, exchanged; the two lie apart
  using Transpose = void (*)(Rows<const Sample> src, Rows<Sample> dst, std::ptrdiff_t rows,
                             std::ptrdiff_t columns);

  // dst = value, the first of so many samples and all others, or every third from it
  using Paint = void (*)(Sample* dst, std::ptrdiff_t samples, Sample value);

  std::array<WithConstant, kArithmeticCount> with_constant;
  std::array<WithImage, kArithmeticCount> with_image;
  Shift shift;
  Saturate add;
  Saturate subtract;
  std::array<MarkByImage, kRelationCount> mark_by_image;
  std::array<MarkByConstant, kRelationCount> mark_by_constant;
  std::array<CombineConstant, kCombinationCount> combine_constant;
  std::array<CombineImages, kCombinationCount> combine_images;
  Root root;
  InDouble in_double;
  InDouble in_double_rounded;
  Extreme largest;
  Extreme smallest;
  std::array<Mean, kTrimCount> mean;
  std::array<AddImages, kTrimCount> add_images;
  // Takes rows without a tail.
  Means means;
  Bilinear bilinear_of_one_channel;
  Bilinear bilinear_of_three_channels;
  OnGrid on_grid_of_one_channel;
  OnGrid on_grid_of_three_channels;
  Transpose transpose;
  Paint fill;
  Paint set_thirds;
};

struct DepthConversions {
  // dst = src
  void (*to_words)(Rows<const std::uint8_t> src, Rows<std::uint16_t> dst, const Extent& extent);
  // dst = saturate(src)
  void (*to_bytes)(Rows<const std::uint16_t> src, Rows<std::uint8_t> dst, const Extent& extent);
};

// dst = src, which share no bytes
using CopyBytes = void (*)(Rows<const std::uint8_t> src, Rows<std::uint8_t> dst,
                           const Extent& extent);

// x, y = the positions of so many pixels, and of up to seven behind them, as steps of a GridRow
// that starts at 0: rounded to whole 32nds, ties to even, and at most kFarthest from 0.
using PerspectivePositions = void (*)(const PerspectiveRow& row, std::ptrdiff_t count, int* x,
                                      int* y);

struct RowKernels {
  const char* instruction_set;
  SampleKernels<std::uint8_t> u8;
  SampleKernels<std::uint16_t> u16;
  DepthConversions depth;
  // Bit i of bits[w], for each of the words, tells whether mask[64 * w + i] is 255.
  void (*bits_of_mask)(const std::uint8_t* mask, std::ptrdiff_t words, std::uint64_t* bits);
  CopyBytes copy;
  PerspectivePositions perspective_positions;

  template <class Sample>
  const SampleKernels<Sample>& For() const {
    if constexpr (sizeof(Sample) == 1) {
      return u8;
    } else {
      return u16;
    }
  }
};

namespace sse41 {
extern const RowKernels kRowKernels;
}
namespace avx2 {
extern const RowKernels kRowKernels;
}
namespace avx512 {
extern const RowKernels kRowKernels;
}
namespace avx512vbmi {
extern const RowKernels kRowKernels;
}

// All that this processor can run, the narrowest first.
std::span<const RowKernels* const> SupportedRowKernels();

// The ones in use: the widest supported, chosen when the library is loaded.
const RowKernels& ActiveRowKernels();

// Takes others into use; must not run beside any call.
void UseRowKernels(const RowKernels& kernels);

}  // namespace KELRA::kernels
