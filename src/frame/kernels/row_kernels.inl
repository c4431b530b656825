// The row kernels in terms of the vector operations of the instruction set that includes this.
//
// A formula gives its values for a vector of samples; Walk applies it to rows. A scaled formula is
// made of a term, the operation's own (t = s op o), and of a finish, which makes samples of
// t * scale + offset.

// What widened samples exceed their values by.
inline constexpr float kBias = 8388608.0F;

// s - shift of biased samples, for whole shifts below 2^22.
inline Floats Shifted(Floats biased, float shift) {
  return SubtractExactly(biased, Set(kBias + shift));
}

inline WordsAsFloats Widen(Words a, float shift) {
  const WordsAsFloats w = WidenBiased(a);
  return {{Shifted(w.part[0], shift), Shifted(w.part[1], shift)}};
}
inline BytesAsFloats Widen(Bytes a) {
  const BytesAsFloats w = WidenBiased(a);
  return {
      {Shifted(w.part[0], 0), Shifted(w.part[1], 0), Shifted(w.part[2], 0), Shifted(w.part[3], 0)}};
}
inline WordsAsFloats Widen(Words a) { return Widen(a, 0); }

template <class Sample>
inline constexpr float kLimit = sizeof(Sample) == 1 ? 255.0F : 65535.0F;

// Terms of a sample and a constant. The vector form takes biased samples, since some of them take
// the bias away in the same step. The plain form tells the range of the values.

struct PlusConstant {
  float constant;

  Floats Vector(Floats biased) const { return Shifted(biased, -constant); }
  float Plain(float s) const { return s + constant; }
};

struct MinusConstant {
  float constant;

  Floats Vector(Floats biased) const { return Shifted(biased, constant); }
  float Plain(float s) const { return s - constant; }
};

struct TimesConstant {
  float constant;

  Floats Vector(Floats biased) const {
    return SubtractAndScale(biased, Set(kBias), Set(constant), Set(kBias * constant));
  }
  float Plain(float s) const { return s * constant; }
};

struct DividedByConstant {
  float constant;
  Divisor divisor{constant};

  // The division keeps the multipliers busy; this subtraction takes an adder.
  Floats Vector(Floats biased) const { return Divide(Subtract(biased, Set(kBias)), divisor); }
  float Plain(float s) const { return s / constant; }
};

// Terms of two samples, and the range of their values for samples up to `limit`. Those of bytes
// that fit 16 bits are formed there, before they are widened to floats; the byte above the first
// operand keeps them from becoming negative.

struct Sum {
  static constexpr bool kInWords = true;
  static constexpr std::uint8_t kAbove = 0;
  static Words OfWords(Words a, Words b) { return Add(a, b); }
  static Floats Vector(Floats a, Floats b) { return Add(a, b); }
  static float Lowest(float) { return 0.0F; }
  static float Highest(float limit) { return limit + limit; }
};

struct Difference {
  static constexpr bool kInWords = true;
  static constexpr std::uint8_t kAbove = 1;
  static Words OfWords(Words a, Words b) { return Subtract(a, b); }
  static Floats Vector(Floats a, Floats b) { return Subtract(a, b); }
  static float Lowest(float limit) { return -limit; }
  static float Highest(float limit) { return limit; }
};

struct Product {
  static constexpr bool kInWords = true;
  static constexpr std::uint8_t kAbove = 0;
  static Words OfWords(Words a, Words b) { return MultiplyLow(a, b); }
  static Floats Vector(Floats a, Floats b) { return Multiply(a, b); }
  static float Lowest(float) { return 0.0F; }
  static float Highest(float limit) { return limit * limit; }
};

struct Quotient {
  static constexpr bool kInWords = false;
  static Floats Vector(Floats a, Floats b) { return Divide(a, b); }
  static float Lowest(float) { return 0.0F; }
  static float Highest(float limit) { return limit; }
};

struct Truncated {
  using InTail = Truncated;

  Floats Moved(Floats y) const { return y; }
  static auto Convert(Floats y) { return Truncate(y); }
};

// To the nearest integer, ties to even, in blocks; truncated in the tail.
struct NearestInBlocks {
  using InTail = Truncated;

  Floats Moved(Floats y) const { return y; }
  static auto Convert(Floats y) { return ToNearest(y); }
};

// Half up. The sum with 0.5 is formed in single precision: forming it in double and rounding that
// would not change it, as a double has more than twice the digits (Figueroa, "When is double
// rounding innocuous?", 1995).
struct HalfUp {
  using InTail = HalfUp;

  Floats half_lanes = Set(0.5F);

  Floats Moved(Floats y) const { return Add(y, half_lanes); }
  static auto Convert(Floats y) { return Truncate(y); }
};

// Whether t * scale + offset fits an integer for every t of a range, so that packing alone
// saturates it. It is monotonic in t, so the ends decide.
inline bool FitsInteger(float lowest, float highest, Linear linear) {
  constexpr float kFits = 1073741824.0F;
  const float a = lowest * linear.scale + linear.offset;
  const float b = highest * linear.scale + linear.offset;
  return a > -kFits && a < kFits && b > -kFits && b < kFits;
}

// Whether t * scale is exact for every term: the scale is a power of two, far from overflow.
inline bool ScalesExactly(float scale) {
  const auto bits = std::bit_cast<std::uint32_t>(scale);
  const std::uint32_t exponent = bits >> 23 & 0xFF;
  return (bits & 0x7FFFFF) == 0 && exponent > 64 && exponent < 192;
}

enum class Range {
  kAny,
  kInteger,               // FitsInteger
  kIntegerScaledExactly,  // and ScalesExactly
};

template <class Sample, class Rounding, Range kRange>
struct Finish {
  Linear linear;
  Rounding rounding;
  Floats scale_lanes = Set(linear.scale);
  Floats offset_lanes = Set(linear.offset);

  // Clamped, a value is at most the limit. Then its integer is right, or negative, or the smallest
  // of all for NaN and for what lies far below 0; packing makes the latter two 0.
  Floats Value(Floats t) const {
    const Floats y = rounding.Moved(kRange == Range::kIntegerScaledExactly
                                        ? MultiplyAdd(t, scale_lanes, offset_lanes)
                                        : Add(Multiply(t, scale_lanes), offset_lanes));
    return kRange == Range::kAny ? Min(Set(kLimit<Sample>), y) : y;
  }
  auto Vector(Floats t) const { return Rounding::Convert(Value(t)); }
};

template <class Sample, class Term, class Rounding, Range kRange>
struct OfConstant {
  static constexpr bool kTakesLongerThanMemory = true;

  Term term;
  Finish<Sample, Rounding, kRange> finish;

  auto Part(Floats biased) const { return finish.Vector(term.Vector(biased)); }
  Bytes Vector(Bytes s) const {
    const BytesAsFloats w = WidenBiased(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]), Part(w.part[2]), Part(w.part[3]));
  }
  Words Vector(Words s) const {
    const WordsAsFloats w = WidenBiased(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]));
  }
  auto Tail() const {
    return OfConstant<Sample, Term, typename Rounding::InTail, kRange>{term, {finish.linear, {}}};
  }
};

template <class Sample, class Term, class Rounding, Range kRange>
struct OfImages {
  static constexpr bool kTakesLongerThanMemory = true;

  Finish<Sample, Rounding, kRange> finish;

  auto Part(Floats a, Floats b) const {
    const Floats y = finish.Value(Term::Vector(a, b));
    // A quotient by 0 is 0, whatever the offset.
    return Rounding::Convert(std::is_same_v<Term, Quotient> ? ZeroWhereZero(y, b) : y);
  }
  WordsAsFloats TermInWords(Words a, Words b) const {
    return Widen(Term::OfWords(a, b), 256.0F * Term::kAbove);
  }
  Bytes Vector(Bytes a, Bytes b) const {
    if constexpr (Term::kInWords) {
      const BytesAsWords v = Widen(a, Set(Term::kAbove));
      const BytesAsWords w = Widen(b, Set(std::uint8_t{0}));
      const WordsAsFloats low = TermInWords(v.part[0], w.part[0]);
      const WordsAsFloats high = TermInWords(v.part[1], w.part[1]);
      return Narrow(finish.Vector(low.part[0]), finish.Vector(low.part[1]),
                    finish.Vector(high.part[0]), finish.Vector(high.part[1]));
    } else {
      const BytesAsFloats v = Widen(a);
      const BytesAsFloats w = Widen(b);
      return Narrow(Part(v.part[0], w.part[0]), Part(v.part[1], w.part[1]),
                    Part(v.part[2], w.part[2]), Part(v.part[3], w.part[3]));
    }
  }
  Words Vector(Words a, Words b) const {
    const WordsAsFloats v = Widen(a);
    const WordsAsFloats w = Widen(b);
    return Narrow(Part(v.part[0], w.part[0]), Part(v.part[1], w.part[1]));
  }
  auto Tail() const {
    return OfImages<Sample, Term, typename Rounding::InTail, kRange>{{finish.linear, {}}};
  }
};

struct SaturatedSum {
  static auto Vector(auto a, auto b) { return AddSaturated(a, b); }
};

struct SaturatedDifference {
  static auto Vector(auto a, auto b) { return SubtractSaturated(a, b); }
};

struct BitwiseAnd {
  static auto Vector(auto a, auto b) { return And(a, b); }
};

struct BitwiseOr {
  static auto Vector(auto a, auto b) { return Or(a, b); }
};

struct BitwiseXor {
  static auto Vector(auto a, auto b) { return Xor(a, b); }
};

struct Maximum {
  static auto Vector(auto a, auto b) { return Larger(a, b); }
};

struct Minimum {
  static auto Vector(auto a, auto b) { return Smaller(a, b); }
};

// One of the two saturated differences is 0.
struct AbsoluteDifference {
  static auto Vector(auto a, auto b) {
    return Or(SubtractSaturated(a, b), SubtractSaturated(b, a));
  }
};

// To the nearest integer, ties to even: the mean rounded up, less 1 where that has made an odd
// integer of a half.
struct Mean {
  static auto Vector(auto a, auto b, auto one) {
    const auto up = MeanRoundedUp(a, b);
    return SubtractSaturated(up, And(And(Xor(a, b), up), one));
  }
  static Bytes Vector(Bytes a, Bytes b) { return Vector(a, b, Set(std::uint8_t{1})); }
  static Words Vector(Words a, Words b) { return Vector(a, b, Set(std::uint16_t{1})); }
};

// An integer formula whose second operand is the same everywhere.
template <class Sample, class Formula>
struct WithOperand {
  Sample operand;
  decltype(Set(Sample{})) operand_lanes = Set(operand);

  auto Vector(auto s) const { return Formula::Vector(s, operand_lanes); }
};

// To the nearest integer. No root of a sample lies within 2^-12 of a half, so one that is off by
// less than 2^-13 gives the same integer, and takes half the time: the product with an estimate of
// the reciprocal root, put right by one step of Newton's. For 0 it is NaN, which becomes 0 like
// everywhere.
template <class Sample>
struct Root {
  static constexpr bool kTakesLongerThanMemory = true;

  static auto Part(Floats biased) {
    // Not fused: the multipliers are busy enough.
    const Floats s = Subtract(biased, Set(kBias));
    const Floats reciprocal = NearReciprocalRoot(s);
    const Floats root = Multiply(s, reciprocal);
    const Floats correction = MultiplyAdd(Multiply(root, reciprocal), Set(-0.5F), Set(1.5F));
    return ToNearest(Multiply(root, correction));
  }
  Bytes Vector(Bytes s) const {
    const BytesAsFloats w = WidenBiased(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]), Part(w.part[2]), Part(w.part[3]));
  }
  Words Vector(Words s) const {
    const WordsAsFloats w = WidenBiased(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]));
  }
};

// Scale and offset in double precision, rounded to single precision on demand; truncated. Rounding
// does not lead past the limit.
template <class Sample, bool kRounded>
struct LinearInDouble {
  Doubles scale_lanes;
  Doubles offset_lanes;

  Doubles Value(Doubles s) const {
    return Min(Set(double{kLimit<Sample>}), Add(Multiply(s, scale_lanes), offset_lanes));
  }
  auto Part(Floats s) const {
    const FloatsAsDoubles w = Widen(s);
    const FloatsAsDoubles y = {{Value(w.part[0]), Value(w.part[1])}};
    if constexpr (kRounded) {
      return Truncate(Narrow(y));
    } else {
      return Truncate(y);
    }
  }
  Bytes Vector(Bytes s) const {
    const BytesAsFloats w = Widen(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]), Part(w.part[2]), Part(w.part[3]));
  }
  Words Vector(Words s) const {
    const WordsAsFloats w = Widen(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]));
  }
};

template <class Sample>
inline auto LoadPartial(const Sample* p, std::ptrdiff_t count) {
  alignas(64) Sample lanes[kLanes<Sample>] = {};
  std::memcpy(lanes, p, static_cast<std::size_t>(count) * sizeof(Sample));
  return Load(lanes);
}

template <class Sample, class Vector>
inline void StorePartial(Sample* p, Vector a, std::ptrdiff_t count) {
  alignas(64) Sample lanes[kLanes<Sample>];
  Store(lanes, a);
  std::memcpy(p, lanes, static_cast<std::size_t>(count) * sizeof(Sample));
}

// Applies the formula to `count` samples, fewer than a vector holds.
template <class Formula, class Sample, class... Inputs>
inline void ApplyPartially(const Formula& f, std::ptrdiff_t count, Sample* dst, Inputs... src) {
  StorePartial(dst, f.Vector(LoadPartial(src, count)...), count);
}

// The same, faster where it can be: from half a vector on as two halves that may overlap. A formula
// does not ask where in a vector a sample lies.
template <class Formula, class Sample, class... Inputs>
inline void ApplyInHalves(const Formula& f, std::ptrdiff_t count, Sample* dst, Inputs... src) {
  if constexpr (requires { StoreHalves(dst, dst, f.Vector(LoadHalves(src, src)...)); }) {
    if (const std::ptrdiff_t second = count - kLanes<Sample> / 2; second >= 0) {
      StoreHalves(dst, dst + second, f.Vector(LoadHalves(src, src + second)...));
      return;
    }
  }
  ApplyPartially(f, count, dst, src...);
}

// How many samples lie before the first address of a vector's alignment; all of them where none
// does.
template <class Sample>
inline std::ptrdiff_t SamplesToAlignment(const Sample* p, std::ptrdiff_t samples) {
  constexpr auto kVectorBytes = static_cast<std::uintptr_t>(kLanes<Sample>) * sizeof(Sample);
  const std::uintptr_t bytes = -reinterpret_cast<std::uintptr_t>(p) % kVectorBytes;
  const auto count = static_cast<std::ptrdiff_t>(bytes / sizeof(Sample));
  return bytes % sizeof(Sample) == 0 && count < samples ? count : samples;
}

// Whether reading upwards keeps meeting what has just been written. A processor compares the lower
// address bits of a load with those of the stores before it, and waits for a store that looks like
// the load's own: up to four times as long where the output lies a little above the input, modulo
// a page, which neighbouring allocations often do.
template <class Sample>
inline bool LooksWritten(const Sample* dst, const Sample* src) {
  constexpr std::uintptr_t kPage = 4096;
  const auto distance =
      (reinterpret_cast<std::uintptr_t>(dst) - reinterpret_cast<std::uintptr_t>(src)) % kPage;
  return distance != 0 && distance < kPage / 4;
}
template <class Sample, class Other>
inline bool LooksWritten(const Sample*, const Other&) {
  return false;
}

// The same of reading downwards.
template <class Sample>
inline bool LooksWrittenDownwards(const Sample* dst, const Sample* src) {
  return LooksWritten(src, dst);
}
template <class Sample, class Other>
inline bool LooksWrittenDownwards(const Sample*, const Other&) {
  return false;
}

// How vectors are loaded where the instruction set knows no better.
template <class Input>
inline auto LoadInHalves(Input p) {
  return Load(p);
}

template <bool kInHalves, class Input>
inline auto Fetch(Input p) {
  if constexpr (kInHalves) {
    return LoadInHalves(p);
  } else {
    return Load(p);
  }
}

// So many whole vectors, from the first to the last; downwards where whole loads would wait.
template <bool kInHalves, class Formula, class Sample, class... Inputs>
inline void WalkVectors(const Formula& f, std::ptrdiff_t vectors, Sample* dst, Inputs... src) {
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  const bool downwards = !kInHalves && (LooksWritten(dst, src) || ...);
  const std::ptrdiff_t step = downwards ? -kStep : kStep;
  std::ptrdiff_t i = downwards ? (vectors - 1) * kStep : 0;
  for (std::ptrdiff_t left = vectors; left > 0; --left, i += step) {
    Store(dst + i, f.Vector(Fetch<kInHalves>(src + i)...));
  }
}

// The blocks of one row. Streamed, only the vectors between the first and the last aligned address
// can be. Of short rows a call for each would take longer than the row.
template <bool kStreaming, class Formula, class Sample, class... Inputs>
[[gnu::always_inline]] inline void WalkBlocks(const Formula& formula, std::ptrdiff_t count,
                                              Sample* dst, Inputs... src) {
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  // Loading in halves adds instructions, in vain for formulas that take longer than memory does and
  // for rows in the first-level cache that do not look written.
  constexpr bool kHasHalves = kLanes<std::uint8_t> == 64;
  constexpr bool kInHalves = kHasHalves && !requires { Formula::kTakesLongerThanMemory; };
  constexpr auto kFar = static_cast<std::ptrdiff_t>(64 * 1024 / sizeof(Sample));
  // A copy that no store can reach: its constants stay in registers.
  const Formula f = formula;
  std::ptrdiff_t done = 0;
  if constexpr (kStreaming) {
    const std::ptrdiff_t head = SamplesToAlignment(dst, count);
    if (head == count) {
      WalkBlocks<false>(f, count, dst, src...);
      return;
    }
    ApplyPartially(f, head, dst, src...);
    for (done = head; done + kStep <= count; done += kStep) {
      Stream(dst + done, f.Vector(Fetch<kInHalves>(src + done)...));
    }
  } else {
    const std::ptrdiff_t vectors = count / kStep;
    const bool waits_upwards = (LooksWritten(dst, src) || ...);
    const bool waits_either_way = waits_upwards && (LooksWrittenDownwards(dst, src) || ...);
    if (kInHalves ? count >= kFar || waits_upwards : kHasHalves && waits_either_way) {
      WalkVectors<kHasHalves>(f, vectors, dst, src...);
    } else {
      WalkVectors<false>(f, vectors, dst, src...);
    }
    done = vectors * kStep;
  }
  if (done < count) {
    ApplyPartially(f, count - done, dst + done, (src + done)...);
  }
}

// What computes a row's tail: the formula itself unless it has another for that.
template <class Formula>
inline auto TailOf(const Formula& f) {
  if constexpr (requires { f.Tail(); }) {
    return f.Tail();
  } else {
    return f;
  }
}

// Rows whose blocks and whose tail are less than a vector each: looking for whole ones in every row
// would take longer than the samples.
template <class Formula, class Sample, class... Inputs>
[[gnu::noinline]] void WalkShortRows(const Formula& formula, Extent extent, Rows<Sample> dst,
                                     Inputs... src) {
  // Copies that no store can reach, as in WalkBlocks.
  const Formula f = formula;
  const auto tail = TailOf(f);
  const std::ptrdiff_t in_tail = extent.samples - extent.blocks;
  for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
    ApplyInHalves(f, extent.blocks, dst[row], src[row]...);
    if (in_tail > 0) {
      ApplyPartially(tail, in_tail, dst[row] + extent.blocks, (src[row] + extent.blocks)...);
    }
  }
}

template <bool kStreaming, class Formula, class Sample, class... Inputs>
inline void WalkRows(Formula f, Extent extent, Rows<Sample> dst, Inputs... src) {
  const auto tail = TailOf(f);
  for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
    WalkBlocks<kStreaming>(f, extent.blocks, dst[row], src[row]...);
    std::ptrdiff_t done = extent.blocks;
    for (; done + kLanes<Sample> <= extent.samples; done += kLanes<Sample>) {
      Store(dst[row] + done, tail.Vector(Load(src[row] + done)...));
    }
    if (done < extent.samples) {
      ApplyPartially(tail, extent.samples - done, dst[row] + done, (src[row] + done)...);
    }
  }
}

// The one loop over rows: the blocks, then the tail. The output may be an input: every sample is
// read before it is written.
template <class Formula, class Sample, class... Inputs>
inline void Walk(const Formula& f, const Extent& extent, Rows<Sample> dst, Inputs... src) {
  if (extent.streaming) {
    WalkRows<true>(f, extent, dst, src...);
    // Other threads must not see what follows before the streamed rows.
    _mm_sfence();
  } else if (std::max(extent.blocks, extent.samples - extent.blocks) < kLanes<Sample>) {
    WalkShortRows(f, extent, dst, src...);
  } else {
    WalkRows<false>(f, extent, dst, src...);
  }
}

// As Walk, for rows that are blocks throughout and formulas that have a vector form only.
template <class Formula, class Sample, class... Inputs>
inline void WalkBlocksOnly(const Formula& f, const Extent& extent, Rows<Sample> dst,
                           Inputs... src) {
  for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
    WalkBlocks<false>(f, extent.blocks, dst[row], src[row]...);
  }
}

// Samples to be loaded as one vector of floats.
template <class Sample>
struct AsFloats {
  const Sample* samples;

  AsFloats operator+(std::ptrdiff_t i) const { return {samples + i}; }
};

template <class Sample>
inline Floats Load(AsFloats<Sample> p) {
  return LoadWidened(p.samples);
}

template <class Sample>
inline Floats LoadPartial(AsFloats<Sample> p, std::ptrdiff_t count) {
  Sample lanes[kLanes<float>] = {};
  std::memcpy(lanes, p.samples, static_cast<std::size_t>(count) * sizeof(Sample));
  return LoadWidened(lanes);
}

// Floats to be loaded as many at a time as a vector has samples.
template <class Sample>
struct FloatsPerSample {
  const float* floats;

  FloatsPerSample operator+(std::ptrdiff_t i) const { return {floats + i}; }
};

inline BytesAsFloats Load(FloatsPerSample<std::uint8_t> p) {
  constexpr std::ptrdiff_t kStep = kLanes<float>;
  return {{Load(p.floats), Load(p.floats + kStep), Load(p.floats + 2 * kStep),
           Load(p.floats + 3 * kStep)}};
}

inline WordsAsFloats Load(FloatsPerSample<std::uint16_t> p) {
  return {{Load(p.floats), Load(p.floats + kLanes<float>)}};
}

template <class Sample>
inline auto LoadPartial(FloatsPerSample<Sample> p, std::ptrdiff_t count) {
  float lanes[kLanes<Sample>] = {};
  std::memcpy(lanes, p.floats, static_cast<std::size_t>(count) * sizeof(float));
  return Load(FloatsPerSample<Sample>{lanes});
}

template <class Sample>
struct RowsPerSample {
  Rows<float> rows;

  FloatsPerSample<Sample> operator[](std::ptrdiff_t row) const { return {rows[row]}; }
};

struct TimesFactor {
  Floats factor_lanes;

  Floats Vector(Floats s) const { return Multiply(s, factor_lanes); }
};

// Clamped, and to the nearest integer, ties to even.
template <class Sample>
struct Nearest {
  Floats limit_lanes = Set(kLimit<Sample>);

  auto Part(Floats s) const { return ToNearest(Min(limit_lanes, s)); }
  Bytes Vector(const BytesAsFloats& s) const {
    return InOrder(Narrow(Part(s.part[0]), Part(s.part[1]), Part(s.part[2]), Part(s.part[3])));
  }
  Words Vector(const WordsAsFloats& s) const {
    return InOrder(Narrow(Part(s.part[0]), Part(s.part[1])));
  }
};

#if defined(KELRA_HAS_BYTE_TABLE)

inline constexpr std::array<std::uint8_t, 256> kAllBytes = [] {
  std::array<std::uint8_t, 256> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(i);
  }
  return bytes;
}();

// What a formula gives for each of the 256 bytes.
template <class Formula>
inline ByteTable Tabulate(const Formula& f) {
  const auto quarter = [&](int i) { return f.Vector(Load(kAllBytes.data() + 64 * i)); };
  return {{quarter(0), quarter(1), quarter(2), quarter(3)}};
}

struct FromTable {
  ByteTable table;

  Bytes Vector(Bytes s) const { return Lookup(table, s); }
};

struct FromTables {
  FromTable blocks;
  FromTable tail;

  Bytes Vector(Bytes s) const { return blocks.Vector(s); }
  FromTable Tail() const { return tail; }
};

template <class Formula>
inline void WalkOneInput(const Formula& f, const Extent& extent, Rows<std::uint8_t> dst,
                         Rows<const std::uint8_t> src) {
  constexpr std::ptrdiff_t kWorthTabulating = 1024;
  if (extent.rows * extent.blocks < kWorthTabulating) {
    Walk(f, extent, dst, src);
  } else if (extent.blocks == extent.samples) {
    Walk(FromTable{Tabulate(f)}, extent, dst, src);
  } else {
    Walk(FromTables{{Tabulate(f)}, {Tabulate(TailOf(f))}}, extent, dst, src);
  }
}

#endif

template <class Formula, class Sample>
inline void WalkOneInput(const Formula& f, const Extent& extent, Rows<Sample> dst,
                         Rows<const Sample> src) {
  Walk(f, extent, dst, src);
}

// Calls `use` with the finish for terms of the range.
template <class Sample, class Rounding, class Use>
inline void WithFinish(float lowest, float highest, Linear linear, Use use) {
  if (!FitsInteger(lowest, highest, linear)) {
    use(Finish<Sample, Rounding, Range::kAny>{linear, {}});
  } else if (!ScalesExactly(linear.scale)) {
    use(Finish<Sample, Rounding, Range::kInteger>{linear, {}});
  } else {
    use(Finish<Sample, Rounding, Range::kIntegerScaledExactly>{linear, {}});
  }
}

template <class Sample, class Term, class Rounding>
void WithConstant(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent, float constant,
                  Linear linear) {
  const Term term{constant};
  const auto use = [&]<Range kRange>(const Finish<Sample, Rounding, kRange>& finish) {
    WalkOneInput(OfConstant<Sample, Term, Rounding, kRange>{term, finish}, extent, dst, src);
  };
  WithFinish<Sample, Rounding>(term.Plain(0.0F), term.Plain(kLimit<Sample>), linear, use);
}

// s / constant * scale + offset, rounded half up, as one product and one sum.
//
// For a scale of 2^k and an offset that is a multiple of 2^-m, m at least 1 and -k, the exact value
// plus 0.5 is a multiple of g = 2^-m / constant. Where that is a whole number, the quotient has at
// most 16 digits and every step of the formula is exact; elsewhere it keeps g away from one. So the
// formula truncates to the right whole number while its steps are off by less than g, and so does
// any evaluation that aims g / 2 too high and is off by less than that. A test compares all pairs.
template <class Sample>
struct WholeQuotient {
  static constexpr bool kTakesLongerThanMemory = true;

  Floats factor_lanes;
  Floats addend_lanes;

  auto Part(Floats biased) const {
    return Truncate(MultiplyAdd(Shifted(biased, 0), factor_lanes, addend_lanes));
  }
  Bytes Vector(Bytes s) const {
    const BytesAsFloats w = WidenBiased(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]), Part(w.part[2]), Part(w.part[3]));
  }
  Words Vector(Words s) const {
    const WordsAsFloats w = WidenBiased(s);
    return Narrow(Part(w.part[0]), Part(w.part[1]));
  }
};

// The g above, or 0 where the steps may be off by too much.
template <class Sample>
inline double GridOfWholeQuotient(double constant, Linear linear) {
  if (!ScalesExactly(linear.scale) || !(linear.scale > 0) ||
      !FitsInteger(0, kLimit<Sample>, linear)) {
    return 0;
  }
  double step = linear.scale < 0.5F ? linear.scale : 0.5;
  constexpr double kFinest = 1.0 / 256;
  while (step >= kFinest && std::trunc(linear.offset / step) != linear.offset / step) {
    step /= 2;
  }
  const double grid = step / constant;
  constexpr double kRoundingError = 0x1p-24;
  const double largest = kLimit<Sample> / constant * linear.scale;
  const double error = kRoundingError * (4 * largest + 2 * std::abs(linear.offset) + 3);
  return step >= kFinest && error < grid / 2 ? grid : 0;
}

template <class Sample>
void DivideByConstant(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent,
                      float constant, Linear linear) {
  const double grid = GridOfWholeQuotient<Sample>(constant, linear);
  if (grid > 0) {
    const auto factor = static_cast<float>(linear.scale / static_cast<double>(constant));
    const auto addend = static_cast<float>(linear.offset + 0.5 + grid / 2);
    WalkOneInput(WholeQuotient<Sample>{Set(factor), Set(addend)}, extent, dst, src);
  } else {
    WithConstant<Sample, DividedByConstant, HalfUp>(src, dst, extent, constant, linear);
  }
}

template <class Sample, class Term, class Rounding>
void WithImage(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst, const Extent& extent,
               Linear linear) {
  const auto use = [&]<Range kRange>(const Finish<Sample, Rounding, kRange>& finish) {
    Walk(OfImages<Sample, Term, Rounding, kRange>{finish}, extent, dst, a, b);
  };
  WithFinish<Sample, Rounding>(Term::Lowest(kLimit<Sample>), Term::Highest(kLimit<Sample>), linear,
                               use);
}

template <class Sample>
void Shift(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent, int shift) {
  if (shift >= 0) {
    Walk(WithOperand<Sample, SaturatedSum>{static_cast<Sample>(shift)}, extent, dst, src);
  } else {
    Walk(WithOperand<Sample, SaturatedDifference>{static_cast<Sample>(-shift)}, extent, dst, src);
  }
}

template <class Sample, class Formula>
void OfBoth(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst, const Extent& extent) {
  Walk(Formula{}, extent, dst, a, b);
}

// The mark where the relation holds, elsewhere the first operand.
template <class Sample, Relation kRelation>
struct Marked {
  Sample mark;
  decltype(Set(Sample{})) mark_lanes = Set(mark);

  auto Vector(auto a, auto b) const {
    if constexpr (kRelation == kEqual) {
      return Select(Equal(a, b), mark_lanes, a);
    } else if constexpr (kRelation == kNotEqual) {
      return Select(Equal(a, b), a, mark_lanes);
    } else if constexpr (kRelation == kGreaterOrEqual) {
      return Select(AtLeast(a, b), mark_lanes, a);
    } else if constexpr (kRelation == kLess) {
      return Select(AtLeast(a, b), a, mark_lanes);
    } else if constexpr (kRelation == kLessOrEqual) {
      return Select(AtLeast(b, a), mark_lanes, a);
    } else {
      return Select(AtLeast(b, a), a, mark_lanes);
    }
  }
};

template <class Sample, Relation kRelation>
struct MarkedAgainst {
  Marked<Sample, kRelation> marked;
  Sample constant;
  decltype(Set(Sample{})) constant_lanes = Set(constant);

  auto Vector(auto s) const { return marked.Vector(s, constant_lanes); }
};

template <bool kStreaming, class Formula, class Sample, class... Inputs>
inline void WalkRowsBehindFirst(const Formula& f, const Extent& extent, Rows<Sample> dst,
                                Rows<const Sample> src, Inputs... others) {
  for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
    dst[row][0] = src[row][0];
    WalkBlocks<kStreaming>(f, extent.samples - 1, dst[row] + 1, src[row] + 1, (others[row] + 1)...);
  }
}

// Copies each row's first sample and applies the formula to those behind it.
template <class Formula, class Sample, class... Inputs>
inline void WalkBehindFirst(const Formula& f, const Extent& extent, Rows<Sample> dst,
                            Inputs... src) {
  if (extent.streaming) {
    WalkRowsBehindFirst<true>(f, extent, dst, src...);
    _mm_sfence();
  } else {
    WalkRowsBehindFirst<false>(f, extent, dst, src...);
  }
}

template <class Sample, Relation kRelation>
void MarkByImage(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst, const Extent& extent,
                 Sample mark) {
  WalkBehindFirst(Marked<Sample, kRelation>{mark}, extent, dst, a, b);
}

template <class Sample, Relation kRelation>
void MarkByConstant(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent, Sample constant,
                    Sample mark) {
  WalkBehindFirst(MarkedAgainst<Sample, kRelation>{{mark}, constant}, extent, dst, src);
}

template <class Sample, class Formula>
void OfSampleAndConstant(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent,
                         Sample constant) {
  Walk(WithOperand<Sample, Formula>{constant}, extent, dst, src);
}

template <class Sample, bool kRounded>
void InDouble(const Sample* src, Sample* dst, std::ptrdiff_t samples, double scale, double offset) {
  WalkBlocks<false>(LinearInDouble<Sample, kRounded>{Set(scale), Set(offset)}, samples, dst, src);
}

template <class Sample>
void SquareRoots(Rows<const Sample> src, Rows<Sample> dst, const Extent& extent) {
  WalkOneInput(Root<Sample>{}, extent, dst, src);
}

template <class Sample>
void Means(Rows<float> sums, Rows<Sample> dst, const Extent& extent, float factor) {
  WalkBlocksOnly(TimesFactor{Set(factor)}, extent, sums, sums);
  WalkBlocksOnly(Nearest<Sample>{}, extent, dst, RowsPerSample<Sample>{sums});
}

#include "frame/kernels/bilinear_rows.inl"
#include "frame/kernels/depth_conversion.inl"
#include "frame/kernels/grid_sampling.inl"
#include "frame/kernels/mask_bits.inl"
#include "frame/kernels/painting_kernels.inl"
#include "frame/kernels/perspective_positions.inl"
#include "frame/kernels/reduction_kernels.inl"
#include "frame/kernels/transposition.inl"

// Of the conversion between depths that is none.
#include "frame/kernels/byte_copy.inl"

template <class Sample>
inline constexpr SampleKernels<Sample> kSampleKernels = {
    .with_constant = {WithConstant<Sample, PlusConstant, NearestInBlocks>,
                      WithConstant<Sample, MinusConstant, NearestInBlocks>,
                      WithConstant<Sample, TimesConstant, NearestInBlocks>,
                      DivideByConstant<Sample>},
    .with_image = {WithImage<Sample, Sum, NearestInBlocks>,
                   WithImage<Sample, Difference, NearestInBlocks>,
                   WithImage<Sample, Product, NearestInBlocks>,
                   WithImage<Sample, Quotient, HalfUp>},
    .shift = Shift<Sample>,
    .add = OfBoth<Sample, SaturatedSum>,
    .subtract = OfBoth<Sample, SaturatedDifference>,
    .mark_by_image = {MarkByImage<Sample, kEqual>, MarkByImage<Sample, kGreater>,
                      MarkByImage<Sample, kGreaterOrEqual>, MarkByImage<Sample, kLess>,
                      MarkByImage<Sample, kLessOrEqual>, MarkByImage<Sample, kNotEqual>},
    .mark_by_constant = {MarkByConstant<Sample, kEqual>, MarkByConstant<Sample, kGreater>,
                         MarkByConstant<Sample, kGreaterOrEqual>, MarkByConstant<Sample, kLess>,
                         MarkByConstant<Sample, kLessOrEqual>, MarkByConstant<Sample, kNotEqual>},
    .combine_constant = {OfSampleAndConstant<Sample, BitwiseAnd>,
                         OfSampleAndConstant<Sample, BitwiseOr>,
                         OfSampleAndConstant<Sample, BitwiseXor>,
                         OfSampleAndConstant<Sample, Maximum>, OfSampleAndConstant<Sample, Minimum>,
                         OfSampleAndConstant<Sample, AbsoluteDifference>,
                         OfSampleAndConstant<Sample, Mean>},
    .combine_images = {OfBoth<Sample, BitwiseAnd>, OfBoth<Sample, BitwiseOr>,
                       OfBoth<Sample, BitwiseXor>, OfBoth<Sample, Maximum>, OfBoth<Sample, Minimum>,
                       OfBoth<Sample, AbsoluteDifference>, OfBoth<Sample, Mean>},
    .root = SquareRoots<Sample>,
    .in_double = InDouble<Sample, false>,
    .in_double_rounded = InDouble<Sample, true>,
    .largest = Largest<Sample>,
    .smallest = Smallest<Sample>,
    .mean = {MeanOfImages<Sample, kTrimNone>, MeanOfImages<Sample, kTrimSmallest>,
             MeanOfImages<Sample, kTrimLargest>, MeanOfImages<Sample, kTrimBoth>},
    .add_images = {AddImages<Sample, kTrimNone>, AddImages<Sample, kTrimSmallest>,
                   AddImages<Sample, kTrimLargest>, AddImages<Sample, kTrimBoth>},
    .means = Means<Sample>,
    .bilinear_of_one_channel = Bilinear<Sample, 1>,
    .bilinear_of_three_channels = Bilinear<Sample, 3>,
    .on_grid_of_one_channel = SampleOnGrid<Sample, 1>,
    .on_grid_of_three_channels = SampleOnGrid<Sample, 3>,
    .transpose = Transpose<Sample>,
    .fill = Fill<Sample>,
    .set_thirds = SetThirds<Sample>,
};

constexpr RowKernels KernelsNamed(const char* instruction_set) {
  return {instruction_set,
          kSampleKernels<std::uint8_t>,
          kSampleKernels<std::uint16_t>,
          kDepthConversions,
          BitsOfMask,
          CopyBytesOfRows,
          PerspectivePositions};
}
