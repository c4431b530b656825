#include <KELRA/KelDataConvert.h>
#include <KELRA/KelROIDataConvert.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <variant>
#include <vector>

#include "bitmaps.h"
#include "commands/families.h"

namespace KELRA::tool {
namespace {

std::string Range(int first, int last) {
  return std::to_string(first) + " to " + std::to_string(last) + " for this image";
}

std::string RowRange(const std::vector<KelImage>& inputs) {
  return Range(0, inputs.front().Height() - 1);
}

std::string ColumnRange(const std::vector<KelImage>& inputs) {
  return Range(0, inputs.front().Width() - 1);
}

std::string ChannelRange(const std::vector<KelImage>& inputs) {
  return Range(1, inputs.front().Channels());
}

// How many images the rows can be dealt to.
std::string CountRange(const std::vector<KelImage>& inputs) {
  return Range(2, inputs.front().Height());
}

struct PixelOptions {
  int row = 0;
  int column = 0;
  int channel = 0;
  double value = 0;
};

template <class Builder>
Builder& AtPixel(Builder& builder) {
  return builder.Required("--row", &PixelOptions::row, "The pixel's row, from 0 at the top")
      .Required("--column", &PixelOptions::column, "The pixel's column, from 0 at the left")
      .Optional("--channel", &PixelOptions::channel, "1",
                "The channel, from 1 in the order of storage (1, 2, 3: blue, green, red)")
      .Checked(ERR_PARAM_1, "--row", RowRange)
      .Checked(ERR_PARAM_2, "--column", ColumnRange)
      .Checked(ERR_PARAM_3, "--channel", ChannelRange);
}

// A sample is a whole number.
std::string SampleText(double value) {
  return std::isnan(value) ? "none" : std::to_string(static_cast<int>(value));
}

Command GetPixel() {
  CommandBuilder<PixelOptions> builder(Form::kMeasure, "get-pixel", "Prints one sample of a pixel");
  builder.Formula("OUT = IN(row, column)[channel], printed; none in images of 2 or over 4 channels")
      .Example("kelra get-pixel examples/images/coins.png --row 150 --column 192");
  return AtPixel(builder).Run([](Call& call, PixelOptions& options) {
    double value = std::numeric_limits<double>::quiet_NaN();
    const KelLong status = call.operation.GetPixelValue(call.inputs[0], options.row, options.column,
                                                        options.channel, &value);
    call.text = SampleText(value);
    return status;
  });
}

Command SetPixel() {
  CommandBuilder<PixelOptions> builder(Form::kEach, "set-pixel", "Changes one sample of a pixel");
  builder.Formula("OUT = IN, with OUT(row, column)[channel] = value truncated toward zero")
      .Example(
          "kelra set-pixel examples/images/coins.png dotted.png --row 150 --column 192 --value 255")
      .Required("--value", &PixelOptions::value,
                "The sample, 0 to 255 for 8-bit and to 65535 for 16-bit images")
      .Checked(ERR_PARAM_4, "--value", SampleRange(0));
  return AtPixel(builder).Run([](Call& call, PixelOptions& options) {
    return call.operation.SetPixelValue(call.inputs[0], &call.output, options.row, options.column,
                                        options.channel, options.value);
  });
}

struct PaintOptions {
  int channel = 0;
  int value = 0;
  KelROI roi;
};

// The pixels of a region of interest as runs. Runs from a file stay as they are, also outside the
// image.
KelLong ToRegion(KelImage& image, KelROI& roi, KelRegion* region) {
  if (roi.ROIType() == KEL_ROI_REGION) {
    *region = std::get<KelRegion>(roi.Shape());
    return STATUS_OK;
  }
  if (roi.ROIType() == KEL_ROI_WHOLE_IMAGE) {
    *region = KelRegion(image.Width(), image.Height());
    for (int row = 0; row < image.Height(); ++row) {
      region->Append({row, 0, image.Width() - 1});
    }
    return STATUS_OK;
  }
  KelROIDataConvert converter;
  KelImage mask;
  if (const KelLong status = converter.GenMaskImage(image.Mat(), roi, &mask.Mat(), 1, 0);
      status != STATUS_OK) {
    return status;
  }
  return KelDataConvert::KelImageToRegion(mask, region);
}

Command Paint() {
  return CommandBuilder<PaintOptions>(Form::kEach, "paint",
                                      "Sets one channel of every pixel of a region")
      .Formula("OUT = IN, with OUT(row, column)[4 - channel] = value in the region")
      .Example(
          "kelra paint examples/images/coins.png painted.png --value 255 --roi "
          "annulus:192,150,80,100")
      .Required("--value", &PaintOptions::value,
                "The sample, 0 to 255 for 8-bit and to 65535 for 16-bit images")
      .Optional("--channel", &PaintOptions::channel, "1",
                "The channel of a colour image: 1 red, 2 green, 3 blue")
      .Region(&PaintOptions::roi)
      .Checked(ERR_PARAM_2, "--channel", ChannelRange)
      .Checked(ERR_PARAM_3, "--value", SampleRange(0))
      .Run([](Call& call, PaintOptions& options) {
        KelRegion region;
        if (const KelLong status = ToRegion(call.inputs[0], options.roi, &region);
            status != STATUS_OK) {
          return status;
        }
        KelRegionArray regions = {region};
        return call.operation.SetRegionValue(call.inputs[0], &call.output, regions, options.channel,
                                             options.value);
      });
}

struct DepthOptions {
  KelImageType type = KEL_8U;
};

Command Depth() {
  return CommandBuilder<DepthOptions>(Form::kEach, "depth", "Changes the type of the samples")
      .Formula("OUT = saturate(IN), rounded to the nearest, ties to even; never rescaled")
      .Example("kelra depth examples/images/camera.png deep.png --type u16")
      .Required("--type", &DepthOptions::type, "u8, s8, u16, s16, s32, f32 or f64")
      .Run([](Call& call, DepthOptions& options) {
        return call.operation.ImageDepthConvert(call.inputs[0], &call.output, options.type);
      });
}

struct BitmapOptions {
  bool bottom_up = false;
};

Command Bitmap() {
  return CommandBuilder<BitmapOptions>(Form::kEach, "bitmap",
                                       "Takes the pixels of a GDI bitmap made of an image")
      .Formula("OUT = the bitmap's bytes, a row of OUT for each of its rows")
      .Example("kelra bitmap examples/images/chelsea.png upside-down.png --bottom-up")
      .Flag("--bottom-up", &BitmapOptions::bottom_up,
            "The bitmap's last row is the first of OUT, as in files")
      .Run([](Call& call, BitmapOptions& options) {
        const KelImage& image = call.inputs[0];
        // The call deletes the bitmap.
        const auto handle = reinterpret_cast<std::intptr_t>(MakeBitmap(image));
        return call.operation.ImageConvertBITMAP(&call.output, static_cast<KelLong>(handle),
                                                 image.Height(), image.Width(), 8, image.Channels(),
                                                 options.bottom_up ? 0 : 1);
      });
}

struct SplitOptions {
  int count = 0;
};

Command SplitRows() {
  return CommandBuilder<SplitOptions>(Form::kSplit, "split-rows",
                                      "Deals the rows of a grey image to several images in turn")
      .Formula("OUT = count images; row k of image i is row i + k * count of IN")
      .Example("kelra split-rows examples/images/camera.png fields/ --count 2")
      .Optional("--count", &SplitOptions::count, "2", "The number of images; 2 gives two fields")
      .Checked(ERR_PARAM_1, "--count", CountRange)
      .Run([](Call& call, SplitOptions& options) {
        return call.operation.ImageRowSeparate(call.inputs[0], &call.outputs, options.count);
      });
}

}  // namespace

Family Access() {
  return {"Pixels and conversion",
          {GetPixel(), SetPixel(), Paint(), Bitmap(), Depth(), SplitRows()}};
}

}  // namespace KELRA::tool
