// Samples that several threads set at the same time, all to the same value.
//
// Relaxed atomic stores make that no data race. Atomics of different sizes must not meet on one
// location, so how a sample is stored depends on its address alone, never on the run that is being
// set: samples in whole aligned words of the image with their word, the few before the first and
// behind the last such word by themselves.
#pragma once

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace KELRA {

template <class Sample>
class SharedSamples {
 public:
  // `first` is aligned as a sample is.
  SharedSamples(Sample* first, std::ptrdiff_t count)
      : first_(first),
        words_begin_(std::min(count, SamplesUpToAWord(first))),
        words_end_(words_begin_ + (count - words_begin_) / kLanes * kLanes),
        words_(reinterpret_cast<Word*>(first + words_begin_)) {}

  // Sets the samples [begin, end), which lie in the image.
  void Fill(std::ptrdiff_t begin, std::ptrdiff_t end, Sample value) const {
    FillSingly(begin, std::min(end, words_begin_), value);
    FillWords(std::max(begin, words_begin_) - words_begin_,
              std::min(end, words_end_) - words_begin_, value);
    FillSingly(std::max(begin, words_end_), end, value);
  }

 private:
  using Word = std::uint64_t;
  static_assert(std::endian::native == std::endian::little, "lane 0 is the lowest");
  static constexpr int kSampleBits = 8 * static_cast<int>(sizeof(Sample));
  static constexpr std::ptrdiff_t kLanes = sizeof(Word) / sizeof(Sample);

  static std::ptrdiff_t SamplesUpToAWord(const Sample* first) {
    const std::uintptr_t past = reinterpret_cast<std::uintptr_t>(first) % sizeof(Word);
    return past == 0 ? 0 : static_cast<std::ptrdiff_t>((sizeof(Word) - past) / sizeof(Sample));
  }

  static Word LanesFrom(std::ptrdiff_t lane) { return ~Word{0} << (lane * kSampleBits); }

  void FillSingly(std::ptrdiff_t begin, std::ptrdiff_t end, Sample value) const {
    for (std::ptrdiff_t i = begin; i < end; ++i) {
      std::atomic_ref(first_[i]).store(value, std::memory_order_relaxed);
    }
  }

  // Samples [begin, end) counted from the first word.
  void FillWords(std::ptrdiff_t begin, std::ptrdiff_t end, Sample value) const {
    if (begin >= end) {
      return;
    }
    const Word filled = ~Word{0} / ((Word{1} << kSampleBits) - 1) * value;
    const std::ptrdiff_t whole_end = end / kLanes;
    std::ptrdiff_t word = begin / kLanes;
    Word lanes = LanesFrom(begin % kLanes);
    const Word lanes_of_last = ~LanesFrom(end % kLanes);
    if (word == whole_end) {
      Merge(words_[word], filled, lanes & lanes_of_last);
      return;
    }
    if (begin % kLanes != 0) {
      Merge(words_[word++], filled, lanes);
    }
    for (; word < whole_end; ++word) {
      std::atomic_ref(words_[word]).store(filled, std::memory_order_relaxed);
    }
    if (end % kLanes != 0) {
      Merge(words_[word], filled, lanes_of_last);
    }
  }

  // Takes the bits of `lanes` from `filled` and leaves the others as other threads have them.
  static void Merge(Word& word, Word filled, Word lanes) {
    const std::atomic_ref shared(word);
    Word seen = shared.load(std::memory_order_relaxed);
    while (!shared.compare_exchange_weak(seen, (seen & ~lanes) | (filled & lanes),
                                         std::memory_order_relaxed)) {
    }
  }

  Sample* first_;
  std::ptrdiff_t words_begin_;  // samples
  std::ptrdiff_t words_end_;
  Word* words_;
};

}  // namespace KELRA
