#include "value_parsing.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <opencv2/core.hpp>
#include <string>
#include <variant>
#include <vector>

#include "image_files.h"
#include "temporary_folder.h"
#include "whole_file.h"

namespace KELRA::tool {
namespace {

using kelra_test::TemporaryFolder;
using kelra_test::WriteFile;

template <class Value>
Value Parsed(std::string_view text) {
  Value value{};
  ParseValue(text, &value);
  return value;
}

// What BadValue says; empty when the text was taken.
template <class Value>
std::string Refusal(std::string_view text) {
  try {
    Parsed<Value>(text);
  } catch (const BadValue& problem) {
    return problem.what();
  }
  return "";
}

template <class Shape>
Shape ParsedShape(std::string_view text) {
  const auto roi = Parsed<KelROI>(text);
  EXPECT_TRUE(std::holds_alternative<Shape>(roi.Shape())) << text;
  return std::get<Shape>(roi.Shape());
}

std::vector<std::vector<int>> RunsOf(const KelRegion& region) {
  std::vector<std::vector<int>> runs;
  for (const KelRun& run : region.Runs()) {
    runs.push_back({run.row, run.firstColumn, run.lastColumn});
  }
  return runs;
}

const std::vector<std::string> kNoNumbers = {"",   " ",    " 1",  "1 ",  "+1", "x",
                                             "1x", "0x10", "1,5", "--1", "-"};

TEST(ValueParsing, WholeNumbers) {
  EXPECT_EQ(Parsed<int>("0"), 0);
  EXPECT_EQ(Parsed<int>("-17"), -17);
  EXPECT_EQ(Parsed<int>("007"), 7);
  EXPECT_EQ(Parsed<int>("2147483647"), INT_MAX);
  EXPECT_EQ(Parsed<int>("-2147483648"), INT_MIN);
  for (const std::string& text : kNoNumbers) {
    EXPECT_NE(Refusal<int>(text), "") << text;
  }
  for (const char* text : {"1.0", "1e3", "2147483648", "-2147483649", "99999999999999999999"}) {
    EXPECT_NE(Refusal<int>(text), "") << text;
  }
}

TEST(ValueParsing, FractionalNumbers) {
  EXPECT_EQ(Parsed<float>("1.1"), 1.1F);
  EXPECT_EQ(Parsed<float>("-.5"), -0.5F);
  EXPECT_EQ(Parsed<float>("1e-3"), 1e-3F);
  EXPECT_EQ(Parsed<float>("-inf"), -INFINITY);
  EXPECT_TRUE(std::isnan(Parsed<float>("nan")));
  EXPECT_EQ(Parsed<double>("0.1"), 0.1);
  EXPECT_EQ(Parsed<double>("1e300"), 1e300);
  for (const std::string& text : kNoNumbers) {
    EXPECT_NE(Refusal<float>(text), "") << text;
    EXPECT_NE(Refusal<double>(text), "") << text;
  }
  EXPECT_NE(Refusal<float>("1e300"), "");
}

TEST(ValueParsing, NumbersDoNotDependOnTheLocale) {
  for (const char* locale : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "C"}) {
    if (std::setlocale(LC_ALL, locale) != nullptr) {
      break;
    }
  }
  EXPECT_EQ(Parsed<double>("1.5"), 1.5);
  EXPECT_NE(Refusal<double>("1,5"), "");
  std::setlocale(LC_ALL, "C");
}

TEST(ValueParsing, Points) {
  const auto point = Parsed<KelPoint>("3,-4.5");
  EXPECT_EQ(point.x, 3.0);
  EXPECT_EQ(point.y, -4.5);
  for (const char* text : {"", "3", "3,", ",3", "3,4,5", "3;4", "3, 4", "nan,1", "1,inf"}) {
    EXPECT_NE(Refusal<KelPoint>(text), "") << text;
  }

  const auto points = Parsed<KelPointArray>("1,2,3,4,5,6");
  ASSERT_EQ(points.Length(), 3);
  EXPECT_EQ(points[2].x, 5.0);
  EXPECT_EQ(points[2].y, 6.0);
  for (const char* text : {"", "1", "1,2,3", "1,2,x,4", "1,2,"}) {
    EXPECT_NE(Refusal<KelPointArray>(text), "") << text;
  }
}

TEST(ValueParsing, Colours) {
  const auto opaque = Parsed<KelColorRGBA>("1,2,3");
  EXPECT_EQ((std::vector{opaque.red, opaque.green, opaque.blue, opaque.alpha}),
            (std::vector{1, 2, 3, 0}));
  const auto full = Parsed<KelColorRGBA>("-1,65535,3,4");
  EXPECT_EQ((std::vector{full.red, full.green, full.blue, full.alpha}),
            (std::vector{-1, 65535, 3, 4}));
  for (const char* text : {"", "1", "1,2", "1,2,3,4,5", "1,2,3.5", "red", "1,,2"}) {
    EXPECT_NE(Refusal<KelColorRGBA>(text), "") << text;
  }
}

TEST(ValueParsing, WholeImageRegion) {
  EXPECT_EQ(Parsed<KelROI>("whole").ROIType(), KEL_ROI_WHOLE_IMAGE);
}

TEST(ValueParsing, Rectangles) {
  const auto shape = ParsedShape<KelRectangleShape>("rect:1,2,30,40.5");
  EXPECT_EQ((std::vector{shape.x, shape.y, shape.width, shape.height}),
            (std::vector{1.0, 2.0, 30.0, 40.5}));
  const auto turned = ParsedShape<KelRotatedRectangleShape>("rotated-rect:1,2,30,40,-45");
  EXPECT_EQ((std::vector{turned.center.x, turned.center.y, turned.width, turned.height,
                         turned.angleDegrees}),
            (std::vector{1.0, 2.0, 30.0, 40.0, -45.0}));
}

TEST(ValueParsing, RoundShapes) {
  const auto circle = ParsedShape<KelCircleShape>("circle:-1,2,3");
  EXPECT_EQ((std::vector{circle.center.x, circle.center.y, circle.radius}),
            (std::vector{-1.0, 2.0, 3.0}));
  const auto ellipse = ParsedShape<KelEllipseShape>("ellipse:1,2,3,4,5");
  EXPECT_EQ((std::vector{ellipse.center.x, ellipse.center.y, ellipse.radiusX, ellipse.radiusY,
                         ellipse.angleDegrees}),
            (std::vector{1.0, 2.0, 3.0, 4.0, 5.0}));
  const auto annulus = ParsedShape<KelAnnulusShape>("annulus:1,2,3,4");
  EXPECT_EQ(
      (std::vector{annulus.center.x, annulus.center.y, annulus.innerRadius, annulus.outerRadius}),
      (std::vector{1.0, 2.0, 3.0, 4.0}));
}

TEST(ValueParsing, Polygons) {
  const auto polygon = ParsedShape<KelPolygonShape>("polygon:0,1,10,2,5,30,1,1");
  ASSERT_EQ(polygon.vertices.size(), 4U);
  EXPECT_EQ(polygon.vertices[2].x, 5.0);
  EXPECT_EQ(polygon.vertices[2].y, 30.0);
}

TEST(ValueParsing, RefusesRegionsThatDoNotRead) {
  struct Case {
    const char* text;
    const char* told;
  };
  for (const Case& c :
       std::vector<Case>{{"", "rect:x,y,w,h"},
                         {"everything", "rect:x,y,w,h"},
                         {"Whole", "expected whole"},
                         {"whole:", "expected whole"},
                         {"square:1,2,3", "runs:FILE"},
                         {"circle", "circle:cx,cy,r"},
                         {"circle:", "'' is not a finite number, expected circle:cx,cy,r"},
                         {"circle:1,2", "got 2 numbers, expected circle:cx,cy,r"},
                         {"circle:1", "got 1 number, expected circle:cx,cy,r"},
                         {"circle:1,2,3,4", "got 4 numbers"},
                         {"circle:1,2,r", "'r' is not a finite number"},
                         {"circle:1,2,inf", "'inf' is not a finite number"},
                         {"circle:1,2,nan", "'nan' is not a finite number"},
                         {"circle:1, 2,3", "' 2' is not a finite number"},
                         {"rect:1,2,3", "expected rect:x,y,w,h"},
                         {"rotated-rect:1,2,3,4", "rotated-rect:cx,cy,w,h,angle"},
                         {"ellipse:1,2,3,4", "ellipse:cx,cy,rx,ry,angle"},
                         {"annulus:1,2,3", "annulus:cx,cy,inner,outer"},
                         {"polygon:1,2,3,4", "got 2 corners"},
                         {"polygon:1,2,3,4,5,6,7", "got 7 numbers"},
                         {"runs:", "expected runs:FILE"},
                         {"mask:", "expected mask:FILE"}}) {
    const std::string told = Refusal<KelROI>(c.text);
    EXPECT_NE(told.find(c.told), std::string::npos) << c.text << ": " << told;
  }
}

TEST(ValueParsing, RunsOfATextFile) {
  const TemporaryFolder folder;
  const std::string path = folder / "runs, with: signs.txt";
  WriteFile(path, "# dents\n2 3 7\n\n \t5\t0 0   # one pixel\r\n-1 -4 2\n");
  const auto region = Parsed<KelRegion>("runs:" + path);
  EXPECT_EQ(RunsOf(region), (std::vector<std::vector<int>>{{2, 3, 7}, {5, 0, 0}, {-1, -4, 2}}));
  EXPECT_EQ(region.Width(), 8);
  EXPECT_EQ(region.Height(), 6);
  EXPECT_EQ(Parsed<KelROI>("runs:" + path).ROIType(), KEL_ROI_REGION);
}

TEST(ValueParsing, RefusesRunsThatDoNotRead) {
  const TemporaryFolder folder;
  const std::string path = folder / "runs.txt";
  for (const char* line :
       {"1 2", "1 2 3 4", "1 2 x", "1,2,3", "1 2.0 3", "1 5 4", "1 2 2147483648"}) {
    WriteFile(path, "# first\n" + std::string(line) + "\n");
    try {
      Parsed<KelROI>("runs:" + path);
      ADD_FAILURE() << line;
    } catch (const FileError& problem) {
      EXPECT_NE(std::string(problem.what()).find("line 2 is '" + std::string(line) + "'"),
                std::string::npos)
          << problem.what();
    }
  }
  EXPECT_THROW(Parsed<KelROI>("runs:" + (folder / "missing.txt")), FileError);
}

TEST(ValueParsing, MaskOfAnImageFile) {
  const TemporaryFolder folder;
  cv::Mat mask = cv::Mat::zeros(4, 6, CV_8UC1);
  mask.at<unsigned char>(1, 2) = 1;
  mask.at<unsigned char>(1, 3) = 255;
  mask.at<unsigned char>(3, 0) = 9;
  WriteImage(folder / "mask.png", KelImage(mask));
  const auto region = Parsed<KelRegion>("mask:" + (folder / "mask.png"));
  EXPECT_EQ(region.Width(), 6);
  EXPECT_EQ(region.Height(), 4);
  cv::Mat drawn = cv::Mat::zeros(4, 6, CV_8UC1);
  for (const KelRun& run : region.Runs()) {
    drawn.row(run.row).colRange(run.firstColumn, run.lastColumn + 1).setTo(1);
  }
  EXPECT_EQ(cv::norm(drawn, mask != 0, cv::NORM_L1), 3 * 254.0);
  EXPECT_THROW(Parsed<KelROI>("mask:" + (folder / "missing.png")), FileError);
  WriteFile(folder / "text.png", "no image");
  EXPECT_THROW(Parsed<KelROI>("mask:" + (folder / "text.png")), FileError);
}

TEST(ValueParsing, AMaskIsBlackWhateverItsAlpha) {
  const TemporaryFolder folder;
  cv::Mat mask(4, 6, CV_8UC4, cv::Scalar(0, 0, 0, 255));
  mask.row(1).setTo(cv::Scalar(0, 0, 1, 0));
  WriteImage(folder / "mask.png", KelImage(mask));
  const std::vector<KelRun> runs = Parsed<KelRegion>("mask:" + (folder / "mask.png")).Runs();
  ASSERT_EQ(runs.size(), 1U);
  EXPECT_EQ(runs[0].row, 1);
}

TEST(ValueParsing, TypesOfSamples) {
  const std::vector<std::string> names = {"u8", "s8", "u16", "s16", "s32", "f32", "f64"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(Parsed<KelImageType>(names[i]), static_cast<KelImageType>(i));
  }
  for (const char* text : {"", "8", "U8", "u8 ", "u32", "double"}) {
    EXPECT_NE(Refusal<KelImageType>(text).find("expected one of u8 s8 u16"), std::string::npos)
        << text;
  }
}

TEST(ValueParsing, LayoutsOfRawBuffers) {
  const auto layout = Parsed<RawLayout>("640x480x3:u16");
  EXPECT_EQ(layout.width, 640);
  EXPECT_EQ(layout.height, 480);
  EXPECT_EQ(layout.channels, 3);
  EXPECT_EQ(layout.type, KEL_16U);
  for (const char* text :
       {"", "640x480x3", "640x480:u8", "640x480x3x1:u8", "0x480x1:u8", "640x-1x1:u8",
        "640x480x2:u8", "640x480x0:u8", "640x480x1:u7", "640x480x1:", "640 x 480x1:u8",
        "640X480X1:u8", "99999999999x1x1:u8", ":u8"}) {
    EXPECT_NE(Refusal<RawLayout>(text), "") << text;
  }
}

TEST(ValueParsing, HelpNamesEveryKindOfRegion) {
  const std::string help = RegionHelp();
  for (const char* kind : {"whole", "rect:", "rotated-rect:", "circle:", "ellipse:", "annulus:",
                           "polygon:", "runs:", "mask:"}) {
    EXPECT_NE(help.find(std::string("  ") + kind), std::string::npos) << kind;
  }
}

}  // namespace
}  // namespace KELRA::tool
