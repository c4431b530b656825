// Each operation beside what a user would otherwise write with OpenCV, and beside a plain copy of
// the same bytes.
//
// A benchmark is called OPERATION/SIZE/SAMPLES/REGION/THREADS and measures its three sides in turn.
// Every operation runs at every size and thread count; the calls that take a region also under each
// kind of region, there with one 8-bit channel and three 16-bit channels only.
#pragma once

#include <KELRA/KelImageOperation.h>

#include <functional>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace KELRA::bench {

// What an operation's time is held against in the report.
enum class Work {
  kRowKernels,  // the library's own row kernels: nearly as fast as a copy
  kOther,
  kCallOnly,  // touches a sample at most, so that neither image size nor a copy matters
  kNoise,     // both sides are the same code: what a ratio differs from 1 by is chance
};

inline const std::vector<int> kAllTypes = {CV_8UC1, CV_8UC3, CV_16UC1, CV_16UC3};

// `smallest`, below, is the smallest image that a call works on: what it takes then is its
// overhead.

// Operations on one image. Both write the result into an output that is reused from call to call;
// so are OpenCV's matrices in between.
struct SideBySide {
  std::string operation;
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage* dst)> ours;
  std::function<void(const cv::Mat& image, cv::Mat* dst)> opencv;
  std::vector<int> types = kAllTypes;
};

// Operations on one image under a region. `opencv` is the operation on a whole image. Under a
// rectangle it works from part to part of the images; under other regions on their bounding box,
// and what is inside is copied by a ready mask.
struct RegionSideBySide {
  std::string operation;
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelROI& roi, KelImage* dst)> ours;
  std::function<void(const cv::Mat& image, cv::Mat* dst)> opencv;
  std::vector<int> types = kAllTypes;
  // Makes the image; noise unless told otherwise.
  std::function<cv::Mat(cv::Size size, int type)> make = {};
};

// Operations on two images of one size and type.
struct TwoImagesSideBySide {
  std::string operation;
  std::function<KelLong(KelImageOperation& op, KelImage& image, KelImage& second, KelImage* dst)>
      ours;
  std::function<void(const cv::Mat& image, const cv::Mat& second, cv::Mat* dst)> opencv;
  std::vector<int> types = kAllTypes;
  cv::Size smallest = {1, 1};
};

// Operations on several images of one size and type.
struct SeveralSideBySide {
  std::string operation;
  int inputs;
  std::function<KelLong(KelImageOperation& op, KelImageArray& images, KelImage* dst)> ours;
  std::function<void(const std::vector<cv::Mat>& images, cv::Mat* dst)> opencv;
  std::vector<int> types = kAllTypes;
  cv::Size smallest = {1, 1};
};

// Calls of no common shape.
struct Calls {
  std::function<KelLong()> ours;
  std::function<void()> opencv;
  // Runs untimed before a batch of either's calls.
  std::function<void(int calls)> prepare = {};
};
struct CallsSideBySide {
  std::string operation;
  std::function<Calls(cv::Size size, int type)> make;
  double images_moved;  // read and written, in images of the size and type
  std::vector<int> types = kAllTypes;
  std::string region = "whole";
  cv::Size smallest = {1, 1};
};

void Register(const SideBySide& pair, Work work = Work::kOther);
void Register(const RegionSideBySide& pair, Work work = Work::kOther);
void Register(const TwoImagesSideBySide& pair, Work work = Work::kOther);
void Register(const SeveralSideBySide& pair, Work work = Work::kOther);
void Register(const CallsSideBySide& pair, Work work = Work::kOther);

// Makes benchmarks of all that was registered; cases on images of one size and type follow each
// other and share them.
void RegisterBenchmarks();

// Noise, the same for an index whoever asks. Only the images of the last size and type are kept.
const cv::Mat& Noise(cv::Size size, int type, int index = 0);

// Called by main; one function a family of operations.
void RegisterAccess();
void RegisterConstantArithmetic();
void RegisterCreation();
void RegisterDoubling();
void RegisterGeometry();
void RegisterHoleFilling();
void RegisterNoise();
void RegisterPaste();
void RegisterPointOperations();
void RegisterStatistics();
void RegisterTwoImages();

}  // namespace KELRA::bench
