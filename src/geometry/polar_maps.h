// Where the pixels of polar transforms come from: the source column and the source row of every
// pixel of a result.
//
// Computed in double precision and stored as float once. Rows are independent of each other:
// ComputeRows fills two matrices of floats, both as wide as the result, with the maps of the rows
// from `first` on, and may be called by several threads at once.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace KELRA {

// Rows are angles, one full turn from the direction of increasing column towards increasing row;
// columns are radii in pixels.
class UnrollingMap {
 public:
  UnrollingMap(cv::Size size, cv::Point2d center);

  void ComputeRows(int first, cv::Mat* source_columns, cv::Mat* source_rows) const;

 private:
  cv::Point2d center_;
  int rows_;
  std::vector<double> radii_;  // of each column
};

// The ring between two radii, cut to the sector between two angles.
struct RingSector {
  double start_angle;  // degrees
  double end_angle;
  double inner_radius;  // pixels
  double outer_radius;
};

// Back from a strip, whose rows are the angles and whose columns are the radii of a sector, to the
// image around a centre. Angles turn from increasing column towards decreasing row, so the strip's
// first row is the sector's end. Pixels before the inner radius or outside the angles come from -1,
// which is outside the strip; those beyond the outer radius from behind its last column.
class RollingMap {
 public:
  RollingMap(cv::Size size, cv::Point2d center, const RingSector& sector);

  void ComputeRows(int first, cv::Mat* source_columns, cv::Mat* source_rows) const;

 private:
  cv::Point2d center_;
  double inner_radius_;
  double first_angle_;  // radians
  double last_angle_;
  double columns_per_pixel_;
  double rows_per_radian_;
  cv::Mat x_offsets_;  // of each column from the centre
};

}  // namespace KELRA
