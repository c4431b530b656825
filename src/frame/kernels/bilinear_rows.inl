// Sampling between pixels, in double precision.
//
// A row is sampled in blocks, in three steps: positions and interpolation work on vectors, the
// pixels in between are fetched one by one. In a double above 2^52 the lowest bits are those of an
// integer, which makes samples doubles and doubles offsets without any conversion.

inline constexpr double kIntegerShift = 4503599627370496.0;  // 2^52
inline constexpr std::uint64_t kIntegerShiftBits = 0x4330000000000000;

inline Integers AsIntegers(Doubles whole) {
  return Xor(BitsOf(Add(whole, Set(kIntegerShift))), Set(kIntegerShiftBits));
}

inline constexpr std::ptrdiff_t kBilinearBlock = 64;

// Of the pixels of a block: the bytes from the image's first to the left neighbour in the upper and
// the lower row, and the weights of the right and of the lower neighbours.
struct Neighbourhoods {
  std::uint64_t upper[kBilinearBlock];
  std::uint64_t lower[kBilinearBlock];
  double right_weight[kBilinearBlock];
  double lower_weight[kBilinearBlock];
};

// A left neighbour has a right one: the last column is the right neighbour, of weight 1, of the one
// before, which gives the same. In the last row, where rounding would tell, a pixel is its own
// lower neighbour.
struct Locator {
  Doubles x_slope, x_row, x_shift, y_slope, y_row, y_shift;
  Doubles last_left, last_row, pixel_bytes, row_bytes;

  Locator(Coordinate x, Coordinate y, double columns, double rows, double pixel, double step)
      : x_slope(Set(x.slope)),
        x_row(Set(x.row)),
        x_shift(Set(x.shift)),
        y_slope(Set(y.slope)),
        y_row(Set(y.row)),
        y_shift(Set(y.shift)),
        last_left(Set(columns - 2)),
        last_row(Set(rows - 1)),
        pixel_bytes(Set(pixel)),
        row_bytes(Set(step)) {}

  void Locate(Doubles column, std::ptrdiff_t k, Neighbourhoods* at) const {
    const Doubles zero = Set(0.0);
    const Doubles one = Set(1.0);
    const Doubles u = Max(Add(Add(Multiply(x_slope, column), x_row), x_shift), zero);
    const Doubles v = Max(Add(Add(Multiply(y_slope, column), y_row), y_shift), zero);
    const Doubles left = Min(Floor(u), last_left);
    const Doubles upper = Floor(v);
    const Doubles in_row = Multiply(left, pixel_bytes);
    const Doubles lower = Min(Add(upper, one), last_row);
    Store(at->right_weight + k, Min(Subtract(u, left), one));
    Store(at->lower_weight + k, Subtract(v, upper));
    Store(at->upper + k, AsIntegers(Add(Multiply(upper, row_bytes), in_row)));
    Store(at->lower + k, AsIntegers(Add(Multiply(lower, row_bytes), in_row)));
  }
};

template <std::size_t kBytes>
using UnsignedOf =
    std::conditional_t<kBytes == 2, std::uint16_t,
                       std::conditional_t<kBytes == 4, std::uint32_t, std::uint64_t>>;

// Two pixels that are neighbours in a row, in words that overlap where three channels make them
// longer than a word: the samples 0 to 3 and 2 to 5.
template <class Sample, int kChannels>
struct PixelPairs {
  static constexpr int kWords = kChannels == 1 ? 1 : 2;
  using Word = UnsignedOf<2 * kWords * sizeof(Sample)>;
  static constexpr int kSampleBits = 8 * sizeof(Sample);

  Word words[kWords][kBilinearBlock];

  void Fetch(const char* pair, std::ptrdiff_t k) {
    for (std::size_t i = 0; i < kWords; ++i) {
      std::memcpy(&words[i][k], pair + i * 2 * sizeof(Sample), sizeof(Word));
    }
  }

  // Plus 2^52.
  template <int kChannel>
  Doubles Left(std::ptrdiff_t k) const {
    return SampleOf<kChannel>(words[0] + k);
  }
  template <int kChannel>
  Doubles Right(std::ptrdiff_t k) const {
    return SampleOf<kChannel + 1>(words[kWords - 1] + k);
  }
  template <int kSample>
  static Doubles SampleOf(const Word* of) {
    const Integers sample = And(ShiftRight<kSample * kSampleBits>(LoadIntegers(of)),
                                Set((std::uint64_t{1} << kSampleBits) - 1));
    return DoublesOf(Or(sample, Set(kIntegerShiftBits)));
  }

  // Between left and right.
  template <int kChannel>
  Doubles Between(Doubles weight, std::ptrdiff_t k) const {
    const Doubles left = Left<kChannel>(k);
    const Doubles rise = Subtract(Right<kChannel>(k), left);
    return Add(Subtract(left, Set(kIntegerShift)), Multiply(weight, rise));
  }
};

template <class Sample, int kChannels>
struct BilinearBlock {
  Neighbourhoods at;
  PixelPairs<Sample, kChannels> upper, lower;
  std::uint64_t pixels[kBilinearBlock];  // the first channel lowest; above the last is anything

  void Fetch(const Sample* first, std::ptrdiff_t count) {
    const auto* bytes = reinterpret_cast<const char*>(first);
    for (std::ptrdiff_t k = 0; k < count; ++k) {
      upper.Fetch(bytes + at.upper[k], k);
      lower.Fetch(bytes + at.lower[k], k);
    }
  }

  // The truncated result in the lowest bits.
  template <int kChannel>
  Integers Channel(std::ptrdiff_t k) const {
    const Doubles right = Load(at.right_weight + k);
    const Doubles above = upper.template Between<kChannel>(right, k);
    const Doubles below = lower.template Between<kChannel>(right, k);
    const Doubles value = Add(above, Multiply(Load(at.lower_weight + k), Subtract(below, above)));
    return BitsOf(Add(Floor(value), Set(kIntegerShift)));
  }

  void Interpolate(std::ptrdiff_t count) {
    for (std::ptrdiff_t k = 0; k < count; k += kLanes<double>) {
      Integers pixel = Channel<0>(k);
      if constexpr (kChannels == 3) {
        constexpr int kBits = 8 * sizeof(Sample);
        pixel = Or(pixel, Or(ShiftLeft<kBits>(Channel<1>(k)), ShiftLeft<2 * kBits>(Channel<2>(k))));
      }
      Store(pixels + k, pixel);
    }
  }

  void Write(Sample* dst, std::ptrdiff_t count) const {
    for (std::ptrdiff_t k = 0; k < count; ++k) {
      for (int c = 0; c < kChannels; ++c) {
        dst[k * kChannels + c] =
            static_cast<Sample>(pixels[k] >> (c * 8 * static_cast<int>(sizeof(Sample))));
      }
    }
  }
};

template <class Sample, int kChannels>
void Bilinear(const SampledImage<Sample>& image, Coordinate x, Coordinate y, std::ptrdiff_t first,
              std::ptrdiff_t count, Sample* dst) {
  BilinearBlock<Sample, kChannels> block;
  const Locator locator(
      x, y, static_cast<double>(image.columns), static_cast<double>(image.row_count),
      static_cast<double>(kChannels * sizeof(Sample)), static_cast<double>(image.rows.step));
  const Doubles last = Set(static_cast<double>(first + count - 1));
  const Doubles lanes = Set(static_cast<double>(kLanes<double>));
  Doubles column = Add(LaneNumbers(), Set(static_cast<double>(first)));
  for (; count > 0; count -= kBilinearBlock, dst += kBilinearBlock * kChannels) {
    const std::ptrdiff_t in_block = count < kBilinearBlock ? count : kBilinearBlock;
    // The lanes behind the last column repeat it.
    for (std::ptrdiff_t k = 0; k < in_block; k += kLanes<double>, column = Add(column, lanes)) {
      locator.Locate(Min(column, last), k, &block.at);
    }
    block.Fetch(image.rows.first,
                (in_block + kLanes<double> - 1) / kLanes<double> * kLanes<double>);
    block.Interpolate(in_block);
    block.Write(dst, in_block);
  }
}
