// Sampling between pixels at positions in whole 32nds of a pixel.
//
// A block takes in the pixels of a stretch of a row one by one, each as two pairs of neighbours,
// with what is around the image in place of those outside; then vectors interpolate between them.

inline constexpr std::ptrdiff_t kPixelsOfGridBlock = 64;

// What a last vector of `step` entries reads behind the others.
template <class... Some>
inline void ClearBehind(std::ptrdiff_t entries, std::ptrdiff_t step, Some*... some) {
  const std::ptrdiff_t behind = (entries + step - 1) / step * step - entries;
  (std::memset(some + entries, 0, static_cast<std::size_t>(behind) * sizeof *some), ...);
}

// Bytes, in integers, rounded half up. Of three channels a pixel takes up four.
template <int kChannels>
class GridBlockOfBytes {
 public:
  // Of 32.
  void SetShares(std::ptrdiff_t k, unsigned right, unsigned lower) {
    shares_of_columns_[k] = InEverySample(32 - right + (right << 8));
    shares_of_lower_[k] = InEverySample(lower);
  }

  void TakePixel(std::ptrdiff_t k, const std::uint8_t* upper, const std::uint8_t* lower) {
    upper_[k] = PairAt(upper);
    lower_[k] = PairAt(lower);
  }

  void Interpolate(std::ptrdiff_t count, std::uint8_t* dst) {
    constexpr std::ptrdiff_t kStep = kLanes<std::uint8_t>;
    ClearBehind(count, kStep / kSamples, upper_, lower_, shares_of_columns_, shares_of_lower_);
    alignas(64) std::uint8_t results[kPixelsOfGridBlock * kSamples];
    for (std::ptrdiff_t i = 0; i < count * kSamples; i += kStep) {
      Store(results + i, NarrowInOrder(Between(i), Between(i + kStep / 2)));
    }
    if constexpr (kChannels == 1) {
      std::memcpy(dst, results, static_cast<std::size_t>(count));
    } else {
      // A pixel is stored with the sample behind it, which the next one overwrites.
      std::ptrdiff_t k = 0;
      for (; k + 1 < count; ++k) {
        std::memcpy(dst + 3 * k, results + 4 * k, 4);
      }
      std::memcpy(dst + 3 * k, results + 4 * k, 3);
    }
  }

 private:
  static constexpr int kSamples = kChannels == 1 ? 1 : 4;
  // Two bytes for each sample.
  using Pair = std::conditional_t<kChannels == 1, std::uint16_t, std::uint64_t>;

  static Pair InEverySample(unsigned bytes) {
    constexpr auto kEverySample = static_cast<Pair>(0x0001'0001'0001'0001);
    return static_cast<Pair>(bytes * kEverySample);
  }

  // Two pixels that are neighbours in a row; nothing is read outside of them.
  static Pair PairAt(const std::uint8_t* pixels) {
    if constexpr (kChannels == 1) {
      Pair pair;
      std::memcpy(&pair, pixels, sizeof pair);
      return pair;
    } else {
      std::uint32_t first, last;
      std::memcpy(&first, pixels, sizeof first);
      std::memcpy(&last, pixels + 2, sizeof last);
      return first | std::uint64_t{last} << 16;
    }
  }

  static Bytes LoadBytes(const Pair* pairs, std::ptrdiff_t sample) {
    return Load(reinterpret_cast<const std::uint8_t*>(pairs) + 2 * sample);
  }
  static Bytes LoadPairs(const Pair* pairs, std::ptrdiff_t sample) {
    const Bytes bytes = LoadBytes(pairs, sample);
    if constexpr (kChannels == 1) {
      return bytes;
    } else {
      return SideBySide(bytes);
    }
  }

  Words Between(std::ptrdiff_t sample) const {
    const Bytes shares = LoadBytes(shares_of_columns_, sample);
    return WeightedMean(SumOfProducts(LoadPairs(upper_, sample), shares),
                        SumOfProducts(LoadPairs(lower_, sample), shares),
                        Load(reinterpret_cast<const std::uint16_t*>(shares_of_lower_) + sample));
  }

  alignas(64) Pair upper_[kPixelsOfGridBlock];
  alignas(64) Pair lower_[kPixelsOfGridBlock];
  alignas(64) Pair shares_of_columns_[kPixelsOfGridBlock];
  alignas(64) Pair shares_of_lower_[kPixelsOfGridBlock];
};

// Words, in single precision, rounded to even.
template <int kChannels>
class GridBlockOfWords {
 public:
  void SetShares(std::ptrdiff_t k, unsigned right, unsigned lower) {
    SetAll(right_share_ + k * kChannels, right);
    SetAll(lower_share_ + k * kChannels, lower);
  }

  void TakePixel(std::ptrdiff_t k, const std::uint16_t* upper, const std::uint16_t* lower) {
    TakePair(upper, upper_left_ + k * kChannels, upper_right_ + k * kChannels);
    TakePair(lower, lower_left_ + k * kChannels, lower_right_ + k * kChannels);
  }

  void Interpolate(std::ptrdiff_t count, std::uint16_t* dst) {
    constexpr std::ptrdiff_t kStep = kLanes<std::uint16_t>;
    const std::ptrdiff_t samples = count * kChannels;
    ClearBehind(samples, kStep, upper_left_, upper_right_, lower_left_, lower_right_, right_share_,
                lower_share_);
    std::ptrdiff_t i = 0;
    for (; i + kStep <= samples; i += kStep) {
      Store(dst + i, Between(i));
    }
    if (i < samples) {
      StorePartial(dst + i, Between(i), samples - i);
    }
  }

 private:
  // A pixel is taken and stored with the sample behind it, which the next one overwrites.
  static constexpr int kTaken = kChannels == 1 ? 1 : kChannels + 1;
  static constexpr std::ptrdiff_t kLength = kPixelsOfGridBlock * kChannels + kTaken - 1;

  static void SetAll(std::uint8_t* to, unsigned share) {
    if constexpr (kChannels == 1) {
      *to = static_cast<std::uint8_t>(share);
    } else {
      const std::uint32_t all = 0x01010101U * share;
      std::memcpy(to, &all, sizeof all);
    }
  }

  // Two pixels that are neighbours in a row; nothing is read outside of them.
  static void TakePair(const std::uint16_t* pair, std::uint16_t* left, std::uint16_t* right) {
    if constexpr (kChannels == 1) {
      *left = pair[0];
      *right = pair[1];
    } else {
      std::uint64_t behind;
      std::memcpy(left, pair, sizeof behind);
      std::memcpy(&behind, pair + 2, sizeof behind);
      behind >>= 16;
      std::memcpy(right, &behind, sizeof behind);
    }
  }

  Words Between(std::ptrdiff_t i) const { return InOrder(Narrow(Sum(i), Sum(i + kLanes<float>))); }

  auto Sum(std::ptrdiff_t i) const {
    const Floats unit = Set(1.0F / 32);
    const Floats one = Set(1.0F);
    const Floats right = Multiply(LoadWidened(right_share_ + i), unit);
    const Floats lower = Multiply(LoadWidened(lower_share_ + i), unit);
    const Floats left = Subtract(one, right);
    const Floats upper = Subtract(one, lower);
    // The weights are exact, the products are not: their order tells.
    const Floats a = Multiply(LoadWidened(upper_left_ + i), Multiply(upper, left));
    const Floats b = Multiply(LoadWidened(upper_right_ + i), Multiply(upper, right));
    const Floats c = Multiply(LoadWidened(lower_left_ + i), Multiply(lower, left));
    const Floats d = Multiply(LoadWidened(lower_right_ + i), Multiply(lower, right));
    return ToNearest(Add(Add(Add(a, b), c), d));
  }

  std::uint16_t upper_left_[kLength], upper_right_[kLength];
  std::uint16_t lower_left_[kLength], lower_right_[kLength];
  std::uint8_t right_share_[kLength], lower_share_[kLength];
};

inline std::ptrdiff_t WholePixels(int position) { return position >> GridRow::kBits; }
inline unsigned ThirtySeconds(int position) {
  return static_cast<unsigned>(position) >> (GridRow::kBits - 5) & 31;
}

// Whether the image has the pixel and all its neighbours on the right and below: what callers make
// sure of for all between the first and the last such pixel.
template <class Sample>
inline bool IsInside(const SampledImage<Sample>& image, const GridRow& row, std::ptrdiff_t k) {
  const std::ptrdiff_t column = WholePixels(row.X(k));
  const std::ptrdiff_t line = WholePixels(row.Y(k));
  return column >= 0 && column < image.columns - 1 && line >= 0 && line < image.row_count - 1;
}

template <int kChannels, class Sample, class Block>
inline void TakeAtEdge(const SampledImage<Sample>& image, const GridRow& row, std::ptrdiff_t k,
                       Sample around, Block* block) {
  Sample pairs[2][2 * kChannels];
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j) {
      const std::ptrdiff_t line = WholePixels(row.Y(k)) + i;
      const std::ptrdiff_t column = WholePixels(row.X(k)) + j;
      const bool inside =
          column >= 0 && column < image.columns && line >= 0 && line < image.row_count;
      for (int c = 0; c < kChannels; ++c) {
        pairs[i][j * kChannels + c] = inside ? image.rows[line][column * kChannels + c] : around;
      }
    }
  }
  block->TakePixel(k, pairs[0], pairs[1]);
}

// The image and the row are copies that no store can reach: they stay in registers.
template <int kChannels, class Sample, class Block>
inline void TakePixels(SampledImage<Sample> image, GridRow row, std::ptrdiff_t count, Sample around,
                       Block* block) {
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    block->SetShares(k, ThirtySeconds(row.X(k)), ThirtySeconds(row.Y(k)));
  }
  // A row enters the image once and leaves it once.
  std::ptrdiff_t k = 0;
  for (; k < count && !IsInside(image, row, k); ++k) {
    TakeAtEdge<kChannels>(image, row, k, around, block);
  }
  std::ptrdiff_t end = count;
  while (end > k && !IsInside(image, row, end - 1)) {
    --end;
  }
  for (; k < end; ++k) {
    const Sample* upper = image.rows[WholePixels(row.Y(k))] + WholePixels(row.X(k)) * kChannels;
    block->TakePixel(k, upper, Rows<const Sample>{upper, image.rows.step}[1]);
  }
  for (; k < count; ++k) {
    TakeAtEdge<kChannels>(image, row, k, around, block);
  }
}

template <class Sample, int kChannels>
void SampleOnGrid(const SampledImage<Sample>& image, GridRow row, std::ptrdiff_t count,
                  Sample around, Sample* dst) {
  std::conditional_t<sizeof(Sample) == 1, GridBlockOfBytes<kChannels>, GridBlockOfWords<kChannels>>
      block;
  for (; count > 0; count -= kPixelsOfGridBlock) {
    const std::ptrdiff_t in_block = count < kPixelsOfGridBlock ? count : kPixelsOfGridBlock;
    TakePixels<kChannels>(image, row, in_block, around, &block);
    block.Interpolate(in_block, dst);
    row = row.From(kPixelsOfGridBlock);
    dst += kPixelsOfGridBlock * kChannels;
  }
}
