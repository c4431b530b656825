#include "surroundings.h"

#include <cstddef>
#include <cstring>

#include "matrix_comparison.h"

namespace kelra_fuzz {

Surroundings::Surroundings(const Scene& scene, const Call& call) : scene_(scene) {
  for (const Block& block : scene.Blocks()) {
    bytes_.emplace_back(block.begin(), block.begin() + block.size());
  }
  if (call.output != nullptr && call.output->Mat().dims <= 2 && !call.output->Mat().empty()) {
    const cv::Mat& output = call.output->Mat();
    output_ = cv::Mat(output.size(), output.type(), output.data, output.step[0]);
    output_pixels_ = output.clone();
  }
}

bool Surroundings::Untouched() const {
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (std::memcmp(bytes_[i].data(), scene_.Blocks()[i].begin(), bytes_[i].size()) != 0) {
      return false;
    }
  }
  return true;
}

bool Surroundings::UntouchedAroundOutput() {
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    const Block& block = scene_.Blocks()[i];
    if (!output_.empty() && block.Holds(output_)) {
      const std::ptrdiff_t offset = output_.data - block.begin();
      cv::Mat before(output_.size(), output_.type(), bytes_[i].data() + offset, output_.step[0]);
      output_.copyTo(before);
    }
  }
  return Untouched();
}

bool Surroundings::OutputUntouched(const cv::Mat& output) const {
  return output.dims > 2 || (output.empty() && output_.empty()) ||
         (SameHeader(output, output_) && SameMatrix(output, output_pixels_));
}

}  // namespace kelra_fuzz
