#include <string_view>

#include "commands/families.h"

namespace KELRA::tool {
namespace {

// What an average leaves out of each sample's values, as the library numbers it.
enum Drop : int { kNone = 0, kMin = 1, kMax = 2, kBoth = 3 };

void ParseValue(std::string_view text, Drop* drop) {
  constexpr std::string_view kTexts[] = {"none", "min", "max", "both"};
  for (const Drop each : {kNone, kMin, kMax, kBoth}) {
    if (text == kTexts[each]) {
      *drop = each;
      return;
    }
  }
  throw BadValue("expected none, min, max or both");
}

const char* Placeholder(const Drop*) { return "WHAT"; }

struct NoOptions {};

struct AverageOptions {
  Drop drop = kNone;
};

struct ConstantOptions {
  int value = 0;
  KelROI roi;
};

struct Extreme {
  const char* name;
  const char* summary;
  const char* formula;
  const char* example;
  KelLong (KelImageOperation::*method)(KelImageArray&, KelImage*);
};

constexpr Extreme kExtremes[] = {
    {"max", "Takes the largest sample of several images", "OUT = max(IN, IN, ...)",
     "kelra max examples/images/noisy-1.png examples/images/noisy-2.png "
     "examples/images/noisy-3.png largest.png",
     &KelImageOperation::PixelMax},
    {"min", "Takes the smallest sample of several images", "OUT = min(IN, IN, ...)",
     "kelra min examples/images/noisy-1.png examples/images/noisy-2.png "
     "examples/images/noisy-3.png smallest.png",
     &KelImageOperation::PixelMin},
};

struct ConstantStatistic {
  const char* name;
  const char* summary;
  const char* formula;
  const char* example;
  KelLong (KelImageOperation::*method)(KelImage&, KelROI&, KelImage*, int);
};

constexpr ConstantStatistic kConstantStatistics[] = {
    {"max-const", "Raises darker samples to a constant", "OUT = max(IN, value)",
     "kelra max-const examples/images/camera.png no-shadows.png --value 100",
     &KelImageOperation::PixelMaxConst},
    {"min-const", "Lowers brighter samples to a constant", "OUT = min(IN, value)",
     "kelra min-const examples/images/camera.png no-lights.png --value 100 "
     "--roi ellipse:220,140,120,80,30",
     &KelImageOperation::PixelMinConst},
    {"average-const", "Takes the mean of every sample and a constant",
     "OUT = (IN + value) / 2, rounded to nearest, ties to even",
     "kelra average-const examples/images/camera.png flatter.png --value 128",
     &KelImageOperation::PixelAverageConst},
    {"difference-const", "Takes the distance of every sample from a constant", "OUT = |IN - value|",
     "kelra difference-const examples/images/camera.png apart.png --value 128",
     &KelImageOperation::DifferenceConst},
};

KelImageArray ArrayOf(const std::vector<KelImage>& images) {
  KelImageArray array;
  for (const KelImage& image : images) {
    array.Append(image);
  }
  return array;
}

Command Declare(const Extreme& extreme) {
  return CommandBuilder<NoOptions>(Form::kReduce, extreme.name, extreme.summary)
      .Formula(extreme.formula)
      .Example(extreme.example)
      .Run([method = extreme.method](Call& call, NoOptions&) {
        KelImageArray images = ArrayOf(call.inputs);
        return (call.operation.*method)(images, &call.output);
      });
}

Command Declare(const ConstantStatistic& statistic) {
  return CommandBuilder<ConstantOptions>(Form::kEach, statistic.name, statistic.summary)
      .Formula(statistic.formula)
      .Example(statistic.example)
      .Required("--value", &ConstantOptions::value,
                "The constant, 0 to 255 for 8-bit and to 65535 for 16-bit images")
      .Region(&ConstantOptions::roi)
      .Checked(ERR_PARAM_1, "--value", SampleRange(0))
      .Run([method = statistic.method](Call& call, ConstantOptions& options) {
        return (call.operation.*method)(call.inputs[0], options.roi, &call.output, options.value);
      });
}

Command Average() {
  return CommandBuilder<AverageOptions>(Form::kReduce, "average",
                                        "Takes the mean of several images, trimmed on request")
      .Formula("OUT = mean(IN, IN, ...) of what is not dropped, rounded to nearest, ties to even")
      .Example(
          "kelra average examples/images/noisy-1.png examples/images/noisy-2.png "
          "examples/images/noisy-3.png examples/images/noisy-4.png examples/images/noisy-5.png "
          "denoised.png --drop both")
      .Optional("--drop", &AverageOptions::drop, "none",
                "Which values of each sample to leave out: none, the min, the max, or both")
      .Run([](Call& call, AverageOptions& options) {
        KelImageArray images = ArrayOf(call.inputs);
        return call.operation.PixelAverage(images, &call.output, options.drop);
      });
}

Command Difference() {
  return CommandBuilder<NoOptions>(Form::kPair, "difference",
                                   "Takes the distance between the samples of two images")
      .Formula("OUT = |A - B|")
      .Example("kelra difference examples/images/noisy-1.png examples/images/noisy-2.png noise.png")
      .Run([](Call& call, NoOptions&) {
        return call.operation.Difference(call.inputs[0], call.inputs[1], &call.output);
      });
}

}  // namespace

Family Statistics() {
  Family family{"Statistics", {}};
  for (const Extreme& extreme : kExtremes) {
    family.commands.push_back(Declare(extreme));
  }
  family.commands.push_back(Average());
  family.commands.push_back(Difference());
  for (const ConstantStatistic& statistic : kConstantStatistics) {
    family.commands.push_back(Declare(statistic));
  }
  return family;
}

}  // namespace KELRA::tool
