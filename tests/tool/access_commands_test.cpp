// Pixel access, painting, conversion and raw buffers, by the built program.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using kelra_test::ChildResult;
using kelra_test::ReadFile;
using kelra_test::WriteFile;
using Texts = std::vector<std::string>;

class AccessCommands : public testing::Test {
 protected:
  std::string File(const std::string& name) const { return folder_ / name; }

  std::string MakeImage(const std::string& name, const cv::Mat& image) const {
    EXPECT_TRUE(cv::imwrite(File(name), image));
    return File(name);
  }

  cv::Mat Read(const std::string& name) const {
    return cv::imread(File(name), cv::IMREAD_UNCHANGED);
  }

  static ChildResult Kelra(Texts arguments) {
    arguments.insert(arguments.begin(), KELRA_PROGRAM);
    return kelra_test::RunChild(arguments);
  }

  // Runs a command that must succeed and returns what it prints.
  static std::string Output(const Texts& arguments) {
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, 0) << got.err;
    EXPECT_EQ(got.err, "");
    return got.out;
  }

  static void ExpectFailure(const Texts& arguments, int exit_code, const std::string& told) {
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, exit_code) << got.err;
    EXPECT_NE(got.err.find(told), std::string::npos) << got.err << "lacks: " << told;
  }

  static bool Same(const cv::Mat& a, const cv::Mat& b) {
    return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
  }

  const kelra_test::TemporaryFolder folder_;
};

TEST_F(AccessCommands, GetPixelPrintsTheStoredSample) {
  cv::Mat colour(3, 4, CV_16UC3, cv::Scalar(1, 2, 3));
  colour.at<cv::Vec3w>(2, 1) = {1000, 2000, 65535};
  const std::string in = MakeImage("in.png", colour);
  EXPECT_EQ(Output({"get-pixel", in, "--row", "2", "--column", "1"}), "1000\n");
  EXPECT_EQ(Output({"get-pixel", in, "--row", "2", "--column", "1", "--channel", "3"}), "65535\n");
  EXPECT_EQ(Output({"get-pixel", in, in, "--row", "0", "--column", "0"}),
            in + ": 1\n" + in + ": 1\n");
  ExpectFailure({"get-pixel", in, "--row", "3", "--column", "9"}, 1,
                "--row 3: must be 0 to 2 for this image (ERR_PARAM_1, 11200001)");
  ExpectFailure({"get-pixel", in, "--row", "2", "--column", "4"}, 1,
                "--column 4: must be 0 to 3 for this image (ERR_PARAM_2, 11200002)");
  ExpectFailure({"get-pixel", in, "--row", "2", "--column", "3", "--channel", "4"}, 1,
                "--channel 4: must be 1 to 3 for this image (ERR_PARAM_3, 11200003)");
  ExpectFailure({"get-pixel", in, "--row", "2"}, 2, "--column is required");
}

TEST_F(AccessCommands, SetPixelChangesOneSample) {
  const cv::Mat grey(3, 4, CV_8UC1, cv::Scalar(7));
  const std::string in = MakeImage("in.png", grey);
  Output({"set-pixel", in, File("out.png"), "--row", "1", "--column", "2", "--value", "200.9"});
  cv::Mat expected = grey.clone();
  expected.at<unsigned char>(1, 2) = 200;
  EXPECT_TRUE(Same(Read("out.png"), expected));
  ExpectFailure(
      {"set-pixel", in, File("out.png"), "--row", "1", "--column", "2", "--value", "255.5"}, 1,
      "--value 255.5: must be 0 to 255 for an 8-bit image (ERR_PARAM_4, 11200004)");
}

TEST_F(AccessCommands, PaintSetsOneColourInRunsShapesAndTheWholeImage) {
  const cv::Mat colour(5, 6, CV_8UC3, cv::Scalar(10, 20, 30));
  const std::string in = MakeImage("in.png", colour);
  WriteFile(File("runs.txt"), "1 -2 2\n4 5 99\n77 0 1\n");
  struct Case {
    Texts options;
    std::vector<cv::Rect> painted;
    cv::Scalar value;
  };
  const cv::Scalar red(10, 20, 200);
  for (const Case& c : std::vector<Case>{
           {{"--roi", "runs:" + File("runs.txt")}, {{0, 1, 3, 1}, {5, 4, 1, 1}}, red},
           {{"--roi", "rect:2,1,3,2"}, {{2, 1, 3, 2}}, red},
           {{"--roi", "rect:4,3,9,9", "--channel", "3"}, {{4, 3, 2, 2}}, {200, 20, 30}},
           {{"--channel", "2"}, {{0, 0, 6, 5}}, {10, 200, 30}}}) {
    SCOPED_TRACE(c.options.back());
    Texts arguments = {"paint", in, File("out.png"), "--value", "200"};
    arguments.insert(arguments.end(), c.options.begin(), c.options.end());
    Output(arguments);
    cv::Mat expected = colour.clone();
    for (const cv::Rect& part : c.painted) {
      expected(part).setTo(c.value);
    }
    EXPECT_TRUE(Same(Read("out.png"), expected));
  }
  ExpectFailure({"paint", in, File("out.png"), "--value", "256"}, 1,
                "--value 256: must be 0 to 255 for an 8-bit image (ERR_PARAM_3, 11200003)");
  ExpectFailure({"paint", in, File("out.png"), "--value", "1", "--channel", "4"}, 1,
                "--channel 4: must be 1 to 3");
  ExpectFailure({"paint", in, File("out.png"), "--value", "1", "--roi", "circle:90,90,2"}, 1,
                "--roi circle:90,90,2: covers no pixel");
}

TEST_F(AccessCommands, BitmapKeepsTheBytesAndReversesTheRowsOnRequest) {
  // Odd numbers of bytes in a row, whose padding must not come back.
  for (const int type : {CV_8UC1, CV_8UC3, CV_8UC4}) {
    SCOPED_TRACE(type);
    cv::Mat image(4, 5, type);
    cv::randu(image, 1, 256);
    const std::string in = MakeImage("in.png", image);
    Output({"bitmap", in, File("out.png")});
    EXPECT_TRUE(Same(Read("out.png"), image));
    Output({"bitmap", in, File("out.png"), "--bottom-up"});
    cv::Mat flipped;
    cv::flip(image, flipped, 0);
    EXPECT_TRUE(Same(Read("out.png"), flipped));
  }
  ExpectFailure(
      {"bitmap", MakeImage("deep.png", cv::Mat(4, 4, CV_16UC1, cv::Scalar())), File("out.png")}, 1,
      "a bitmap cannot hold 16-bit samples in 1 channel, expected 8-bit ones");
}

TEST_F(AccessCommands, FillTakesImagesAndTheirRuns) {
  cv::Mat ring = cv::Mat::zeros(9, 10, CV_8UC1);
  ring(cv::Rect(2, 1, 6, 7)).setTo(40);
  ring(cv::Rect(4, 3, 2, 3)).setTo(0);
  const std::string in = MakeImage("in.png", ring);
  cv::Mat filled = cv::Mat::zeros(9, 10, CV_8UC1);
  filled(cv::Rect(2, 1, 6, 7)).setTo(255);
  cv::Mat hole = cv::Mat::zeros(9, 10, CV_8UC1);
  hole(cv::Rect(4, 3, 2, 3)).setTo(255);
  Output({"fill", in, File("out.png"), "--runs"});
  EXPECT_TRUE(Same(Read("out.png"), filled));
  Output({"fill", in, File("out.png"), "--runs", "--holes-only"});
  EXPECT_TRUE(Same(Read("out.png"), hole));
  // Objects become 255 where an image is filled.
  Output({"fill", in, File("out.png")});
  EXPECT_TRUE(Same(Read("out.png"), filled));
  ExpectFailure(
      {"fill", MakeImage("black.png", cv::Mat::zeros(4, 4, CV_8UC1)), File("out.png"), "--runs"}, 1,
      "the image holds nothing to fill");
}

TEST_F(AccessCommands, DepthSaturatesAndWritesEveryType) {
  const std::string in =
      MakeImage("in.png", (cv::Mat_<unsigned short>(1, 4) << 0, 200, 256, 65535));
  Output({"depth", in, File("out.png"), "--type", "u8"});
  EXPECT_TRUE(Same(Read("out.png"), (cv::Mat_<unsigned char>(1, 4) << 0, 200, 255, 255)));
  Output({"depth", in, File("out.tif"), "--type", "f32"});
  EXPECT_TRUE(Same(Read("out.tif"), (cv::Mat_<float>(1, 4) << 0, 200, 256, 65535)));
  Output({"depth", in, File("out.raw"), "--type", "s16"});
  EXPECT_EQ(ReadFile(File("out.raw")), std::string("\0\0\xC8\0\0\1\xFF\x7F", 8));
  ExpectFailure({"depth", in, File("out.png"), "--type", "f32"}, 1, "expected .tif or .raw");
  ExpectFailure({"depth", in, File("out.png"), "--type", "u32"}, 2, "'u32' is no type of samples");
}

TEST_F(AccessCommands, SplitRowsWritesAnImagePerField) {
  cv::Mat rows(7, 3, CV_8UC1);
  for (int row = 0; row < 7; ++row) {
    rows.row(row).setTo(row);
  }
  const std::string in = MakeImage("in.png", rows);
  Output({"split-rows", in, File("fields/"), "--count", "3"});
  EXPECT_TRUE(Same(Read("fields/in-0.png").col(0), (cv::Mat_<unsigned char>(3, 1) << 0, 3, 6)));
  EXPECT_TRUE(Same(Read("fields/in-1.png").col(0), (cv::Mat_<unsigned char>(2, 1) << 1, 4)));
  EXPECT_TRUE(Same(Read("fields/in-2.png").col(2), (cv::Mat_<unsigned char>(2, 1) << 2, 5)));
  EXPECT_FALSE(fs::exists(File("fields/in-3.png")));
  ExpectFailure({"split-rows", in, File("fields/"), "--count", "8"}, 1,
                "--count 8: must be 2 to 7 for this image (ERR_PARAM_1, 11200001)");
  ExpectFailure({"split-rows", in, File("out.png")}, 2, "out.png is not a folder");
  ExpectFailure({"split-rows", MakeImage("colour.png", cv::Mat(4, 4, CV_8UC3, cv::Scalar())),
                 File("fields/")},
                1, "the image has 3 channels, expected 1 (ERR_NOT_SINGLE_CHANNEL, 11000005)");
}

TEST_F(AccessCommands, RawBuffersGoInAndOutOfAnyCommand) {
  const std::string samples("\1\0\2\0\3\0\0\1\xFF\xFF\5\0", 12);  // 3 x 2, 16-bit
  for (const char* name : {"in.raw", "IN.RAW", "frame.bin", "frame"}) {
    SCOPED_TRACE(name);
    WriteFile(File(name), samples);
    Output({"add-const", File(name), File("out.png"), "--value", "1", "--raw", "3x2x1:u16"});
    EXPECT_TRUE(Same(Read("out.png"), (cv::Mat_<unsigned short>(2, 3) << 2, 3, 4, 257, 65535, 6)));
    Output({"add-const", File(name), File("out.raw"), "--value", "1", "--raw", "3x2x1:u16"});
    EXPECT_EQ(ReadFile(File("out.raw")), std::string("\2\0\3\0\4\0\1\1\xFF\xFF\6\0", 12));
  }
}

TEST_F(AccessCommands, RawBuffersOfAnotherSizeAreRefused) {
  WriteFile(File("in.raw"), std::string(12, '\1'));
  const auto read = [&](const std::string& layout) {
    return Texts{"get-pixel", File("in.raw"), "--row", "0", "--column", "0", "--raw", layout};
  };
  for (const char* layout : {"3x2x1:u8", "3x5x1:u8", "5x2x1:u8", "2147483647x2147483647x4:f64"}) {
    ExpectFailure(read(layout), 1, "in.raw: has 12 bytes, expected ");
  }
  ExpectFailure(read("3x2x1:u8"), 1, "in.raw: has 12 bytes, expected 2 rows of 3");
  ExpectFailure(read("3x2"), 2, "--raw 3x2: expected WIDTHxHEIGHTxCHANNELS:TYPE");
  ExpectFailure({"get-pixel", File("in.raw"), "--row", "0", "--column", "0"}, 1,
                "in.raw: does not tell its size, expected --raw");
  EXPECT_EQ(Output(read("6x2x1:u8")), "1\n");
}

TEST_F(AccessCommands, ImageFilesKeepTheirOwnLayoutBesideRawOnes) {
  MakeImage("in.png", cv::Mat(2, 2, CV_8UC1, cv::Scalar(40)));
  WriteFile(File("in.raw"), "\5");
  EXPECT_EQ(Output({"get-pixel", File("in.png"), File("in.raw"), "--row", "0", "--column", "0",
                    "--raw", "1x1x1:u8"}),
            File("in.png") + ": 40\n" + File("in.raw") + ": 5\n");
}

}  // namespace
