// Several images to one, sample by sample. An accumulator takes in a vector of each image and gives
// the result's vector; WalkImages keeps as many of them at a time as the registers hold, so that
// each image is read in stretches: memory delivers these faster than single lines of many images.

template <class Sample>
struct LargestOf {
  static constexpr int kVectors = 1;
  decltype(Set(Sample{})) so_far = Set(Sample{0});

  void Take(auto s) { so_far = Larger(so_far, s); }
  auto Result() const { return so_far; }
};

template <class Sample>
struct SmallestOf {
  static constexpr int kVectors = 1;
  decltype(Set(Sample{})) so_far = Set(static_cast<Sample>(kLimit<Sample>));

  void Take(auto s) { so_far = Smaller(so_far, s); }
  auto Result() const { return so_far; }
};

inline Words RoundedProduct(Words a, Floats factor) {
  const WordsAsFloats w = Widen(a);
  return Narrow(ToNearest(Multiply(w.part[0], factor)), ToNearest(Multiply(w.part[1], factor)));
}
inline DoubleWords RoundedProduct(DoubleWords a, Floats factor) {
  return {ToNearest(Multiply(ToFloats(a), factor))};
}

// Sums in single precision. Those of kMostSummedImages are whole numbers that a float holds, so
// integers give the same.
template <class Sample>
struct SumOf {
  decltype(Split(Set(Sample{}))) sums = {};

  void Take(auto s) {
    const auto w = Split(s);
    sums = {{Add(sums.part[0], w.part[0]), Add(sums.part[1], w.part[1])}};
  }
  void Drop(auto s) {
    const auto w = Split(s);
    sums = {{Subtract(sums.part[0], w.part[0]), Subtract(sums.part[1], w.part[1])}};
  }
  auto Times(Floats factor) const {
    return Interleave(RoundedProduct(sums.part[0], factor), RoundedProduct(sums.part[1], factor));
  }
};

template <class Sample, Trim kTrim>
struct MeanOf {
  static constexpr bool kDropsSmallest = (kTrim & kTrimSmallest) != 0;
  static constexpr bool kDropsLargest = (kTrim & kTrimLargest) != 0;
  static constexpr int kVectors = kTrim == kTrimNone ? 2 : 4;

  Floats factor;
  SumOf<Sample> sum;
  SmallestOf<Sample> smallest;
  LargestOf<Sample> largest;

  void Take(auto s) {
    sum.Take(s);
    if constexpr (kDropsSmallest) {
      smallest.Take(s);
    }
    if constexpr (kDropsLargest) {
      largest.Take(s);
    }
  }
  auto Result() const {
    SumOf<Sample> kept = sum;
    if constexpr (kDropsLargest) {
      kept.Drop(largest.Result());
    }
    if constexpr (kDropsSmallest) {
      kept.Drop(smallest.Result());
    }
    return kept.Times(factor);
  }
};

// The samples from `at` on: one vector for each of the accumulators.
template <int kCount, bool kStreaming, class Accumulator, class Sample>
inline void ReduceVectors(const Accumulator& begin, ImageRows<Sample> src, std::ptrdiff_t at,
                          Sample* dst) {
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  Accumulator accumulators[kCount];
  for (Accumulator& accumulator : accumulators) {
    accumulator = begin;
  }
  for (std::ptrdiff_t image = 0; image < src.count; ++image) {
    const Sample* p = src.first[image] + at;
    for (Accumulator& accumulator : accumulators) {
      accumulator.Take(Load(p));
      p += kStep;
    }
  }
  Sample* result = dst + at;
  for (const Accumulator& accumulator : accumulators) {
    if constexpr (kStreaming) {
      Stream(result, accumulator.Result());
    } else {
      Store(result, accumulator.Result());
    }
    result += kStep;
  }
}

// `count` samples from `at` on, fewer than a vector holds.
template <class Accumulator, class Sample>
inline void ReducePartially(Accumulator accumulator, ImageRows<Sample> src, std::ptrdiff_t at,
                            std::ptrdiff_t count, Sample* dst) {
  for (std::ptrdiff_t image = 0; image < src.count; ++image) {
    accumulator.Take(LoadPartial(src.first[image] + at, count));
  }
  StorePartial(dst + at, accumulator.Result(), count);
}

template <bool kStreaming, class Accumulator, class Sample>
inline void WalkImages(const Accumulator& begin, ImageRows<Sample> src, std::ptrdiff_t at,
                       std::ptrdiff_t end, Sample* dst) {
  constexpr int kCount = 8 / Accumulator::kVectors;
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  for (; at + kCount * kStep <= end; at += kCount * kStep) {
    ReduceVectors<kCount, kStreaming>(begin, src, at, dst);
  }
  for (; at + kStep <= end; at += kStep) {
    ReduceVectors<1, kStreaming>(begin, src, at, dst);
  }
  if (at < end) {
    ReducePartially(begin, src, at, end - at, dst);
  }
}

// The one loop over a row of images. The output may be an image: every sample is read before it is
// written.
template <class Accumulator, class Sample>
inline void Reduce(const Accumulator& begin, ImageRows<Sample> src, Sample* dst,
                   std::ptrdiff_t samples, bool streaming) {
  const std::ptrdiff_t head = streaming ? SamplesToAlignment(dst, samples) : samples;
  if (head == samples) {
    return WalkImages<false>(begin, src, 0, samples, dst);
  }
  if (head > 0) {
    ReducePartially(begin, src, 0, head, dst);
  }
  WalkImages<true>(begin, src, head, samples, dst);
  _mm_sfence();
}

template <class Sample>
void Largest(ImageRows<Sample> src, Sample* dst, std::ptrdiff_t samples, bool streaming) {
  Reduce(LargestOf<Sample>{}, src, dst, samples, streaming);
}

template <class Sample>
void Smallest(ImageRows<Sample> src, Sample* dst, std::ptrdiff_t samples, bool streaming) {
  Reduce(SmallestOf<Sample>{}, src, dst, samples, streaming);
}

template <class Sample, Trim kTrim>
void MeanOfImages(ImageRows<Sample> src, Sample* dst, std::ptrdiff_t samples, float factor,
                  bool streaming) {
  Reduce(MeanOf<Sample, kTrim>{Set(factor), {}, {}, {}}, src, dst, samples, streaming);
}

// Any number of images onto the sums of `count` samples from `at` on, at most what a vector holds.
template <Trim kTrim, bool kPartial, class Sample>
inline void AddTo(float* sums, ImageRows<Sample> src, std::ptrdiff_t at, std::ptrdiff_t count) {
  Floats smallest = Set(kLimit<Sample>);
  Floats largest = Set(0.0F);
  Floats sum = kPartial ? LoadPartial(sums + at, count) : Load(sums + at);
  for (std::ptrdiff_t image = 0; image < src.count; ++image) {
    const AsFloats<Sample> p{src.first[image] + at};
    const Floats s = kPartial ? LoadPartial(p, count) : Load(p);
    sum = Add(sum, s);
    smallest = Min(smallest, s);
    largest = Max(largest, s);
  }
  if constexpr ((kTrim & kTrimLargest) != 0) {
    sum = Subtract(sum, largest);
  }
  if constexpr ((kTrim & kTrimSmallest) != 0) {
    sum = Subtract(sum, smallest);
  }
  if constexpr (kPartial) {
    StorePartial(sums + at, sum, count);
  } else {
    Store(sums + at, sum);
  }
}

template <class Sample, Trim kTrim>
void AddImages(ImageRows<Sample> src, float* sums, std::ptrdiff_t samples) {
  constexpr std::ptrdiff_t kStep = kLanes<float>;
  std::ptrdiff_t at = 0;
  for (; at + kStep <= samples; at += kStep) {
    AddTo<kTrim, false>(sums, src, at, kStep);
  }
  if (at < samples) {
    AddTo<kTrim, true>(sums, src, at, samples - at);
  }
}
