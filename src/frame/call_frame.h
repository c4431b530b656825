// The steps that every method with a region takes around its pixel work.
//
//   whole image   work on the input, return its status
//   mask          (run-length regions) work on the whole image, then bring the input back outside
//   extraction    cut the region out, work on the part, restore it into a copy of the input
#pragma once

#include <optional>

#include "KELRA/KelData.h"
#include "frame/bound_buffer.h"
#include "frame/call_log.h"
#include "frame/function_ref.h"
#include "frame/status.h"

namespace KELRA {

// Failures that are answered by a deep copy of the input in the output. On the whole image there is
// never one.
enum class Fallback : unsigned {
  kNever = 0,
  kMaskedWork = 1,  // the work on the mask path
  kMask = 2,        // making the mask
  kExtraction = 4,  // cutting the region out
  kPartWork = 8,    // the work on the part
  kRestore = 16,    // putting the part back
  kMaskPath = kMaskedWork | kMask,
  kAlways = kMaskPath | kExtraction | kPartWork | kRestore,
};
constexpr Fallback operator|(Fallback a, Fallback b) {
  return static_cast<Fallback>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool Includes(Fallback set, Fallback failure) {
  return (static_cast<unsigned>(set) & static_cast<unsigned>(failure)) != 0;
}

// When the efficiency buffer is bound to the output (only in efficiency mode).
enum class BindBuffer {
  kNever,
  kUnlessWholeImage,
  kAlways,
  kBeforeRegionCheck,  // by the method, with CallFrame::BindBufferNow, between its checks
};

// What happens when the part has been put back, successfully or not.
enum class AfterRestore {
  kAssignAndLogOnSuccess,  // the output gets the result always, the exit is logged on success
  kAssignAndLogAlways,
  kOnlyOnSuccess,  // a failure leaves the output and the log alone
  kIgnoreStatus,   // as kAssignAndLogAlways, and a failure counts as success
};

// What the region's mask is made from.
enum class MaskTemplate {
  kInput,
  kConstantImage,  // one channel, 8 bits, all 255; making it is logged as CreateConst
};

// Which pixels of the input decide about a pixel of the result.
enum class Reads {
  kSamePixel,  // what surrounds a cut-out does not matter: it need not be blanked
  kSameRow,
};

// What becomes of an output that shares pixels with the input, on the whole image and on the mask
// path.
enum class SharedOutput {
  kAsIfSeparate,
  // The work overwrites the input; there is nothing left to bring back. An output that is the input
  // stays so when the efficiency buffer is bound to it.
  kWrittenInPlace,
};

// What is particular to a method; only deviations from these defaults are listed beside it.
struct FramePolicy {
  LogLines lines;
  BindBuffer bind_buffer = BindBuffer::kNever;
  Fallback fallback = Fallback::kAlways;
  AfterRestore after_restore = AfterRestore::kAssignAndLogOnSuccess;
  MaskTemplate mask_template = MaskTemplate::kInput;
  Reads reads = Reads::kSamePixel;
  SharedOutput shared_output = SharedOutput::kAsIfSeparate;
};

class CallFrame {
 public:
  // Computes the result image from the input image: the whole of it, in the output's own matrix or
  // a new one, of the input's size and type, each row from the same row of the input. A failure
  // leaves the output as it is.
  using Work = FunctionRef<Status(const KelImage&, KelImage*)>;

  // Logs the start. `buffer` is the object's matrix for efficiency mode, null when it has none.
  explicit CallFrame(const FramePolicy& policy, cv::Mat* buffer = nullptr);

  // In efficiency mode binds the buffer to the output, if there is one; it may be the input.
  void BindBufferNow(KelImage& src, KelImage* dst);

  // Runs the work on the path of the region's kind, which has been checked.
  Status Run(KelImage& src, KelROI& roi, KelImage* dst, Work work);

 private:
  // What the work on the whole image reads.
  KelImage& WholeInput(KelImage* dst);
  Status RunOnWholeImage(KelImage* dst, Work work);
  Status RunUnderMask(KelROI& roi, KelImage* dst, Work work);
  Status RunUnderMaskOnRows(KelROI& roi, cv::Range rows, KelImage* dst, Work work);
  // The region's mask, made from the image that the policy says; the inputs are only read.
  Status MakeMask(KelROI& roi, cv::Mat& pixels, cv::Mat* mask);
  // The output holds the work on the whole image: its pixels outside the mask, or, when making it
  // failed, what the policy says.
  Status BringBackOutsideMask(Status made, const cv::Mat& mask, const cv::Mat& pixels,
                              KelImage* dst);
  Status RunOnPart(KelROI& roi, KelImage* dst, Work work);
  // Whether the output's own matrix fits, nobody else holds it, it lies apart from the input, and a
  // failure need not leave it as it is.
  bool MayRestoreInto(const cv::Mat& output) const;
  // Where a failure must leave the output as it is: the matrix that the last such output left
  // behind, if it fits. Otherwise an empty one.
  cv::Mat MatrixLeftBehind() const;
  void KeepInput(KelImage& src, KelImage* dst);
  // Applies the policy's fallback for the failed step and returns its status.
  Status Fail(Fallback step, Status status, KelImage* dst);

  const FramePolicy& policy_;
  cv::Mat* buffer_;
  CallLog log_;
  BoundBuffer bound_;
  // The input; a header of its pixels when the output is the same object, whose matrix the call
  // replaces.
  KelImage* input_ = nullptr;
  std::optional<KelImage> header_;
};

}  // namespace KELRA
