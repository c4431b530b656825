// Times several pieces of code against each other on a machine that is never quite quiet.
#pragma once

#include <tbb/global_control.h>
#include <functional>
#include <optional>
#include <vector>

namespace KELRA::bench {

struct Side {
  std::function<void()> call;
  // Prepares so many calls, untimed. A side that has this is called at most kMostPrepared times
  // between two preparations.
  std::function<void(int calls)> prepare = {};
};

inline constexpr int kMostPrepared = 64;

// Of so many calls, prepared untimed.
double SecondsFor(const Side& side, int calls);
// How many calls take about as long as a batch should: some milliseconds. Calls the side.
int CallsPerBatch(const Side& side);

// Seconds a call, in each round.
using Rounds = std::vector<double>;

// Calls up to three sides in turn, some milliseconds each, round after round: what slows the
// machine down for longer than a round slows all of them. The first call of a turn is not timed.
std::vector<Rounds> TimeInTurn(const std::vector<Side>& sides);

// The geometric mean of the two in the middle.
double Median(Rounds values);
// The median over the rounds of one side's time divided by another's.
double MedianRatio(const Rounds& numerators, const Rounds& denominators);

// Limits the library's and OpenCV's threads alike while it lives.
class ThreadLimit {
 public:
  explicit ThreadLimit(std::optional<int> threads);
  ~ThreadLimit();
  ThreadLimit(const ThreadLimit&) = delete;
  ThreadLimit& operator=(const ThreadLimit&) = delete;

 private:
  std::optional<tbb::global_control> control_;
};

}  // namespace KELRA::bench
