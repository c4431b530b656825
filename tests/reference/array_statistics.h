// Statistics over images, by definition: one sample at a time.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <vector>

#include "saturation.h"

namespace kelra_reference {

template <class Sample, class Result>
cv::Mat ReducedAs(const std::vector<cv::Mat>& images, int type,
                  const std::function<Result(const std::vector<Sample>&, int row, int i)>& reduce) {
  cv::Mat output(images[0].size(), type);
  for (int row = 0; row < output.rows; ++row) {
    for (int i = 0; i < output.cols * output.channels(); ++i) {
      std::vector<Sample> samples;
      for (const cv::Mat& image : images) {
        samples.push_back(image.ptr<Sample>(row)[i]);
      }
      output.ptr<Result>(row)[i] = reduce(samples, row, i);
    }
  }
  return output;
}

template <class Sample>
cv::Mat MaximumAs(const std::vector<cv::Mat>& images) {
  return ReducedAs<Sample, Sample>(images, images[0].type(), [](const auto& samples, int, int) {
    return *std::max_element(samples.begin(), samples.end());
  });
}

template <class Sample>
cv::Mat MinimumAs(const std::vector<cv::Mat>& images) {
  return ReducedAs<Sample, Sample>(images, images[0].type(), [](const auto& samples, int, int) {
    return *std::min_element(samples.begin(), samples.end());
  });
}

inline cv::Mat Maximum(const std::vector<cv::Mat>& images) {
  return images[0].depth() == CV_8U ? MaximumAs<std::uint8_t>(images)
                                    : MaximumAs<std::uint16_t>(images);
}

inline cv::Mat Minimum(const std::vector<cv::Mat>& images) {
  return images[0].depth() == CV_8U ? MinimumAs<std::uint8_t>(images)
                                    : MinimumAs<std::uint16_t>(images);
}

// The mean before it is rounded. Each step is rounded to single precision; `start` (empty: zeros)
// is what the sums start from.
template <class Sample>
cv::Mat MeanAs(const std::vector<cv::Mat>& images, bool drop_smallest, bool drop_largest,
               const cv::Mat& start) {
  const int kept =
      static_cast<int>(images.size()) - (drop_smallest ? 1 : 0) - (drop_largest ? 1 : 0);
  const auto factor = static_cast<float>(1.0 / kept);
  return ReducedAs<Sample, float>(
      images, CV_32FC(images[0].channels()),
      [&](const std::vector<Sample>& samples, int row, int i) {
        float sum = start.empty() ? 0.0F : start.ptr<float>(row)[i];
        for (const Sample sample : samples) {
          sum += static_cast<float>(sample);
        }
        if (drop_largest) {
          sum -= static_cast<float>(*std::max_element(samples.begin(), samples.end()));
        }
        if (drop_smallest) {
          sum -= static_cast<float>(*std::min_element(samples.begin(), samples.end()));
        }
        return sum * factor;
      });
}

inline cv::Mat Mean(const std::vector<cv::Mat>& images, bool drop_smallest, bool drop_largest,
                    const cv::Mat& start = {}) {
  return images[0].depth() == CV_8U
             ? MeanAs<std::uint8_t>(images, drop_smallest, drop_largest, start)
             : MeanAs<std::uint16_t>(images, drop_smallest, drop_largest, start);
}

template <class Sample>
cv::Mat RoundedAs(const cv::Mat& mean, int depth) {
  cv::Mat output(mean.size(), CV_MAKETYPE(depth, mean.channels()));
  for (int row = 0; row < mean.rows; ++row) {
    for (int i = 0; i < mean.cols * mean.channels(); ++i) {
      output.ptr<Sample>(row)[i] = ClampAndRoundToEven<Sample>(mean.ptr<float>(row)[i]);
    }
  }
  return output;
}

inline cv::Mat Rounded(const cv::Mat& mean, int depth) {
  return depth == CV_8U ? RoundedAs<std::uint8_t>(mean, depth)
                        : RoundedAs<std::uint16_t>(mean, depth);
}

}  // namespace kelra_reference
