// Where the pixels of polar transforms come from, by definition.
#pragma once

#include <cmath>
#include <opencv2/core.hpp>
#include <vector>

namespace kelra_reference {

// Source columns and rows as CV_32F, of a whole result.
struct SourceMaps {
  cv::Mat columns;
  cv::Mat rows;
};

inline SourceMaps UnrollingMaps(cv::Size size, double center_x, double center_y) {
  SourceMaps maps{cv::Mat(size, CV_32F), cv::Mat(size, CV_32F)};
  const double pi = 3.141592653589793;
  for (int i = 0; i < size.height; ++i) {
    for (int j = 0; j < size.width; ++j) {
      const double angle = (2.0 * i) * pi / size.height;
      const double x = static_cast<double>(j) * std::cos(angle);
      const double y = static_cast<double>(j) * std::sin(angle);
      maps.columns.at<float>(i, j) = static_cast<float>(center_x + x);
      maps.rows.at<float>(i, j) = static_cast<float>(center_y + y);
    }
  }
  return maps;
}

struct Sector {
  float start_angle;
  float end_angle;
  int inner_radius;
  int outer_radius;
};

// The magnitudes and angles of a row are those of OpenCV's single-precision function.
inline SourceMaps RollingMaps(cv::Size size, float center_x, float center_y, const Sector& sector) {
  SourceMaps maps{cv::Mat(size, CV_32F), cv::Mat(size, CV_32F)};
  const double pi = 3.141592653589793;
  const double a0 = (360 - static_cast<double>(sector.end_angle)) * pi / 180;
  const double a1 = (360 - static_cast<double>(sector.start_angle)) * pi / 180;
  const double radial_scale =
      static_cast<double>(size.width) / (sector.outer_radius - sector.inner_radius);
  const double angular_scale = size.height / (a1 - a0);
  for (int i = 0; i < size.height; ++i) {
    std::vector<float> x(static_cast<std::size_t>(size.width));
    std::vector<float> y(x.size(), static_cast<float>(i) - center_y);
    for (std::size_t j = 0; j < x.size(); ++j) {
      x[j] = static_cast<float>(j) - center_x;
    }
    std::vector<float> magnitude;
    std::vector<float> angle;
    cv::cartToPolar(x, y, magnitude, angle, false);
    for (int j = 0; j < size.width; ++j) {
      const double m = magnitude[static_cast<std::size_t>(j)];
      const double a = angle[static_cast<std::size_t>(j)];
      float column = -1;
      float row = -1;
      if (m >= sector.inner_radius) {
        column = static_cast<float>((m - sector.inner_radius) * radial_scale);
      }
      if (a0 <= a && a <= a1) {
        row = static_cast<float>((a - a0) * angular_scale);
      }
      maps.columns.at<float>(i, j) = column;
      maps.rows.at<float>(i, j) = row;
    }
  }
  return maps;
}

}  // namespace kelra_reference
