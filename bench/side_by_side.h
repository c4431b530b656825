// Each operation beside what a user would otherwise write with OpenCV, and beside a plain copy of
// the same bytes, in one run.
#pragma once

#include <KELRA/KelImageOperation.h>

#include <functional>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace KELRA::bench {

struct SideBySide {
  std::string operation;
  // Both write the result for `image` into an output that is reused from call to call.
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage* dst)> ours;
  std::function<void(const cv::Mat& image, cv::Mat* dst)> opencv;
  std::vector<int> types = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};
};

// The same with a second image of the same size and type; the copy moves as many bytes as two
// images read and one written.
struct TwoImagesSideBySide {
  std::string operation;
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst)>
      ours;
  std::function<void(const cv::Mat& image, const cv::Mat& second, cv::Mat* dst)> opencv;
  std::vector<int> types = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};
};

// Registers the three benchmarks OPERATION/SIZE/TYPE/{kelra,opencv,copy} for every size, depth and
// channel count.
void Register(const SideBySide& pair);
void Register(const TwoImagesSideBySide& pair);

// Called by main; one function a family of operations.
void RegisterConstantArithmetic();
void RegisterGeometry();
void RegisterPaste();
void RegisterTwoImages();
void RegisterAccess();

}  // namespace KELRA::bench
