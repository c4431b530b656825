#include "commands/families.h"

namespace KELRA::tool {
namespace {

struct Options {
  int value = 0;
  float scale = 0;
  float offset = 0;
  KelROI roi;
};

struct Operation {
  const char* name;
  const char* summary;
  const char* formula;
  const char* example;
  int lowest_value;
  KelLong (KelImageOperation::*method)(KelImage&, KelROI&, KelImage*, int, float, float);
};

constexpr Operation kOperations[] = {
    {"add-const", "Adds a constant to every sample",
     "OUT = saturate((IN + value) * scale + offset)",
     "kelra add-const examples/images/coins.png brighter.png --value 40 --scale 1.1 --offset 3 "
     "--roi circle:192,150,100",
     0, &KelImageOperation::AddConst},
    {"subtract-const", "Subtracts a constant from every sample",
     "OUT = saturate((IN - value) * scale + offset)",
     "kelra subtract-const examples/images/coins.png darker.png --value 60 --scale 1.5", 0,
     &KelImageOperation::SubtractConst},
    {"multiply-const", "Multiplies every sample by a constant",
     "OUT = saturate(IN * value * scale + offset)",
     "kelra multiply-const examples/images/camera.png contrast.png --value 3 --scale 0.5 "
     "--roi ellipse:220,140,120,80,30",
     0, &KelImageOperation::MultiplyConst},
    {"divide-const", "Divides every sample by a constant, rounding half up",
     "OUT = saturate(IN / value * scale + offset)",
     "kelra divide-const examples/images/camera.png flat.png --value 2 --offset 64 "
     "--roi polygon:100,400,256,300,412,400",
     1, &KelImageOperation::DivideConst},
};

Command Declare(const Operation& operation) {
  return CommandBuilder<Options>(Form::kEach, operation.name, operation.summary)
      .Formula(operation.formula)
      .Example(operation.example)
      .Required("--value", &Options::value,
                "The constant, " + std::to_string(operation.lowest_value) +
                    " to 255 for 8-bit and to 65535 for 16-bit images")
      .Optional("--scale", &Options::scale, "1", "Factor of the intermediate result")
      .Optional("--offset", &Options::offset, "0", "Added after scaling")
      .Region(&Options::roi)
      .Checked(ERR_PARAM_1, "--value", SampleRange(operation.lowest_value))
      .Run([method = operation.method](Call& call, Options& options) {
        return (call.operation.*method)(call.inputs[0], options.roi, &call.output, options.value,
                                        options.scale, options.offset);
      });
}

}  // namespace

Family ConstantArithmetic() {
  Family family{"Image and constant", {}};
  for (const Operation& operation : kOperations) {
    family.commands.push_back(Declare(operation));
  }
  return family;
}

}  // namespace KELRA::tool
