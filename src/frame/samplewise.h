// Operations that treat every sample alike, so that the channels do not matter.
//
// The images are 8-bit or 16-bit; the result has the input's size and type and goes into the
// output's own matrix where that fits. The output may be an input or share its pixels.
#pragma once

#include "KELRA/KelData.h"
#include "frame/kernels/row_kernels.h"

namespace KELRA {

// dst = src op constant, a constant that the depth can hold
void CombineWithConstant(const KelImage& src, KelImage* dst, kernels::Combination operation,
                         int constant);

// dst = first op second, images of one size and type
void CombineImages(const KelImage& first, const KelImage& second, KelImage* dst,
                   kernels::Combination operation);

// result = first op second, matrices of one size and type that exist; the result may be one of the
// others, but not overlap them otherwise
void CombineMatrices(const cv::Mat& first, const cv::Mat& second, cv::Mat* result,
                     kernels::Combination operation);

// dst = the square root of src, to the nearest integer
void TakeSquareRoot(const KelImage& src, KelImage* dst);

}  // namespace KELRA
