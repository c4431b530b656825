#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <utility>

#include "side_by_side.h"

namespace KELRA::bench {
namespace {

// A region as runs for us, and as a ready mask for OpenCV.
struct Area {
  KelRegionArray regions;
  cv::Mat mask;
};

Area WholeArea(cv::Size size) {
  KelRegion region(size.width, size.height);
  for (int row = 0; row < size.height; ++row) {
    region.Append({row, 0, size.width - 1});
  }
  return {{region}, cv::Mat(size, CV_8UC1, cv::Scalar(255))};
}

// The ellipse that touches the image's edges.
Area EllipseArea(cv::Size size) {
  KelRegion region(size.width, size.height);
  cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
  for (int row = 0; row < size.height; ++row) {
    const double y = (row + 0.5) / size.height * 2 - 1;
    const int half = static_cast<int>(std::sqrt(1 - y * y) * size.width / 2);
    const int first = size.width / 2 - half;
    const int end = size.width / 2 + half;
    if (first < end) {
      region.Append({row, first, end - 1});
      mask.row(row).colRange(first, end).setTo(255);
    }
  }
  return {{region}, mask};
}

using MakeArea = Area (*)(cv::Size size);

// The same area for every call on images of a size.
template <MakeArea Make>
Area& AreaFor(cv::Size size) {
  static std::map<std::pair<int, int>, Area> areas;
  const auto [entry, is_new] = areas.try_emplace({size.width, size.height});
  if (is_new) {
    entry->second = Make(size);
  }
  return entry->second;
}

// OpenCV sets all channels of a colour image at once.
template <MakeArea Make>
void RegisterPainting(const std::string& name) {
  Register({name,
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.SetRegionValue(src, dst, AreaFor<Make>(src.Mat().size()).regions, 1, 200);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              src.copyTo(*dst);
              dst->setTo(cv::Scalar::all(200), AreaFor<Make>(src.size()).mask);
            }});
}

}  // namespace

void RegisterAccess() {
  Register({"GetPixelValue",
            [](KelImageOperation& op, KelImage& src, KelImage*) {
              double value = 0;
              const KelLong status = op.GetPixelValue(src, 5, 7, 1, &value);
              benchmark::DoNotOptimize(value);
              return status;
            },
            [](const cv::Mat& src, cv::Mat*) {
              double value = src.at<unsigned char>(5, 7);
              benchmark::DoNotOptimize(value);
            },
            {CV_8UC1}});
  Register({"SetPixelValue",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.SetPixelValue(src, dst, 5, 7, 1, 200);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              src.copyTo(*dst);
              dst->at<unsigned char>(5, 7) = 200;
            },
            {CV_8UC1}});
  RegisterPainting<WholeArea>("SetRegionValue, every pixel");
  RegisterPainting<EllipseArea>("SetRegionValue, an ellipse");
  Register({"ImageDepthConvert to 16 bits",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.ImageDepthConvert(src, dst, KEL_16U);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, CV_16U); },
            {CV_8UC1, CV_8UC3}});
  Register({"ImageDepthConvert to 8 bits",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.ImageDepthConvert(src, dst, KEL_8U);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, CV_8U); },
            {CV_16UC1, CV_16UC3}});
  // Two fields, as new images.
  Register({"ImageRowSeparate 2",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              KelImageArray fields;
              const KelLong status = op.ImageRowSeparate(src, &fields, 2);
              *dst = fields[0];
              return status;
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              cv::Mat fields[2];
              for (int i = 0; i < 2; ++i) {
                fields[i].create(src.rows / 2, src.cols, src.type());
                for (int row = 0; row < fields[i].rows; ++row) {
                  src.row(2 * row + i).copyTo(fields[i].row(row));
                }
              }
              *dst = fields[0];
            },
            {CV_8UC1}});
}

}  // namespace KELRA::bench
