// The commands that make one image of none, two or many, and those that fill holes.
#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

using kelra_test::ChildResult;
using Texts = std::vector<std::string>;

class SeveralImages : public testing::Test {
 protected:
  std::string Constant(const std::string& name, int value, int type = CV_8UC1) const {
    EXPECT_TRUE(cv::imwrite(folder_ / name, cv::Mat(3, 4, type, cv::Scalar::all(value))));
    return folder_ / name;
  }

  static ChildResult Kelra(Texts arguments) {
    arguments.insert(arguments.begin(), KELRA_PROGRAM);
    return kelra_test::RunChild(arguments);
  }

  cv::Mat ResultOf(Texts arguments) const {
    arguments.push_back(folder_ / "out.png");
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, 0) << got.err;
    return cv::imread(folder_ / "out.png", cv::IMREAD_UNCHANGED);
  }

  // What the program says when it fails.
  std::string FailureOf(Texts arguments, int exit_code) const {
    arguments.push_back(folder_ / "out.png");
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, exit_code);
    return got.err;
  }

  const kelra_test::TemporaryFolder folder_;
};

bool IsAll(const cv::Mat& image, int type, const cv::Scalar& value) {
  return image.type() == type && cv::norm(image, cv::Mat(image.size(), type, value)) == 0;
}

TEST_F(SeveralImages, AreReducedToOne) {
  const std::string a = Constant("a.png", 10);
  const std::string b = Constant("b.png", 20);
  const std::string c = Constant("c.png", 60);
  const std::string d = Constant("d.png", 62);
  EXPECT_TRUE(IsAll(ResultOf({"max", a, c, b}), CV_8UC1, 60));
  EXPECT_TRUE(IsAll(ResultOf({"min", c, a, b}), CV_8UC1, 10));
  EXPECT_TRUE(IsAll(ResultOf({"average", a, b, c, d}), CV_8UC1, 38));
  EXPECT_TRUE(IsAll(ResultOf({"average", a, b, c, d, "--drop", "none"}), CV_8UC1, 38));
  EXPECT_TRUE(IsAll(ResultOf({"average", a, b, c, d, "--drop", "min"}), CV_8UC1, 47));
  EXPECT_TRUE(IsAll(ResultOf({"average", a, b, c, d, "--drop", "max"}), CV_8UC1, 30));
  EXPECT_TRUE(IsAll(ResultOf({"average", a, b, c, d, "--drop", "both"}), CV_8UC1, 40));
  EXPECT_TRUE(IsAll(ResultOf({"difference", a, c}), CV_8UC1, 50));
}

TEST_F(SeveralImages, ThatDifferOrAreTooFewAreRefused) {
  const std::string a = Constant("a.png", 10);
  const std::string wide = folder_ / "wide.png";
  ASSERT_TRUE(cv::imwrite(wide, cv::Mat(3, 5, CV_8UC1, cv::Scalar(1))));
  const std::string words = Constant("words.png", 10, CV_16UC1);
  EXPECT_NE(FailureOf({"max", a, wide}, 1).find("ERR_WIDTH_MISMATCH"), std::string::npos);
  EXPECT_NE(FailureOf({"average", a, wide}, 1).find("ERR_AVG_SIZE_MISMATCH"), std::string::npos);
  EXPECT_NE(FailureOf({"difference", a, words}, 1).find("ERR_DEPTH_MISMATCH"), std::string::npos);
  EXPECT_NE(FailureOf({"average", a, "--drop", "both"}, 1).find("ERR_COUNT_LIMIT"),
            std::string::npos);
  EXPECT_NE(FailureOf({"average", a, "--drop", "most"}, 2).find("none, min, max or both"),
            std::string::npos);
}

TEST_F(SeveralImages, AreMadeOfNone) {
  EXPECT_TRUE(
      IsAll(ResultOf({"create", "--width", "5", "--height", "2", "--color", "7,0,0"}), CV_8UC1, 7));
  const cv::Mat colored = ResultOf({"create", "--width", "5", "--height", "2", "--depth", "16",
                                    "--channels", "3", "--color", "1000,200,30"});
  EXPECT_EQ(colored.size(), cv::Size(5, 2));
  EXPECT_TRUE(IsAll(colored, CV_16UC3, cv::Scalar(30, 200, 1000)));
  EXPECT_NE(FailureOf({"create", "--width", "0", "--height", "2", "--color", "1,2,3"}, 1)
                .find("--width 0: must be at least 1"),
            std::string::npos);
  EXPECT_NE(FailureOf({"create", "--width", "5", "--height", "2", "--color", "256,2,3"}, 1)
                .find("--color 256,2,3: must be 0 to 255"),
            std::string::npos);
  EXPECT_NE(
      FailureOf({"create", "--width", "5", "--height", "2", "--channels", "2", "--color", "1,2,3"},
                1)
          .find("--channels 2: must be 1, 3 or 4"),
      std::string::npos);
  EXPECT_NE(
      FailureOf({"create", "--width", "5", "--height", "2", "--depth", "12", "--color", "1,2,3"}, 2)
          .find("expected 8 or 16"),
      std::string::npos);
}

TEST_F(SeveralImages, HolesAreFilled) {
  cv::Mat ring = cv::Mat::zeros(7, 9, CV_8UC1);
  ring(cv::Rect(1, 1, 6, 5)).setTo(200);
  ring(cv::Rect(3, 2, 2, 3)).setTo(0);
  ASSERT_TRUE(cv::imwrite(folder_ / "ring.png", ring));
  cv::Mat filled = cv::Mat::zeros(7, 9, CV_8UC1);
  filled(cv::Rect(1, 1, 6, 5)).setTo(255);
  cv::Mat holes = cv::Mat::zeros(7, 9, CV_8UC1);
  holes(cv::Rect(3, 2, 2, 3)).setTo(255);
  EXPECT_EQ(cv::norm(ResultOf({"fill", folder_ / "ring.png"}), filled), 0);
  EXPECT_EQ(cv::norm(ResultOf({"fill", folder_ / "ring.png", "--holes-only"}), holes), 0);
  // Cut out, the left half of the ring encloses nothing.
  cv::Mat half = ring.clone();
  half(cv::Rect(0, 0, 4, 7)).setTo(255, half(cv::Rect(0, 0, 4, 7)));
  EXPECT_EQ(cv::norm(ResultOf({"fill", folder_ / "ring.png", "--roi", "rect:0,0,4,7"}), half), 0);
  EXPECT_NE(FailureOf({"fill", Constant("black.png", 0)}, 1).find("ERR_FILL_NO_CONTOUR"),
            std::string::npos);
}

}  // namespace
