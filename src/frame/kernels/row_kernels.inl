// The row kernels in terms of the vector operations of the instruction set that includes this.
//
// A formula gives the value of one vector and of one sample side by side; Walk applies it to rows.

template <class Sample>
inline constexpr float kLimit = sizeof(Sample) == 1 ? 255.0F : 65535.0F;

// A value that is being rounded is at most the limit here, so the integer is right, or it is
// negative, or the smallest of all for NaN and for what lies below the range: the packing then
// gives 0.
template <class Sample>
inline Floats AtMostLimit(Floats y) {
  return Min(Set(kLimit<Sample>), y);
}

template <class Sample>
inline Sample Saturate(float y) {
  if (y >= kLimit<Sample>) {
    return static_cast<Sample>(kLimit<Sample>);
  }
  return y > 0.0F ? static_cast<Sample>(y) : Sample{0};
}

struct AddOp {
  static Floats Apply(Floats s, Floats o) { return Add(s, o); }
  static float Apply(float s, float o) { return s + o; }
};
struct SubtractOp {
  static Floats Apply(Floats s, Floats o) { return Subtract(s, o); }
  static float Apply(float s, float o) { return s - o; }
};
struct MultiplyOp {
  static Floats Apply(Floats s, Floats o) { return Multiply(s, o); }
  static float Apply(float s, float o) { return s * o; }
};

// (s op o) * scale + offset, rounded to nearest in vectors and truncated in the tail.
template <class Sample, class Op>
struct ScaledOp {
  Floats scale_lanes;
  Floats offset_lanes;
  Linear linear;

  explicit ScaledOp(Linear l) : scale_lanes(Set(l.scale)), offset_lanes(Set(l.offset)), linear(l) {}

  auto Lanes(Floats s, Floats o) const {
    const Floats y = Add(Multiply(Op::Apply(s, o), scale_lanes), offset_lanes);
    return ToNearest(AtMostLimit<Sample>(y));
  }
  Sample Tail(float s, float o) const {
    return Saturate<Sample>(Op::Apply(s, o) * linear.scale + linear.offset);
  }
};

// s / o * scale + offset, rounded half up. The sum with 0.5 is formed in single precision: rounding
// the exact sum to double first would not change it, as a double has more than twice the digits
// (Figueroa, "When is double rounding innocuous?", 1995).
template <class Sample>
struct ScaledQuotient {
  Floats scale_lanes;
  Floats offset_lanes;
  Floats half_lanes;
  Linear linear;

  explicit ScaledQuotient(Linear l)
      : scale_lanes(Set(l.scale)), offset_lanes(Set(l.offset)), half_lanes(Set(0.5F)), linear(l) {}

  Floats Rounded(Floats s, Floats o) const {
    const Floats y = Add(Multiply(Divide(s, o), scale_lanes), offset_lanes);
    return AtMostLimit<Sample>(Add(y, half_lanes));
  }
  auto Lanes(Floats s, Floats o) const { return Truncate(Rounded(s, o)); }
  Sample Tail(float s, float o) const {
    return Saturate<Sample>(s / o * linear.scale + linear.offset + 0.5F);
  }
};

// As above; where the divisor is 0 the result is 0, whatever the offset.
template <class Sample>
struct ScaledQuotientOrZero : ScaledQuotient<Sample> {
  using ScaledQuotient<Sample>::ScaledQuotient;

  auto Lanes(Floats s, Floats o) const { return Truncate(ZeroWhereZero(this->Rounded(s, o), o)); }
  Sample Tail(float s, float o) const {
    return o == 0.0F ? Sample{0} : ScaledQuotient<Sample>::Tail(s, o);
  }
};

template <class Formula>
inline Bytes Apply(const Formula& f, const BytesAsFloats& s, const BytesAsFloats& o) {
  return Narrow(f.Lanes(s.part[0], o.part[0]), f.Lanes(s.part[1], o.part[1]),
                f.Lanes(s.part[2], o.part[2]), f.Lanes(s.part[3], o.part[3]));
}
template <class Formula>
inline Words Apply(const Formula& f, const WordsAsFloats& s, const WordsAsFloats& o) {
  return Narrow(f.Lanes(s.part[0], o.part[0]), f.Lanes(s.part[1], o.part[1]));
}

// A formula in floats of one image's samples and a constant.
template <class Sample, class Formula>
struct OfConstant {
  Formula formula;
  Floats constant_lanes;
  float constant;

  OfConstant(float c, Linear linear) : formula(linear), constant_lanes(Set(c)), constant(c) {}

  Bytes Vector(Bytes s) const {
    const Floats c = constant_lanes;
    return Apply(formula, Widen(s), BytesAsFloats{{c, c, c, c}});
  }
  Words Vector(Words s) const {
    const Floats c = constant_lanes;
    return Apply(formula, Widen(s), WordsAsFloats{{c, c}});
  }
  Sample Scalar(Sample s) const { return formula.Tail(static_cast<float>(s), constant); }
};

// A formula in floats of two images' samples.
template <class Sample, class Formula>
struct OfImages {
  Formula formula;

  explicit OfImages(Linear linear) : formula(linear) {}

  Bytes Vector(Bytes a, Bytes b) const { return Apply(formula, Widen(a), Widen(b)); }
  Words Vector(Words a, Words b) const { return Apply(formula, Widen(a), Widen(b)); }
  Sample Scalar(Sample a, Sample b) const {
    return formula.Tail(static_cast<float>(a), static_cast<float>(b));
  }
};

template <class Sample>
inline Sample SaturateInteger(int value) {
  constexpr int kLargest = sizeof(Sample) == 1 ? 255 : 65535;
  return static_cast<Sample>(value < 0 ? 0 : value > kLargest ? kLargest : value);
}

template <class Sample>
struct SaturatedSum {
  auto Vector(auto a, auto b) const { return AddSaturated(a, b); }
  Sample Scalar(Sample a, Sample b) const { return SaturateInteger<Sample>(a + b); }
};

template <class Sample>
struct SaturatedDifference {
  auto Vector(auto a, auto b) const { return SubtractSaturated(a, b); }
  Sample Scalar(Sample a, Sample b) const { return SaturateInteger<Sample>(a - b); }
};

// An integer formula whose second operand is the same everywhere.
template <class Sample, class Formula>
struct WithOperand {
  Formula formula;
  decltype(Set(Sample{})) operand_lanes;
  Sample operand;

  explicit WithOperand(Sample o) : operand_lanes(Set(o)), operand(o) {}

  auto Vector(auto s) const { return formula.Vector(s, operand_lanes); }
  Sample Scalar(Sample s) const { return formula.Scalar(s, operand); }
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

// The one loop over rows: whole vectors, then what remains of the blocks, then the tail sample by
// sample. The output may be an input: every sample is read before it is written.
template <class Formula, class Sample, class... Inputs>
inline void Walk(const Formula& f, Extent extent, Rows<Sample> dst, Inputs... src) {
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
    Sample* const d = dst[row];
    std::ptrdiff_t i = 0;
    for (; i + kStep <= extent.blocks; i += kStep) {
      Store(d + i, f.Vector(Load(src[row] + i)...));
    }
    if (const std::ptrdiff_t rest = extent.blocks - i; rest > 0) {
      StorePartial(d + i, f.Vector(LoadPartial(src[row] + i, rest)...), rest);
      i = extent.blocks;
    }
    for (; i < extent.samples; ++i) {
      d[i] = f.Scalar(src[row][i]...);
    }
  }
}

template <class Sample, class Formula>
void WithConstant(Rows<const Sample> src, Rows<Sample> dst, Extent extent, float constant,
                  Linear linear) {
  Walk(OfConstant<Sample, Formula>(constant, linear), extent, dst, src);
}

template <class Sample, class Formula>
void WithImage(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst, Extent extent,
               Linear linear) {
  Walk(OfImages<Sample, Formula>(linear), extent, dst, a, b);
}

template <class Sample>
void Shift(Rows<const Sample> src, Rows<Sample> dst, Extent extent, int shift) {
  if (shift >= 0) {
    Walk(WithOperand<Sample, SaturatedSum<Sample>>(static_cast<Sample>(shift)), extent, dst, src);
  } else {
    Walk(WithOperand<Sample, SaturatedDifference<Sample>>(static_cast<Sample>(-shift)), extent, dst,
         src);
  }
}

template <class Sample, class Formula>
void OfBoth(Rows<const Sample> a, Rows<const Sample> b, Rows<Sample> dst, Extent extent) {
  Walk(Formula{}, extent, dst, a, b);
}

template <class Sample>
inline constexpr SampleKernels<Sample> kSampleKernels = {
    .with_constant = {WithConstant<Sample, ScaledOp<Sample, AddOp>>,
                      WithConstant<Sample, ScaledOp<Sample, SubtractOp>>,
                      WithConstant<Sample, ScaledOp<Sample, MultiplyOp>>,
                      WithConstant<Sample, ScaledQuotient<Sample>>},
    .with_image = {WithImage<Sample, ScaledOp<Sample, AddOp>>,
                   WithImage<Sample, ScaledOp<Sample, SubtractOp>>,
                   WithImage<Sample, ScaledOp<Sample, MultiplyOp>>,
                   WithImage<Sample, ScaledQuotientOrZero<Sample>>},
    .shift = Shift<Sample>,
    .add = OfBoth<Sample, SaturatedSum<Sample>>,
    .subtract = OfBoth<Sample, SaturatedDifference<Sample>>,
};
