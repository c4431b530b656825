// Paste of many images into a grid.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <opencv2/core.hpp>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "frame/call_log.h"
#include "frame/checks.h"
#include "frame/pixel_copy.h"
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
  const cv::Mat& first = images[0].Mat();
  for (int i = 1; i < images.Length(); ++i) {
    const cv::Mat& image = images[i].Mat();
    if (image.cols != first.cols) {
      return ERR_WIDTH_MISMATCH;
    }
    if (image.rows != first.rows) {
      return ERR_HEIGHT_MISMATCH;
    }
    if (image.channels() != first.channels()) {
      return ERR_CHANNEL_MISMATCH;
    }
    if (image.depth() != first.depth()) {
      return ERR_DEPTH_MISMATCH;
    }
  }
  return STATUS_OK;
}

bool FitsInt(std::int64_t value) { return value <= std::numeric_limits<int>::max(); }

// A matrix for the result that shares no pixels with any of the images.
cv::Mat& CanvasFor(const KelImageArray& images, KelImage* output, cv::Size size,
                   SpareMatrix* fresh) {
  const int type = images[0].Mat().type();
  for (int i = 0; i < images.Length(); ++i) {
    if (SharesPixels(images[i].Mat(), output->Mat())) {
      return fresh->Create(size, type);
    }
  }
  return ResultMatrix(output, size, type, fresh);
}

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

// What of the images is visible on the canvas.
std::vector<Piece> Place(const KelImageArray& images, int grid_columns,
                         const KelPointArray& offsets, cv::Size canvas) {
  const cv::Size cell = images[0].Mat().size();
  std::vector<Piece> pieces;
  pieces.reserve(static_cast<std::size_t>(images.Length()));
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
    pieces.push_back({&images[i].Mat(), source, target});
  }
  return pieces;
}

// Whether each of `count` images lies in its own cell, so that none of the canvas is left.
bool CoverCanvas(const std::vector<Piece>& pieces, int count, int grid_columns, cv::Size cell) {
  if (static_cast<int>(pieces.size()) != count) {
    return false;
  }
  for (int i = 0; i < count; ++i) {
    const Piece& piece = pieces[static_cast<std::size_t>(i)];
    const cv::Point corner(i % grid_columns * cell.width, i / grid_columns * cell.height);
    if (piece.target != corner || piece.part.size() != cell) {
      return false;
    }
  }
  return true;
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
  const std::vector<Piece> pieces = Place(images, gridColumns, offsets, size);
  if (pieces.empty()) {
    return ERR_PASTE_WORK;
  }
  SpareMatrix fresh;
  cv::Mat& canvas = CanvasFor(images, result, size, &fresh);
  if (!CoverCanvas(pieces, images.Length(), gridColumns, images[0].Mat().size())) {
    canvas = cv::Scalar::all(0);
  }
  CopyPieces(pieces, canvas);
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
    std::vector<Piece> tiles;
    tiles.reserve(static_cast<std::size_t>(images.Length()));
    for (int i = 0; i < images.Length(); ++i) {
      const cv::Point corner(i % gridColumns * step.width, i / gridColumns * step.height);
      tiles.push_back(WholeOf(images[i].Mat(), corner));
    }
    SpareMatrix fresh;
    cv::Mat& canvas = CanvasFor(images, result, size, &fresh);
    // They cover all of it.
    CopyPieces(tiles, canvas);
    AssignResult(canvas, result);
  } catch (...) {
    return ERR_PASTE_EXCEPTION;
  }
  log.Exit();
  return STATUS_OK;
}

}  // namespace KELRA
