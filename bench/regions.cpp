#include "regions.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <opencv2/imgproc.hpp>

namespace KELRA::bench {
namespace {

KelPoint CenterOf(cv::Size size) {
  return {static_cast<double>(size.width / 2), static_cast<double>(size.height / 2)};
}

double RadiusOf(cv::Size size) { return 0.45 * std::min(size.width, size.height); }

// The pixels whose distance from the centre is in [inner, outer].
cv::Mat RingMask(cv::Size size, double inner, double outer) {
  const KelPoint center = CenterOf(size);
  cv::Mat mask(size, CV_8UC1);
  for (int row = 0; row < size.height; ++row) {
    for (int column = 0; column < size.width; ++column) {
      const double distance = std::hypot(column - center.x, row - center.y);
      mask.at<std::uint8_t>(row, column) = inner <= distance && distance <= outer ? 255 : 0;
    }
  }
  return mask;
}

Region MaskedRegion(const KelROI& roi, const cv::Mat& mask) {
  const cv::Rect box = cv::boundingRect(mask);
  return {roi, box, mask(box).clone()};
}

Region MakeRegion(cv::Size size, const std::string& name) {
  const double radius = RadiusOf(size);
  if (name == "rectangle") {
    const cv::Rect box(size.width / 8, size.height / 8, size.width * 3 / 4, size.height * 3 / 4);
    return {KelROI::Rectangle(box.x, box.y, box.width, box.height), box, {}};
  }
  if (name == "circle") {
    return MaskedRegion(KelROI::Circle(CenterOf(size), radius), RingMask(size, 0, radius));
  }
  if (name == "runs") {
    const cv::Mat ring = RingMask(size, radius / 2, radius);
    return MaskedRegion(KelROI::Region(RunsOf(ring)), ring);
  }
  return {KelROI::WholeImage(), {{}, size}, {}};
}

}  // namespace

std::shared_ptr<Region> RegionOn(cv::Size size, const std::string& name) {
  static cv::Size last;
  static std::map<std::string, std::shared_ptr<Region>> regions;
  if (last != size) {
    regions.clear();
    last = size;
  }
  std::shared_ptr<Region>& region = regions[name];
  if (!region) {
    region = std::make_shared<Region>(MakeRegion(size, name));
  }
  return region;
}

KelRegion RunsOf(const cv::Mat& mask) {
  KelRegion region(mask.cols, mask.rows);
  for (int row = 0; row < mask.rows; ++row) {
    const auto* pixels = mask.ptr<std::uint8_t>(row);
    for (int column = 0; column < mask.cols; ++column) {
      if (pixels[column] != 0) {
        const int first = column;
        while (column + 1 < mask.cols && pixels[column + 1] != 0) {
          ++column;
        }
        region.Append({row, first, column});
      }
    }
  }
  return region;
}

}  // namespace KELRA::bench
