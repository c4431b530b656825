#include "frame/call_frame.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "frame/kept_memory.h"
#include "frame/large_pages.h"
#include "frame/load_time_state.h"
#include "frame/region_rows.h"
#include "frame/result_matrix.h"
#include "frame/row_views.h"

namespace KELRA {
namespace {

// Rows of fewer bytes are worked on sooner than left out.
constexpr std::size_t kBytesWorthLeavingRowsOut = 16384;

// Asks the region library for a cut-out that is a part of the matrix, not a copy: no rows of it.
cv::Mat NoRowsOf(const cv::Mat& mat) {
  return mat.dims <= 2 ? cv::Mat(0, mat.cols, mat.type(), mat.data, mat.step[0]) : cv::Mat();
}

// Empty where there is no memory for it, which the region library will tell.
cv::Mat MatrixForResult(const cv::Mat& input) {
  cv::Mat mat;
  try {
    CreateInLargePages(input.size(), input.type(), &mat);
  } catch (const cv::Exception&) {
    mat.release();
  }
  return mat;
}

// Gives the matrix of no rows as many, of those that it has reserved.
bool TakeReservedRows(cv::Size size, int type, cv::Mat* mat) {
  const bool has_them = mat->data != nullptr && mat->cols == size.width && mat->type() == type &&
                        static_cast<std::size_t>(mat->datalimit - mat->data) >=
                            mat->step[0] * static_cast<std::size_t>(size.height);
  if (has_them) {
    mat->resize(static_cast<std::size_t>(size.height));
  }
  return has_them;
}

// All 255, one 8-bit channel. Logged like every constant image that is made. The last one is kept,
// of which region libraries read the size.
class ConstantImage {
 public:
  explicit ConstantImage(cv::Size size) : image_(TakeKept(KeptFor::kConstantImage)) {
    CallLog log(log_lines::kCreateConst);
    if (!TakeReservedRows(size, CV_8UC1, &image_)) {
      image_ = cv::Mat(size, CV_8UC1, cv::Scalar(255));
    }
    log.Exit();
  }
  ~ConstantImage() { Keep(KeptFor::kConstantImage, std::move(image_)); }
  ConstantImage(const ConstantImage&) = delete;
  ConstantImage& operator=(const ConstantImage&) = delete;

  cv::Mat Header() const { return image_; }

 private:
  cv::Mat image_;
};

// Offers the region library a matrix's memory, not its content, while it lives: a matrix of no
// rows. One that knows the form shows them again; to another it is an empty matrix, whose rows
// nothing else reaches, not even a resizing. Rows that are not shown are given back.
class OfferOfRows {
 public:
  explicit OfferOfRows(cv::Mat* mat) : mat_(mat) {
    if (mat->data != nullptr) {
      mat->rows = 0;  // what cv::Mat::adjustROI gives, without its divisions
      mat->flags |= cv::Mat::SUBMATRIX_FLAG;
    }
  }
  ~OfferOfRows() {
    if (mat_->rows == 0) {
      *mat_ = cv::Mat();
    }
  }
  OfferOfRows(const OfferOfRows&) = delete;
  OfferOfRows& operator=(const OfferOfRows&) = delete;

 private:
  cv::Mat* mat_;
};

// Where `part` lies in `whole`, when it is a part of it.
std::optional<cv::Rect> PlaceOf(const cv::Mat& part, const cv::Mat& whole) {
  if (part.empty() || part.dims > 2 || part.type() != whole.type() ||
      part.step[0] != whole.step[0] || std::less<>()(part.data, whole.data) ||
      !std::less<>()(part.data, whole.dataend)) {
    return std::nullopt;
  }
  const auto offset = static_cast<std::size_t>(part.data - whole.data);
  const cv::Rect place(static_cast<int>(offset % whole.step[0] / whole.elemSize()),
                       static_cast<int>(offset / whole.step[0]), part.cols, part.rows);
  const bool inside = (place & cv::Rect({}, whole.size())) == place;
  return inside ? std::optional(place) : std::nullopt;
}

}  // namespace

CallFrame::CallFrame(const FramePolicy& policy, cv::Mat* buffer)
    : policy_(policy), buffer_(buffer), log_(policy.lines) {}

void CallFrame::KeepInput(KelImage& src, KelImage* dst) {
  if (input_ != nullptr) {
    return;
  }
  input_ = &src;
  if (dst == &src) {
    header_ = src;
    input_ = &*header_;
  }
}

void CallFrame::BindBufferNow(KelImage& src, KelImage* dst) {
  if (dst == nullptr) {
    return;
  }
  KeepInput(src, dst);
  if (buffer_ != nullptr && LoadedSettings().efficiency != 0) {
    bound_.Bind(*buffer_, *input_, dst);
  }
}

Status CallFrame::Run(KelImage& src, KelROI& roi, KelImage* dst, Work work) {
  if (dst == nullptr) {
    return ERR_IMAGE_EMPTY;
  }
  KeepInput(src, dst);
  const KelROIType kind = roi.ROIType();
  if (policy_.bind_buffer == BindBuffer::kAlways ||
      (policy_.bind_buffer == BindBuffer::kUnlessWholeImage && kind != KEL_ROI_WHOLE_IMAGE)) {
    BindBufferNow(src, dst);
  }
  switch (kind) {
    case KEL_ROI_WHOLE_IMAGE:
      return RunOnWholeImage(dst, work);
    case KEL_ROI_REGION:
      return RunUnderMask(roi, dst, work);
    default:
      return RunOnPart(roi, dst, work);
  }
}

KelImage& CallFrame::WholeInput(KelImage* dst) {
  const bool output_is_input = header_.has_value();
  return output_is_input && policy_.shared_output == SharedOutput::kWrittenInPlace ? *dst : *input_;
}

Status CallFrame::RunOnWholeImage(KelImage* dst, Work work) {
  const Status status = work(WholeInput(dst), dst);
  if (status.ok()) {
    bound_.MarkOverwritten();
  }
  return status;
}

Status CallFrame::RunUnderMask(KelROI& roi, KelImage* dst, Work work) {
  KelImage& input = WholeInput(dst);
  cv::Mat& pixels = input.Mat();
  const bool shares = SharesPixels(pixels, dst->Mat());
  // The work may refuse an output of the input's size and another type.
  const bool may_be_refused =
      dst->Mat().size() == pixels.size() && dst->Mat().type() != pixels.type();
  if (!shares && !may_be_refused && tbbup::PixelBytes(pixels) >= kBytesWorthLeavingRowsOut) {
    const cv::Range rows = RowsWithRuns(roi, pixels.rows);
    if (rows.size() < pixels.rows) {
      return RunUnderMaskOnRows(roi, rows, dst, work);
    }
  }
  KelImage separate;
  const bool use_separate = shares && policy_.shared_output == SharedOutput::kAsIfSeparate;
  KelImage* result = use_separate ? &separate : dst;
  if (const Status status = work(input, result); !status.ok()) {
    return Fail(Fallback::kMaskedWork, status, dst);
  }
  dst->Mat() = result->Mat();
  cv::Mat mask;
  const Status made = MakeMask(roi, pixels, &mask);
  return BringBackOutsideMask(made, mask, pixels, dst);
}

Status CallFrame::RunUnderMaskOnRows(KelROI& roi, cv::Range rows, KelImage* dst, Work work) {
  cv::Mat& pixels = input_->Mat();
  SpareMatrix fresh;
  cv::Mat& result = ResultMatrix(dst, pixels.size(), pixels.type(), &fresh);
  const KelImage part(pixels.rowRange(rows));
  cv::Mat part_of_result = result.rowRange(rows);
  KelImage part_result(part_of_result);
  if (const Status status = work(part, &part_result); !status.ok()) {
    return Fail(Fallback::kMaskedWork, status, dst);
  }
  if (part_result.Mat().data != part_of_result.data) {
    part_result.Mat().copyTo(part_of_result);
  }
  cv::Mat mask;
  const Status made = MakeMask(roi, pixels, &mask);
  if (made.ok() && CoversOnly(mask, pixels.size(), rows)) {
    BringBackOutside(pixels, mask, rows, &result);
    AssignResult(result, dst);
    bound_.MarkOverwritten();
    return STATUS_OK;
  }
  // Without a mask the output shows the work on the whole image; and a region library may cover
  // more than the runs.
  {
    const LogPause pause;
    KELRA_RETURN_IF_ERROR(work(*input_, dst));
  }
  return BringBackOutsideMask(made, mask, pixels, dst);
}

Status CallFrame::MakeMask(KelROI& roi, cv::Mat& pixels, cv::Mat* mask) {
  *mask = cv::Mat(0, pixels.cols, CV_8UC1);  // it is only read
  if (policy_.mask_template == MaskTemplate::kInput) {
    return RegionConverter().GenMaskImage(pixels, roi, mask, 1, 0);
  }
  const ConstantImage constant(pixels.size());
  cv::Mat image = constant.Header();
  return RegionConverter().GenMaskImage(image, roi, mask, 1, 0);
}

Status CallFrame::BringBackOutsideMask(Status made, const cv::Mat& mask, const cv::Mat& pixels,
                                       KelImage* dst) {
  bound_.MarkOverwritten();
  if (!made.ok()) {
    return Fail(Fallback::kMask, made, dst);
  }
  if (SharesPixels(pixels, dst->Mat())) {
    const cv::Mat outside = 255.0 - mask;
    pixels.copyTo(dst->Mat(), outside);
  } else {
    BringBackOutside(pixels, mask, cv::Range(0, pixels.rows), &dst->Mat());
  }
  return STATUS_OK;
}

Status CallFrame::RunOnPart(KelROI& roi, KelImage* dst, Work work) {
  cv::Mat& input = input_->Mat();
  KelImage part;
  cv::Mat& cut = part.Mat();
  if (policy_.reads == Reads::kSamePixel) {
    cut = NoRowsOf(input);
  }
  if (const Status status = RegionConverter().ROIImageExtraction(input, roi, &cut, 1, 0.0);
      !status.ok()) {
    return Fail(Fallback::kExtraction, status, dst);
  }
  cv::Mat& output = dst->Mat();
  cv::Mat separate = MatrixLeftBehind();
  cv::Mat& restored = MayRestoreInto(output) ? output : separate;
  KelImage part_result;
  const std::optional<cv::Rect> place = PlaceOf(cut, input);
  if (place && restored.data == nullptr) {
    restored = MatrixForResult(input);
  }
  if (place && restored.data != nullptr) {
    // From the input to where the result belongs, without a copy of either.
    part_result.Mat() = restored(*place);
  } else if (policy_.shared_output == SharedOutput::kAsIfSeparate && IsHeldAlone(cut)) {
    part_result.Mat() = cut;
  }
  if (const Status status = work(part, &part_result); !status.ok()) {
    return Fail(Fallback::kPartWork, status, dst);
  }
  const Status status = [&]() -> Status {
    const OfferOfRows offer(&restored);
    return RegionConverter().ROIImageRestore(input, part_result.Mat(), roi, &restored, 1);
  }();
  const AfterRestore after = policy_.after_restore;
  if (&restored == &separate && (status.ok() || after != AfterRestore::kOnlyOnSuccess)) {
    if (after == AfterRestore::kOnlyOnSuccess) {
      Keep(KeptFor::kResult, std::move(output));
    }
    output = std::move(restored);
  }
  if (status.ok() || after == AfterRestore::kAssignAndLogAlways ||
      after == AfterRestore::kIgnoreStatus) {
    log_.Exit();
  }
  if (status.ok() || after == AfterRestore::kIgnoreStatus) {
    return STATUS_OK;
  }
  return Fail(Fallback::kRestore, status, dst);
}

bool CallFrame::MayRestoreInto(const cv::Mat& output) const {
  const cv::Mat& pixels = input_->Mat();
  return policy_.after_restore != AfterRestore::kOnlyOnSuccess && !bound_.IsBound() &&
         output.dims <= 2 && output.size() == pixels.size() && output.type() == pixels.type() &&
         IsHeldAlone(output) && !SharesPixels(output, pixels);
}

cv::Mat CallFrame::MatrixLeftBehind() const {
  if (policy_.after_restore != AfterRestore::kOnlyOnSuccess || bound_.IsBound()) {
    return {};
  }
  const cv::Mat& pixels = input_->Mat();
  cv::Mat kept = TakeKept(KeptFor::kResult);
  if (!TakeReservedRows(pixels.size(), pixels.type(), &kept) || SharesPixels(kept, pixels)) {
    kept.release();
  }
  return kept;
}

Status CallFrame::Fail(Fallback step, Status status, KelImage* dst) {
  if (Includes(policy_.fallback, step)) {
    *dst = input_->DeepCopy();
  }
  return status;
}

}  // namespace KELRA
