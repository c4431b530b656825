#include "measuring.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <opencv2/core.hpp>

namespace KELRA::bench {
namespace {

// What a side finds in the caches depends on who came before, for many calls where images fill the
// last of them. So each of three follows each about as often, and as long after its own last turn.
constexpr std::size_t kOrders[][3] = {{0, 1, 2}, {0, 2, 1}, {2, 1, 0},
                                      {1, 0, 2}, {1, 2, 0}, {2, 0, 1}};
constexpr std::size_t kRounds = std::size(kOrders);
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
  // The first calls get memory that the others use again; results that take turns have theirs after
  // three. Counted in, they would leave so few calls to a turn that all find the caches cold.
  SecondsFor(side, 3);
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
    for (const std::size_t who : kOrders[round]) {
      if (who < sides.size()) {
        SecondsFor(sides[who], 1);
        times[who][round] = SecondsFor(sides[who], calls[who]) / calls[who];
      }
    }
  }
  return times;
}

double Median(Rounds values) {
  std::sort(values.begin(), values.end());
  // Of ratios, which lie as far below 1 as above it when one side profits in every other round.
  return std::sqrt(values[(values.size() - 1) / 2] * values[values.size() / 2]);
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
