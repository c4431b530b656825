// Paste of many images into a grid.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <opencv2/core.hpp>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/result_matrix.h"

namespace KELRA {
namespace {

Status CheckGrid(const KelImageArray& images, int grid_rows, int grid_columns) {
  return grid_rows >= 1 && grid_columns >= 1 &&
                 std::int64_t{grid_rows} * grid_columns == images.Length()
             ? STATUS_OK
             : ERR_GRID_COUNT;
}

Status CheckFirstImage(const KelImageArray& images) {
  KELRA_RETURN_IF_ERROR(CheckNotEmpty(images[0]));
  KELRA_RETURN_IF_ERROR(CheckChannels(images[0]));
  return CheckBitDepth(images[0]);
}

Status CheckAllAlike(const KelImageArray& images) {
  const KelImage& first = images[0];
  for (int i = 1; i < images.Length(); ++i) {
    const KelImage& image = images[i];
    if (image.Width() != first.Width()) {
      return ERR_WIDTH_MISMATCH;
    }
    if (image.Height() != first.Height()) {
      return ERR_HEIGHT_MISMATCH;
    }
    if (image.Channels() != first.Channels()) {
      return ERR_CHANNEL_MISMATCH;
    }
    if (image.BitDepth() != first.BitDepth()) {
      return ERR_DEPTH_MISMATCH;
    }
  }
  return STATUS_OK;
}

bool FitsInt(std::int64_t value) { return value <= std::numeric_limits<int>::max(); }

// A matrix for the result that shares no pixels with any of the images.
cv::Mat& CanvasFor(const KelImageArray& images, KelImage* output, cv::Size size, cv::Mat* fresh) {
  const int type = images[0].Mat().type();
  for (int i = 0; i < images.Length(); ++i) {
    if (SharesPixels(images[i].Mat(), output->Mat())) {
      fresh->create(size, type);
      return *fresh;
    }
  }
  return ResultMatrix(output, size, type, fresh);
}

// The visible part of an image on the canvas.
struct Placed {
  int image;
  cv::Rect source;
  cv::Point target;
};

// Begin and extent of what a canvas of `size` shows of `extent` pixels that begin at `origin`.
struct Visible {
  std::int64_t begin, extent;
};

Visible VisiblePart(std::int64_t origin, int extent, int size) {
  const std::int64_t begin = std::max<std::int64_t>(origin, 0);
  const std::int64_t end = std::min<std::int64_t>(origin + extent, size);
  return {begin, end - begin};
}

// Whether the coordinate, truncated toward zero, is an int. What is beyond, or no number at all, is
// beyond every canvas too.
bool FitsInt(double coordinate) { return coordinate > -2147483649.0 && coordinate < 2147483648.0; }

std::vector<Placed> Place(const KelImageArray& images, int grid_columns,
                          const KelPointArray& offsets, cv::Size canvas) {
  const cv::Size cell = images[0].Mat().size();
  std::vector<Placed> placed;
  for (int i = 0; i < images.Length(); ++i) {
    const double x = static_cast<double>(i % grid_columns) * cell.width + offsets[i].x;
    const double y = static_cast<double>(i / grid_columns) * cell.height + offsets[i].y;
    if (!FitsInt(x) || !FitsInt(y)) {
      continue;
    }
    const int left = static_cast<int>(x);
    const int top = static_cast<int>(y);
    const Visible columns = VisiblePart(left, cell.width, canvas.width);
    const Visible rows = VisiblePart(top, cell.height, canvas.height);
    if (columns.extent < 1 || rows.extent < 1) {
      continue;
    }
    const cv::Point target(static_cast<int>(columns.begin), static_cast<int>(rows.begin));
    const cv::Rect source(target - cv::Point(left, top), cv::Size(static_cast<int>(columns.extent),
                                                                  static_cast<int>(rows.extent)));
    placed.push_back({i, source, target});
  }
  return placed;
}

// Whether each of `count` images lies in its own cell, so that none of the canvas is left.
bool CoverCanvas(const std::vector<Placed>& placed, int count, int grid_columns, cv::Size cell) {
  const auto is_in_its_cell = [&](const Placed& one) {
    const cv::Point corner(one.image % grid_columns * cell.width,
                           one.image / grid_columns * cell.height);
    return one.target == corner && one.source.size() == cell;
  };
  return static_cast<int>(placed.size()) == count &&
         std::all_of(placed.begin(), placed.end(), is_in_its_cell);
}

}  // namespace

KelLong KelImageOperation::Paste(KelImageArray& images, KelImage* result, int gridRows,
                                 int gridColumns, KelPointArray& offsets, KelVarArray& /*values*/) {
  CallLog log(log_lines::kGridPaste);
  KELRA_RETURN_IF_ERROR(CheckGrid(images, gridRows, gridColumns));
  if (offsets.Length() != images.Length()) {
    return ERR_POINT_COUNT;
  }
  KELRA_RETURN_IF_ERROR(CheckFirstImage(images));
  KELRA_RETURN_IF_ERROR(CheckAllAlike(images));
  KELRA_RETURN_IF_ERROR(CheckOutput(result));

  const std::int64_t columns = std::int64_t{images[0].Width()} * gridColumns;
  const std::int64_t rows = std::int64_t{images[0].Height()} * gridRows;
  if (!FitsInt(columns) || !FitsInt(rows)) {
    return ERR_PASTE_WORK;
  }
  const cv::Size size(static_cast<int>(columns), static_cast<int>(rows));
  const std::vector<Placed> all = Place(images, gridColumns, offsets, size);
  if (all.empty()) {
    return ERR_PASTE_WORK;
  }
  cv::Mat fresh;
  cv::Mat& canvas = CanvasFor(images, result, size, &fresh);
  if (!CoverCanvas(all, images.Length(), gridColumns, images[0].Mat().size())) {
    canvas = cv::Scalar::all(0);
  }
  for (const Placed& placed : all) {
    images[placed.image]
        .Mat()(placed.source)
        .copyTo(canvas(cv::Rect(placed.target, placed.source.size())));
  }
  AssignResult(canvas, result);
  log.Exit();
  return STATUS_OK;
}

KelLong KelImageOperation::Paste(KelImageArray& images, KelImage* result, int gridRows,
                                 int gridColumns, int overlapX, int overlapY) {
  CallLog log(log_lines::kOverlappingGridPaste);
  KELRA_RETURN_IF_ERROR(CheckGrid(images, gridRows, gridColumns));
  KELRA_RETURN_IF_ERROR(CheckFirstImage(images));
  const cv::Size cell = images[0].Mat().size();
  if (overlapX < 0 || overlapX > cell.width) {
    return ERR_PARAM_4;
  }
  if (overlapY < 0 || overlapY > cell.height) {
    return ERR_PARAM_5;
  }
  KELRA_RETURN_IF_ERROR(CheckAllAlike(images));
  KELRA_RETURN_IF_ERROR(CheckOutput(result));

  const cv::Size step(cell.width - overlapX, cell.height - overlapY);
  const std::int64_t columns = cell.width + std::int64_t{step.width} * (gridColumns - 1);
  const std::int64_t rows = cell.height + std::int64_t{step.height} * (gridRows - 1);
  if (!FitsInt(columns) || !FitsInt(rows)) {
    return ERR_PASTE_EXCEPTION;
  }
  try {
    const cv::Size size(static_cast<int>(columns), static_cast<int>(rows));
    cv::Mat fresh;
    cv::Mat& canvas = CanvasFor(images, result, size, &fresh);
    // The tiles cover all of it.
    for (int i = 0; i < images.Length(); ++i) {
      const cv::Point corner(i % gridColumns * step.width, i / gridColumns * step.height);
      images[i].Mat().copyTo(canvas(cv::Rect(corner, cell)));
    }
    AssignResult(canvas, result);
  } catch (...) {
    return ERR_PASTE_EXCEPTION;
  }
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
