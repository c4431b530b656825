// What came of a call.
#pragma once

#include <opencv2/core.hpp>
#include <string>

#include "call.h"

namespace kelra_fuzz {

inline constexpr const char* kWantOfMemory = "for want of memory";

struct Outcome {
  KELRA::KelLong status = 0;
  std::string exception;  // empty: none
  cv::Mat result;         // a copy

  bool Succeeded() const { return status == 0 && exception.empty(); }
};

bool operator==(const Outcome& a, const Outcome& b);

// Anything but OpenCV's exceptions and want of memory passes, and ends the program.
Outcome Run(const Operation& operation, KELRA::KelImageOperation* object, Call* call);

}  // namespace kelra_fuzz
