#include <KELRA/KelDataConvert.h>

#include <string_view>

#include "commands/families.h"

namespace KELRA::tool {
namespace {

// The depths of samples that image files hold, in bits.
enum class Bits { k8, k16 };

void ParseValue(std::string_view text, Bits* bits) {
  if (text != "8" && text != "16") {
    throw BadValue("expected 8 or 16");
  }
  *bits = text == "8" ? Bits::k8 : Bits::k16;
}

const char* Placeholder(const Bits*) { return "BITS"; }

struct CreateOptions {
  int width = 0;
  int height = 0;
  Bits depth = Bits::k8;
  int channels = 0;
  KelColorRGBA color;
};

struct NoOptions {};

struct FillOptions {
  bool holes_only = false;
  bool as_runs = false;
  KelROI roi;
};

Command Create() {
  return CommandBuilder<CreateOptions>(Form::kCreate, "create", "Makes an image of one color")
      .Formula("OUT = color")
      .Example("kelra create orange.png --width 320 --height 200 --channels 3 --color 255,140,0")
      .Required("--width", &CreateOptions::width, "Columns, at least 1")
      .Required("--height", &CreateOptions::height, "Rows, at least 1")
      .Optional("--depth", &CreateOptions::depth, "8", "Bits of a sample, 8 or 16")
      .Optional("--channels", &CreateOptions::channels, "1",
                "1 (of the color only R counts), 3, or 4 with A")
      .Required("--color", &CreateOptions::color,
                "The color, components 0 to 255 for 8 bits and to 65535 for 16 bits")
      .Checked(ERR_PARAM_1, "--height", Always("at least 1"))
      .Checked(ERR_PARAM_2, "--width", Always("at least 1"))
      .Checked(ERR_PARAM_4, "--channels", Always("1, 3 or 4"))
      .Checked(ERR_PARAM_5, "--color", Always("0 to 255 for 8 bits, 0 to 65535 for 16 bits"))
      .Run([](Call& call, CreateOptions& options) {
        const KelImageType type = options.depth == Bits::k8 ? KEL_8U : KEL_16U;
        return call.operation.CreateConst(&call.output, options.height, options.width, type,
                                          options.channels, options.color);
      });
}

Command Copy() {
  return CommandBuilder<NoOptions>(Form::kEach, "copy",
                                   "Copies the pixels, also into another file format")
      .Formula("OUT = IN")
      .Example("kelra copy examples/images/coins.png coins.tiff")
      .Run(
          [](Call& call, NoOptions&) { return call.operation.Copy(call.inputs[0], &call.output); });
}

// By way of the run-length region of the pixels that are not 0.
KelLong FillRuns(Call& call, FillOptions& options) {
  KelRegion region;
  KelRegion filled;
  if (const KelLong status = KelDataConvert::KelImageToRegion(call.inputs[0], &region);
      status != STATUS_OK) {
    return status;
  }
  if (const KelLong status =
          call.operation.ImageFill(region, options.roi, options.holes_only, &filled);
      status != STATUS_OK) {
    return status;
  }
  return KelDataConvert::KelRegionToImage(filled, &call.output);
}

KelLong FillImage(Call& call, FillOptions& options) {
  return call.operation.ImageFill(call.inputs[0], options.roi, options.holes_only, &call.output);
}

Command Fill() {
  return CommandBuilder<FillOptions>(Form::kEach, "fill", "Fills the holes of a binary image")
      .Formula(
          "OUT = 255 on objects (pixels that are not 0, joined over 8 neighbours) and in their "
          "holes, else 0")
      .Example("kelra fill examples/images/coins-segmented.png filled.png")
      .Flag("--holes-only", &FillOptions::holes_only, "255 on the pixels of the holes alone")
      .Flag("--runs", &FillOptions::as_runs, "Fill the run-length region of the objects instead")
      .Region(&FillOptions::roi)
      .Run([](Call& call, FillOptions& options) {
        return options.as_runs ? FillRuns(call, options) : FillImage(call, options);
      });
}

}  // namespace

Family Creation() { return {"Creation and holes", {Create(), Copy(), Fill()}}; }

}  // namespace KELRA::tool
