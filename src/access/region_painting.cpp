// SetRegionValue.

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <span>

#include "KELRA/KelImageOperation.h"
#include "access/region_value_bodies.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"

namespace KELRA {
namespace {

// Whether the matrix is a packed one of this size and type whose pixels no other matrix sees. Then
// nobody can tell new memory from its own, which is faster.
bool IsOwnOf(const cv::Mat& mat, cv::Size size, int type) {
  return mat.u != nullptr &&
         std::atomic_ref(mat.u->refcount).load(std::memory_order_acquire) == 1 && mat.dims <= 2 &&
         mat.isContinuous() && mat.size() == size && mat.type() == type;
}

void AssignDeepCopy(const KelImage& src, KelImage* dst) {
  if (IsOwnOf(dst->Mat(), src.Mat().size(), src.Mat().type())) {
    CopyPixels(src.Mat(), dst->Mat());
  } else {
    *dst = src.DeepCopy();
  }
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
void PaintRegion(const cv::Mat& output, const KelRegion& region, int channel, int value) {
  const std::span<const KelRun> runs = region.Runs();
  if (output.channels() == 1) {
    PaintRuns(runs, tbbup::RegionValue<Sample>(output, value, runs));
  } else {
    PaintRuns(runs, tbbup::RegionColorValue<Sample>(output, channel, value, runs));
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
  AssignDeepCopy(src, dst);
  for (int i = 0; i < regions.Length(); ++i) {
    if (dst->BitDepth() == KEL_8U) {
      PaintRegion<std::uint8_t>(dst->Mat(), regions[i], channel, value);
    } else {
      PaintRegion<std::uint16_t>(dst->Mat(), regions[i], channel, value);
    }
  }
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
