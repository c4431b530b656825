#include "bitmaps.h"

#include <new>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "image_files.h"

namespace KELRA::tool {
namespace {

// The rows as bytes, each padded to an even number.
cv::Mat PaddedRows(const cv::Mat& mat) {
  const int row_bytes = mat.cols * mat.channels();
  const cv::Mat bytes = mat.reshape(1);
  cv::Mat padded(mat.rows, row_bytes + row_bytes % 2, CV_8UC1, cv::Scalar(0));
  bytes.copyTo(padded.colRange(0, row_bytes));
  return padded;
}

}  // namespace

HBITMAP MakeBitmap(const KelImage& image) {
  const int channels = image.Channels();
  if (image.BitDepth() != KEL_8U || (channels != 1 && channels != 3 && channels != 4)) {
    throw std::invalid_argument("a bitmap cannot hold " + DepthText(image.BitDepth()) +
                                " samples in " + ChannelText(channels) +
                                ", expected 8-bit ones in 1, 3 or 4");
  }
  const HBITMAP bitmap =
      CreateBitmap(image.Width(), image.Height(), 1, 8 * static_cast<unsigned>(channels),
                   PaddedRows(image.Mat()).data);
  if (bitmap == nullptr) {
    throw std::bad_alloc();
  }
  return bitmap;
}

}  // namespace KELRA::tool
