#include "scripted_contours.h"

#include "KELRA/KelRLC.h"

namespace kelra_test {

ContourScript& FoundContours() {
  static ContourScript script;
  return script;
}

}  // namespace kelra_test

KELRA::KelLong KELRA::KelRLC::FindContours(KelImage&, std::vector<cv::Point>* points,
                                           std::vector<int>* starts,
                                           std::vector<cv::Vec4i>* hierarchy) {
  const kelra_test::ContourScript& script = kelra_test::FoundContours();
  *points = script.points;
  *starts = script.starts;
  *hierarchy = script.hierarchy;
  return script.status;
}
