#include "scripted_regions.h"

#include <stdexcept>

#include "KELRA/KelROIDataConvert.h"

namespace kelra_test {
namespace {

constinit int g_constructed = 0;
RegionScript g_script;
std::vector<RegionCall> g_calls;

KELRA::KelLong Answer(KELRA::KelLong status, const std::optional<cv::Mat>& scripted, cv::Mat* out) {
  if (scripted) {
    *out = *scripted;
  }
  return status;
}

bool UsesDefault(KELRA::KelLong status, const std::optional<cv::Mat>& scripted) {
  return status == 0 && !scripted;
}

}  // namespace

RegionScript& NewRegionScript() {
  g_script = {};
  g_calls.clear();
  return g_script;
}

const std::vector<RegionCall>& RegionCalls() { return g_calls; }

int RegionConvertersConstructed() { return g_constructed; }

}  // namespace kelra_test

namespace KELRA {

using namespace kelra_test;

KelROIDataConvert::KelROIDataConvert() { ++g_constructed; }
KelROIDataConvert::~KelROIDataConvert() = default;

KelLong KelROIDataConvert::ROIImageExtraction(cv::Mat& image, KelROI& roi, cv::Mat* out, int clip,
                                              double fill) {
  g_calls.push_back({"ROIImageExtraction",
                     this,
                     roi.ROIType(),
                     image,
                     {},
                     {static_cast<double>(clip), fill},
                     *out});
  if (UsesDefault(g_script.extraction_status, g_script.extracted)) {
    *out = image(g_script.box).clone();
  }
  return Answer(g_script.extraction_status, g_script.extracted, out);
}

KelLong KelROIDataConvert::ROIImageRestore(cv::Mat& image, cv::Mat& part, KelROI& roi, cv::Mat* out,
                                           int masked) {
  g_calls.push_back(
      {"ROIImageRestore", this, roi.ROIType(), image, part, {static_cast<double>(masked)}, *out});
  if (g_script.restore_throws) {
    throw std::runtime_error("restore");
  }
  if (UsesDefault(g_script.restore_status, g_script.restored)) {
    *out = image.clone();
    part.copyTo((*out)(g_script.box));
  }
  return Answer(g_script.restore_status, g_script.restored, out);
}

KelLong KelROIDataConvert::GenMaskImage(cv::Mat& image, KelROI& roi, cv::Mat* mask, int filled,
                                        int inverted) {
  g_calls.push_back({"GenMaskImage",
                     this,
                     roi.ROIType(),
                     image,
                     {},
                     {static_cast<double>(filled), static_cast<double>(inverted)},
                     *mask});
  if (UsesDefault(g_script.mask_status, g_script.mask)) {
    *mask = cv::Mat::zeros(image.size(), CV_8UC1);
    (*mask)(g_script.box).setTo(255);
  }
  return Answer(g_script.mask_status, g_script.mask, mask);
}

}  // namespace KELRA
