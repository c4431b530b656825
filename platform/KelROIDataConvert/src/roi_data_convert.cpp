#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
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

using SharedRuns = std::shared_ptr<const PixelRuns>;

// What a shape covers of images of a size.
struct Coverage {
  KelROI roi;  // keeps the shape, so that no other comes to lie in its place
  cv::Size size;
  SharedRuns covered;
};

// The shape's pixels, the last ones of each thread kept: an operation cuts a shape out and then
// puts it back, and the next image often gets the same. Run-length regions tell their pixels
// themselves, and may be large.
SharedRuns Covered(const KelROI& roi, cv::Size size) {
  if (roi.ROIType() == KEL_ROI_REGION) {
    return std::make_shared<const PixelRuns>(Rasterize(roi.Shape(), size));
  }
  thread_local Coverage t_last;
  if (t_last.covered == nullptr || &t_last.roi.Shape() != &roi.Shape() || t_last.size != size) {
    t_last.covered = std::make_shared<const PixelRuns>(Rasterize(roi.Shape(), size));
    t_last.roi = roi;
    t_last.size = size;
  }
  return t_last.covered;
}

// The pixels of `image` that `roi` covers, at least one of them, or the reason why there are none.
KelLong CoveredPixels(const cv::Mat& image, const KelROI& roi, SharedRuns* covered) {
  if (image.empty() || image.dims > 2) {
    return KEL_ROI_ERR_IMAGE;
  }
  if (roi.ROIType() == KEL_ROI_WHOLE_IMAGE) {
    *covered = std::make_shared<const PixelRuns>(
        Rasterize(ShapeOf(cv::Rect({}, image.size())), image.size()));
    return 0;
  }
  if (std::holds_alternative<std::monostate>(roi.Shape())) {
    return KEL_ROI_ERR_KIND;
  }
  *covered = Covered(roi, image.size());
  return (*covered)->runs.empty() ? KEL_ROI_ERR_OUTSIDE : 0;
}

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

// Walks the columns [first, end) of a row from left to right and calls `inside(column, count)` for
// its runs and `outside(column, count)` for what lies between and beside them. `run` is the first
// run of this or a later row, and is moved behind those of this row.
template <class Inside, class Outside>
void WalkRow(int row, int first, int end, std::vector<KelRun>::const_iterator& run,
             std::vector<KelRun>::const_iterator runs_end, Inside inside, Outside outside) {
  for (; run != runs_end && run->row == row; ++run) {
    if (first < run->firstColumn) {
      outside(first, run->firstColumn - first);
    }
    first = run->lastColumn + 1;
    inside(run->firstColumn, first - run->firstColumn);
  }
  if (first < end) {
    outside(first, end - first);
  }
}

// The box of `image`, filled beside the runs.
cv::Mat CutOut(const cv::Mat& image, const PixelRuns& covered, double fill) {
  const cv::Rect& box = covered.box;
  const std::vector<uchar> filling = FilledRow(image.type(), box.width, fill);
  const std::size_t pixel_size = image.elemSize();
  cv::Mat cut(box.size(), image.type());
  auto run = covered.runs.begin();
  for (int row = box.y; row < box.y + box.height; ++row) {
    const uchar* from = image.ptr(row, box.x);
    uchar* to = cut.ptr(row - box.y);
    const auto offset = [&](int column) {
      return static_cast<std::size_t>(column - box.x) * pixel_size;
    };
    const auto bytes = [&](int count) { return static_cast<std::size_t>(count) * pixel_size; };
    WalkRow(
        row, box.x, box.x + box.width, run, covered.runs.end(),
        [&](int column, int count) {
          std::memcpy(to + offset(column), from + offset(column), bytes(count));
        },
        [&](int column, int count) {
          std::memcpy(to + offset(column), filling.data(), bytes(count));
        });
  }
  return cut;
}

void CopyRows(const cv::Mat& from, int first, int end, cv::Mat& to) {
  const std::size_t row_size = static_cast<std::size_t>(from.cols) * from.elemSize();
  if (from.isContinuous() && to.isContinuous() && first < end) {
    std::memcpy(to.ptr(first), from.ptr(first), row_size * static_cast<std::size_t>(end - first));
    return;
  }
  for (int row = first; row < end; ++row) {
    std::memcpy(to.ptr(row), from.ptr(row), row_size);
  }
}

bool LieApart(const cv::Mat& a, const cv::Mat& b) {
  return a.dataend <= b.datastart || b.dataend <= a.datastart;
}

// `out` itself when the result fits it and does not overwrite what is still read, else a new
// matrix: the memory of a large one is given to the process page by page, which takes longer than
// the work.
cv::Mat MatrixFor(const cv::Mat& image, const cv::Mat& part, const cv::Mat& out) {
  const bool fits = out.dims <= 2 && out.data != nullptr && out.size() == image.size() &&
                    out.type() == image.type();
  return fits && LieApart(out, image) && LieApart(out, part) ? out
                                                             : cv::Mat(image.size(), image.type());
}

// Fills `restored` with `image`, the pixels on the runs taken from `part`, the content of the box.
// Every byte is written once.
void PutBack(const cv::Mat& image, const cv::Mat& part, const PixelRuns& covered,
             cv::Mat& restored) {
  const cv::Rect& box = covered.box;
  const std::size_t pixel_size = image.elemSize();
  CopyRows(image, 0, box.y, restored);
  auto run = covered.runs.begin();
  for (int row = box.y; row < box.y + box.height; ++row) {
    const uchar* from_image = image.ptr(row);
    const uchar* from_part = part.ptr(row - box.y);
    uchar* to = restored.ptr(row);
    const auto bytes = [&](int count) { return static_cast<std::size_t>(count) * pixel_size; };
    WalkRow(
        row, 0, image.cols, run, covered.runs.end(),
        [&](int column, int count) {
          std::memcpy(to + bytes(column), from_part + bytes(column - box.x), bytes(count));
        },
        [&](int column, int count) {
          std::memcpy(to + bytes(column), from_image + bytes(column), bytes(count));
        });
  }
  CopyRows(image, box.y + box.height, image.rows, restored);
}

cv::Mat MaskOf(const std::vector<KelRun>& runs, cv::Size size, uchar inside, uchar outside) {
  cv::Mat mask(size, CV_8UC1);
  auto run = runs.begin();
  for (int row = 0; row < size.height; ++row) {
    uchar* to = mask.ptr(row);
    const auto painted_with = [&](uchar value) {
      return [to, value](int column, int count) {
        std::memset(to + column, value, static_cast<std::size_t>(count));
      };
    };
    WalkRow(row, 0, size.width, run, runs.end(), painted_with(inside), painted_with(outside));
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
    SharedRuns covered;
    if (const KelLong status = CoveredPixels(image, roi, &covered); status != 0) {
      return status;
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
    SharedRuns covered;
    if (const KelLong status = CoveredPixels(image, roi, &covered); status != 0) {
      return status;
    }
    if (part.dims > 2 || part.size() != covered->box.size() || part.type() != image.type()) {
      return KEL_ROI_ERR_PART;
    }
    if (masked == 0) {
      covered = std::make_shared<const PixelRuns>(Rasterize(ShapeOf(covered->box), image.size()));
    }
    cv::Mat restored = MatrixFor(image, part, *out);
    PutBack(image, part, *covered, restored);
    *out = restored;
    return 0;
  });
}

KelLong KelROIDataConvert::GenMaskImage(cv::Mat& image, KelROI& roi, cv::Mat* mask, int filled,
                                        int inverted) {
  if (mask == nullptr) {
    return KEL_ROI_ERR_OUTPUT;
  }
  return WithoutExceptions([&]() -> KelLong {
    SharedRuns covered;
    if (const KelLong status = CoveredPixels(image, roi, &covered); status != 0) {
      return status;
    }
    const std::vector<KelRun> rim = filled != 0 ? std::vector<KelRun>() : RimOf(covered->runs);
    *mask = MaskOf(filled != 0 ? covered->runs : rim, image.size(), inverted != 0 ? 0 : 255,
                   inverted != 0 ? 255 : 0);
    return 0;
  });
}

}  // namespace KELRA
