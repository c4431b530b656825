// Where results are written, and when an output may be written while its input is still read.
#pragma once

#include <opencv2/core.hpp>

namespace KELRA {

// The output's own matrix when it has the given size and type, so that it is written in place;
// otherwise a new one, whose pixels are not initialised: the caller overwrites all of them.
cv::Mat ResultMatrix(const cv::Mat& output, cv::Size size, int type);

// Whether any byte belongs to a pixel of both matrices. Matrices of different steps that interleave
// count as sharing.
bool SharesPixels(const cv::Mat& a, const cv::Mat& b);

// Whether an operation that computes each pixel from the same pixel of `input` may write into
// `result`: they are apart, or one and the same.
bool CanWriteWhileReading(const cv::Mat& result, const cv::Mat& input);

}  // namespace KELRA
