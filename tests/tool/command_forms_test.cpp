// The forms of commands that the program's own commands do not all have yet, by commands of the
// test.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/core.hpp>

#include "batch.h"
#include "image_files.h"
#include "temporary_folder.h"

namespace KELRA::tool {
namespace {

namespace fs = std::filesystem;
using kelra_test::TemporaryFolder;

struct NoOptions {};

template <class Method>
Command Declared(Form form, Method method) {
  return CommandBuilder<NoOptions>(form, "test", "").Run([method](Call& call, NoOptions&) {
    return method(call);
  });
}

// Runs the command over the files of `folder`.
bool RunOver(const Command& command, const TemporaryFolder& folder,
             const std::vector<std::string>& names) {
  Invocation invocation;
  invocation.command = &command;
  invocation.options = command.defaults;
  invocation.quiet = true;
  for (const std::string& name : names) {
    invocation.files.push_back(folder / name);
  }
  Console console;
  return RunCommand(invocation, console);
}

class CommandForms : public testing::Test {
 protected:
  CommandForms() {
    int value = 10;
    for (const char* name : {"a.png", "b.png", "c.png"}) {
      WriteImage(folder_ / name, KelImage(cv::Mat(2, 3, CV_8UC1, cv::Scalar(value))));
      value += 10;
    }
  }

  int Value(const std::string& name) {
    const KelImage image = ReadImage(folder_ / name).image;
    return image.Mat().at<unsigned char>(1, 2);
  }

  const TemporaryFolder folder_;
};

TEST_F(CommandForms, PairTakesTwoInputsInOrder) {
  const Command subtract = Declared(Form::kPair, [](Call& call) {
    call.output = KelImage(call.inputs.at(1).Mat() - call.inputs.at(0).Mat());
    return KelLong{0};
  });
  EXPECT_TRUE(RunOver(subtract, folder_, {"a.png", "c.png", "out.png"}));
  EXPECT_EQ(Value("out.png"), 20);
  EXPECT_THROW(RunOver(subtract, folder_, {"a.png", "out.png"}), UsageError);
  EXPECT_THROW(RunOver(subtract, folder_, {"a.png", "b.png", "c.png", "out.png"}), UsageError);
}

TEST_F(CommandForms, ReduceTakesAllInputs) {
  const Command sum = Declared(Form::kReduce, [](Call& call) {
    cv::Mat total = cv::Mat::zeros(2, 3, CV_8UC1);
    for (const KelImage& image : call.inputs) {
      total += image.Mat();
    }
    call.output = KelImage(total);
    return KelLong{0};
  });
  EXPECT_TRUE(RunOver(sum, folder_, {"a.png", "b.png", "c.png", "out.png"}));
  EXPECT_EQ(Value("out.png"), 60);
  EXPECT_TRUE(RunOver(sum, folder_, {"b.png", "c.png", "results/"}));
  EXPECT_EQ(Value("results/b.png"), 50);
  EXPECT_THROW(RunOver(sum, folder_, {"out.png"}), UsageError);
  EXPECT_FALSE(RunOver(sum, folder_, {"a.png", "missing.png", "none.png"}));
  EXPECT_FALSE(fs::exists(folder_ / "none.png"));
}

TEST_F(CommandForms, CreateTakesNoInput) {
  const Command create = Declared(Form::kCreate, [](Call& call) {
    call.output = KelImage(cv::Mat(2, 3, CV_8UC1, cv::Scalar(77)));
    return call.inputs.empty() ? KelLong{0} : KelLong{1};
  });
  EXPECT_TRUE(RunOver(create, folder_, {"out.png"}));
  EXPECT_EQ(Value("out.png"), 77);
  EXPECT_THROW(RunOver(create, folder_, {"folder/"}), UsageError);
  EXPECT_THROW(RunOver(create, folder_, {"a.png", "out.png"}), UsageError);
}

TEST_F(CommandForms, MeasurePrintsInTheOrderOfTheInputs) {
  const Command measure = Declared(Form::kMeasure, [](Call& call) {
    call.text = std::to_string(call.inputs.at(0).Mat().at<unsigned char>(0, 0));
    return KelLong{0};
  });
  testing::internal::CaptureStdout();
  EXPECT_TRUE(RunOver(measure, folder_, {"b.png"}));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "20\n");

  testing::internal::CaptureStdout();
  EXPECT_FALSE(RunOver(measure, folder_, {"c.png", "missing.png", "a.png"}));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            (folder_ / "c.png") + ": 30\n" + (folder_ / "a.png") + ": 10\n");
}

TEST_F(CommandForms, SplitWritesNumberedResultsOfEachInput) {
  const Command rows = Declared(Form::kSplit, [](Call& call) {
    const cv::Mat& image = call.inputs.at(0).Mat();
    for (int row = 0; row < image.rows; ++row) {
      call.outputs.Append(KelImage(image.row(row) + row));
    }
    return KelLong{0};
  });
  EXPECT_TRUE(RunOver(rows, folder_, {"a.png", "c.png", "rows/"}));
  EXPECT_EQ(ReadImage(folder_ / "rows/a-0.png").image.Mat().at<unsigned char>(0, 0), 10);
  EXPECT_EQ(ReadImage(folder_ / "rows/a-1.png").image.Mat().at<unsigned char>(0, 0), 11);
  EXPECT_EQ(ReadImage(folder_ / "rows/c-1.png").image.Mat().at<unsigned char>(0, 0), 31);
  EXPECT_FALSE(fs::exists(folder_ / "rows/a.png"));
  EXPECT_THROW(RunOver(rows, folder_, {"a.png", "out.png"}), UsageError);
  EXPECT_THROW(RunOver(rows, folder_, {"a.png"}), UsageError);
}

TEST_F(CommandForms, AnExceptionOfTheLibraryFailsItsFileOnly) {
  const Command command = Declared(Form::kEach, [](Call& call) {
    if (call.inputs.at(0).Mat().at<unsigned char>(0, 0) == 20) {
      CV_Error(-215, "two\nlines");
    }
    call.output = call.inputs.at(0);
    return KelLong{0};
  });
  testing::internal::CaptureStderr();
  EXPECT_FALSE(RunOver(command, folder_, {"a.png", "b.png", "c.png", "results/"}));
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(told.starts_with("kelra: test: " + (folder_ / "b.png") + ": OpenCV refuses: "))
      << told;
  EXPECT_EQ(told.find('\n'), told.size() - 1) << told;
  EXPECT_TRUE(fs::exists(folder_ / "results/a.png"));
  EXPECT_FALSE(fs::exists(folder_ / "results/b.png"));
  EXPECT_TRUE(fs::exists(folder_ / "results/c.png"));
}

TEST_F(CommandForms, EachCallHasOptionsOfItsOwn) {
  struct Counter {
    int value = 0;
  };
  const Command command = CommandBuilder<Counter>(Form::kEach, "test", "")
                              .Optional("--value", &Counter::value, "5", "")
                              .Run([](Call& call, Counter& options) {
                                call.output = call.inputs.at(0);
                                return ++options.value == 1 ? KelLong{0} : KelLong{1};
                              });
  EXPECT_TRUE(RunOver(command, folder_, {"a.png", "b.png", "c.png", "results/"}));
}

}  // namespace
}  // namespace KELRA::tool
