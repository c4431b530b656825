// PixelMax, PixelMin, PixelAverage.

#include <algorithm>
#include <cstddef>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/load_time_state.h"
#include "frame/result_matrix.h"
#include "statistics/array_reduction.h"

namespace KELRA {
namespace {

Status CheckAlike(const KelImage& image, const KelImage& first) {
  KELRA_RETURN_IF_ERROR(CheckSameDepth(image, first));
  KELRA_RETURN_IF_ERROR(CheckSameSize(image, first));
  KELRA_RETURN_IF_ERROR(CheckSameChannels(image, first));
  return CheckNotEmpty(image);
}

// The average has codes of its own for it.
Status CheckAlikeForAverage(const KelImage& image, const KelImage& first) {
  if (!CheckSameSize(image, first).ok()) {
    return ERR_AVG_SIZE_MISMATCH;
  }
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(image));
  if (!CheckSameDepth(image, first).ok()) {
    return ERR_AVG_DEPTH_MISMATCH;
  }
  return CheckSameChannels(image, first).ok() ? STATUS_OK : ERR_AVG_CHANNEL_MISMATCH;
}

// Whether the first holds pixels of the size and type of the second.
bool AreAlike(const cv::Mat& a, const cv::Mat& b) {
  return a.cols == b.cols && a.rows == b.rows && a.type() == b.type() && a.data != nullptr;
}

// The matrices of an array of images.
class Matrices {
 public:
  explicit Matrices(const KelImageArray& images)
      : matrices_(static_cast<std::size_t>(images.Length())) {
    for (std::size_t i = 0; i < matrices_.size(); ++i) {
      matrices_[i] = &images[static_cast<int>(i)].Mat();
      are_alike_ = are_alike_ && AreAlike(*matrices_[i], *matrices_[0]);
    }
  }

  Images All() const { return {matrices_.data(), matrices_.size()}; }
  const cv::Mat& First() const { return *matrices_[0]; }

  // What an array must have to be looked at further.
  Status CheckFirst() const {
    if (matrices_.size() == 0) {
      return ERR_COUNT_LIMIT;
    }
    return CheckNotEmpty(First());
  }

  // What the images behind the first must have in common with it: the status of `check` for the
  // first that differs.
  template <class Check>
  Status CheckAll(const KelImageArray& images, Check check) const {
    for (int i = 1; !are_alike_ && i < images.Length(); ++i) {
      KELRA_RETURN_IF_ERROR(check(images[i], images[0]));
    }
    return STATUS_OK;
  }

 private:
  cv::AutoBuffer<const cv::Mat*, 16> matrices_;
  bool are_alike_ = true;  // all have the first one's size and type, and pixels
};

bool SharesPixelsWithAny(const cv::Mat& mat, Images images) {
  return std::any_of(images.begin(), images.end(),
                     [&](const cv::Mat* image) { return SharesPixels(mat, *image); });
}

// The output's own matrix where it fits and is no input; otherwise a new one, made in `fresh`.
cv::Mat& SeparateResult(KelImage* dst, Images images, SpareMatrix* fresh) {
  const cv::Mat& first = *images.front();
  cv::Mat& result = ResultMatrix(dst, first.size(), first.type(), fresh);
  return SharesPixelsWithAny(result, images) ? fresh->Create(first.size(), first.type()) : result;
}

// The object's matrix where efficiency mode is on, otherwise null.
cv::Mat* EfficiencyBuffer(cv::Mat* buffer) {
  return LoadedSettings().efficiency != 0 ? buffer : nullptr;
}

bool HasOtherType(const cv::Mat& buffer, const cv::Mat& first) {
  return buffer.size() == first.size() && buffer.type() != first.type();
}

// To the type, with its values where the channels allow that and with zeros otherwise.
void ConvertBuffer(cv::Mat* buffer, cv::Size size, int type) {
  if (buffer->size() == size && buffer->channels() == CV_MAT_CN(type)) {
    buffer->convertTo(*buffer, type);
  } else {
    *buffer = cv::Mat::zeros(size, type);
  }
}

// The extreme of the images in the buffer, which becomes the output's matrix. A maximum counts the
// buffer's previous values, unless they are those of an input.
void ReduceInBuffer(Images images, kernels::Combination extreme, cv::Mat* buffer, KelImage* dst) {
  const cv::Mat& first = *images.front();
  bool include_previous = extreme == kernels::kMaximum && buffer->size() == first.size();
  if (SharesPixelsWithAny(*buffer, images)) {
    buffer->release();
    include_previous = false;
  }
  buffer->create(first.size(), first.type());
  ReduceToExtreme(images, extreme, include_previous, buffer);
  dst->Mat() = *buffer;
}

Status PixelExtreme(KelImageArray& images, KelImage* dst, const LogLines& lines,
                    kernels::Combination extreme, cv::Mat* buffer) {
  CallLog log(lines);
  const Matrices matrices(images);
  KELRA_RETURN_IF_ERROR(matrices.CheckFirst());
  const cv::Mat& first = matrices.First();
  KELRA_RETURN_IF_ERROR(CheckBitDepth(first));
  KELRA_RETURN_IF_ERROR(CheckChannels(first));
  if (buffer != nullptr && extreme == kernels::kMaximum && HasOtherType(*buffer, first)) {
    // The buffer is made ready for the next call, but this one has no values to begin with.
    ConvertBuffer(buffer, first.size(), first.type());
    CV_Error(cv::Error::StsUnmatchedSizes, "The maximum begins with an empty matrix");
  }
  KELRA_RETURN_IF_ERROR(matrices.CheckAll(images, CheckAlike));
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  if (buffer != nullptr) {
    ReduceInBuffer(matrices.All(), extreme, buffer, dst);
  } else {
    SpareMatrix fresh;
    cv::Mat& result = SeparateResult(dst, matrices.All(), &fresh);
    ReduceToExtreme(matrices.All(), extreme, false, &result);
    AssignResult(result, dst);
  }
  log.Exit();
  return STATUS_OK;
}

// By what the modes 0 to 3 of the average leave out.
constexpr kernels::Trim kTrims[] = {kernels::kTrimNone, kernels::kTrimSmallest,
                                    kernels::kTrimLargest, kernels::kTrimBoth};
constexpr int kFewestImages[] = {1, 2, 2, 3};

}  // namespace

KelLong KelImageOperation::PixelMax(KelImageArray& images, KelImage* dst) {
  return PixelExtreme(images, dst, log_lines::kPixelMax, kernels::kMaximum,
                      EfficiencyBuffer(buffer_.get()));
}

KelLong KelImageOperation::PixelMin(KelImageArray& images, KelImage* dst) {
  return PixelExtreme(images, dst, log_lines::kPixelMin, kernels::kMinimum,
                      EfficiencyBuffer(buffer_.get()));
}

KelLong KelImageOperation::PixelAverage(KelImageArray& images, KelImage* dst, int mode) {
  CallLog log(log_lines::kPixelAverage);
  const Matrices matrices(images);
  KELRA_RETURN_IF_ERROR(matrices.CheckFirst());
  if (mode < 0 || mode > 3) {
    return ERR_PARAM_2;
  }
  KELRA_RETURN_IF_ERROR(CheckBitDepth(matrices.First()));
  KELRA_RETURN_IF_ERROR(CheckChannels(matrices.First()));
  KELRA_RETURN_IF_ERROR(matrices.CheckAll(images, CheckAlikeForAverage));
  if (images.Length() < kFewestImages[mode]) {
    return ERR_COUNT_LIMIT;
  }
  KELRA_RETURN_IF_ERROR(CheckOutput(dst));

  cv::Mat* sums = EfficiencyBuffer(buffer_.get());
  if (sums != nullptr) {
    const cv::Mat& first = matrices.First();
    ConvertBuffer(sums, first.size(), CV_32FC(first.channels()));
  }
  SpareMatrix fresh;
  cv::Mat& result = SeparateResult(dst, matrices.All(), &fresh);
  ReduceToMean(matrices.All(), kTrims[mode], sums, &result);
  AssignResult(result, dst);
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
