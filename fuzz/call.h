// A call as data: its operands, its parameters, and what is known of its method.
#pragma once

#include <array>
#include <cstdint>
#include <opencv2/core.hpp>

#include "KELRA/KelImageOperation.h"
#include "input_reader.h"
#include "scene.h"

namespace kelra_fuzz {

// Each method takes what it has a parameter for. In brackets where values mostly lie.
struct Call {
  // Inputs and output may be one object, share a header or overlap; the output may be null.
  KELRA::KelImage* first = nullptr;
  KELRA::KelImage* second = nullptr;
  KELRA::KelImage* output = nullptr;
  KELRA::KelImageArray images;

  KELRA::KelROI roi;
  KELRA::KelRegion region;
  KELRA::KelRegionArray regions;
  int value = 0;    // [0, 255]
  int mode = 0;     // [-1, 12]
  int channel = 0;  // [0, 4]
  float scale = 0;
  float offset = 0;
  double angle = 0;               // [0, 360]
  KELRA::KelPoint position;       // [within the first image]
  cv::Point2f center;             // [within the first image]
  std::array<float, 2> angles{};  // [0, 360]
  std::array<int, 4> lengths{};   // [0, 12]
  std::array<int, 2> grid{};      // [0, 4]
  std::array<int, 2> pixel{};     // row and column [within the first image]
  KELRA::KelPointArray from;      // 3 or 4
  KELRA::KelPointArray to;        // 3 or 4
  KELRA::KelPointArray offsets;   // as many as there are images
  KELRA::KelColorRGBA color;      // [0, 255]
  KELRA::KelImageType type{};     // all of them
  bool flag = false;
  std::uint8_t* buffer = nullptr;  // of kBufferSize bytes

  // The result of a method that has no image for it.
  cv::Mat other_result;
};

inline constexpr int kBufferSize = 6 * 6 * 4 * 8;

Call ReadCall(InputReader* reader, Scene* scene);

inline bool IsOnWholeImage(const Call& call) {
  return call.roi.ROIType() == KELRA::KEL_ROI_WHOLE_IMAGE;
}

inline bool IsUnderRuns(const Call& call) { return call.roi.ROIType() == KELRA::KEL_ROI_REGION; }

// A code of the region library.
inline bool IsRegionFailure(KELRA::KelLong status) { return status / 10000 == 1300; }

// What is said of a method beside the rules that all share.
enum Trait : unsigned {
  kThrowsNothing = 1,
  // A failure may leave the output cleared in efficiency mode.
  kBindsBuffer = 2,
  // In efficiency mode earlier calls of the object take part in the result.
  kStartsFromBuffer = 4,
  // An output of the input's size gets the constant before it is compared.
  kWritesConstantFirst = 8,
  // One-channel inputs become three-channel ones before all checks are done.
  kPromotesInputs = 16,
  // A run-length region that has no mask leaves the result on the whole image in the output.
  kKeepsUnmaskedResult = 32,
  // OpenCV refuses some of its calls, with an exception that passes.
  kRefusedByOpenCv = 64,
};

struct Operation {
  const char* name;
  KELRA::KelLong (*call)(KELRA::KelImageOperation& object, Call& call);
  // The result of a successful call, in the plainest form.
  cv::Mat (*model)(const Call& call);
  unsigned traits = 0;
  // Whether a failed call leaves a copy of its input in the output; null: never.
  bool (*copies_input)(const Call& call, KELRA::KelLong status) = nullptr;
};

}  // namespace kelra_fuzz
