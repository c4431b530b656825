// Single pixels, painted regions, conversions, creation and holes.

#include <algorithm>
#include <cstring>
#include <opencv2/core.hpp>

#include "KELRA/KelGdi.h"
#include "access.h"
#include "call_checker.h"
#include "holes.h"
#include "models.h"

namespace {

using namespace kelra_fuzz;
using KELRA::KelImage;
using KELRA::KelImageArray;
using KELRA::KelImageOperation;
using KELRA::KelLong;
using KELRA::KelRegion;

constexpr double kNotRead = -1;
constexpr int kLongestSide = 6;  // of images in the call's buffer

// A sample that need not be whole.
double SampleOf(const Call& c) {
  return c.flag ? static_cast<double>(c.offset) : static_cast<double>(c.value);
}

cv::Mat AsMatrix(double value) { return cv::Mat(1, 1, CV_64F, cv::Scalar(value)); }

KelLong CallGetPixelValue(KelImageOperation& object, Call& c) {
  double value = kNotRead;
  const KelLong status = object.GetPixelValue(*c.first, c.pixel[0], c.pixel[1], c.channel,
                                              c.output == nullptr ? nullptr : &value);
  c.other_result = AsMatrix(value);
  return status;
}

cv::Mat PixelValue(const Call& c) {
  const cv::Mat& image = c.first->Mat();
  const auto index = kelra_test::AccessedSample(image, c.pixel[1], c.channel, true);
  return AsMatrix(index ? kelra_test::SampleOf(image, c.pixel[0], *index) : kNotRead);
}

KelLong CallSetPixelValue(KelImageOperation& object, Call& c) {
  return object.SetPixelValue(*c.first, c.output, c.pixel[0], c.pixel[1], c.channel, SampleOf(c));
}

cv::Mat WithPixelSet(const Call& c) {
  cv::Mat image = c.first->Mat().clone();
  const auto index = kelra_test::AccessedSample(image, c.pixel[1], c.channel, false);
  if (index) {
    kelra_test::SetSample(&image, c.pixel[0], *index, static_cast<int>(SampleOf(c)));
  }
  return image;
}

KelLong CallSetRegionValue(KelImageOperation& object, Call& c) {
  return object.SetRegionValue(*c.first, c.output, c.regions, c.channel, c.value);
}

cv::Mat Painted(const Call& c) {
  return kelra_test::Painted(c.first->Mat(), c.regions, c.channel, c.value);
}

KelLong CallCopy(KelImageOperation& object, Call& c) { return object.Copy(*c.first, c.output); }

cv::Mat Copied(const Call& c) { return c.first->Mat(); }

KelLong CallCreateConst(KelImageOperation& object, Call& c) {
  return object.CreateConst(c.output, c.lengths[0], c.lengths[1], c.type, c.channel, c.color);
}

cv::Mat Created(const Call& c) {
  const cv::Scalar color =
      c.channel == 1 ? cv::Scalar(c.color.red)
                     : cv::Scalar(c.color.blue, c.color.green, c.color.red, c.color.alpha);
  const int depth = static_cast<int>(static_cast<unsigned>(c.type) % 8U);
  return cv::Mat(c.lengths[0], c.lengths[1], CV_MAKETYPE(depth, c.channel), color);
}

KelLong CallImageDepthConvert(KelImageOperation& object, Call& c) {
  return object.ImageDepthConvert(*c.first, c.output, c.type);
}

cv::Mat DepthConverted(const Call& c) {
  cv::Mat result;
  c.first->Mat().convertTo(result, c.type);
  return result;
}

// The caller's buffer holds what the call says that it holds.
KelLong CallImageConvert(KelImageOperation& object, Call& c) {
  void* const buffer = c.mode == 0 ? nullptr : c.buffer;
  return object.ImageConvert(buffer, c.output, std::min(c.lengths[0], kLongestSide),
                             std::min(c.lengths[1], kLongestSide), c.type, c.channel, c.lengths[2]);
}

cv::Mat BufferConverted(const Call& c) {
  return cv::Mat(std::min(c.lengths[0], kLongestSide), std::min(c.lengths[1], kLongestSide),
                 CV_MAKETYPE(c.type, c.channel), c.buffer);
}

// A bitmap of the call's buffer, and what the call is told of it.
struct Bitmap {
  int width;
  int height;
  unsigned bits_per_pixel;

  explicit Bitmap(const Call& c)
      : width(std::clamp(c.lengths[0], 1, kLongestSide)),
        height(std::clamp(c.lengths[1], 1, kLongestSide)) {
    constexpr unsigned kBitsPerPixel[] = {8, 24, 32, 1, 16, 4};
    bits_per_pixel = kBitsPerPixel[static_cast<unsigned>(c.mode) % 6U];
  }

  int RowBytes() const { return (width * static_cast<int>(bits_per_pixel) + 15) / 16 * 2; }
  int BytesPerPixel() const {
    return bits_per_pixel == 1 ? 1 : static_cast<int>(bits_per_pixel) / 8;
  }
};

KelLong CallImageConvertBitmap(KelImageOperation& object, Call& c) {
  const Bitmap bitmap(c);
  const bool told_rightly = c.scale == 1.0F;
  if (c.grid[0] == 0) {
    // No bitmap's handle: none is alive now.
    return object.ImageConvertBITMAP(c.output, c.value, bitmap.height, bitmap.width, 8, c.channel,
                                     1);
  }
  const HBITMAP handle =
      CreateBitmap(bitmap.width, bitmap.height, 1, bitmap.bits_per_pixel, c.buffer);
  return object.ImageConvertBITMAP(
      c.output, static_cast<KelLong>(reinterpret_cast<std::intptr_t>(handle)),
      told_rightly ? bitmap.height : c.lengths[1], told_rightly ? bitmap.width : c.lengths[0],
      told_rightly ? 8 : c.lengths[2], told_rightly ? bitmap.BytesPerPixel() : c.channel,
      c.flag ? 1 : c.lengths[3]);
}

cv::Mat BitmapConverted(const Call& c) {
  const Bitmap bitmap(c);
  const bool top_down = c.flag || c.lengths[3] == 1;
  const int channels = bitmap.BytesPerPixel();
  cv::Mat result(bitmap.height, bitmap.width, CV_8UC(channels));
  for (int row = 0; row < bitmap.height; ++row) {
    const int from = top_down ? row : bitmap.height - 1 - row;
    for (int i = 0; i < bitmap.width * channels; ++i) {
      const int byte = from * bitmap.RowBytes() + i;
      result.ptr(row)[i] = byte < bitmap.RowBytes() * bitmap.height ? c.buffer[byte] : 0;
    }
  }
  return result;
}

KelLong CallImageFill(KelImageOperation& object, Call& c) {
  return object.ImageFill(*c.first, c.roi, c.flag, c.output);
}

cv::Mat FilledIn(const cv::Mat& image, const Call& c) {
  const kelra_reference::Work fill = c.flag ? kelra_reference::Holes : kelra_reference::Filled;
  return IsOnWholeImage(c) ? fill(image)
                           : kelra_reference::OnPart(image, MaskOf(c.roi, image), fill);
}

cv::Mat Filled(const Call& c) { return FilledIn(c.first->Mat(), c); }

// 255 on the region, on its own grid.
cv::Mat ImageOf(const KelRegion& region) {
  cv::Mat image = cv::Mat::zeros(region.Height(), region.Width(), CV_8UC1);
  for (const KELRA::KelRun& run : region.Runs()) {
    const cv::Range columns(std::max(run.firstColumn, 0),
                            std::min(run.lastColumn, image.cols - 1) + 1);
    if (run.row >= 0 && run.row < image.rows && columns.start < columns.end) {
      image.row(run.row).colRange(columns) = 255;
    }
  }
  return image;
}

KelLong CallRegionFill(KelImageOperation& object, Call& c) {
  KelRegion filled;
  const bool in_place = c.mode == 0;
  KelRegion region = c.region;
  KelRegion* const output = in_place ? &region : &filled;
  const KelLong status =
      object.ImageFill(region, c.roi, c.flag, c.output == nullptr ? nullptr : output);
  if (status == 0) {
    c.other_result = ImageOf(*output);
  }
  return status;
}

cv::Mat RegionFilled(const Call& c) {
  cv::Mat filled = FilledIn(ImageOf(c.region), c);
  // A region has no grey values.
  filled.setTo(cv::Scalar(255), filled);
  return filled;
}

// Into an array that may hold the input.
KelLong CallImageRowSeparate(KelImageOperation& object, Call& c) {
  KelImageArray parts = c.images;
  const bool from_array = c.mode == 0 && parts.Length() > 0;
  KelImage& src = from_array ? parts[0] : *c.first;
  const KelLong status =
      object.ImageRowSeparate(src, c.output == nullptr ? nullptr : &parts, c.lengths[0]);
  if (status == 0) {
    for (int i = 0; i < parts.Length(); ++i) {
      c.other_result.push_back(parts[i].Mat());
    }
  }
  return status;
}

cv::Mat RowsSeparated(const Call& c) {
  const bool from_array = c.mode == 0 && c.images.Length() > 0;
  const cv::Mat& image = from_array ? c.images[0].Mat() : c.first->Mat();
  const int count = c.lengths[0];
  const int share = image.rows / count;
  cv::Mat rows;
  for (int part = 0; part < count; ++part) {
    for (int row = 0; row < share; ++row) {
      rows.push_back(image.row(part + row * count));
    }
    if (part < image.rows % count) {
      rows.push_back(image.row(share * count));
    }
  }
  return rows;
}

constexpr Operation kOperations[] = {
    {"GetPixelValue", CallGetPixelValue, PixelValue, kThrowsNothing},
    {"SetPixelValue", CallSetPixelValue, WithPixelSet, kThrowsNothing},
    {"SetRegionValue", CallSetRegionValue, Painted},
    {"Copy", CallCopy, Copied},
    {"CreateConst", CallCreateConst, Created, kThrowsNothing},
    {"ImageDepthConvert", CallImageDepthConvert, DepthConverted},
    {"ImageConvert", CallImageConvert, BufferConverted, kThrowsNothing},
    {"ImageConvertBITMAP", CallImageConvertBitmap, BitmapConverted},
    {"ImageFill", CallImageFill, Filled},
    {"ImageFill of a region", CallRegionFill, RegionFilled},
    {"ImageRowSeparate", CallImageRowSeparate, RowsSeparated},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CheckCalls(kOperations, data, size);
  return 0;
}
