// The commands that take two images, from the command line to the files.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

using kelra_test::ChildResult;
using kelra_test::TemporaryFolder;
using Texts = std::vector<std::string>;

class TwoImages : public testing::Test {
 protected:
  TwoImages() {
    for (int y = 0; y < 20; ++y) {
      for (int x = 0; x < 30; ++x) {
        first_.at<unsigned char>(y, x) = static_cast<unsigned char>(x * 37 + y * 11);
        second_.at<unsigned char>(y, x) = static_cast<unsigned char>(1 + (x * 5 + y * 3) % 7);
      }
    }
    cv::imwrite(folder_ / "a.png", first_);
    cv::imwrite(folder_ / "b.png", second_);
  }

  ChildResult Kelra(Texts arguments) const {
    arguments.insert(arguments.begin(), KELRA_PROGRAM);
    return kelra_test::RunChild(arguments, {}, folder_ / "");
  }

  // The output of a command that succeeds.
  cv::Mat Result(const Texts& arguments) const {
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, 0);
    EXPECT_EQ(got.out + got.err, "");
    return cv::imread(folder_ / "out.png", cv::IMREAD_UNCHANGED);
  }

  // What a failing command says.
  std::string Failure(const Texts& arguments, int exit_code) const {
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, exit_code);
    return got.err;
  }

  const TemporaryFolder folder_;
  cv::Mat first_ = cv::Mat(20, 30, CV_8UC1);
  cv::Mat second_ = cv::Mat(20, 30, CV_8UC1);
};

struct Case {
  Texts options;
  std::function<int(int a, int b)> formula;
};

// Whole-numbered results, or halves in whole blocks: no rounding rule matters.
TEST_F(TwoImages, EveryCommandComputesItsFormula) {
  for (const Case& c : std::vector<Case>{
           {{"add", "--scale", "2", "--offset=-30"}, [](int a, int b) { return (a + b) * 2 - 30; }},
           {{"subtract", "--offset", "3"}, [](int a, int b) { return a - b + 3; }},
           {{"multiply"}, [](int a, int b) { return a * b; }},
           {{"divide"}, [](int a, int b) { return (2 * a + b) / (2 * b); }},
           {{"bit-and"}, [](int a, int b) { return a & b; }},
           {{"bit-or"}, [](int a, int b) { return a | b; }},
           {{"bit-xor"}, [](int a, int b) { return a ^ b; }}}) {
    SCOPED_TRACE(c.options.front());
    Texts arguments = c.options;
    arguments.insert(arguments.end(), {"a.png", "b.png", "out.png", "--at", "3.9,2"});
    const cv::Mat got = Result(arguments);
    ASSERT_EQ(got.size(), first_.size());
    ASSERT_EQ(got.type(), CV_8UC1);
    for (int y = 0; y < 20; ++y) {
      for (int x = 0; x < 30; ++x) {
        const int a = first_.at<unsigned char>(y, x);
        const bool covered = x >= 3 && y >= 2;
        const int result = covered ? c.formula(a, second_.at<unsigned char>(y - 2, x - 3)) : a;
        ASSERT_EQ(got.at<unsigned char>(y, x), std::clamp(result, 0, 255)) << x << ", " << y;
      }
    }
  }
}

TEST_F(TwoImages, AQuarterTurnStandsUpright) {
  cv::imwrite(folder_ / "b.png", cv::Mat(4, 10, CV_8UC1, cv::Scalar(255)));
  const cv::Mat got =
      Result({"bit-or", "a.png", "b.png", "out.png", "--at", "8,15", "--angle", "90"});
  // From (8, 15) ten pixels up and four to the right; the edges are the interpolation's.
  EXPECT_EQ(got.at<unsigned char>(10, 10), 255);
  EXPECT_EQ(cv::countNonZero(got.rowRange(16, 20) != first_.rowRange(16, 20)), 0);
  EXPECT_EQ(cv::countNonZero(got.colRange(0, 8) != first_.colRange(0, 8)), 0);
  EXPECT_EQ(cv::countNonZero(got.colRange(13, 30) != first_.colRange(13, 30)), 0);
}

TEST_F(TwoImages, ComparisonsTakeTheirModeByNameAndTheirMark) {
  const std::vector<std::pair<std::string, std::function<bool(int, int)>>> modes = {
      {"eq", std::equal_to<>()}, {"gt", std::greater<>()},    {"ge", std::greater_equal<>()},
      {"lt", std::less<>()},     {"le", std::less_equal<>()}, {"ne", std::not_equal_to<>()}};
  for (const auto& [mode, holds] : modes) {
    for (const int mark : {0, 255}) {
      const Texts options = {"--mode", mode, "--mark", std::to_string(mark)};
      Texts with_image = {"compare", "a.png", "b.png", "out.png"};
      Texts with_constant = {"compare-const", "a.png", "out.png", "--value", "85"};
      with_image.insert(with_image.end(), options.begin(), options.end());
      with_constant.insert(with_constant.end(), options.begin(), options.end());
      const cv::Mat by_image = Result(with_image);
      const cv::Mat by_constant = Result(with_constant);
      for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 30; ++x) {
          const int a = first_.at<unsigned char>(y, x);
          const int b = second_.at<unsigned char>(y, x);
          ASSERT_EQ(by_image.at<unsigned char>(y, x), x > 0 && holds(a, b) ? mark : a) << mode;
          ASSERT_EQ(by_constant.at<unsigned char>(y, x), x > 0 && holds(a, 85) ? mark : a) << mode;
        }
      }
    }
  }
}

TEST_F(TwoImages, TellWhatWasGotAndWhatWasExpected) {
  struct Refusal {
    Texts arguments;
    int exit_code;
    std::string told;
  };
  for (const Refusal& c : std::vector<Refusal>{
           {{"add", "a.png", "b.png", "out.png", "--at", "30,0"}, 1, "--at 30,0: must be inside A"},
           {{"bit-or", "a.png", "b.png", "out.png", "--angle", "361"},
            1,
            "--angle 361: must be 0 to 360"},
           {{"add", "a.png", "out.png"}, 2, "expected A B OUT"},
           {{"compare", "a.png", "b.png", "out.png"}, 2, "--mode"},
           {{"compare", "a.png", "b.png", "out.png", "--mode", "above"},
            2,
            "--mode above: expected eq, gt, ge, lt, le or ne"},
           {{"compare", "a.png", "b.png", "out.png", "--mode", "eq", "--mark", "1"},
            2,
            "--mark 1: expected 0 or 255"},
           {{"compare-const", "a.png", "out.png", "--mode", "eq", "--value", "256"},
            1,
            "--value 256: must be 0 to 255 for an 8-bit image"}}) {
    const std::string told = Failure(c.arguments, c.exit_code);
    EXPECT_NE(told.find(c.told), std::string::npos) << told << "lacks: " << c.told;
  }
}

}  // namespace
