#include "commands/families.h"

namespace KELRA::tool {
namespace {

struct Options {
  int value = 0;
  KelROI roi;
};

struct Operation {
  const char* name;
  const char* summary;
  const char* formula;
  const char* example;
  KelLong (KelImageOperation::*method)(KelImage&, KelROI&, KelImage*);
};

constexpr Operation kOperations[] = {
    {"sqrt", "Takes the square root of every sample", "OUT = sqrt(IN), rounded to nearest",
     "kelra sqrt examples/images/camera.png roots.png", &KelImageOperation::Sqrt},
    {"bit-not", "Inverts every bit", "OUT = NOT IN",
     "kelra bit-not examples/images/camera.png negative.png --roi circle:220,120,90",
     &KelImageOperation::BitNot},
};

struct ConstantOperation {
  const char* name;
  const char* summary;
  const char* formula;
  const char* example;
  KelLong (KelImageOperation::*method)(KelImage&, KelROI&, KelImage*, int);
};

constexpr ConstantOperation kConstantOperations[] = {
    {"bit-and-const", "Keeps the bits that a constant has", "OUT = IN AND value",
     "kelra bit-and-const examples/images/camera.png posterised.png --value 192",
     &KelImageOperation::BitAndConst},
    {"bit-or-const", "Sets the bits that a constant has", "OUT = IN OR value",
     "kelra bit-or-const examples/images/camera.png lightened.png --value 128 "
     "--roi rect:180,60,180,140",
     &KelImageOperation::BitOrConst},
    {"bit-xor-const", "Inverts the bits that a constant has", "OUT = IN XOR value",
     "kelra bit-xor-const examples/images/coins.png flipped.png --value 128",
     &KelImageOperation::BitXorConst},
};

Command Declare(const Operation& operation) {
  return CommandBuilder<Options>(Form::kEach, operation.name, operation.summary)
      .Formula(operation.formula)
      .Example(operation.example)
      .Region(&Options::roi)
      .Run([method = operation.method](Call& call, Options& options) {
        return (call.operation.*method)(call.inputs[0], options.roi, &call.output);
      });
}

Command Declare(const ConstantOperation& operation) {
  return CommandBuilder<Options>(Form::kEach, operation.name, operation.summary)
      .Formula(operation.formula)
      .Example(operation.example)
      .Required("--value", &Options::value,
                "The constant, 0 to 255 for 8-bit and to 65535 for 16-bit images")
      .Region(&Options::roi)
      .Checked(ERR_PARAM_1, "--value", SampleRange(0))
      .Run([method = operation.method](Call& call, Options& options) {
        return (call.operation.*method)(call.inputs[0], options.roi, &call.output, options.value);
      });
}

}  // namespace

Family PointOperations() {
  Family family{"Roots and bits", {}};
  for (const Operation& operation : kOperations) {
    family.commands.push_back(Declare(operation));
  }
  for (const ConstantOperation& operation : kConstantOperations) {
    family.commands.push_back(Declare(operation));
  }
  return family;
}

}  // namespace KELRA::tool
