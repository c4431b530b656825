#include "measuring.h"

#include <algorithm>
#include <chrono>
#include <opencv2/core.hpp>

namespace KELRA::bench {
namespace {

constexpr int kRounds = 9;
constexpr double kBatchSeconds = 0.002;

}  // namespace

double SecondsFor(const Side& side, int calls) {
  using Clock = std::chrono::steady_clock;
  if (side.prepare) {
    side.prepare(calls);
  }
  const Clock::time_point start = Clock::now();
  for (int i = 0; i < calls; ++i) {
    side.call();
  }
  return std::chrono::duration<double>(Clock::now() - start).count();
}

int CallsPerBatch(const Side& side) {
  const int most = side.prepare ? kMostPrepared : 1 << 20;
  SecondsFor(side, 1);
  int calls = 1;
  double seconds = SecondsFor(side, calls);
  while (seconds < kBatchSeconds / 4 && calls < most) {
    calls = std::min(4 * calls, most);
    seconds = SecondsFor(side, calls);
  }
  return std::clamp(static_cast<int>(calls * kBatchSeconds / seconds), 1, most);
}

std::vector<Rounds> TimeInTurn(const std::vector<Side>& sides) {
  std::vector<int> calls;
  calls.reserve(sides.size());
  for (const Side& side : sides) {
    calls.push_back(CallsPerBatch(side));
  }
  std::vector<Rounds> times(sides.size(), Rounds(kRounds));
  for (std::size_t round = 0; round < kRounds; ++round) {
    for (std::size_t i = 0; i < sides.size(); ++i) {
      // Another one begins each time, and every other time they go round the other way, so that
      // each follows each: what the one before has left in the caches counts for as much.
      const std::size_t step = round % 2 == 0 ? i : sides.size() - i;
      const std::size_t who = (round + step) % sides.size();
      times[who][round] = SecondsFor(sides[who], calls[who]) / calls[who];
    }
  }
  return times;
}

double Median(Rounds values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double MedianRatio(const Rounds& numerators, const Rounds& denominators) {
  Rounds ratios;
  ratios.reserve(numerators.size());
  for (std::size_t i = 0; i < numerators.size(); ++i) {
    ratios.push_back(numerators[i] / denominators[i]);
  }
  return Median(ratios);
}

ThreadLimit::ThreadLimit(std::optional<int> threads) {
  if (threads) {
    control_.emplace(tbb::global_control::max_allowed_parallelism,
                     static_cast<std::size_t>(*threads));
    cv::setNumThreads(*threads);
  }
}

ThreadLimit::~ThreadLimit() { cv::setNumThreads(-1); }

}  // namespace KELRA::bench
