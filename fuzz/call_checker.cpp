#include "call_checker.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "chosen_settings.h"
#include "frame/kernels/row_kernels.h"
#include "frame/load_time_state.h"
#include "frame/result_matrix.h"
#include "judge.h"
#include "matrix_comparison.h"
#include "outcome.h"
#include "surroundings.h"

namespace kelra_fuzz {
namespace {

using KELRA::KelImage;
using KELRA::KelImageOperation;
using KELRA::KelLong;
using KELRA::SharesPixels;

constexpr int kMostCalls = 3;

bool Has(const Operation& operation, Trait trait) { return (operation.traits & trait) != 0; }

bool IsToTell() {
  static const bool asked = std::getenv("KELRA_FUZZ_TELL") != nullptr;
  return asked;
}

bool InEfficiencyMode() { return KELRA::LoadedSettings().efficiency != 0; }

// An image without pixels keeps its type, too.
KelImage Copy(const KelImage& image) {
  const cv::Mat& mat = image.Mat();
  const bool has_size = mat.dims <= 2 && mat.rows >= 0 && mat.cols >= 0;
  return KelImage(mat.empty() && has_size ? cv::Mat(mat.size(), mat.type()) : mat.clone());
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
    if (for_model && outcome_.Succeeded()) {
      const Outcome expected{0, {}, operation.model(for_model->AsCall())};
      Judge(operation, call).Require(outcome_ == expected, "the result is the model's", [&] {
        return Difference(outcome_, expected);
      });
    }
  }

  const Outcome& Result() const { return outcome_; }
  Call& Operands() { return operands_.AsCall(); }

 private:
  OperandsApart operands_;
  Outcome outcome_;
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
    // Later calls in efficiency mode overwrite earlier results that they do not take.
    const std::vector<KelImage*> inputs = InEfficiencyMode() && !first_call_
                                              ? std::vector<KelImage*>()
                                              : InputsApartFromOutput(*call);
    Surroundings surroundings(*scene_, *call);

    const Outcome outcome = Run(operation_, object_, call);
    Tell(outcome);

    if (outcome.Succeeded()) {
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
      const bool told = outcome.exception == kWantOfMemory ? !Has(operation_, kThrowsNothing)
                                                           : Has(operation_, kRefusedByOpenCv);
      judge.Require(told, "no exception passes but those that the method tells",
                    [&] { return Text(outcome); });
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
    if (IsToTell()) {
      const std::string ending =
          outcome.exception.empty() ? std::to_string(outcome.status) : outcome.exception;
      std::fprintf(stderr, "called %s: %s\n", operation_.name, ending.c_str());
    }
  }

  static void CheckSuccess(const Judge& judge, const Call& call, const Surroundings& surroundings) {
    if (call.output != nullptr && surroundings.OutputReplaced(call.output->Mat())) {
      judge.Require(surroundings.Untouched(), "an output that is replaced is not written to");
    }
  }

  static void CheckCopied(const Judge& judge, const Call& call, KelLong status,
                          const KelImage& input_before) {
    const auto found = [&] { return "status " + std::to_string(status); };
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
                  "the failure leaves the output untouched",
                  [&] { return "status " + std::to_string(status); });
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
    const auto found = [&] { return Difference(outcome, expected); };
    judge.Require(outcome.status == expected.status && outcome.exception == expected.exception,
                  "the status is that of the plain call", found);
    // A plain output without pixels has been left alone.
    if (outcome.exception.empty() && !expected.result.empty()) {
      judge.Require(SameMatrix(outcome.result, expected.result),
                    "the result is that of the plain call", found);
    }
    for (const KelImage* input : inputs) {
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
                   [&] { return Difference(outcome, narrowest); });
    }
    outcomes.push_back(outcome);
  } while (outcomes.size() < kMostCalls && !reader.IsAtEnd());
  return outcomes;
}

// Exceptions are the calls' outcomes here, not messages to a user.
int KeepQuiet(int, const char*, const char*, const char*, int, void*) { return 0; }

bool Begin(std::span<const Operation> operations) {
  cv::redirectError(KeepQuiet);
  if (IsToTell()) {
    for (const Operation& operation : operations) {
      std::fprintf(stderr, "offers %s\n", operation.name);
    }
  }
  return true;
}

}  // namespace

void CheckCalls(std::span<const Operation> operations, const std::uint8_t* data, std::size_t size) {
  static const bool begun = Begin(operations);
  static_cast<void>(begun);
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
