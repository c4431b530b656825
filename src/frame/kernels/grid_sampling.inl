// Sampling between pixels at positions in whole 32nds of a pixel, in single precision.
//
// The pixels are fetched one by one, with what is around the image in place of those outside;
// vectors interpolate between them.

template <class Sample, int kChannels>
class GridBlock {
 public:
  static constexpr std::ptrdiff_t kPixels = 64;
  static constexpr std::ptrdiff_t kSamples = kPixels * kChannels;

  void Fetch(SampledImage<Sample> image, GridRow row, std::ptrdiff_t count, Sample around) {
    for (std::ptrdiff_t k = 0; k < count; ++k) {
      SetAll(right_weight_ + k * kChannels, FractionOf(row.X(k)));
      SetAll(lower_weight_ + k * kChannels, FractionOf(row.Y(k)));
    }
    // A row enters the image once and leaves it once.
    std::ptrdiff_t k = 0;
    for (; k < count && !IsInside(image, row, k); ++k) {
      FetchAtEdge(image, row, k, around);
    }
    std::ptrdiff_t end = count;
    while (end > k && !IsInside(image, row, end - 1)) {
      --end;
    }
    for (; k < end; ++k) {
      const Sample* upper = image.rows[Whole(row.Y(k))] + Whole(row.X(k)) * kChannels;
      FetchPair(upper, upper_left_ + k * kChannels, upper_right_ + k * kChannels);
      FetchPair(Rows<const Sample>{upper, image.rows.step}[1], lower_left_ + k * kChannels,
                lower_right_ + k * kChannels);
    }
    for (; k < count; ++k) {
      FetchAtEdge(image, row, k, around);
    }
    ClearBehind(count * kChannels);
  }

  void Interpolate(std::ptrdiff_t count, Sample* dst) const {
    constexpr std::ptrdiff_t kStep = kLanes<Sample>;
    const std::ptrdiff_t samples = count * kChannels;
    std::ptrdiff_t i = 0;
    for (; i + kStep <= samples; i += kStep) {
      Store(dst + i, Vector(i));
    }
    if (i < samples) {
      Sample last[kStep];
      Store(last, Vector(i));
      std::memcpy(dst + i, last, static_cast<std::size_t>(samples - i) * sizeof(Sample));
    }
  }

 private:
  // A pixel is fetched and stored with the sample behind it, which the next one overwrites.
  static constexpr int kFetched = kChannels == 1 ? 1 : kChannels + 1;
  static constexpr std::ptrdiff_t kLength = kSamples + kFetched - 1;

  static std::ptrdiff_t Whole(int position) { return position >> GridRow::kBits; }

  // With all neighbours.
  static bool IsInside(const SampledImage<Sample>& image, const GridRow& row, std::ptrdiff_t k) {
    const std::ptrdiff_t column = Whole(row.X(k));
    const std::ptrdiff_t line = Whole(row.Y(k));
    return column >= 0 && column < image.columns - 1 && line >= 0 && line < image.row_count - 1;
  }

  static std::uint8_t FractionOf(int position) {
    return static_cast<std::uint8_t>(position >> (GridRow::kBits - 5) & 31);
  }

  static void SetAll(std::uint8_t* to, std::uint8_t value) {
    if constexpr (kChannels == 1) {
      *to = value;
    } else {
      const std::uint32_t all = 0x01010101U * value;
      std::memcpy(to, &all, sizeof all);
    }
  }

  // Of two pixels that are neighbours in a row, nothing is read outside.
  static void FetchPair(const Sample* pair, Sample* left, Sample* right) {
    if constexpr (kChannels == 1) {
      *left = pair[0];
      *right = pair[1];
    } else {
      using Pixel = std::conditional_t<sizeof(Sample) == 1, std::uint32_t, std::uint64_t>;
      Pixel behind;
      std::memcpy(left, pair, sizeof behind);
      std::memcpy(&behind, pair + 2, sizeof behind);
      behind >>= 8 * sizeof(Sample);
      std::memcpy(right, &behind, sizeof behind);
    }
  }

  void FetchAtEdge(const SampledImage<Sample>& image, const GridRow& row, std::ptrdiff_t k,
                   Sample around) {
    const std::ptrdiff_t column = Whole(row.X(k));
    const std::ptrdiff_t line = Whole(row.Y(k));
    const auto fetch = [&](std::ptrdiff_t i, std::ptrdiff_t j, Sample* to) {
      const bool inside = j >= 0 && j < image.columns && i >= 0 && i < image.row_count;
      for (int c = 0; c < kChannels; ++c) {
        to[k * kChannels + c] = inside ? image.rows[i][j * kChannels + c] : around;
      }
    };
    fetch(line, column, upper_left_);
    fetch(line, column + 1, upper_right_);
    fetch(line + 1, column, lower_left_);
    fetch(line + 1, column + 1, lower_right_);
  }

  // What a last vector reads behind the samples.
  void ClearBehind(std::ptrdiff_t samples) {
    constexpr std::ptrdiff_t kStep = kLanes<Sample>;
    const std::ptrdiff_t end = (samples + kStep - 1) / kStep * kStep;
    const auto clear = [&](auto* some) {
      std::memset(some + samples, 0, static_cast<std::size_t>(end - samples) * sizeof *some);
    };
    clear(right_weight_);
    clear(lower_weight_);
    clear(upper_left_);
    clear(upper_right_);
    clear(lower_left_);
    clear(lower_right_);
  }

  Floats Between(std::ptrdiff_t i) const {
    const Floats unit = Set(1.0F / 32);
    const Floats one = Set(1.0F);
    const Floats right = Multiply(LoadWidened(right_weight_ + i), unit);
    const Floats lower = Multiply(LoadWidened(lower_weight_ + i), unit);
    const Floats left = Subtract(one, right);
    const Floats upper = Subtract(one, lower);
    // The weights are exact. Of words the products are not: their order tells.
    const Floats a = Multiply(LoadWidened(upper_left_ + i), Multiply(upper, left));
    const Floats b = Multiply(LoadWidened(upper_right_ + i), Multiply(upper, right));
    const Floats c = Multiply(LoadWidened(lower_left_ + i), Multiply(lower, left));
    const Floats d = Multiply(LoadWidened(lower_right_ + i), Multiply(lower, right));
    return Add(Add(Add(a, b), c), d);
  }

  // Bytes are rounded half up, words to even.
  auto Rounded(std::ptrdiff_t i) const {
    if constexpr (sizeof(Sample) == 1) {
      return Truncate(Add(Between(i), Set(0.5F)));
    } else {
      return ToNearest(Between(i));
    }
  }

  auto Vector(std::ptrdiff_t i) const {
    constexpr std::ptrdiff_t kStep = kLanes<float>;
    if constexpr (sizeof(Sample) == 1) {
      return InOrder(
          Narrow(Rounded(i), Rounded(i + kStep), Rounded(i + 2 * kStep), Rounded(i + 3 * kStep)));
    } else {
      return InOrder(Narrow(Rounded(i), Rounded(i + kStep)));
    }
  }

  Sample upper_left_[kLength], upper_right_[kLength], lower_left_[kLength], lower_right_[kLength];
  std::uint8_t right_weight_[kLength], lower_weight_[kLength];
};

template <class Sample, int kChannels>
void SampleOnGrid(const SampledImage<Sample>& image, GridRow row, std::ptrdiff_t count,
                  Sample around, Sample* dst) {
  using Block = GridBlock<Sample, kChannels>;
  Block block;
  for (; count > 0; count -= Block::kPixels) {
    const std::ptrdiff_t in_block = count < Block::kPixels ? count : Block::kPixels;
    block.Fetch(image, row, in_block, around);
    block.Interpolate(in_block, dst);
    row = row.From(Block::kPixels);
    dst += Block::kSamples;
  }
}
