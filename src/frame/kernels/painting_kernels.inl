// Constants written over samples, for one run of them.

template <class Sample>
void Fill(Sample* dst, std::ptrdiff_t samples, Sample value) {
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  const auto lanes = Set(value);
  if (samples < kStep) {
    StorePartial(dst, lanes, samples);
    return;
  }
  for (std::ptrdiff_t i = 0; i < samples - kStep; i += kStep) {
    Store(dst + i, lanes);
  }
  Store(dst + samples - kStep, lanes);
}

// The bits that three vectors keep when the first and every third sample from it are set.
template <class Sample>
inline constexpr std::array<Sample, std::size_t{3} * kLanes<Sample>> kKeptOfThirds = [] {
  std::array<Sample, std::size_t{3} * kLanes<Sample>> kept{};
  for (std::size_t i = 0; i < kept.size(); ++i) {
    kept[i] = static_cast<Sample>(i % 3 == 0 ? 0 : ~0);
  }
  return kept;
}();

// Those between are written as they are: vectors are several times as fast as single samples.
template <class Sample>
void SetThirds(Sample* dst, std::ptrdiff_t samples, Sample value) {
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  const auto lanes = Set(value);
  const auto all = Set(static_cast<Sample>(~0));
  const Sample* kept = kKeptOfThirds<Sample>.data();
  const Sample* const end = kept + 3 * kStep;
  const auto painted = [&](auto a) {
    const auto mask = Load(kept);
    return Or(And(a, mask), And(lanes, Xor(mask, all)));
  };
  for (; samples >= kStep; dst += kStep, samples -= kStep) {
    Store(dst, painted(Load(dst)));
    kept += kStep;
    kept = kept == end ? end - 3 * kStep : kept;
  }
  if (samples > 0) {
    StorePartial(dst, painted(LoadPartial(dst, samples)), samples);
  }
}
