// The four methods of constant arithmetic as data, so that one test serves them all.
#pragma once

#include <ostream>

#include "KELRA/KelImageOperation.h"
#include "arithmetic.h"

namespace kelra_test {

struct ConstantMethod {
  const char* name;
  kelra_reference::Operation operation;
  KELRA::KelLong (KELRA::KelImageOperation::*method)(KELRA::KelImage&, KELRA::KelROI&,
                                                     KELRA::KelImage*, int, float, float);
  int start_line;
  int exit_line;

  KELRA::KelLong Call(KELRA::KelImageOperation* object, KELRA::KelImage& src, KELRA::KelROI roi,
                      KELRA::KelImage* dst, int value, float scale, float offset) const {
    return (object->*method)(src, roi, dst, value, scale, offset);
  }
};

inline void PrintTo(const ConstantMethod& method, std::ostream* stream) { *stream << method.name; }

inline constexpr ConstantMethod kConstantMethods[] = {
    {"AddConst", kelra_reference::kAdd, &KELRA::KelImageOperation::AddConst, 5523, 5705},
    {"SubtractConst", kelra_reference::kSubtract, &KELRA::KelImageOperation::SubtractConst, 5747,
     5873},
    {"MultiplyConst", kelra_reference::kMultiply, &KELRA::KelImageOperation::MultiplyConst, 5916,
     6032},
    {"DivideConst", kelra_reference::kDivide, &KELRA::KelImageOperation::DivideConst, 6080, 6208},
};

}  // namespace kelra_test
