#include "geometry/polar_maps.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace KELRA {
namespace {

constexpr double kOutside = -1.0;

}  // namespace

UnrollingMap::UnrollingMap(cv::Size size, cv::Point2d center)
    : center_(center), rows_(size.height), radii_(static_cast<std::size_t>(size.width)) {
  std::iota(radii_.begin(), radii_.end(), 0.0);
}

void UnrollingMap::ComputeRows(int first, cv::Mat* source_columns, cv::Mat* source_rows) const {
  for (int i = 0; i < source_columns->rows; ++i) {
    const double angle = 2.0 * (first + i) * CV_PI / rows_;
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    auto* columns = source_columns->ptr<float>(i);
    auto* rows = source_rows->ptr<float>(i);
    for (std::size_t j = 0; j < radii_.size(); ++j) {
      columns[j] = static_cast<float>(center_.x + radii_[j] * cosine);
      rows[j] = static_cast<float>(center_.y + radii_[j] * sine);
    }
  }
}

RollingMap::RollingMap(cv::Size size, cv::Point2d center, const RingSector& sector)
    : center_(center),
      inner_radius_(sector.inner_radius),
      first_angle_((360.0 - sector.end_angle) * CV_PI / 180.0),
      last_angle_((360.0 - sector.start_angle) * CV_PI / 180.0),
      columns_per_pixel_(size.width / (sector.outer_radius - sector.inner_radius)),
      rows_per_radian_(size.height / (last_angle_ - first_angle_)),
      x_offsets_(1, size.width, CV_32F) {
  const auto center_x = static_cast<float>(center.x);
  for (int j = 0; j < size.width; ++j) {
    x_offsets_.at<float>(j) = static_cast<float>(j) - center_x;
  }
}

void RollingMap::ComputeRows(int first, cv::Mat* source_columns, cv::Mat* source_rows) const {
  const auto center_y = static_cast<float>(center_.y);
  cv::Mat y_offsets(x_offsets_.size(), CV_32F);
  auto* y_offset = y_offsets.ptr<float>();
  for (int i = 0; i < source_columns->rows; ++i) {
    std::fill_n(y_offset, y_offsets.cols, static_cast<float>(first + i) - center_y);
    // The maps hold magnitudes and angles first. Row by row: how OpenCV rounds may depend on a
    // sample's place in what it is given.
    cv::Mat magnitudes = source_columns->row(i);
    cv::Mat angles = source_rows->row(i);
    cv::cartToPolar(x_offsets_, y_offsets, magnitudes, angles);
    auto* columns = source_columns->ptr<float>(i);
    auto* rows = source_rows->ptr<float>(i);
    for (int j = 0; j < x_offsets_.cols; ++j) {
      const double radius = columns[j];
      const double angle = rows[j];
      const double column = (radius - inner_radius_) * columns_per_pixel_;
      const double row = (angle - first_angle_) * rows_per_radian_;
      const bool in_sector = angle >= first_angle_ && angle <= last_angle_;
      columns[j] = static_cast<float>(radius >= inner_radius_ ? column : kOutside);
      rows[j] = static_cast<float>(in_sector ? row : kOutside);
    }
  }
}

}  // namespace KELRA
