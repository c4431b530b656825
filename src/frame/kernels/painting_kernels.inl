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

// The bits that a vector keeps when every third sample is set, from the first on; from the second
// entry on, when the third is the first that is set.
template <class Sample>
inline constexpr std::array<Sample, std::size_t{kLanes<Sample>} + 2> kKeptOfThirds = [] {
  std::array<Sample, std::size_t{kLanes<Sample>} + 2> kept{};
  for (std::size_t i = 0; i < kept.size(); ++i) {
    kept[i] = static_cast<Sample>(i % 3 == 0 ? 0 : ~0);
  }
  return kept;
}();

// Those between are written as they are: vectors are several times as fast as single samples. Many
// are aligned: those that cross a line of the cache are loaded and stored as two.
template <class Sample>
void SetThirds(Sample* dst, std::ptrdiff_t samples, Sample value) {
  constexpr std::ptrdiff_t kStep = kLanes<Sample>;
  constexpr std::ptrdiff_t kWorthAligning = 8 * kStep;
  const auto all = Set(static_cast<Sample>(~0));
  const auto lanes = Set(value);
  const auto painted = [&](auto a, auto kept) {
    return Or(And(a, kept), And(lanes, Xor(kept, all)));
  };
  const auto kept_from = [](std::ptrdiff_t sample) {
    return Load(kKeptOfThirds<Sample>.data() + sample % 3);
  };
  const auto paint_partially = [&](std::ptrdiff_t first, std::ptrdiff_t count) {
    StorePartial(dst + first, painted(LoadPartial(dst + first, count), kept_from(first)), count);
  };

  std::ptrdiff_t i = 0;
  if (samples >= kWorthAligning) {
    // All of them where samples do not lie on addresses of their own size.
    const std::ptrdiff_t to_alignment = SamplesToAlignment(dst, samples);
    i = to_alignment < samples ? to_alignment : 0;
    paint_partially(0, i);
  }
  const auto kept = kept_from(i);
  const auto kept_next = kept_from(i + kStep);
  const auto kept_last = kept_from(i + 2 * kStep);
  for (; i + 3 * kStep <= samples; i += 3 * kStep) {
    Store(dst + i, painted(Load(dst + i), kept));
    Store(dst + i + kStep, painted(Load(dst + i + kStep), kept_next));
    Store(dst + i + 2 * kStep, painted(Load(dst + i + 2 * kStep), kept_last));
  }
  for (; i + kStep <= samples; i += kStep) {
    Store(dst + i, painted(Load(dst + i), kept_from(i)));
  }
  if (i < samples) {
    paint_partially(i, samples - i);
  }
}
