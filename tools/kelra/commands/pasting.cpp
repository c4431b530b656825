#include <stdexcept>

#include "commands/families.h"
#include "image_files.h"

namespace KELRA::tool {
namespace {

struct Place {
  KelPoint at;
  double angle = 0;
};

struct Grid {
  int rows = 0;
  int columns = 0;
  KelPointArray offsets;
  int overlap_x = 0;
  int overlap_y = 0;
};

Command PasteCommand() {
  return CommandBuilder<Place>(Form::kPair, "paste", "Pastes an image onto another")
      .Formula("OUT = A, grown where needed, with B on it, its top left corner at --at")
      .Example(
          "kelra paste examples/images/camera.png examples/images/coins.png pasted.png "
          "--at 60,300 --angle 20")
      .Optional("--at", &Place::at, "0,0", "Where B's corner lies; negative grows A before it")
      .Optional("--angle", &Place::angle, "0", "Turns B about its corner, counterclockwise")
      .Checked(ERR_PARAM_1, "--at",
               [](const std::vector<KelImage>& inputs) {
                 return std::string("no further right or down than the edges of A, ")
                     .append(SizeText(inputs.front()));
               })
      .Checked(ERR_PARAM_2, "--angle", Always("0 to 360"))
      .Run([](Call& call, Place& place) {
        return call.operation.Paste(call.inputs[0], call.inputs[1], &call.output, place.at,
                                    place.angle);
      });
}

KelLong PasteIntoGrid(Call& call, Grid& grid) {
  KelImageArray images;
  for (const KelImage& input : call.inputs) {
    images.Append(input);
  }
  if (grid.offsets.Length() == 0) {
    return call.operation.Paste(images, &call.output, grid.rows, grid.columns, grid.overlap_x,
                                grid.overlap_y);
  }
  if (grid.overlap_x != 0 || grid.overlap_y != 0) {
    throw std::invalid_argument("--offsets cannot be combined with --overlap-x or --overlap-y");
  }
  KelVarArray unused;
  return call.operation.Paste(images, &call.output, grid.rows, grid.columns, grid.offsets, unused);
}

Command MontageCommand() {
  return CommandBuilder<Grid>(Form::kReduce, "montage", "Lays equally sized images out in a grid")
      .Formula("OUT = the images row by row, each moved by its offset, or overlapping evenly")
      .Example(
          "kelra montage examples/images/coins.png examples/images/coins.png "
          "examples/images/coins.png examples/images/coins.png sheet.png --rows 2 --columns 2 "
          "--overlap-x 24")
      .Required("--rows", &Grid::rows, "Rows of the grid")
      .Required("--columns", &Grid::columns, "Columns of the grid")
      .Optional("--overlap-x", &Grid::overlap_x, "0", "Columns that neighbours share")
      .Optional("--overlap-y", &Grid::overlap_y, "0", "Rows that neighbours share")
      .Optional("--offsets", &Grid::offsets, "", "How far each image is moved from its cell")
      .Checked(ERR_PARAM_4, "--overlap-x", Always("0 to the images' width"))
      .Checked(ERR_PARAM_5, "--overlap-y", Always("0 to the images' height"))
      .Checked(ERR_POINT_COUNT, "--offsets", Always("one point an image"))
      .Run(PasteIntoGrid);
}

}  // namespace

Family Pasting() { return {"Pasting", {PasteCommand(), MontageCommand()}}; }

}  // namespace KELRA::tool
