#include "commands/families.h"
#include "image_files.h"

namespace KELRA::tool {
namespace {

struct NoOptions {};

struct PointPairs {
  KelPointArray from;
  KelPointArray to;
};

struct Border {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  KelColorRGBA color;
};

struct Polar {
  KelPoint center;
};

struct Sector {
  KelPoint center;
  float start = 0;
  float end = 0;
  int inner = 0;
  int outer = 0;
};

Command TransposeCommand() {
  return CommandBuilder<NoOptions>(Form::kEach, "transpose", "Exchanges rows and columns")
      .Formula("OUT = IN with pixel (x, y) at (y, x)")
      .Example("kelra transpose examples/images/camera.png transposed.png")
      .Run([](Call& call, NoOptions&) {
        return call.operation.Transpose(call.inputs[0], &call.output);
      });
}

struct WarpByPoints {
  const char* name;
  const char* summary;
  const char* from;
  const char* expected;
  const char* example;
  KelLong (KelImageOperation::*method)(KelImage&, KelImage*, KelPointArray&, KelPointArray&);
};

constexpr WarpByPoints kAffine{
    "affine",
    "Warps an image by the affine map of three points",
    "The three points in IN",
    "three points, and so must --to",
    "kelra affine examples/images/camera.png affine.png --from 0,0,511,0,0,511 "
    "--to 60,90,450,20,110,480",
    &KelImageOperation::Affine,
};
constexpr WarpByPoints kPerspective{
    "perspective",
    "Warps an image by the perspective map of four points",
    "The four points in IN",
    "four points, and so must --to",
    "kelra perspective examples/images/camera.png perspective.png "
    "--from 0,0,511,0,511,511,0,511 --to 140,60,370,60,511,470,0,470",
    &KelImageOperation::Perspective,
};

Command WarpCommand(const WarpByPoints& warp) {
  return CommandBuilder<PointPairs>(Form::kEach, warp.name, warp.summary)
      .Formula("OUT = IN moved so that each point of --from comes to lie on that of --to")
      .Example(warp.example)
      .Required("--from", &PointPairs::from, warp.from)
      .Required("--to", &PointPairs::to, "Where they lie in OUT")
      .Checked(ERR_POINT_COUNT, "--from", Always(warp.expected))
      .Run([method = warp.method](Call& call, PointPairs& points) {
        return (call.operation.*method)(call.inputs[0], &call.output, points.from, points.to);
      });
}

Command BorderCommand() {
  return CommandBuilder<Border>(Form::kEach, "border", "Surrounds an image with a border")
      .Formula("OUT = IN inside columns and rows of a colour")
      .Example(
          "kelra border examples/images/coins.png framed.png --left 12 --top 12 --right 12 "
          "--bottom 40 --color 230,230,230")
      .Optional("--left", &Border::left, "0", "Columns to the left")
      .Optional("--top", &Border::top, "0", "Rows above")
      .Optional("--right", &Border::right, "0", "Columns to the right")
      .Optional("--bottom", &Border::bottom, "0", "Rows below")
      .Optional("--color", &Border::color, "0,0,0",
                "The border's colour; an image of one channel takes R")
      .Checked(ERR_PARAM_1, "--left", Always("0 or more"))
      .Checked(ERR_PARAM_2, "--top", Always("0 or more"))
      .Checked(ERR_PARAM_3, "--right", Always("0 or more"))
      .Checked(ERR_PARAM_4, "--bottom", Always("0 or more"))
      .Checked(ERR_PARAM_5, "--color", SampleRange(0))
      .Run([](Call& call, Border& border) {
        return call.operation.AddBorder(call.inputs[0], &call.output, border.left, border.top,
                                        border.right, border.bottom, border.color);
      });
}

Expectation InsideTheImage() {
  return [](const std::vector<KelImage>& inputs) {
    const KelImage& image = inputs.front();
    std::string range = "0,0 to ";
    range += std::to_string(image.Width() - 1) + "," + std::to_string(image.Height() - 1);
    return range + " for the " + SizeText(image) + " image";
  };
}

Command PolarWarpCommand() {
  return CommandBuilder<Polar>(Form::kEach, "polar-warp",
                               "Unrolls an image around a centre into a strip")
      .Formula(
          "OUT = strip whose row i is the angle 360 i / rows, from the right, clockwise, and whose "
          "columns are radii")
      .Example("kelra polar-warp examples/images/retina.jpg strip.png --center 705,705")
      .Required("--center", &Polar::center, "The centre")
      .Checked(ERR_PARAM_1, "--center", InsideTheImage())
      .Checked(ERR_PARAM_2, "--center", InsideTheImage())
      .Run([](Call& call, Polar& polar) {
        return call.operation.Warp(call.inputs[0], &call.output, static_cast<float>(polar.center.x),
                                   static_cast<float>(polar.center.y));
      });
}

Command PolarUnwarpCommand() {
  return CommandBuilder<Sector>(Form::kEach, "polar-unwarp",
                                "Rolls a strip up into the sector of a ring")
      .Formula(
          "OUT = ring around a centre: IN's columns are radii, its rows angles from 360 - end to "
          "360 - start, clockwise")
      .Example(
          "kelra polar-unwarp examples/images/coins.png rolled.png --center 192,152 --start 20 "
          "--end 340 --inner 40 --outer 150")
      .Required("--center", &Sector::center, "The centre in OUT")
      .Optional("--start", &Sector::start, "0", "Begin of the sector in degrees, counterclockwise")
      .Optional("--end", &Sector::end, "360", "End of the sector in degrees")
      .Optional("--inner", &Sector::inner, "0", "Radius of the strip's first column")
      .Required("--outer", &Sector::outer, "Radius behind the strip's last column")
      .Checked(ERR_PARAM_1, "--center", InsideTheImage())
      .Checked(ERR_PARAM_2, "--center", InsideTheImage())
      .Checked(ERR_PARAM_3, "--start", Always("0 to 360, and below --end"))
      .Checked(ERR_PARAM_4, "--end", Always("above 0, and at most 360"))
      .Checked(ERR_PARAM_5, "--inner", Always("0 or more, and below --outer"))
      .Checked(ERR_PARAM_6, "--outer", Always("1 or more"))
      .Run([](Call& call, Sector& sector) {
        return call.operation.Unwarp(call.inputs[0], &call.output,
                                     static_cast<float>(sector.center.x),
                                     static_cast<float>(sector.center.y), sector.start, sector.end,
                                     sector.inner, sector.outer);
      });
}

}  // namespace

Family Geometry() {
  return {"Geometry",
          {TransposeCommand(), WarpCommand(kAffine), WarpCommand(kPerspective), BorderCommand(),
           PolarWarpCommand(), PolarUnwarpCommand()}};
}

}  // namespace KELRA::tool
