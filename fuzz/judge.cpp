#include "judge.h"

#include <cstdio>
#include <cstdlib>

#include "frame/kernels/row_kernels.h"
#include "frame/load_time_state.h"

namespace kelra_fuzz {
namespace {

std::string Description(const Operation& operation, const Call& call) {
  std::string text = operation.name;
  text += "\n  first:  " + Text(call.first->Mat());
  text += "\n  second: " + Text(call.second->Mat());
  text += "\n  output: " + (call.output == nullptr ? "null" : Text(call.output->Mat()));
  text += call.output == call.first ? " (the first)" : "";
  text += call.output == call.second ? " (the second)" : "";
  char parameters[512];
  std::snprintf(
      parameters, sizeof parameters,
      "\n  %d images, region kind %d, value %d, mode %d, channel %d, scale %.9g, offset %.9g, "
      "angle %.17g, position (%.17g, %.17g), center (%.9g, %.9g), angles %.9g %.9g, "
      "lengths %d %d %d %d, grid %d %d, pixel %d %d, type %d, flag %d, color %d %d %d %d, "
      "efficiency %d, parallel %d, %s",
      call.images.Length(), call.roi.ROIType(), call.value, call.mode, call.channel, call.scale,
      call.offset, call.angle, call.position.x, call.position.y, call.center.x, call.center.y,
      call.angles[0], call.angles[1], call.lengths[0], call.lengths[1], call.lengths[2],
      call.lengths[3], call.grid[0], call.grid[1], call.pixel[0], call.pixel[1], call.type,
      call.flag ? 1 : 0, call.color.red, call.color.green, call.color.blue, call.color.alpha,
      KELRA::LoadedSettings().efficiency, KELRA::LoadedSettings().parallel,
      KELRA::kernels::ActiveRowKernels().instruction_set);
  return text + parameters;
}

std::string FirstDifference(const cv::Mat& actual, const cv::Mat& expected) {
  if (actual.dims != 2 || expected.dims != 2 || actual.type() != expected.type() ||
      actual.size() != expected.size()) {
    return {};
  }
  const std::size_t pixel = actual.elemSize();
  for (int row = 0; row < actual.rows; ++row) {
    for (std::size_t i = 0; i < pixel * static_cast<std::size_t>(actual.cols); ++i) {
      if (actual.ptr(row)[i] != expected.ptr(row)[i]) {
        return "\nrow " + std::to_string(row) + ", column " + std::to_string(i / pixel) +
               ", byte " + std::to_string(i % pixel) + ": " + std::to_string(actual.ptr(row)[i]) +
               " instead of " + std::to_string(expected.ptr(row)[i]);
      }
    }
  }
  return {};
}

}  // namespace

std::string Text(const cv::Mat& mat) {
  char text[128];
  std::snprintf(text, sizeof text, "%d x %d, depth %d, %d channels, %d dimensions, step %zu, at %p",
                mat.cols, mat.rows, mat.depth(), mat.channels(), mat.dims,
                mat.dims == 2 ? mat.step[0] : 0, static_cast<void*>(mat.data));
  return text;
}

std::string Text(const Outcome& outcome) {
  const std::string ending = outcome.exception.empty() ? "status " + std::to_string(outcome.status)
                                                       : "exception " + outcome.exception;
  return ending + ", result " + Text(outcome.result);
}

std::string Difference(const Outcome& actual, const Outcome& expected) {
  return Text(actual) + "\ninstead of\n" + Text(expected) +
         FirstDifference(actual.result, expected.result);
}

Judge::Judge(const Operation& operation, const Call& call) : operation_(operation), call_(call) {
  if (call.output != nullptr && call.output->Mat().dims == 2 && !call.output->Mat().empty()) {
    const cv::Mat& output = call.output->Mat();
    output_before_ = cv::Mat(output.size(), output.type(), output.data, output.step[0]);
  }
}

void Judge::Fail(const char* promise, const std::string& found) const {
  std::fprintf(stderr, "\nBroken promise: %s\n%s\n  output before the call: %s\n%s\n", promise,
               Description(operation_, call_).c_str(), Text(output_before_).c_str(), found.c_str());
  std::abort();
}

}  // namespace kelra_fuzz
