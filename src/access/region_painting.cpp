// SetRegionValue.

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "access/region_value_bodies.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"
#include "frame/result_matrix.h"

namespace KELRA {
namespace {

// Whether the matrix is a packed one of this size and type whose pixels no other matrix sees. Then
// nobody can tell new memory from its own, which is faster.
bool IsOwnOf(const cv::Mat& mat, cv::Size size, int type) {
  return mat.u != nullptr &&
         std::atomic_ref(mat.u->refcount).load(std::memory_order_acquire) == 1 && mat.dims <= 2 &&
         mat.isContinuous() && mat.size() == size && mat.type() == type;
}

// Every range of the loop walks all runs, so splitting the loop would share out none of the work,
// repeat all of it, and have threads write the same samples at once: to the engine there is nothing
// to gain, and it runs one range on the calling thread.
constexpr std::size_t kBytesSharedOut = 0;

template <class Body>
void PaintRuns(std::span<const KelRun> runs, const Body& body) {
  const auto count = static_cast<int>(std::min<std::size_t>(runs.size(), INT_MAX));
  ForEachRowRange(count, kBytesSharedOut, body);
}

template <class Sample>
void Paint(const cv::Mat& output, std::span<const KelRun> runs, int channel, int value) {
  if (output.channels() == 1) {
    PaintRuns(runs, tbbup::RegionValue<Sample>(output, value, runs));
  } else {
    PaintRuns(runs, tbbup::RegionColorValue<Sample>(output, channel, value, runs));
  }
}

void Paint(const cv::Mat& output, std::span<const KelRun> runs, int channel, int value) {
  if (output.depth() == CV_8U) {
    Paint<std::uint8_t>(output, runs, channel, value);
  } else {
    Paint<std::uint16_t>(output, runs, channel, value);
  }
}

bool IsAbove(const KelRun& a, const KelRun& b) { return a.row < b.row; }

// Whether the region can be painted a few rows at a time: its runs come row by row, and no sample
// that the bodies set lies in another row than its run.
bool CanBePaintedByRows(const KelRegion& region, int channels) {
  const std::vector<KelRun>& runs = region.Runs();
  return (channels == 1 || channels == 3) && std::is_sorted(runs.begin(), runs.end(), IsAbove);
}

// So many bytes of a result stay in the second cache from their copy until they are painted.
constexpr std::size_t kBytesAtOnce = 131072;

// A copy and the painting of its runs in one pass over the memory.
void CopyAndPaintByRows(const cv::Mat& input, const KelRegion& region, int channel, int value,
                        const cv::Mat& output) {
  const std::size_t row_bytes = static_cast<std::size_t>(output.cols) * output.elemSize();
  const int rows_at_once = static_cast<int>(std::max<std::size_t>(kBytesAtOnce / row_bytes, 1));
  const Piece whole = WholeOf(input);
  const std::vector<KelRun>& runs = region.Runs();
  const auto run_from = [&](int row) {
    return std::lower_bound(runs.begin(), runs.end(), KelRun{row, 0, 0}, IsAbove);
  };
  const std::size_t bytes = 2 * row_bytes * static_cast<std::size_t>(output.rows);
  ForEachRowRange(output.rows, bytes, [&](const RowRange& range) {
    auto begin = run_from(range.begin());
    for (int first = range.begin(); first < range.end(); first += rows_at_once) {
      const RowRange rows(first, std::min(first + rows_at_once, range.end()));
      CopyRows(whole, rows, output);
      const auto end = run_from(rows.end());
      Paint(output, {begin, end}, channel, value);
      begin = end;
    }
  });
}

void CopyAndPaint(const cv::Mat& input, const KelRegionArray& regions, int channel, int value,
                  const cv::Mat& output) {
  if (regions.Length() == 1 && input.data != output.data &&
      CanBePaintedByRows(regions[0], output.channels())) {
    CopyAndPaintByRows(input, regions[0], channel, value, output);
    return;
  }
  CopyPixels(input, output);
  for (int i = 0; i < regions.Length(); ++i) {
    Paint(output, regions[i].Runs(), channel, value);
  }
}

Status CheckPainting(const KelImage& image, const KelRegionArray& regions, int channel, int value) {
  if (regions.Length() < 1) {
    return ERR_PARAM_1;
  }
  if (channel < 1 || channel > image.Channels()) {
    return ERR_PARAM_2;
  }
  return value >= 0 && value <= LargestSample(image.BitDepth()) ? STATUS_OK : ERR_PARAM_3;
}

}  // namespace

KelLong KelImageOperation::SetRegionValue(KelImage& src, KelImage* dst, KelRegionArray& regions,
                                          int channel, int value) {
  CallLog log(log_lines::kSetRegionValue);
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(src));
  KELRA_RETURN_IF_ERROR(CheckBitDepth(src));
  KELRA_RETURN_IF_ERROR(CheckPainting(src, regions, channel, value));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  // Without gaps between the rows, as the bodies take it.
  const cv::Mat& input = src.Mat();
  cv::Mat fresh;
  cv::Mat& own = dst->Mat();
  const bool is_own = IsOwnOf(own, input.size(), input.type());
  if (!is_own) {
    fresh.create(input.size(), input.type());
  }
  CopyAndPaint(input, regions, channel, value, is_own ? own : fresh);
  AssignResult(is_own ? own : fresh, dst);
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
