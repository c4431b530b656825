#include <algorithm>
#include <opencv2/core.hpp>

#include "KELRA/KelData.h"

namespace KELRA {

KelImage::KelImage() = default;
KelImage::KelImage(const cv::Mat& mat) : mat_(mat) {}
KelImage::KelImage(const KelImage& other) = default;
KelImage& KelImage::operator=(const KelImage& other) = default;
KelImage::~KelImage() = default;

// OpenCV sets rows and columns of a matrix of more than two dimensions to -1, and leaves them there
// when an empty matrix is assigned to it.
int KelImage::Width() const { return std::max(mat_.cols, 0); }
int KelImage::Height() const { return std::max(mat_.rows, 0); }
int KelImage::Channels() const { return mat_.channels(); }
KelImageType KelImage::BitDepth() const { return static_cast<KelImageType>(mat_.depth()); }
void* KelImage::ImageData() const { return mat_.data; }
KelImage KelImage::DeepCopy() const { return KelImage(mat_.clone()); }
cv::Mat& KelImage::Mat() { return mat_; }
const cv::Mat& KelImage::Mat() const { return mat_; }

}  // namespace KELRA
