// The memory of a mask, kept from call to call.
#pragma once

#include <opencv2/core.hpp>

namespace KELRA {

// An empty matrix to be made a mask. It has reserved the rows of the thread's last mask, as far as
// that was of usual size: fresh memory is given to a process page by page, which takes longer than
// painting it.
class KeptMask {
 public:
  KeptMask();
  ~KeptMask();
  KeptMask(const KeptMask&) = delete;
  KeptMask& operator=(const KeptMask&) = delete;

  cv::Mat& Mat() { return mask_; }

 private:
  cv::Mat mask_;
};

}  // namespace KELRA
