// Each operation beside what a user would otherwise write with OpenCV, and beside a plain copy of
// the same bytes, in one run.
#pragma once

#include <KELRA/KelImageOperation.h>

#include <functional>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace KELRA::bench {

// Operations on one image. Both write the result into an output that is reused from call to call.
struct SideBySide {
  std::string operation;
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage* dst)> ours;
  std::function<void(const cv::Mat& image, cv::Mat* dst)> opencv;
  std::vector<int> types = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};
};

// Operations on two images of one size and type.
struct TwoImagesSideBySide {
  std::string operation;
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst)>
      ours;
  std::function<void(const cv::Mat& image, const cv::Mat& second, cv::Mat* dst)> opencv;
  std::vector<int> types = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};
};

// Operations on several images of one size and type.
struct SeveralSideBySide {
  std::string operation;
  int inputs;
  std::function<KelLong(KelImageOperation& op, KelImageArray& images, KelImage* dst)> ours;
  std::function<void(const std::vector<cv::Mat>& images, cv::Mat* dst)> opencv;
  std::vector<int> types = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};
  // Makes an input; noise unless told otherwise.
  std::function<cv::Mat(cv::Size size, int type, int index)> make = {};
};

// Registers the three benchmarks OPERATION/SIZE/TYPE/{kelra,opencv,copy} for every size, depth and
// channel count. The copy moves as many bytes as the inputs and the result have.
void Register(const SideBySide& pair);
void Register(const TwoImagesSideBySide& pair);
void Register(const SeveralSideBySide& pair);

// Called by main; one function a family of operations.
void RegisterAccess();
void RegisterConstantArithmetic();
void RegisterGeometry();
void RegisterHoleFilling();
void RegisterPaste();
void RegisterPointOperations();
void RegisterStatistics();
void RegisterTwoImages();

}  // namespace KELRA::bench
