// The bodies of the comparisons: copies of a first image in which pixels are marked.
// The first column of every row is not tested and keeps the first image's values.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "frame/kernels/row_kernels.h"
#include "frame/row_bodies.h"
#include "frame/row_engine.h"

namespace KELRA::tbbup {

// output = the mark where the relation holds between the input's and the second input's pixel,
// elsewhere the input's.
template <class Sample>
class MarkedByImage {
 public:
  MarkedByImage(cv::Mat* output, const cv::Mat& input, const cv::Mat& second,
                kernels::Relation relation, int mark);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  const cv::Mat* second_;
  kernels::Relation relation_;
  Sample mark_;
};

// The same with a constant for the second input's pixels.
template <class Sample>
class MarkedByConstant {
 public:
  MarkedByConstant(cv::Mat* output, const cv::Mat& input, kernels::Relation relation, int constant,
                   int mark);
  void operator()(const RowRange& rows) const;

 private:
  cv::Mat* output_;
  const cv::Mat* input_;
  kernels::Relation relation_;
  Sample constant_;
  Sample mark_;
};

template <class Sample>
using parallelOperation_Compare_Invoker = MarkedByImage<Sample>;
template <class Sample>
using parallelOperation_Compare_greyValue_Invoker = MarkedByConstant<Sample>;

extern template class MarkedByImage<std::uint8_t>;
extern template class MarkedByImage<std::uint16_t>;
extern template class MarkedByConstant<std::uint8_t>;
extern template class MarkedByConstant<std::uint16_t>;

}  // namespace KELRA::tbbup
