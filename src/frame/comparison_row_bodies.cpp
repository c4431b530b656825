#include "frame/comparison_row_bodies.h"

#include "frame/row_views.h"

namespace KELRA::tbbup {
namespace {

template <class... Inputs>
kernels::Extent ExtentOf(const RowRange& rows, const cv::Mat& output, const Inputs&... inputs) {
  return {static_cast<std::ptrdiff_t>(rows.size()), output.cols, output.cols,
          ShouldStream(output, inputs...)};
}

}  // namespace

template <class Sample>
MarkedByImage<Sample>::MarkedByImage(cv::Mat* output, const cv::Mat& input, const cv::Mat& second,
                                     kernels::Relation relation, int mark)
    : output_(output),
      input_(&input),
      second_(&second),
      relation_(relation),
      mark_(static_cast<Sample>(mark)) {}

template <class Sample>
void MarkedByImage<Sample>::operator()(const RowRange& rows) const {
  kernels::ActiveRowKernels().For<Sample>().mark_by_image[relation_](
      RowsOf<const Sample>(*input_, rows), RowsOf<const Sample>(*second_, rows),
      RowsOf<Sample>(*output_, rows), ExtentOf(rows, *output_, *input_, *second_), mark_);
}

template <class Sample>
MarkedByConstant<Sample>::MarkedByConstant(cv::Mat* output, const cv::Mat& input,
                                           kernels::Relation relation, int constant, int mark)
    : output_(output),
      input_(&input),
      relation_(relation),
      constant_(static_cast<Sample>(constant)),
      mark_(static_cast<Sample>(mark)) {}

template <class Sample>
void MarkedByConstant<Sample>::operator()(const RowRange& rows) const {
  kernels::ActiveRowKernels().For<Sample>().mark_by_constant[relation_](
      RowsOf<const Sample>(*input_, rows), RowsOf<Sample>(*output_, rows),
      ExtentOf(rows, *output_, *input_), constant_, mark_);
}

template class MarkedByImage<std::uint8_t>;
template class MarkedByImage<std::uint16_t>;
template class MarkedByConstant<std::uint8_t>;
template class MarkedByConstant<std::uint16_t>;

}  // namespace KELRA::tbbup
