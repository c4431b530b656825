// What pixel access and region painting compute, in the plainest form: from indices of samples,
// with the image taken as one sequence.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "KELRA/KelData.h"

namespace kelra_test {

inline int SampleOf(const cv::Mat& image, int row, long index) {
  return image.depth() == CV_8U ? image.ptr<std::uint8_t>(row)[index]
                                : image.ptr<std::uint16_t>(row)[index];
}

inline void SetSample(cv::Mat* image, int row, long index, int value) {
  if (image->depth() == CV_8U) {
    image->ptr<std::uint8_t>(row)[index] = static_cast<std::uint8_t>(value);
  } else {
    image->ptr<std::uint16_t>(row)[index] = static_cast<std::uint16_t>(value);
  }
}

// The sample of a row that a pixel's channel is; none in images that are not accessed.
inline std::optional<long> AccessedSample(const cv::Mat& image, int column, int channel,
                                          bool reading) {
  switch (image.channels()) {
    case 1:
      return column;
    case 3:
      return column * 3 + channel - 1;
    case 4:
      return reading && image.depth() == CV_16U ? column * 3 + channel - 1
                                                : column * 4 + channel - 1;
    default:
      return std::nullopt;
  }
}

// A packed copy with every region painted, run by run and column by column.
inline cv::Mat Painted(const cv::Mat& image, const KELRA::KelRegionArray& regions, int channel,
                       int value) {
  cv::Mat result = image.clone();
  const long row_samples = static_cast<long>(image.cols) * image.channels();
  for (int i = 0; i < regions.Length(); ++i) {
    for (const KELRA::KelRun& run : regions[i].Runs()) {
      for (int column = 0; column < image.cols; ++column) {
        if (run.row < 0 || run.row >= image.rows || column < run.firstColumn ||
            column > run.lastColumn) {
          continue;
        }
        const long index = image.channels() == 1
                               ? run.row * row_samples + column
                               : run.row * row_samples + column * 3L + (3 - channel);
        if (index >= 0 && index < row_samples * image.rows) {
          SetSample(&result, static_cast<int>(index / row_samples), index % row_samples, value);
        }
      }
    }
  }
  return result;
}

}  // namespace kelra_test
