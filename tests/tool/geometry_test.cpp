// The commands of geometry and pasting, from the command line to the files.
#include <gtest/gtest.h>

#include <KELRA/KelImageOperation.h>

#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

using namespace KELRA;
using kelra_test::ChildResult;
using Texts = std::vector<std::string>;

cv::Mat Gradient(int width, int height, int type) {
  cv::Mat image(height, width, type);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width * image.channels(); ++x) {
      image.ptr<unsigned char>(y)[x] = static_cast<unsigned char>(x * 37 + y * 101);
    }
  }
  return image;
}

class GeometryCommands : public testing::Test {
 protected:
  std::string MakeImage(const std::string& name, const cv::Mat& image) const {
    EXPECT_TRUE(cv::imwrite(folder_ / name, image));
    return folder_ / name;
  }

  static ChildResult Kelra(Texts arguments) {
    arguments.insert(arguments.begin(), KELRA_PROGRAM);
    return kelra_test::RunChild(arguments);
  }

  // What the command makes of the files.
  cv::Mat ResultOf(const std::string& command, const Texts& files, const Texts& options) const {
    Texts arguments = {command};
    arguments.insert(arguments.end(), files.begin(), files.end());
    arguments.push_back(folder_ / "out.png");
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, 0);
    EXPECT_EQ(got.out + got.err, "");
    return cv::imread(folder_ / "out.png", cv::IMREAD_UNCHANGED);
  }

  const kelra_test::TemporaryFolder folder_;
};

bool Same(const cv::Mat& a, const cv::Mat& b) {
  return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
}

TEST_F(GeometryCommands, DoWhatTheirMethodsDo) {
  struct Case {
    std::string command;
    Texts options;
    std::function<KelLong(KelImageOperation&, KelImage&, KelImage*)> method;
  };
  for (const int type : {CV_8UC1, CV_8UC3}) {
    const cv::Mat image = Gradient(40, 30, type);
    const std::string in = MakeImage("in.png", image);
    for (const Case& c : std::vector<Case>{
             {"transpose",
              {},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                return op.Transpose(src, dst);
              }},
             {"affine",
              {"--from", "0,0,39,0,0,29", "--to", "3,-2,35,4.5,1,25"},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                KelPointArray from{{0, 0}, {39, 0}, {0, 29}};
                KelPointArray to{{3, -2}, {35, 4.5}, {1, 25}};
                return op.Affine(src, dst, from, to);
              }},
             {"perspective",
              {"--from", "0,0,39,0,0,29,39,29", "--to", "3,2,35,4.5,1,25,37,28"},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                KelPointArray from{{0, 0}, {39, 0}, {0, 29}, {39, 29}};
                KelPointArray to{{3, 2}, {35, 4.5}, {1, 25}, {37, 28}};
                return op.Perspective(src, dst, from, to);
              }},
             {"border",
              {"--left", "1", "--top", "2", "--right", "3", "--bottom", "4", "--color", "9,8,7,6"},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                return op.AddBorder(src, dst, 1, 2, 3, 4, {9, 8, 7, 6});
              }},
             {"border",
              {"--top", "5"},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                return op.AddBorder(src, dst, 0, 5, 0, 0, {});
              }},
             {"polar-warp",
              {"--center", "12.5,11"},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                return op.Warp(src, dst, 12.5F, 11);
              }},
             {"polar-unwarp",
              {"--center", "12.5,11", "--outer", "14"},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                return op.Unwarp(src, dst, 12.5F, 11, 0, 360, 0, 14);
              }},
             {"polar-unwarp",
              {"--center", "20,15", "--outer", "14", "--inner", "3", "--start", "10.5", "--end",
               "200"},
              [](KelImageOperation&op, KelImage&src, KelImage*dst) {
                return op.Unwarp(src, dst, 20, 15, 10.5F, 200, 3, 14);
              }}}) {
      SCOPED_TRACE(c.command);
      KelImageOperation operation;
      KelImage src(image);
      KelImage expected;
      ASSERT_EQ(c.method(operation, src, &expected), STATUS_OK);
      EXPECT_TRUE(Same(ResultOf(c.command, {in}, c.options), expected.Mat()));
    }
  }
}

TEST_F(GeometryCommands, PasteTakesACanvasAndAnImage) {
  const std::string a = MakeImage("a.png", Gradient(40, 30, CV_8UC1));
  const std::string b = MakeImage("b.png", Gradient(11, 12, CV_8UC1));
  struct Case {
    Texts options;
    KelPoint at;
    double angle;
  };
  for (const Case& c : std::vector<Case>{{{}, {0, 0}, 0},
                                         {{"--at", "38,7"}, {38, 7}, 0},
                                         {{"--at", "-5,-6.5"}, {-5, -6.5}, 0},
                                         {{"--at", "20,15", "--angle", "33.5"}, {20, 15}, 33.5}}) {
    KelImage canvas(Gradient(40, 30, CV_8UC1));
    KelImage image(Gradient(11, 12, CV_8UC1));
    KelImage expected;
    KelPoint at = c.at;
    ASSERT_EQ(KelImageOperation().Paste(canvas, image, &expected, at, c.angle), STATUS_OK);
    EXPECT_TRUE(Same(ResultOf("paste", {a, b}, c.options), expected.Mat()));
  }
}

TEST_F(GeometryCommands, MontageLaysImagesOutInAGrid) {
  Texts files;
  KelImageArray images;
  for (int i = 0; i < 6; ++i) {
    const cv::Mat image = Gradient(20, 10, CV_8UC3) + cv::Scalar::all(i * 10);
    files.push_back(MakeImage("in" + std::to_string(i) + ".png", image));
    images.Append(KelImage(image));
  }
  KelImage expected;
  ASSERT_EQ(KelImageOperation().Paste(images, &expected, 2, 3, 4, 1), STATUS_OK);
  EXPECT_TRUE(
      Same(ResultOf("montage", files,
                    {"--rows", "2", "--columns", "3", "--overlap-x", "4", "--overlap-y", "1"}),
           expected.Mat()));
  KelPointArray offsets{{0, 0}, {-3, 2}, {1.5, 0}, {0, 0}, {100, 0}, {0, -4}};
  KelVarArray values;
  ASSERT_EQ(KelImageOperation().Paste(images, &expected, 3, 2, offsets, values), STATUS_OK);
  EXPECT_TRUE(Same(
      ResultOf("montage", files,
               {"--rows", "3", "--columns", "2", "--offsets", "0,0,-3,2,1.5,0,0,0,100,0,0,-4"}),
      expected.Mat()));
}

TEST_F(GeometryCommands, TellWhatWasGotAndWhatWasExpected) {
  const std::string in = MakeImage("in.png", Gradient(40, 30, CV_8UC1));
  const std::string other = MakeImage("other.png", Gradient(41, 30, CV_8UC1));
  const std::string color = MakeImage("color.png", Gradient(40, 30, CV_8UC3));
  struct Case {
    Texts arguments;
    std::string told;
  };
  for (const Case& c : std::vector<Case>{
           {{"affine", in, "out.png", "--from", "0,0,1,1", "--to", "0,0,1,1,2,3"},
            "--from 0,0,1,1: must be three points, and so must --to (ERR_POINT_COUNT, 11000010)"},
           {{"perspective", in, "out.png", "--from", "0,0,1,1,3,4", "--to", "0,0,1,1,2,3"},
            "must be four points"},
           {{"border", in, "out.png", "--left", "-1"}, "--left -1: must be 0 or more"},
           {{"border", in, "out.png", "--bottom", "-1"}, "--bottom -1: must be 0 or more"},
           {{"border", in, "out.png", "--color", "256,0,0"},
            "--color 256,0,0: must be 0 to 255 for an 8-bit image"},
           {{"border", in, "out.png", "--left", "2147483647"},
            "the border cannot be made (ERR_BORDER_EXCEPTION, 20201103)"},
           {{"polar-warp", in, "out.png", "--center", "40,0"},
            "--center 40,0: must be 0,0 to 39,29 for the 40 x 30 image (ERR_PARAM_1, 11200001)"},
           {{"polar-warp", in, "out.png", "--center", "0,30"}, "must be 0,0 to 39,29"},
           {{"polar-unwarp", in, "out.png", "--center", "0,0", "--outer", "9", "--end", "361"},
            "--end 361: must be above 0, and at most 360"},
           {{"polar-unwarp", in, "out.png", "--center", "0,0", "--outer", "9", "--start", "360"},
            "--start 360: must be 0 to 360, and below --end"},
           {{"polar-unwarp", in, "out.png", "--center", "0,0", "--outer", "0"},
            "--outer 0: must be 1 or more"},
           {{"polar-unwarp", in, "out.png", "--center", "0,0", "--outer", "5", "--inner", "5"},
            "--inner 5: must be 0 or more, and below --outer"},
           {{"paste", in, other, "out.png", "--at", "41,0"},
            "--at 41,0: must be no further right or down than the edges of A, 40 x 30"},
           {{"paste", in, other, "out.png", "--angle", "400"}, "--angle 400: must be 0 to 360"},
           {{"paste", in, color, "out.png"}, "got images of 1 channel and 3 channels"},
           {{"montage", in, in, "out.png", "--rows", "2", "--columns", "2"},
            "got 2 images, expected rows x columns of them (ERR_GRID_COUNT, 11000012)"},
           {{"montage", in, other, "out.png", "--rows", "2", "--columns", "1"},
            "got images of 40 x 30 and 41 x 30 pixels, expected one width"},
           {{"montage", in, in, "out.png", "--rows", "2", "--columns", "1", "--overlap-x", "41"},
            "--overlap-x 41: must be 0 to the images' width"},
           {{"montage", in, in, "out.png", "--rows", "2", "--columns", "1", "--overlap-y", "-1"},
            "--overlap-y -1: must be 0 to the images' height"},
           {{"montage", in, in, "out.png", "--rows", "2", "--columns", "1", "--offsets", "1,1"},
            "--offsets 1,1: must be one point an image"},
           {{"montage", in, in, "out.png", "--rows", "2", "--columns", "1", "--offsets",
             "99,0,99,0"},
            "no image lands on the canvas (ERR_PASTE_WORK, 20201002)"},
           {{"montage", in, in, "out.png", "--rows", "2", "--columns", "1", "--offsets", "0,0,1,1",
             "--overlap-x", "1"},
            "--offsets cannot be combined with --overlap-x or --overlap-y"}}) {
    const ChildResult got = Kelra(c.arguments);
    EXPECT_EQ(got.exit_code, 1);
    EXPECT_NE(got.err.find(c.told), std::string::npos) << got.err << "lacks: " << c.told;
  }
}

}  // namespace
