// The memory around a call's images, and its output, as they were before it.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "call.h"
#include "scene.h"

namespace kelra_fuzz {

class Surroundings {
 public:
  Surroundings(const Scene& scene, const Call& call);

  // Whether all blocks are as they were.
  bool Untouched() const;
  // The same but for the pixels that the output had before the call. Ends this object's use.
  bool UntouchedAroundOutput();
  // Whether the output is as it was, its header and its pixels.
  bool OutputUntouched(const cv::Mat& output) const;
  bool OutputReplaced(const cv::Mat& output) const { return output.data != output_.data; }

 private:
  const Scene& scene_;
  std::vector<std::vector<std::uint8_t>> bytes_;
  // Without a share in the pixels: it makes a difference to the library whether they are the
  // output's own.
  cv::Mat output_;
  cv::Mat output_pixels_;
};

}  // namespace kelra_fuzz
