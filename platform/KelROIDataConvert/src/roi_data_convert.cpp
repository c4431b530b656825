#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <exception>
#include <limits>
#include <optional>
#include <utility>
#include <variant>
#include <vector>

#include "KELRA/KelROIDataConvert.h"
#include "rasterize.h"
#include "rim.h"

namespace KELRA {
namespace {

// Runs `work`, which returns a status and can fail otherwise only for want of memory: OpenCV and
// the standard library throw then.
template <class Work>
KelLong WithoutExceptions(Work work) {
  try {
    return work();
  } catch (const std::exception&) {
    return KEL_ROI_ERR_MEMORY;
  }
}

KelRectangleShape ShapeOf(const cv::Rect& box) {
  return {static_cast<double>(box.x), static_cast<double>(box.y), static_cast<double>(box.width),
          static_cast<double>(box.height)};
}

// What a shape covers of images of a size.
struct Coverage {
  KelROI roi;  // keeps the shape, so that no other comes to lie in its place
  const KelShape* shape = nullptr;
  cv::Size size;
  PixelRuns pixels;
};

// Remembering a region of more runs would keep megabytes.
constexpr std::size_t kMostRunsToRemember = 16384;

bool IsSmall(const KelShape& shape) {
  const auto* region = std::get_if<KelRegion>(&shape);
  return region == nullptr || region->Runs().size() <= kMostRunsToRemember;
}

// The pixels of an image that a region covers. The last ones of each thread are remembered: an
// operation cuts a shape out and then puts it back, and the next image often gets the same.
class CoveredPixels {
 public:
  // Finds at least one, or the reason why there is none.
  KelLong Find(const cv::Mat& image, const KelROI& roi) {
    if (image.dims > 2 || image.data == nullptr || image.rows <= 0 || image.cols <= 0) {
      return KEL_ROI_ERR_IMAGE;
    }
    if (roi.ROIType() == KEL_ROI_WHOLE_IMAGE) {
      TakeBox(cv::Rect({}, image.size()), image.size());
      return 0;
    }
    const KelShape& shape = roi.Shape();
    if (std::holds_alternative<std::monostate>(shape)) {
      return KEL_ROI_ERR_KIND;
    }
    Take(roi, shape, image.size());
    return pixels_->runs.empty() ? KEL_ROI_ERR_OUTSIDE : 0;
  }

  // All of a box.
  void TakeBox(const cv::Rect& box, cv::Size image) {
    own_ = Rasterize(ShapeOf(box), image);
    pixels_ = &own_;
  }

  const PixelRuns& operator*() const { return *pixels_; }
  const PixelRuns* operator->() const { return pixels_; }

 private:
  void Take(const KelROI& roi, const KelShape& shape, cv::Size size) {
    thread_local Coverage t_last;
    pixels_ = &t_last.pixels;
    if (t_last.shape == &shape && t_last.size == size) {
      return;
    }
    own_ = Rasterize(shape, size);
    if (IsSmall(shape)) {
      t_last = {roi, &shape, size, std::move(own_)};
    } else {
      pixels_ = &own_;
    }
  }

  PixelRuns own_;
  const PixelRuns* pixels_ = nullptr;
};

template <class Sample>
double CutTo(double value) {
  return std::clamp(value, static_cast<double>(std::numeric_limits<Sample>::min()),
                    static_cast<double>(std::numeric_limits<Sample>::max()));
}

// The value as a sample of the depth; OpenCV's own conversion wraps around beyond 32 bits.
double CutToDepth(double value, int depth) {
  if (depth > CV_32S) {
    return value;
  }
  if (std::isnan(value)) {
    return 0;
  }
  switch (depth) {
    case CV_8U:
      return CutTo<uchar>(value);
    case CV_8S:
      return CutTo<schar>(value);
    case CV_16U:
      return CutTo<ushort>(value);
    case CV_16S:
      return CutTo<short>(value);
    default:
      return CutTo<int>(value);
  }
}

// `pixels` pixels of the image's type, every sample of which is `value`.
std::vector<uchar> FilledRow(int type, int pixels, double value) {
  const cv::Mat sample(1, 1, CV_MAKETYPE(CV_MAT_DEPTH(type), 1),
                       cv::Scalar(CutToDepth(value, CV_MAT_DEPTH(type))));
  std::vector<uchar> row(CV_ELEM_SIZE(type) * static_cast<std::size_t>(pixels));
  std::memcpy(row.data(), sample.data, sample.elemSize());
  for (std::size_t filled = sample.elemSize(); filled < row.size();) {
    const std::size_t more = std::min(filled, row.size() - filled);
    std::memcpy(row.data() + filled, row.data(), more);
    filled += more;
  }
  return row;
}

// The box of `image`, filled beside the runs.
cv::Mat CutOut(const cv::Mat& image, const PixelRuns& covered, double fill) {
  const cv::Rect& box = covered.box;
  const std::vector<uchar> filling = FilledRow(image.type(), box.width, fill);
  cv::Mat cut(box.size(), image.type());
  const auto bytes = [&](int first, int end) {
    return static_cast<std::size_t>(end - first) * image.elemSize();
  };
  auto run = covered.runs.begin();
  for (int row = 0; row < box.height; ++row) {
    int column = 0;
    for (; run != covered.runs.end() && run->row == box.y + row; ++run) {
      const int first = run->firstColumn - box.x;
      const int end = run->lastColumn + 1 - box.x;
      std::memcpy(cut.ptr(row, column), filling.data(), bytes(column, first));
      std::memcpy(cut.ptr(row, first), image.ptr(run->row, run->firstColumn), bytes(first, end));
      column = end;
    }
    std::memcpy(cut.ptr(row) + bytes(0, column), filling.data(), bytes(column, box.width));
  }
  return cut;
}

// Copies so many bytes, kPiece or more, in pieces of which the last two may overlap.
template <std::size_t kPiece>
void CopyInPieces(const uchar* from, std::size_t bytes, uchar* to) {
  for (std::size_t i = 0; i + kPiece < bytes; i += kPiece) {
    std::memcpy(to + i, from + i, kPiece);
  }
  std::memcpy(to + bytes - kPiece, from + bytes - kPiece, kPiece);
}

// Copies bytes that lie apart. Beside a small shape there are a few in every row, for which a call
// would take several times as long.
inline void CopyBytes(const uchar* from, std::size_t bytes, uchar* to) {
  if (bytes < 8 || bytes > 128) {
    std::memcpy(to, from, bytes);
  } else if (bytes < 16) {
    CopyInPieces<8>(from, bytes, to);
  } else {
    CopyInPieces<16>(from, bytes, to);
  }
}

// Copies pixels of a matrix into those of another of its size and type: the pixels [first, end),
// counted row by row.
class PixelCopy {
 public:
  PixelCopy(const cv::Mat& from, cv::Mat& to)
      : from_(from.data), to_(to.data), pixel_size_(static_cast<std::ptrdiff_t>(from.elemSize())) {}

  void operator()(std::ptrdiff_t first, std::ptrdiff_t end) const {
    CopyBytes(from_ + first * pixel_size_, static_cast<std::size_t>((end - first) * pixel_size_),
              to_ + first * pixel_size_);
  }

 private:
  const uchar* from_;
  uchar* to_;
  std::ptrdiff_t pixel_size_;
};

// The same where there are gaps between the rows.
class PixelCopyByRows {
 public:
  PixelCopyByRows(const cv::Mat& from, cv::Mat& to) : from_(from), to_(to) {}

  void operator()(std::ptrdiff_t first, std::ptrdiff_t end) const {
    while (first < end) {
      const auto row = static_cast<int>(first / from_.cols);
      const auto column = static_cast<int>(first % from_.cols);
      const std::ptrdiff_t count = std::min<std::ptrdiff_t>(end - first, from_.cols - column);
      CopyBytes(from_.ptr(row, column), static_cast<std::size_t>(count) * from_.elemSize(),
                to_.ptr(row, column));
      first += count;
    }
  }

 private:
  const cv::Mat& from_;
  cv::Mat& to_;
};

// Walks the pixels of an image, counted row by row, and calls `inside(run, first, end)` for those
// of each run and `outside(first, end)` for what lies between, in turn.
template <class Inside, class Outside>
void WalkPixels(cv::Size size, const std::vector<KelRun>& runs, Inside inside, Outside outside) {
  const std::ptrdiff_t columns = size.width;
  std::ptrdiff_t next = 0;
  for (const KelRun& run : runs) {
    const std::ptrdiff_t first = run.row * columns + run.firstColumn;
    outside(next, first);
    next = run.row * columns + run.lastColumn + 1;
    inside(run, first, next);
  }
  outside(next, size.height * columns);
}

// Calls `outside(first, end)` for the pixels of an image around a box, counted row by row.
template <class Outside>
void WalkAround(const cv::Rect& box, cv::Size size, Outside outside) {
  const std::ptrdiff_t columns = size.width;
  const std::ptrdiff_t gap = columns - box.width;
  std::ptrdiff_t next = box.y * columns + box.x + box.width;
  outside(0, next - box.width);
  for (int row = 1; row < box.height; ++row) {
    outside(next, next + gap);
    next += columns;
  }
  outside(next, size.height * columns);
}

// Of parts it counts what they are parts of.
bool LieApart(const cv::Mat& a, const cv::Mat& b) {
  return a.datalimit <= b.datastart || b.datalimit <= a.datastart;
}

bool HoldsNoRowsOf(const cv::Mat& image, const cv::Mat& out) {
  return out.dims <= 2 && out.rows == 0 && out.data == image.data && out.cols == image.cols &&
         out.type() == image.type();
}

// Whether `part` is the box of `whole`.
bool LiesInItsPlace(const cv::Mat& part, const cv::Mat& whole, const cv::Rect& box) {
  return part.data == whole.ptr(box.y, box.x) && part.step[0] == whole.step[0];
}

// Whether rows of `out` may be written for those of the image, which is still read.
bool Fits(const cv::Mat& out, const cv::Mat& image) {
  return out.dims <= 2 && out.data != nullptr && out.cols == image.cols &&
         out.type() == image.type() && LieApart(out, image);
}

// Whether the matrix hides so many rows, which are all that there are. Products only, unlike
// cv::Mat::locateROI, whose divisions take as long as some rows of a small image.
bool HidesRows(const cv::Mat& mat, int rows) {
  const std::size_t bytes = mat.step[0] * static_cast<std::size_t>(rows - 1) +
                            mat.elemSize() * static_cast<std::size_t>(mat.cols);
  return mat.rows == 0 && mat.isSubmatrix() && mat.data == mat.datastart &&
         static_cast<std::size_t>(mat.dataend - mat.data) == bytes;
}

void ShowRows(int rows, cv::Mat* mat) {
  mat->rows = rows;
  mat->flags &= ~cv::Mat::SUBMATRIX_FLAG;
  mat->updateContinuityFlag();
}

// Whether the image with the part in it can be written to the output, and nothing of the part is
// overwritten there: the memory of a large new matrix is given to the process page by page, which
// takes longer than the work.
bool CanRestoreInto(const cv::Mat& image, const cv::Mat& part, const cv::Rect& box,
                    const cv::Mat& out) {
  if (!Fits(out, image)) {
    return false;
  }
  const bool apart = LieApart(out, part);
  return (apart && out.rows == image.rows) ||
         (HidesRows(out, image.rows) && (apart || LiesInItsPlace(part, out, box)));
}

// Fills `restored` with `image`, the pixels on the runs taken from `part`, the content of the box,
// which may lie there already. Every byte is written once.
void PutBack(const cv::Mat& image, const cv::Mat& part, const PixelRuns& covered,
             cv::Mat& restored) {
  const cv::Rect& box = covered.box;
  const auto take_from_part = [&](const KelRun& run, std::ptrdiff_t first, std::ptrdiff_t end) {
    std::memcpy(restored.ptr(run.row, run.firstColumn),
                part.ptr(run.row - box.y, run.firstColumn - box.x),
                static_cast<std::size_t>(end - first) * image.elemSize());
  };
  const auto leave = [](const KelRun&, std::ptrdiff_t, std::ptrdiff_t) {};
  const auto put = [&](auto copy_outside) {
    const bool in_place = LiesInItsPlace(part, restored, box);
    if (in_place && covered.FillsBox()) {
      WalkAround(box, image.size(), copy_outside);
    } else if (in_place) {
      WalkPixels(image.size(), covered.runs, leave, copy_outside);
    } else {
      WalkPixels(image.size(), covered.runs, take_from_part, copy_outside);
    }
  };
  if (image.isContinuous() && restored.isContinuous()) {
    put(PixelCopy(image, restored));
  } else {
    put(PixelCopyByRows(image, restored));
  }
}

// Paints a continuous mask.
void PaintMask(const std::vector<KelRun>& runs, uchar inside, uchar outside, cv::Mat& mask) {
  const auto fill = [&](std::ptrdiff_t first, std::ptrdiff_t end, uchar value) {
    std::memset(mask.data + first, value, static_cast<std::size_t>(end - first));
  };
  WalkPixels(
      mask.size(), runs,
      [&](const KelRun&, std::ptrdiff_t first, std::ptrdiff_t end) { fill(first, end, inside); },
      [&](std::ptrdiff_t first, std::ptrdiff_t end) { fill(first, end, outside); });
}

// By no other header, no cv::UMat and no caller whose memory it is.
bool IsHeldAlone(const cv::Mat& mat) {
  return mat.u != nullptr && mat.u->refcount == 1 && mat.u->urefcount == 0 &&
         (mat.u->flags & cv::UMatData::USER_ALLOCATED) == 0;
}

// Whether the caller will only read the mask.
bool AsksForSharedMask(const cv::Mat& image, const cv::Mat& mask) {
  return mask.dims <= 2 && mask.data == nullptr && mask.cols == image.cols && mask.rows == 0 &&
         mask.type() == CV_8UC1;
}

// More is given back at once, and so is what a caller's own allocator has given, which may end
// before the thread does.
constexpr std::size_t kMostMaskBytesToRemember = std::size_t{16} * 1024 * 1024;

bool MayBeRemembered(const cv::Mat& mask) {
  return mask.total() <= kMostMaskBytesToRemember && mask.u != nullptr &&
         mask.u->currAllocator == cv::Mat::getStdAllocator();
}

// The mask of a shape, white inside. The last one of each thread is remembered, for the same shape
// again, or, when nobody holds it any more, as memory for the mask of another.
cv::Mat SharedMask(const KelROI& roi, const std::vector<KelRun>& runs, cv::Size size) {
  struct Painted {
    std::optional<KelROI> roi;  // keeps the shape, so that no other comes to lie in its place
    cv::Mat mask;
  };
  thread_local Painted t_last;
  if (t_last.roi && &t_last.roi->Shape() == &roi.Shape() && t_last.mask.size() == size) {
    return t_last.mask;
  }
  Painted painted = {{}, std::move(t_last.mask)};
  t_last = {};
  if (painted.mask.size() != size || !IsHeldAlone(painted.mask)) {
    painted.mask = cv::Mat(size, CV_8UC1);
  }
  PaintMask(runs, 255, 0, painted.mask);
  cv::Mat mask = painted.mask;
  if (MayBeRemembered(mask)) {
    if (IsSmall(roi.Shape())) {
      painted.roi = roi;
    }
    t_last = std::move(painted);
  }
  return mask;
}

}  // namespace

// Functions of the library rather than of its callers: another build of it may do more.
KelROIDataConvert::KelROIDataConvert() {}
KelROIDataConvert::~KelROIDataConvert() {}

KelLong KelROIDataConvert::ROIImageExtraction(cv::Mat& image, KelROI& roi, cv::Mat* out, int clip,
                                              double fill) {
  if (out == nullptr) {
    return KEL_ROI_ERR_OUTPUT;
  }
  return WithoutExceptions([&]() -> KelLong {
    CoveredPixels covered;
    if (const KelLong status = covered.Find(image, roi); status != 0) {
      return status;
    }
    if (HoldsNoRowsOf(image, *out)) {
      *out = image(covered->box);
      return 0;
    }
    const bool whole = clip == 0 || covered->FillsBox();
    *out = whole ? image(covered->box).clone() : CutOut(image, *covered, fill);
    return 0;
  });
}

KelLong KelROIDataConvert::ROIImageRestore(cv::Mat& image, cv::Mat& part, KelROI& roi, cv::Mat* out,
                                           int masked) {
  if (out == nullptr) {
    return KEL_ROI_ERR_OUTPUT;
  }
  return WithoutExceptions([&]() -> KelLong {
    CoveredPixels covered;
    if (const KelLong status = covered.Find(image, roi); status != 0) {
      return status;
    }
    if (part.dims > 2 || part.size() != covered->box.size() || part.type() != image.type()) {
      return KEL_ROI_ERR_PART;
    }
    if (masked == 0) {
      covered.TakeBox(covered->box, image.size());
    }
    if (CanRestoreInto(image, part, covered->box, *out)) {
      if (out->rows == 0) {
        ShowRows(image.rows, out);
      }
      PutBack(image, part, *covered, *out);
    } else {
      cv::Mat restored(image.size(), image.type());
      PutBack(image, part, *covered, restored);
      *out = std::move(restored);
    }
    return 0;
  });
}

KelLong KelROIDataConvert::GenMaskImage(cv::Mat& image, KelROI& roi, cv::Mat* mask, int filled,
                                        int inverted) {
  if (mask == nullptr) {
    return KEL_ROI_ERR_OUTPUT;
  }
  return WithoutExceptions([&]() -> KelLong {
    CoveredPixels covered;
    if (const KelLong status = covered.Find(image, roi); status != 0) {
      return status;
    }
    if (filled != 0 && inverted == 0 && AsksForSharedMask(image, *mask)) {
      *mask = SharedMask(roi, covered->runs, image.size());
      return 0;
    }
    const std::vector<KelRun> rim = filled != 0 ? std::vector<KelRun>() : RimOf(covered->runs);
    cv::Mat painted(image.size(), CV_8UC1);
    PaintMask(filled != 0 ? covered->runs : rim, inverted != 0 ? 0 : 255, inverted != 0 ? 255 : 0,
              painted);
    *mask = std::move(painted);
    return 0;
  });
}

}  // namespace KELRA
