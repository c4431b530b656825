#include "call_checker.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "chosen_settings.h"
#include "frame/kernels/row_kernels.h"
#include "frame/load_time_state.h"
#include "frame/result_matrix.h"
#include "matrix_comparison.h"

namespace kelra_fuzz {
namespace {

using KELRA::KelImage;
using KELRA::KelImageOperation;
using KELRA::KelLong;
using KELRA::SharesPixels;

constexpr int kMostCalls = 3;

bool Has(const Operation& operation, Trait trait) { return (operation.traits & trait) != 0; }

bool InEfficiencyMode() { return KELRA::LoadedSettings().efficiency != 0; }

// Without a share in the pixels: whether an output's are its own makes a difference.
struct Header {
  int rows = 0;
  int columns = 0;
  int type = 0;
  int dimensions = 0;
  std::size_t step = 0;
  const void* data = nullptr;

  Header() = default;
  explicit Header(const cv::Mat& mat)
      : rows(mat.rows),
        columns(mat.cols),
        type(mat.type()),
        dimensions(mat.dims),
        step(mat.dims == 2 ? mat.step[0] : 0),
        data(mat.data) {}
};

std::string Text(const Header& header) {
  char text[128];
  std::snprintf(text, sizeof text, "%d x %d, depth %d, %d channels, %d dimensions, step %zu, at %p",
                header.columns, header.rows, CV_MAT_DEPTH(header.type), CV_MAT_CN(header.type),
                header.dimensions, header.step, header.data);
  return text;
}

std::string Text(const cv::Mat& mat) { return Text(Header(mat)); }

std::string Text(const Operation& operation, const Call& call) {
  std::string text = operation.name;
  text += "\n  first:  " + Text(call.first->Mat());
  text += "\n  second: " + Text(call.second->Mat());
  text += "\n  output: " + (call.output == nullptr ? "null" : Text(call.output->Mat()));
  text += call.output == call.first ? " (the first)" : "";
  text += call.output == call.second ? " (the second)" : "";
  char parameters[512];
  std::snprintf(
      parameters, sizeof parameters,
      "\n  %d images, region kind %d, value %d, mode %d, channel %d, scale %.9g, offset %.9g, "
      "angle %.17g, position (%.17g, %.17g), center (%.9g, %.9g), angles %.9g %.9g, "
      "lengths %d %d %d %d, grid %d %d, pixel %d %d, type %d, flag %d, color %d %d %d %d, "
      "efficiency %d, parallel %d, %s",
      call.images.Length(), call.roi.ROIType(), call.value, call.mode, call.channel, call.scale,
      call.offset, call.angle, call.position.x, call.position.y, call.center.x, call.center.y,
      call.angles[0], call.angles[1], call.lengths[0], call.lengths[1], call.lengths[2],
      call.lengths[3], call.grid[0], call.grid[1], call.pixel[0], call.pixel[1], call.type,
      call.flag ? 1 : 0, call.color.red, call.color.green, call.color.blue, call.color.alpha,
      KELRA::LoadedSettings().efficiency, KELRA::LoadedSettings().parallel,
      KELRA::kernels::ActiveRowKernels().instruction_set);
  return text + parameters;
}

struct Outcome {
  KelLong status = 0;
  std::string exception;  // empty: none
  cv::Mat result;         // a copy
};

bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.exception == b.exception && SameMatrix(a.result, b.result);
}

std::string Text(const Outcome& outcome) {
  const std::string ending = outcome.exception.empty() ? "status " + std::to_string(outcome.status)
                                                       : "exception " + outcome.exception;
  return ending + ", result " + Text(outcome.result);
}

// Ends the program unless what a call promises holds.
class Judge {
 public:
  Judge(const Operation& operation, const Call& call) : operation_(operation), call_(call) {
    if (call.output != nullptr) {
      output_before_ = Header(call.output->Mat());
    }
  }

  void Require(bool holds, const char* promise, const std::string& found = {}) const {
    if (!holds) {
      std::fprintf(stderr, "\nBroken promise: %s\n%s\n  output before the call: %s\n%s\n", promise,
                   Text(operation_, call_).c_str(), Text(output_before_).c_str(), found.c_str());
      std::abort();
    }
  }

 private:
  const Operation& operation_;
  const Call& call_;
  Header output_before_;
};

Outcome Run(const Operation& operation, KelImageOperation* object, Call* call) {
  Outcome outcome;
  try {
    outcome.status = operation.call(*object, *call);
  } catch (const cv::Exception& error) {
    outcome.exception = "of OpenCV, code " + std::to_string(error.code);
  } catch (const std::bad_alloc&) {
    outcome.exception = "for want of memory";
  }
  if (!call->other_result.empty()) {
    outcome.result = call->other_result.clone();
  } else if (call->output != nullptr) {
    outcome.result = call->output->Mat().clone();
  }
  return outcome;
}

// An image without pixels keeps its type, too.
KelImage Copy(const KelImage& image) {
  const cv::Mat& mat = image.Mat();
  return KelImage(mat.empty() && mat.dims <= 2 ? cv::Mat(mat.size(), mat.type()) : mat.clone());
}

// The operands of a call, packed and apart from each other; the output is a new one.
class OperandsApart {
 public:
  explicit OperandsApart(const Call& call)
      : call_(call), first_(Copy(*call.first)), second_(Copy(*call.second)) {
    call_.first = &first_;
    call_.second = &second_;
    call_.output = call.output == nullptr ? nullptr : &output_;
    call_.images.Clear();
    for (int i = 0; i < call.images.Length(); ++i) {
      call_.images.Append(Copy(call.images[i]));
    }
  }
  OperandsApart(const OperandsApart&) = delete;
  OperandsApart& operator=(const OperandsApart&) = delete;

  Call& AsCall() { return call_; }

 private:
  Call call_;
  KelImage first_;
  KelImage second_;
  KelImage output_;
};

// A call without anything that could disturb it, and its outcome.
class PlainCall {
 public:
  PlainCall(const Operation& operation, const Call& call) : operands_(call) {
    std::optional<OperandsApart> for_model;
    if (operation.model != nullptr) {
      for_model.emplace(call);
    }
    KelImageOperation object;
    outcome_ = Run(operation, &object, &operands_.AsCall());
    if (for_model && outcome_.status == 0 && outcome_.exception.empty()) {
      const cv::Mat expected = operation.model(for_model->AsCall());
      const Judge judge(operation, call);
      judge.Require(SameMatrix(outcome_.result, expected), "the result is the model's",
                    Difference(outcome_.result, expected));
    }
  }

  const Outcome& Result() const { return outcome_; }
  Call& Operands() { return operands_.AsCall(); }

 private:
  static std::string Difference(const cv::Mat& actual, const cv::Mat& expected) {
    std::string text = "is " + Text(actual) + ", should be " + Text(expected);
    if (actual.dims != 2 || expected.dims != 2 || actual.type() != expected.type() ||
        actual.size() != expected.size()) {
      return text;
    }
    const std::size_t pixel = actual.elemSize();
    for (int row = 0; row < actual.rows; ++row) {
      for (std::size_t i = 0; i < pixel * static_cast<std::size_t>(actual.cols); ++i) {
        if (actual.ptr(row)[i] != expected.ptr(row)[i]) {
          return text + "\nrow " + std::to_string(row) + ", column " + std::to_string(i / pixel) +
                 ", byte " + std::to_string(i % pixel) + ": " + std::to_string(actual.ptr(row)[i]) +
                 " instead of " + std::to_string(expected.ptr(row)[i]);
        }
      }
    }
    return text;
  }

  OperandsApart operands_;
  Outcome outcome_;
};

// The memory around a call's images, and the output, as they were before it.
class Surroundings {
 public:
  Surroundings(const Scene& scene, const Call& call) : scene_(scene) {
    for (const Block& block : scene.Blocks()) {
      bytes_.emplace_back(block.begin(), block.begin() + block.size());
    }
    if (call.output != nullptr && call.output->Mat().dims <= 2) {
      const cv::Mat& output = call.output->Mat();
      // Without a share in the pixels: whether the output's are its own makes a difference.
      output_ = cv::Mat(output.size(), output.type(), output.data, output.step[0]);
      output_pixels_ = output.clone();
    }
  }

  bool Untouched() const {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      if (std::memcmp(bytes_[i].data(), scene_.Blocks()[i].begin(), bytes_[i].size()) != 0) {
        return false;
      }
    }
    return true;
  }

  bool OutputUntouched(const cv::Mat& output) const {
    return output.dims > 2 || (SameHeader(output, output_) && SameMatrix(output, output_pixels_));
  }

  bool OutputReplaced(const cv::Mat& output) const { return output.data != output_.data; }

  // But for the pixels that the output had before the call. Ends this object's use.
  bool UntouchedAroundOutput() {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      const Block& block = scene_.Blocks()[i];
      if (!output_.empty() && block.Holds(output_)) {
        const std::ptrdiff_t offset = output_.data - block.begin();
        cv::Mat before(output_.size(), output_.type(), bytes_[i].data() + offset, output_.step[0]);
        output_.copyTo(before);
      }
    }
    return Untouched();
  }

 private:
  const Scene& scene_;
  std::vector<std::vector<std::uint8_t>> bytes_;
  cv::Mat output_;
  cv::Mat output_pixels_;
};

// Whether the method says that its output's former content takes part.
bool DependsOnOutput(const Operation& operation, const Call& call) {
  if (!Has(operation, kWritesConstantFirst) || call.output == nullptr) {
    return false;
  }
  const cv::Mat& input = call.first->Mat();
  const cv::Mat& output = call.output->Mat();
  return SharesPixels(output, input) ||
         (output.size == input.size && output.type() != input.type());
}

bool IsCleared(const cv::Mat& output, const KelImage& input) {
  const cv::Mat& mat = input.Mat();
  return mat.dims <= 2 && SameMatrix(output, cv::Mat::zeros(mat.size(), mat.type()));
}

class CallChecker {
 public:
  CallChecker(const Operation& operation, Scene* scene, KelImageOperation* object, bool first_call)
      : operation_(operation), scene_(scene), object_(object), first_call_(first_call) {}

  // With a plain call to compare with, or without.
  Outcome Check(Call* call, bool with_plain_call) {
    const Judge judge(operation_, *call);
    std::optional<PlainCall> plain;
    if (with_plain_call) {
      plain.emplace(operation_, *call);
    }
    const bool depends_on_output = DependsOnOutput(operation_, *call);
    const bool depends_on_past =
        Has(operation_, kStartsFromBuffer) && InEfficiencyMode() && !first_call_;
    const KelImage input_before = Copy(*call->first);
    const std::vector<KelImage*> inputs = InputsApartFromOutput(*call);
    Surroundings surroundings(*scene_, *call);

    const Outcome outcome = Run(operation_, object_, call);
    Tell(outcome);

    if (outcome.exception.empty() && outcome.status == 0) {
      if (!depends_on_output) {
        CheckSuccess(judge, *call, surroundings);
      }
    } else if (outcome.exception.empty()) {
      const bool copies_input =
          operation_.copies_input != nullptr && operation_.copies_input(*call, outcome.status);
      if (call->output != nullptr && !copies_input) {
        CheckLeftAlone(judge, *call, outcome.status, input_before, surroundings);
      } else if (call->output != nullptr && !depends_on_output) {
        CheckCopied(judge, *call, outcome.status, input_before);
      }
    } else {
      judge.Require(!Has(operation_, kThrowsNothing), "the method throws nothing",
                    outcome.exception);
    }
    judge.Require(surroundings.UntouchedAroundOutput(), "nothing beside the output is written");
    if (plain && !depends_on_output && !depends_on_past) {
      CheckAgainstPlain(judge, *call, outcome, &*plain, inputs);
    }
    return outcome;
  }

 private:
  // Those that keep their pixels whatever happens to the output's.
  static std::vector<KelImage*> InputsApartFromOutput(const Call& call) {
    std::vector<KelImage*> inputs;
    for (KelImage* input : {call.first, call.second}) {
      if (call.output == nullptr ||
          (input != call.output && !SharesPixels(input->Mat(), call.output->Mat()))) {
        inputs.push_back(input);
      }
    }
    return inputs;
  }

  void Tell(const Outcome& outcome) const {
    static const bool asked = std::getenv("KELRA_FUZZ_TELL") != nullptr;
    if (asked) {
      const std::string ending =
          outcome.exception.empty() ? std::to_string(outcome.status) : outcome.exception;
      std::fprintf(stderr, "%s: %s\n", operation_.name, ending.c_str());
    }
  }

  static void CheckSuccess(const Judge& judge, const Call& call, const Surroundings& surroundings) {
    if (call.output != nullptr && surroundings.OutputReplaced(call.output->Mat())) {
      judge.Require(surroundings.Untouched(), "an output that is replaced is not written to");
    }
  }

  static void CheckCopied(const Judge& judge, const Call& call, KelLong status,
                          const KelImage& input_before) {
    const std::string found = "status " + std::to_string(status);
    const cv::Mat& output = call.output->Mat();
    judge.Require(SameMatrix(output, input_before.Mat()),
                  "the failure leaves a copy of the input in the output", found);
    judge.Require(call.output == call.first || !SharesPixels(output, call.first->Mat()),
                  "the copy of the input has pixels of its own", found);
  }

  void CheckLeftAlone(const Judge& judge, const Call& call, KelLong status,
                      const KelImage& input_before, const Surroundings& surroundings) const {
    const cv::Mat& output = call.output->Mat();
    const bool untouched = surroundings.OutputUntouched(output) && surroundings.Untouched();
    const bool cleared = !untouched && InEfficiencyMode() && Has(operation_, kBindsBuffer) &&
                         IsCleared(output, input_before);
    judge.Require(untouched || cleared || IsPromoted(call) || IsUnmasked(call, status),
                  "the failure leaves the output untouched", "status " + std::to_string(status));
  }

  // Whether the output is an input whose channels may have changed.
  bool IsPromoted(const Call& call) const {
    return Has(operation_, kPromotesInputs) &&
           (call.output == call.first || call.output == call.second);
  }

  bool IsUnmasked(const Call& call, KelLong status) const {
    return Has(operation_, kKeepsUnmaskedResult) && IsUnderRuns(call) && IsRegionFailure(status);
  }

  static void CheckAgainstPlain(const Judge& judge, const Call& call, const Outcome& outcome,
                                PlainCall* plain, const std::vector<KelImage*>& inputs) {
    const Outcome& expected = plain->Result();
    const std::string found = Text(outcome) + "\ninstead of\n" + Text(expected);
    judge.Require(outcome.status == expected.status && outcome.exception == expected.exception,
                  "the status is that of the plain call", found);
    // A plain output without pixels has been left alone.
    if (outcome.exception.empty() && !expected.result.empty()) {
      judge.Require(SameMatrix(outcome.result, expected.result),
                    "the result is that of the plain call", found);
    }
    for (const KelImage* input : inputs) {
      if (InEfficiencyMode() && call.output != nullptr &&
          SharesPixels(input->Mat(), call.output->Mat())) {
        // An earlier result that is no input of this method; a later one overwrites it.
        continue;
      }
      const KelImage& left =
          input == call.first ? *plain->Operands().first : *plain->Operands().second;
      judge.Require(SameMatrix(input->Mat(), left.Mat()),
                    "the inputs are left as by the plain call");
    }
  }

  const Operation& operation_;
  Scene* scene_;
  KelImageOperation* object_;
  bool first_call_;
};

using Outcomes = std::vector<Outcome>;

// All calls on one object; each may take what those before it made.
Outcomes Play(std::span<const Operation> operations, const std::uint8_t* data, std::size_t size,
              const Outcomes* expected) {
  constexpr int kEfficiency[] = {0, 0, 1, -1};
  InputReader reader(data, size);
  const int efficiency = reader.OneOf(kEfficiency);
  UseSettings(efficiency, reader.Mostly(0, 8));
  Scene scene(&reader);
  KelImageOperation object;
  Outcomes outcomes;
  do {
    const bool first_call = outcomes.empty();
    const auto index =
        static_cast<std::size_t>(reader.Between(0, static_cast<int>(operations.size()) - 1));
    const Operation& operation = operations[index];
    Call call = ReadCall(&reader, &scene);
    const Outcome outcome =
        CallChecker(operation, &scene, &object, first_call).Check(&call, expected == nullptr);
    if (expected != nullptr) {
      const Outcome& narrowest = (*expected)[outcomes.size()];
      Judge(operation, call)
          .Require(outcome == narrowest, "every instruction set gives the same",
                   Text(outcome) + "\ninstead of\n" + Text(narrowest));
    }
    outcomes.push_back(outcome);
  } while (outcomes.size() < kMostCalls && !reader.IsAtEnd());
  return outcomes;
}

// Exceptions are the calls' outcomes here, not messages to a user.
int KeepQuiet(int, const char*, const char*, const char*, int, void*) { return 0; }

}  // namespace

void CheckCalls(std::span<const Operation> operations, const std::uint8_t* data, std::size_t size) {
  static const auto quiet = cv::redirectError(KeepQuiet);
  static_cast<void>(quiet);
  std::optional<Outcomes> narrowest;
  for (const KELRA::kernels::RowKernels* kernels : KELRA::kernels::SupportedRowKernels()) {
    KELRA::kernels::UseRowKernels(*kernels);
    Outcomes outcomes = Play(operations, data, size, narrowest ? &*narrowest : nullptr);
    if (!narrowest) {
      narrowest = std::move(outcomes);
    }
  }
}

}  // namespace kelra_fuzz
