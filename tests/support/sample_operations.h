// The methods that work on every sample of an image under a region: square root, bitwise constants
// and statistics with a constant.
#pragma once

#include <KELRA/KelImageOperation.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "recorded_log.h"
#include "sample_operations_model.h"

namespace kelra_test {

using Call = KELRA::KelLong (*)(KELRA::KelImageOperation&, KELRA::KelImage&, KELRA::KelROI&,
                                KELRA::KelImage*, int value);

struct SampleOperation {
  const char* name;
  Call call;
  int (*result)(int sample, int value, int largest);
  bool has_constant;
  bool any_channels;  // or one and three only
  LogRecord start;
  LogRecord exit;
  std::vector<LogRecord> work;  // what the pixel work logs when it succeeds
};

inline void PrintTo(const SampleOperation& operation, std::ostream* stream) {
  *stream << operation.name;
}

inline std::string OperationName(const ::testing::TestParamInfo<SampleOperation>& info) {
  return info.param.name;
}

template <KELRA::KelLong (KELRA::KelImageOperation::*kMethod)(KELRA::KelImage&, KELRA::KelROI&,
                                                              KELRA::KelImage*, int)>
KELRA::KelLong WithConstant(KELRA::KelImageOperation& object, KELRA::KelImage& src,
                            KELRA::KelROI& roi, KELRA::KelImage* dst, int value) {
  return (object.*kMethod)(src, roi, dst, value);
}

template <KELRA::KelLong (KELRA::KelImageOperation::*kMethod)(KELRA::KelImage&, KELRA::KelROI&,
                                                              KELRA::KelImage*)>
KELRA::KelLong WithoutConstant(KELRA::KelImageOperation& object, KELRA::KelImage& src,
                               KELRA::KelROI& roi, KELRA::KelImage* dst, int) {
  return (object.*kMethod)(src, roi, dst);
}

// Without a constant, no channel check.
inline SampleOperation PointOperation(const char* name, Call call, int (*result)(int, int, int),
                                      bool has_constant, int start, int exit) {
  return {name, call, result, has_constant, true, StartRecord(name, start), ExitRecord(name, exit),
          {}};
}

inline SampleOperation Statistic(const char* name, Call call, int (*result)(int, int, int),
                                 const char* logged_name, int start, int exit,
                                 const char* work_name, int work_start, int work_exit) {
  return {name,
          call,
          result,
          true,
          false,
          StartRecord(logged_name, start),
          ExitRecord(logged_name, exit),
          {StartRecord(work_name, work_start), ExitRecord(work_name, work_exit)}};
}

inline std::vector<SampleOperation> PointOperations() {
  using Object = KELRA::KelImageOperation;
  return {
      PointOperation(
          "Sqrt", WithoutConstant<&Object::Sqrt>,
          [](int s, int, int) { return kelra_reference::NearestRoot(s); }, false, 6248, 6323),
      PointOperation(
          "BitAndConst", WithConstant<&Object::BitAndConst>,
          [](int s, int value, int) { return s & value; }, true, 6404, 6476),
      PointOperation(
          "BitOrConst", WithConstant<&Object::BitOrConst>,
          [](int s, int value, int) { return s | value; }, true, 6529, 6601),
      PointOperation(
          "BitXorConst", WithConstant<&Object::BitXorConst>,
          [](int s, int value, int) { return s ^ value; }, true, 6656, 6734),
      PointOperation(
          "BitNot", WithoutConstant<&Object::BitNot>,
          [](int s, int, int largest) { return largest - s; }, false, 6760, 6835),
  };
}

inline std::vector<SampleOperation> ConstantStatistics() {
  using Object = KELRA::KelImageOperation;
  return {
      Statistic(
          "PixelMaxConst", WithConstant<&Object::PixelMaxConst>,
          [](int s, int value, int) { return s > value ? s : value; }, "PixelMaxConst", 8622, 8724,
          "PixelMaxConstfun", 8536, 8613),
      Statistic(
          "PixelMinConst", WithConstant<&Object::PixelMinConst>,
          [](int s, int value, int) { return s < value ? s : value; }, "PixelMinConstfun", 8821,
          8948, "PixelMinConstfun", 8734, 8812),
      Statistic(
          "PixelAverageConst", WithConstant<&Object::PixelAverageConst>,
          [](int s, int value, int) { return kelra_reference::NearestMean(s, value); },
          "PixelAverageConst", 9050, 9156, "PixelAverageConstfun", 8958, 9040),
      Statistic(
          "DifferenceConst", WithConstant<&Object::DifferenceConst>,
          [](int s, int value, int) { return s > value ? s - value : value - s; },
          "DifferenceConst", 9255, 9359, "DifferenceConstfun", 9208, 9246),
  };
}

inline std::vector<SampleOperation> AllSampleOperations() {
  std::vector<SampleOperation> all = PointOperations();
  for (const SampleOperation& operation : ConstantStatistics()) {
    all.push_back(operation);
  }
  return all;
}

inline int LargestOf(const cv::Mat& image) { return image.depth() == CV_8U ? 255 : 65535; }

// The result on every sample, by the operation's model.
inline cv::Mat Expected(const SampleOperation& operation, const cv::Mat& image, int value) {
  return kelra_reference::OfEverySample(
      image, [&](int s) { return operation.result(s, value, LargestOf(image)); });
}

}  // namespace kelra_test
