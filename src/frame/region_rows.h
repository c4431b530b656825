// The rows that a run-length region reaches, so that a call under it costs what it covers.
#pragma once

#include <opencv2/core.hpp>

#include "KELRA/KelData.h"

namespace KELRA {

// The rows of an image of `height` rows in which the region has runs; all of them for a region that
// tells no runs, or none in the image.
cv::Range RowsWithRuns(const KelROI& roi, int height);

// Whether the matrix is an 8-bit mask for images of the size, and is 255 nowhere outside the rows.
bool CoversOnly(const cv::Mat& mask, cv::Size size, cv::Range rows);

// Copies the input's pixels into the result, of its size and type, except where the mask is 255:
// outside `rows` it is known not to be. The two lie apart. Throws a cv::Exception when the mask is
// none for the input.
void BringBackOutside(const cv::Mat& input, const cv::Mat& mask, cv::Range rows, cv::Mat* result);

}  // namespace KELRA
