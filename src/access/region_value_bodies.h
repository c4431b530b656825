// The bodies of SetRegionValue: each sets the pixels of a region's runs in an output.
//
// A body takes a range of runs and does not look at it: it walks all runs of its region, from the
// first to the last, whichever range it is given. Two ranges therefore must not run at once; one
// that holds all runs paints them once. Runs outside the output are skipped, and those that reach
// beyond it are cut.
//
// The output's rows are taken to follow each other without a gap.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <span>

#include "KELRA/KelData.h"
#include "frame/row_engine.h"

namespace KELRA::tbbup {

// Of images of one channel.
template <class Sample>
class RegionValue {
 public:
  RegionValue(const cv::Mat& output, int value, std::span<const KelRun> runs);
  void operator()(const RowRange&) const;

 private:
  Sample* first_;
  int rows_;
  int columns_;
  Sample value_;
  std::span<const KelRun> runs_;
};

// Of one channel of other images. Pixels are three samples apart, whatever the channel count, and
// channels, counted from 1, go backwards from the third sample. A sample that this puts before the
// first or behind the last of the image is skipped.
template <class Sample>
class RegionColorValue {
 public:
  RegionColorValue(const cv::Mat& output, int channel, int value, std::span<const KelRun> runs);
  void operator()(const RowRange&) const;

 private:
  Sample* first_;
  int rows_;
  int columns_;
  int channels_;
  int channel_;
  Sample value_;
  std::span<const KelRun> runs_;
};

using parallelRegionValue_Invoker = RegionValue<std::uint8_t>;
using parallelRegionValue_Invoker_16U = RegionValue<std::uint16_t>;
using parallelRegionColorValue_Invoker = RegionColorValue<std::uint8_t>;
using parallelRegionColorValue_Invoker_16U = RegionColorValue<std::uint16_t>;

extern template class RegionValue<std::uint8_t>;
extern template class RegionValue<std::uint16_t>;
extern template class RegionColorValue<std::uint8_t>;
extern template class RegionColorValue<std::uint16_t>;

}  // namespace KELRA::tbbup
