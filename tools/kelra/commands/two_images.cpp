#include <array>

#include "commands/families.h"

namespace KELRA::tool {
namespace {

// How two pixels relate; the text is what the option takes.
struct Relation {
  int mode = 0;  // with the mark 0
};

constexpr std::array kRelations = {"eq", "gt", "ge", "lt", "le", "ne"};

const char* Placeholder(const Relation*) { return "eq|gt|ge|lt|le|ne"; }

void ParseValue(std::string_view text, Relation* value) {
  for (std::size_t i = 0; i < kRelations.size(); ++i) {
    if (text == kRelations[i]) {
      value->mode = static_cast<int>(i);
      return;
    }
  }
  throw BadValue("expected eq, gt, ge, lt, le or ne");
}

struct Mark {
  bool is_255 = true;
};

const char* Placeholder(const Mark*) { return "0|255"; }

void ParseValue(std::string_view text, Mark* value) {
  if (text != "0" && text != "255") {
    throw BadValue("expected 0 or 255");
  }
  value->is_255 = text == "255";
}

int ModeOf(Relation relation, Mark mark) {
  return relation.mode + (mark.is_255 ? static_cast<int>(kRelations.size()) : 0);
}

struct PlacedOptions {
  KelPoint at;
  double angle = 0;
  float scale = 0;
  float offset = 0;
};

struct ComparisonOptions {
  Relation relation;
  Mark mark;
  int value = 0;
  KelROI roi;
};

using Arithmetic = KelLong (KelImageOperation::*)(KelImage&, KelImage&, KelImage*, KelPoint&,
                                                  double, float, float);
using Bitwise = KelLong (KelImageOperation::*)(KelImage&, KelImage&, KelImage*, KelPoint&, double);

struct Texts {
  const char* name;
  const char* summary;
  const char* formula;
  const char* example;
};

struct ArithmeticOperation {
  Texts texts;
  Arithmetic method;
};

struct BitwiseOperation {
  Texts texts;
  Bitwise method;
};

constexpr ArithmeticOperation kArithmetic[] = {
    {{"add", "Adds a second image, laid onto the first",
      "OUT = saturate((A + B) * scale + offset) where B lies on A, else A",
      "kelra add examples/images/camera.png examples/images/coins.png overlay.png --at 40,330 "
      "--angle 30 --scale 0.5"},
     &KelImageOperation::Add},
    {{"subtract", "Subtracts a second image, laid onto the first",
      "OUT = saturate((A - B) * scale + offset) where B lies on A, else A",
      "kelra subtract examples/images/camera.png examples/images/coins.png difference.png "
      "--scale 0.5 --offset 128"},
     &KelImageOperation::Subtract},
    {{"multiply", "Multiplies by a second image, laid onto the first",
      "OUT = saturate(A * B * scale + offset) where B lies on A, else A",
      "kelra multiply examples/images/camera.png examples/images/coins.png product.png "
      "--at 64,100 --scale 0.008"},
     &KelImageOperation::Multiply},
    {{"divide", "Divides by a second image, laid onto the first, rounding half up",
      "OUT = saturate(A / B * scale + offset) where B lies on A, 0 where B is 0, else A",
      "kelra divide examples/images/camera.png examples/images/coins.png quotient.png "
      "--at 64,100 --scale 100"},
     &KelImageOperation::Divide},
};

constexpr BitwiseOperation kBitwise[] = {
    {{"bit-and", "Combines with a second image, laid onto the first, bit by bit",
      "OUT = A and B where B lies on A, else A",
      "kelra bit-and examples/images/camera.png examples/images/coins.png and.png --at 64,100"},
     &KelImageOperation::BitAnd},
    {{"bit-or", "Combines with a second image, laid onto the first, bit by bit",
      "OUT = A or B where B lies on A, else A",
      "kelra bit-or examples/images/camera.png examples/images/coins.png or.png --at 40,330 "
      "--angle 30"},
     &KelImageOperation::BitOr},
    {{"bit-xor", "Combines with a second image, laid onto the first, bit by bit",
      "OUT = A exclusive-or B where B lies on A, else A",
      "kelra bit-xor examples/images/camera.png examples/images/coins.png xor.png --at 40,330 "
      "--angle 30"},
     &KelImageOperation::BitXor},
};

CommandBuilder<PlacedOptions> Placed(const Texts& texts) {
  CommandBuilder<PlacedOptions> builder(Form::kPair, texts.name, texts.summary);
  builder.Formula(texts.formula)
      .Example(texts.example)
      .Optional("--at", &PlacedOptions::at, "0,0", "Where B's top left pixel lies on A")
      .Optional("--angle", &PlacedOptions::angle, "0",
                "Degrees by which B is turned counterclockwise about that pixel, 0 to 360")
      .Checked(ERR_PARAM_1, "--at", Always("inside A"))
      .Checked(ERR_PARAM_2, "--angle", Always("0 to 360"));
  return builder;
}

Command Declare(const ArithmeticOperation& operation) {
  return Placed(operation.texts)
      .Optional("--scale", &PlacedOptions::scale, "1", "Factor of the intermediate result")
      .Optional("--offset", &PlacedOptions::offset, "0", "Added after scaling")
      .Run([method = operation.method](Call& call, PlacedOptions& options) {
        return (call.operation.*method)(call.inputs[0], call.inputs[1], &call.output, options.at,
                                        options.angle, options.scale, options.offset);
      });
}

Command Declare(const BitwiseOperation& operation) {
  return Placed(operation.texts)
      .Run([method = operation.method](Call& call, PlacedOptions& options) {
        return (call.operation.*method)(call.inputs[0], call.inputs[1], &call.output, options.at,
                                        options.angle);
      });
}

CommandBuilder<ComparisonOptions> Comparison(Form form, const char* name, const char* summary) {
  CommandBuilder<ComparisonOptions> builder(form, name, summary);
  builder
      .Required("--mode", &ComparisonOptions::relation,
                "Equal, greater, greater or equal, less, less or equal, not equal")
      .Optional("--mark", &ComparisonOptions::mark, "255", "What is written where it holds");
  return builder;
}

Command DeclareCompare() {
  return Comparison(Form::kPair, "compare", "Marks where two images relate")
      .Formula("OUT = mark where A and B relate, else A; column 0 stays A")
      .Example(
          "kelra compare examples/images/camera.png examples/images/coins.png larger.png "
          "--mode gt")
      .Run([](Call& call, ComparisonOptions& options) {
        return call.operation.Compare(call.inputs[0], call.inputs[1], &call.output,
                                      ModeOf(options.relation, options.mark));
      });
}

Command DeclareCompareConst() {
  return Comparison(Form::kEach, "compare-const", "Marks where an image and a constant relate")
      .Formula("OUT = mark where IN and value relate, else IN; column 0 of the part stays IN")
      .Example(
          "kelra compare-const examples/images/coins.png marked.png --value 120 --mode lt "
          "--mark 0")
      .Required("--value", &ComparisonOptions::value,
                "The constant, 0 to 255 for 8-bit and to 65535 for 16-bit images")
      .Region(&ComparisonOptions::roi)
      .Checked(ERR_PARAM_1, "--value", SampleRange(0))
      .Run([](Call& call, ComparisonOptions& options) {
        return call.operation.CompareConst(call.inputs[0], options.roi, &call.output, options.value,
                                           ModeOf(options.relation, options.mark));
      });
}

}  // namespace

Family TwoImages() {
  Family family{"Two images", {}};
  for (const ArithmeticOperation& operation : kArithmetic) {
    family.commands.push_back(Declare(operation));
  }
  for (const BitwiseOperation& operation : kBitwise) {
    family.commands.push_back(Declare(operation));
  }
  family.commands.push_back(DeclareCompare());
  family.commands.push_back(DeclareCompareConst());
  return family;
}

}  // namespace KELRA::tool
