// The built program, from the command line to the files.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iterator>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using kelra_test::ChildResult;
using kelra_test::ReadFile;
using kelra_test::TemporaryFolder;
using kelra_test::WriteFile;
using Texts = std::vector<std::string>;

cv::Mat Gradient(int width, int height, int type) {
  cv::Mat image(height, width, type);
  const int channels = image.channels();
  const int limit = image.depth() == CV_8U ? 256 : 65536;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width * channels; ++x) {
      const int value = (x * 37 + y * 1009) % limit;
      if (image.depth() == CV_8U) {
        image.ptr<unsigned char>(y)[x] = static_cast<unsigned char>(value);
      } else {
        image.ptr<unsigned short>(y)[x] = static_cast<unsigned short>(value);
      }
    }
  }
  return image;
}

cv::Mat Read(const std::string& path) { return cv::imread(path, cv::IMREAD_UNCHANGED); }

bool Same(const cv::Mat& a, const cv::Mat& b) {
  return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
}

// `value` added to the samples of the pixels that `inside` accepts, saturated.
cv::Mat Brighter(
    const cv::Mat& image, int value,
    const std::function<bool(int x, int y)>& inside = [](int, int) { return true; }) {
  cv::Mat result = image.clone();
  for (int y = 0; y < image.rows; ++y) {
    for (int x = 0; x < image.cols; ++x) {
      if (inside(x, y)) {
        const cv::Mat pixel = result(cv::Rect(x, y, 1, 1));
        cv::add(pixel, cv::Scalar::all(value), pixel);
      }
    }
  }
  return result;
}

class Program : public testing::Test {
 protected:
  std::string File(const std::string& name) const { return folder_ / name; }

  static ChildResult Kelra(Texts arguments, const Texts& environment = {}) {
    arguments.insert(arguments.begin(), KELRA_PROGRAM);
    return kelra_test::RunChild(arguments, environment);
  }

  // What the program says on standard error when it fails with `exit_code`.
  static std::string Failure(const Texts& arguments, int exit_code) {
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, exit_code) << got.err;
    EXPECT_EQ(got.out, "");
    EXPECT_TRUE(got.err.starts_with("kelra: ")) << got.err;
    EXPECT_EQ(std::count(got.err.begin(), got.err.end(), '\n'), 1) << got.err;
    return got.err;
  }

  static void Succeed(const Texts& arguments) {
    const ChildResult got = Kelra(arguments);
    EXPECT_EQ(got.exit_code, 0);
    EXPECT_EQ(got.out + got.err, "");
  }

  std::string MakeImage(const std::string& name, int type = CV_8UC1) const {
    EXPECT_TRUE(cv::imwrite(File(name), Gradient(40, 30, type)));
    return File(name);
  }

  std::set<std::string> FileNames(const std::string& folder = "") const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(File(folder))) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  const TemporaryFolder folder_;
};

void ExpectTold(const std::string& told, const std::string& part) {
  EXPECT_NE(told.find(part), std::string::npos) << told << "lacks: " << part;
}

TEST_F(Program, EveryCommandComputesItsFormula) {
  struct Case {
    Texts command;
    std::function<double(int)> result;  // of a sample
  };
  const cv::Mat image = Gradient(40, 30, CV_8UC1);
  const std::string in = MakeImage("in.png");
  // Whole-numbered results: no rounding rule matters.
  for (const Case& c : std::vector<Case>{
           {{"add-const", "--value", "40", "--scale", "2", "--offset", "-30"},
            [](int s) { return (s + 40) * 2 - 30; }},
           {{"subtract-const", "--value", "100", "--scale", "3", "--offset", "5"},
            [](int s) { return (s - 100) * 3 + 5; }},
           {{"multiply-const", "--value", "3", "--offset=-7"}, [](int s) { return s * 3 - 7; }},
           {{"divide-const", "--value", "2", "--scale", "4"}, [](int s) { return s * 2; }},
           {{"sqrt"}, [](int s) { return std::round(std::sqrt(s)); }},
           {{"bit-and-const", "--value", "60"}, [](int s) { return s & 60; }},
           {{"bit-or-const", "--value", "60"}, [](int s) { return s | 60; }},
           {{"bit-xor-const", "--value", "60"}, [](int s) { return s ^ 60; }},
           {{"bit-not"}, [](int s) { return 255 - s; }},
           {{"max-const", "--value", "100"}, [](int s) { return std::max(s, 100); }},
           {{"min-const", "--value", "100"}, [](int s) { return std::min(s, 100); }},
           {{"average-const", "--value", "7"}, [](int s) { return std::nearbyint((s + 7) / 2.0); }},
           {{"difference-const", "--value", "100"}, [](int s) { return std::abs(s - 100); }},
           {{"copy"}, [](int s) { return s; }}}) {
    SCOPED_TRACE(c.command.front());
    Texts arguments = c.command;
    arguments.insert(arguments.end(), {in, File("out.png")});
    Succeed(arguments);
    const cv::Mat got = Read(File("out.png"));
    ASSERT_EQ(got.type(), CV_8UC1);
    ASSERT_EQ(got.size(), image.size());
    for (int y = 0; y < image.rows; ++y) {
      for (int x = 0; x < image.cols; ++x) {
        const double expected = std::clamp(c.result(image.at<unsigned char>(y, x)), 0.0, 255.0);
        ASSERT_EQ(got.at<unsigned char>(y, x), expected) << x << ", " << y;
      }
    }
  }
}

TEST_F(Program, WorksInEveryKindOfRegion) {
  WriteFile(File("runs.txt"), "# two runs\n3 5 9\n7 0 39 # a row\n");
  cv::Mat mask = cv::Mat::zeros(30, 40, CV_8UC1);
  mask(cv::Rect(4, 6, 3, 2)).setTo(1);
  cv::imwrite(File("mask.png"), mask);
  struct Case {
    std::string region;
    std::function<bool(int, int)> inside;
  };
  const auto squared = [](double v) { return v * v; };
  const std::string in = MakeImage("in.png", CV_8UC3);
  for (const Case& c : std::vector<Case>{
           {"whole", [](int, int) { return true; }},
           {"rect:3,4,10,5", [](int x, int y) { return x >= 3 && x < 13 && y >= 4 && y < 9; }},
           {"rect:-5,-5,10,10", [](int x, int y) { return x < 5 && y < 5; }},
           {"circle:20,15,5.5",
            [&](int x, int y) { return squared(x - 20) + squared(y - 15) <= squared(5.5); }},
           {"ellipse:20,15,5.5,10.5,90",
            [&](int x, int y) { return squared((x - 20) / 10.5) + squared((y - 15) / 5.5) <= 1; }},
           {"annulus:20,15,3.5,8.5",
            [&](int x, int y) {
              const double distance = squared(x - 20) + squared(y - 15);
              return distance >= squared(3.5) && distance <= squared(8.5);
            }},
           {"rotated-rect:20,15,10.5,6.5,90",
            [](int x, int y) { return std::abs(x - 20) <= 3.25 && std::abs(y - 15) <= 5.25; }},
           {"polygon:4.5,4.5,30.5,4.5,30.5,20.5,4.5,20.5",
            [](int x, int y) { return x > 4 && x < 31 && y > 4 && y < 21; }},
           {"runs:" + File("runs.txt"),
            [](int x, int y) { return (y == 3 && x >= 5 && x <= 9) || y == 7; }},
           {"mask:" + File("mask.png"),
            [](int x, int y) { return x >= 4 && x < 7 && (y == 6 || y == 7); }}}) {
    SCOPED_TRACE(c.region);
    Succeed({"add-const", in, File("out.png"), "--value", "9", "--roi", c.region});
    EXPECT_TRUE(Same(Read(File("out.png")), Brighter(Read(in), 9, c.inside)));
  }
}

TEST_F(Program, RefusesAMaskOfAnotherSizeThanTheImage) {
  const std::string fitting = MakeImage("fitting.png");
  cv::imwrite(File("other.png"), Gradient(41, 30, CV_8UC1));
  const std::string mask = "mask:" + fitting;
  for (const char* command : {"add-const", "paint"}) {
    const std::string told = Failure(
        {command, fitting, File("other.png"), File("results/"), "--value", "1", "--roi", mask}, 1);
    EXPECT_EQ(told, std::string("kelra: ") + command + ": " + File("other.png") + ": --roi " +
                        mask + ": the mask is 40 x 30 pixels, expected the image's 41 x 30\n");
    EXPECT_EQ(FileNames("results"), (std::set<std::string>{"fitting.png"}));
  }
}

// Their positions are told, so that they fit any image.
TEST_F(Program, TakesRunsBeyondTheImage) {
  const std::string in = MakeImage("in.png");
  WriteFile(File("runs.txt"), "3 5 900\n70 0 39\n");
  Succeed({"add-const", in, File("out.png"), "--value", "9", "--roi", "runs:" + File("runs.txt")});
  EXPECT_TRUE(Same(Read(File("out.png")),
                   Brighter(Read(in), 9, [](int x, int y) { return y == 3 && x >= 5; })));
}

TEST_F(Program, KeepsDepthAndChannelsInEveryFileType) {
  struct Case {
    const char* name;
    int type;
  };
  for (const Case& c : std::vector<Case>{{"a.png", CV_8UC1},
                                         {"a.png", CV_8UC3},
                                         {"a.png", CV_16UC1},
                                         {"a.PNG", CV_16UC3},
                                         {"a.tif", CV_8UC1},
                                         {"a.tiff", CV_8UC3},
                                         {"a.TIF", CV_16UC1},
                                         {"a.tif", CV_16UC3},
                                         {"a.bmp", CV_8UC1},
                                         {"a.Bmp", CV_8UC3},
                                         {"a.pgm", CV_8UC1},
                                         {"a.pgm", CV_16UC1},
                                         {"a.ppm", CV_8UC3},
                                         {"a.ppm", CV_16UC3},
                                         {"a.pnm", CV_8UC1},
                                         {"a.pnm", CV_16UC3}}) {
    SCOPED_TRACE(std::string(c.name) + " type " + std::to_string(c.type));
    const std::string in = MakeImage(c.name, c.type);
    const std::string out = File("out" + fs::path(c.name).extension().string());
    Succeed({"add-const", in, out, "--value", "200"});
    EXPECT_TRUE(Same(Read(out), Brighter(Gradient(40, 30, c.type), 200)));
  }
}

TEST_F(Program, WritesJpegCloseToTheResult) {
  for (const int type : {CV_8UC1, CV_8UC3}) {
    const cv::Mat flat(30, 40, type, cv::Scalar::all(100));
    cv::imwrite(File("in.jpg"), flat);
    for (const char* name : {"out.jpg", "out.JPEG"}) {
      Succeed({"add-const", File("in.jpg"), File(name), "--value", "50"});
      const cv::Mat got = Read(File(name));
      ASSERT_EQ(got.type(), type);
      EXPECT_LE(cv::norm(got, flat + cv::Scalar::all(50), cv::NORM_INF), 2);
    }
  }
}

TEST_F(Program, RefusesToConvertSilently) {
  struct Case {
    int type;
    const char* out;
    const char* told;
  };
  for (const Case& c : std::vector<Case>{
           {CV_16UC1, "out.jpg", "JPEG cannot hold the result's 16-bit samples in 1 channel"},
           {CV_16UC3, "out.bmp", "expected .png, .tif, .ppm, .pnm or .raw"},
           {CV_8UC3, "out.pgm", "PGM cannot hold the result's 8-bit samples in 3 channels"},
           {CV_8UC1, "out.ppm", "expected .png, .tif, .jpg, .bmp, .pgm, .pnm or .raw"},
           {CV_8UC1, "out.webp", "'.webp' names no image format"},
           {CV_8UC1, "out", "'' names no image format"}}) {
    const std::string in = MakeImage("in.png", c.type);
    const std::string told = Failure({"add-const", in, File(c.out), "--value", "1"}, 1);
    ExpectTold(told, "kelra: add-const: " + File(c.out) + ": ");
    ExpectTold(told, c.told);
    EXPECT_EQ(FileNames(), (std::set<std::string>{"in.png"}));
  }
}

TEST_F(Program, AnswersUnsupportedImagesWithTheLibrarysStatus) {
  const std::string alpha = MakeImage("alpha.png", CV_8UC4);
  ExpectTold(Failure({"add-const", alpha, File("out.png"), "--value", "1"}, 1),
             alpha + ": the image has 4 channels, expected 1 or 3 (ERR_CHANNEL_COUNT, 11000006)\n");
  cv::imwrite(File("float.tif"), cv::Mat(3, 4, CV_32FC1, cv::Scalar(0.5)));
  const std::string told =
      Failure({"add-const", File("float.tif"), File("out.tif"), "--value", "1"}, 1);
  ExpectTold(told, "32-bit float");
  ExpectTold(told, "(ERR_BIT_DEPTH, 11000009)");
}

TEST_F(Program, TellsWhatWasGotAndWhatWasExpected) {
  const std::string in = MakeImage("in.png");
  const std::string deep = MakeImage("deep.png", CV_16UC1);
  struct Case {
    Texts arguments;
    int exit_code;
    std::string told;
  };
  for (const Case& c : std::vector<Case>{
           {{"add-const", in, "out.png", "--value", "300"},
            1,
            "kelra: add-const: " + in +
                ": --value 300: must be 0 to 255 for an 8-bit image (ERR_PARAM_1, 11200001)\n"},
           {{"add-const", in, "out.png", "--value", "-1"}, 1, "--value -1: must be 0 to 255"},
           {{"multiply-const", deep, "out.png", "--value", "65536"},
            1,
            "--value 65536: must be 0 to 65535 for a 16-bit image"},
           {{"divide-const", in, "out.png", "--value", "0"}, 1, "--value 0: must be 1 to 255"},
           {{"subtract-const", in, "out.png", "--value", "1", "--roi", "circle:900,900,3"},
            1,
            "--roi circle:900,900,3: covers no pixel of the 40 x 30 image"},
           {{"add-const", "missing.png", "out.png", "--value", "1"}, 1, "missing.png: cannot read"},
           {{"add-const", folder_.Path().string(), "out.png", "--value", "1"}, 1, "is a folder"},
           {{"add-const", in, "out.png", "--value", "1", "--roi", "mask:missing.png"},
            1,
            "--roi mask:missing.png: missing.png: cannot read"},
           {{"add-const", in, "out.png", "--value", "1.5"},
            2,
            "kelra: add-const: --value 1.5: expected a whole number"},
           {{"add-const", in, "out.png", "--value", "1", "--scale", "1,5"}, 2, "--scale 1,5: "},
           {{"add-const", in, "out.png", "--value", "1", "--roi", "circle:1,2"},
            2,
            "--roi circle:1,2: got 2 numbers, expected circle:cx,cy,r"},
           {{"add-const", in, "out.png", "--value", "1", "--roi", "nowhere"}, 2, "--roi nowhere: "},
           {{"add-const", in, "out.png"}, 2, "--value is required"},
           {{"add-const", in, "out.png", "--value"}, 2, "--value"},
           {{"add-const", in, "out.png", "--value", "1", "--value", "2"}, 2, "--value"},
           {{"add-const", in, "out.png", "--value", "1", "--colour", "2"}, 2, "--colour"},
           {{"add-const", in, "--value", "1"}, 2, "got 1 file, expected IN OUT"},
           {{"add-const", "--value", "1"}, 2, "got 0 files, expected IN OUT"},
           {{"add-const", in, "", "--value", "1"}, 2, "empty file name"},
           {{"add-const", in, deep, "out.png", "--value", "1"}, 2, "out.png is not a folder"},
           {{"halve"}, 2, "kelra: halve: no such command"},
           {{"--colour"}, 2, "--colour"},
           {{}, 2, "no command given"}}) {
    ExpectTold(Failure(c.arguments, c.exit_code), c.told);
  }
}

TEST_F(Program, RefusesFilesThatAreNoWholeImage) {
  WriteFile(File("empty.png"), "");
  WriteFile(File("text.png"), "no image");
  Texts broken = {"empty.png", "text.png"};
  for (const char* name : {"a.png", "a.tif", "a.jpg", "a.bmp", "a.pgm", "a.ppm"}) {
    const std::string in = MakeImage(name, name == std::string("a.ppm") ? CV_8UC3 : CV_8UC1);
    const std::string whole = ReadFile(in);
    broken.push_back(std::string("half-") + name);
    WriteFile(File(broken.back()), whole.substr(0, whole.size() / 2));
  }
  for (const std::string& name : broken) {
    SCOPED_TRACE(name);
    ExpectTold(Failure({"add-const", File(name), File("out.png"), "--value", "1"}, 1),
               "kelra: add-const: " + File(name) + ": ");
    EXPECT_FALSE(fs::exists(File("out.png")));
  }
}

TEST_F(Program, TakesNegativeNumbersAndDashesBeforeFiles) {
  const std::string in = MakeImage("in.png");
  fs::rename(in, File("-in.png"));
  const ChildResult got = kelra_test::RunChild(
      {KELRA_PROGRAM, "add-const", "--value", "10", "--offset", "-10", "--", "-in.png", "out.png"},
      {}, folder_.Path().string());
  EXPECT_EQ(got.exit_code, 0) << got.err;
  EXPECT_TRUE(Same(Read(File("out.png")), Gradient(40, 30, CV_8UC1)));
}

TEST_F(Program, OutputMayBeTheInput) {
  const std::string in = MakeImage("in.png");
  Succeed({"add-const", in, in, "--value", "30"});
  EXPECT_TRUE(Same(Read(in), Brighter(Gradient(40, 30, CV_8UC1), 30)));
  EXPECT_EQ(FileNames(), (std::set<std::string>{"in.png"}));
}

TEST_F(Program, TakesNamesInAnyScript) {
  fs::create_directory(File("Größe 尺寸"));
  const std::string in = MakeImage("in.png");
  const std::string named = File("Größe 尺寸/Prüfling №1.png");
  fs::rename(in, named);
  Succeed({"add-const", named, File("Größe 尺寸/结果.tif"), "--value", "30"});
  EXPECT_EQ(FileNames("Größe 尺寸"), (std::set<std::string>{"Prüfling №1.png", "结果.tif"}));
  ExpectTold(Failure({"add-const", named, File("out.png"), "--value", "300"}, 1), named + ": ");
}

TEST_F(Program, WritesSeveralResultsIntoAFolder) {
  Texts arguments = {"add-const"};
  std::set<std::string> names;
  for (int i = 0; i < 20; ++i) {
    const std::string name = "in" + std::to_string(i) + ".png";
    cv::imwrite(File(name), Gradient(40 + i, 30, CV_8UC1));
    arguments.push_back(File(name));
    names.insert(name);
  }
  arguments.insert(arguments.end(), {File("deep/results/"), "--value", "30"});
  Succeed(arguments);
  EXPECT_EQ(FileNames("deep/results"), names);
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(Same(Read(File("deep/results/in" + std::to_string(i) + ".png")),
                     Brighter(Gradient(40 + i, 30, CV_8UC1), 30)));
  }
}

TEST_F(Program, WritesOneResultIntoAFolder) {
  const std::string in = MakeImage("in.png");
  fs::create_directory(File("existing"));
  Succeed({"add-const", in, File("existing"), "--value", "30"});
  Succeed({"add-const", in, File("made/"), "--value", "30"});
  EXPECT_EQ(FileNames("existing"), (std::set<std::string>{"in.png"}));
  EXPECT_EQ(FileNames("made"), (std::set<std::string>{"in.png"}));
}

TEST_F(Program, RefusesTwoResultsOfOneNameBeforeWriting) {
  fs::create_directory(File("a"));
  fs::create_directory(File("b"));
  const std::string first = MakeImage("a/in.png");
  const std::string second = MakeImage("b/in.png");
  const std::string other = MakeImage("b/other.png");
  ExpectTold(Failure({"add-const", other, first, second, File("results/"), "--value", "1"}, 2),
             second + " and " + first + " would both be written to " + File("results/in.png"));
  EXPECT_FALSE(fs::exists(File("results")));
}

TEST_F(Program, RefusesToSplitOverAnInputBeforeWriting) {
  fs::create_directory(File("other"));
  const std::string whole = MakeImage("in.png");
  const std::string numbered = MakeImage("in-7.png");
  fs::create_directory_symlink(folder_.Path(), File("link"));
  for (const std::string& folder : {File(""), File("link"), File("other/..")}) {
    const std::set<std::string> before = FileNames();
    ExpectTold(
        Failure({"split-rows", numbered, whole, folder, "--count", "2"}, 2),
        "the results of " + whole + " could be written over the input " + numbered + ", expected");
    EXPECT_EQ(FileNames(), before);
  }
  ExpectTold(kelra_test::RunChild({KELRA_PROGRAM, "split-rows", "in-7.png", "in.png", "."}, {},
                                  folder_.Path().string())
                 .err,
             "the results of in.png could be written over the input in-7.png");
  // Names that no result has, and another folder.
  Succeed({"split-rows", whole, MakeImage("in-07.png"), MakeImage("in-.png"), MakeImage("-.png"),
           MakeImage("in-1x.png"), MakeImage("in-99999999999.png"), MakeImage("in-2.bmp"),
           MakeImage("other-1.png"), File("")});
  Succeed({"split-rows", numbered, whole, File("other")});
  EXPECT_EQ(FileNames("other"),
            (std::set<std::string>{"in-0.png", "in-1.png", "in-7-0.png", "in-7-1.png"}));
}

TEST_F(Program, AFailingFileDoesNotStopTheOthers) {
  WriteFile(File("broken.png"), "no image");
  const std::string a = MakeImage("a.png");
  const std::string b = MakeImage("b.png");
  const std::string told =
      Failure({"add-const", a, File("broken.png"), b, File("results/"), "--value", "1"}, 1);
  ExpectTold(told, File("broken.png"));
  EXPECT_EQ(FileNames("results"), (std::set<std::string>{"a.png", "b.png"}));
}

TEST_F(Program, TellsOfPagesThatItDoesNotRead) {
  const cv::Mat first = Gradient(40, 30, CV_16UC1);
  const std::string in = File("in.tif");
  ASSERT_TRUE(cv::imwrite(in, std::vector<cv::Mat>{first, Gradient(9, 8, CV_8UC3), first}));
  const Texts arguments = {"add-const", in, File("out.png"), "--value", "30"};
  const ChildResult got = Kelra(arguments);
  EXPECT_EQ(got.exit_code, 0);
  EXPECT_EQ(got.err, "kelra: add-const: " + in + ": warning: only the first of 3 pages is read\n");
  EXPECT_TRUE(Same(Read(File("out.png")), Brighter(first, 30)));

  Texts quiet = arguments;
  quiet.push_back("--quiet");
  Succeed(quiet);
  ASSERT_TRUE(cv::imwrite(in, first));
  Succeed(arguments);
}

TEST_F(Program, AnUnwritableOutputLeavesNothingBehind) {
  const std::string in = MakeImage("in.png");
  Failure({"add-const", in, File("missing/out.png"), "--value", "1"}, 1);
  EXPECT_EQ(FileNames(), (std::set<std::string>{"in.png"}));

  WriteFile(File("file"), "content");
  Failure({"add-const", in, File("file/"), "--value", "1"}, 1);
  fs::create_directory(File("occupied"));
  fs::create_directory(File("occupied/in.png"));
  Failure({"add-const", in, File("occupied"), "--value", "1"}, 1);
  EXPECT_EQ(ReadFile(File("file")), "content");
  EXPECT_EQ(FileNames("occupied"), (std::set<std::string>{"in.png"}));
  EXPECT_EQ(FileNames(), (std::set<std::string>{"in.png", "file", "occupied"}));
}

// A file-size limit makes the write fail half-way, as a full disk does.
TEST_F(Program, AHalfWrittenOutputLeavesTheOldOne) {
  cv::imwrite(File("in.bmp"), Gradient(400, 300, CV_8UC3));
  WriteFile(File("out.bmp"), "old");
  const std::string command =
      "ulimit -f 100; exec \"" KELRA_PROGRAM "\" add-const in.bmp out.bmp --value 1";
  const ChildResult got =
      kelra_test::RunChild({"/bin/sh", "-c", command}, {}, folder_.Path().string());
  EXPECT_EQ(got.exit_code, 1);
  ExpectTold(got.err, "kelra: add-const: out.bmp: cannot write: File too large\n");
  EXPECT_EQ(ReadFile(File("out.bmp")), "old");
  EXPECT_EQ(FileNames(), (std::set<std::string>{"in.bmp", "out.bmp"}));
}

// Large images whose results go to the folder "out", so that a signal reaches the program in the
// midst of writing one.
class InterruptedProgram : public Program {
 protected:
  InterruptedProgram() {
    fs::create_directory(File("out"));
    cv::imwrite(File("in-0.bmp"), Gradient(3000, 2000, CV_8UC3));
    for (int i = 1; i < 8; ++i) {
      fs::create_hard_link(File("in-0.bmp"), File("in-" + std::to_string(i) + ".bmp"));
    }
  }

  // Sends the signal as soon as a file in "out" is being written.
  ChildResult Interrupt(const std::string& command_prefix, int signal) {
    const std::string command =
        command_prefix + "exec \"" KELRA_PROGRAM "\" add-const in-?.bmp out --value 1";
    return kelra_test::RunChild(
        {"/bin/sh", "-c", command}, {}, folder_.Path().string(), [&](int child) {
          const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
          while (Unfinished().empty() && std::chrono::steady_clock::now() < deadline) {
          }
          kill(child, signal);
        });
  }

  std::set<std::string> Unfinished() const {
    std::set<std::string> names = FileNames("out");
    std::erase_if(names, [](const std::string& name) { return name.ends_with(".bmp"); });
    return names;
  }

  bool AllFinishedAreWhole() const {
    const auto size = fs::file_size(File("in-0.bmp"));
    const std::set<std::string> names = FileNames("out");
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
      return fs::file_size(File("out/" + name)) == size;
    });
  }
};

TEST_F(InterruptedProgram, LeavesWholeFilesOnlyAndEndsByTheSignal) {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    const ChildResult got = Interrupt("", signal);
    EXPECT_EQ(got.signal, signal);
    EXPECT_EQ(Unfinished(), std::set<std::string>());
    EXPECT_TRUE(AllFinishedAreWhole());
  }
}

TEST_F(InterruptedProgram, GoesOnAfterASignalThatItsParentIgnores) {
  const ChildResult got = Interrupt("trap '' HUP; ", SIGHUP);
  EXPECT_EQ(got.exit_code, 0) << got.err;
  EXPECT_EQ(FileNames("out").size(), 8U);
  EXPECT_TRUE(AllFinishedAreWhole());
}

TEST_F(Program, AReaderThatWentAwayIsAFailureOfTheOutput) {
  MakeImage("in.png");
  const std::string command = "mkfifo pipe; exec 3<>pipe 4>pipe 3<&-; \"" KELRA_PROGRAM
                              "\" get-pixel in.png --row 1 --column 1 >&4";
  const ChildResult got =
      kelra_test::RunChild({"/bin/sh", "-c", command}, {}, folder_.Path().string());
  EXPECT_EQ(got.exit_code, 1);
  EXPECT_EQ(got.err, "kelra: standard output cannot be written\n");
}

// Longer and shorter than what the C library gathers before it writes.
TEST_F(Program, WhateverItPrintsOnAFullDeviceIsAFailure) {
  MakeImage("in.png");
  for (const char* arguments : {"--help", "add-const --help", "--version", "--list-examples",
                                "get-pixel in.png --row 1 --column 1"}) {
    const ChildResult got = kelra_test::RunChild(
        {"/bin/sh", "-c", std::string("\"" KELRA_PROGRAM "\" ") + arguments + " > /dev/full"}, {},
        folder_.Path().string());
    EXPECT_EQ(got.exit_code, 1) << arguments;
    EXPECT_EQ(got.err, "kelra: standard output cannot be written\n") << arguments;
  }
}

TEST_F(Program, VerboseTellsEachFile) {
  const std::string in = MakeImage("in.png", CV_16UC3);
  const ChildResult got = Kelra({"add-const", in, File("out.tif"), "--value", "1", "--verbose"});
  EXPECT_EQ(got.exit_code, 0);
  EXPECT_EQ(got.out, "");
  EXPECT_EQ(got.err, "kelra: add-const: " + in + " -> " + File("out.tif") +
                         " (40 x 30, 16-bit, 3 channels)\n");
}

TEST_F(Program, ShowsProgressOnATerminalOnly) {
  const std::string a = MakeImage("a.png");
  const std::string b = MakeImage("b.png");
  const Texts arguments = {KELRA_PROGRAM, "add-const", a, b, File("out/"), "--value", "1"};
  const ChildResult shown = kelra_test::RunChildOnTerminal(arguments);
  EXPECT_EQ(shown.exit_code, 0);
  ExpectTold(shown.err, "] 1 of 2");
  ExpectTold(shown.err, "] 2 of 2");
  EXPECT_TRUE(shown.err.ends_with("\r\x1b[K")) << shown.err;

  EXPECT_EQ(kelra_test::RunChild(arguments).err, "");

  Texts quiet = arguments;
  quiet.push_back("--quiet");
  EXPECT_EQ(kelra_test::RunChildOnTerminal(quiet).err, "");

  EXPECT_EQ(kelra_test::RunChildOnTerminal(
                {KELRA_PROGRAM, "add-const", a, File("single.png"), "--value", "1"})
                .err,
            "");
}

TEST_F(Program, TellsFailuresAboveTheProgressBar) {
  const std::string a = MakeImage("a.png");
  const ChildResult got = kelra_test::RunChildOnTerminal(
      {KELRA_PROGRAM, "add-const", a, File("missing.png"), File("out/"), "--value", "1"});
  EXPECT_EQ(got.exit_code, 1);
  ExpectTold(got.err, "\r\x1b[Kkelra: add-const: " + File("missing.png"));
}

TEST_F(Program, LogsWithoutDisturbingItsOwnMessages) {
  const std::string in = MakeImage("in.png");
  const ChildResult got =
      Kelra({"add-const", in, File("out.png"), "--value", "1"}, {"KELRA_LOG=stderr"});
  EXPECT_EQ(got.exit_code, 0);
  ExpectTold(got.err, " KelImageOperation AddConst:");
}

TEST_F(Program, HelpListsTheCommandsAndVersionTellsTheVersion) {
  const ChildResult help = Kelra({"--help"});
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_EQ(help.err, "");
  for (const char* name : {"add-const", "subtract-const", "multiply-const", "divide-const"}) {
    ExpectTold(help.out, std::string("\n  ") + name + " ");
  }
  const ChildResult version = Kelra({"--version"});
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_EQ(version.out, "kelra " KELRA_VERSION "\n");
}

Texts Lines(const std::string& text) {
  Texts lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST_F(Program, HelpOfEveryCommandHasItsFormulaAndAnExampleThatRuns) {
  const Texts examples = Lines(Kelra({"--list-examples"}).out);
  ASSERT_GE(examples.size(), 4U);
  fs::create_directory_symlink(fs::path(KELRA_REPOSITORY) / "examples", File("examples"));
  const std::string path =
      "PATH=" + fs::path(KELRA_PROGRAM).parent_path().string() + ":/usr/bin:/bin";
  for (const std::string& example : examples) {
    SCOPED_TRACE(example);
    const std::size_t begin = example.find(' ') + 1;
    const std::string name = example.substr(begin, example.find(' ', begin) - begin);
    const ChildResult help = Kelra({name, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    ExpectTold(help.out, "OUT = ");
    ExpectTold(help.out, "\nExample:\n  " + example + "\n");

    const std::set<std::string> before = FileNames();
    const ChildResult ran =
        kelra_test::RunChild({"/bin/sh", "-c", example}, {path}, folder_.Path().string());
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_EQ(ran.err, "");
    Texts made;
    for (const std::string& name_after : FileNames()) {
      if (before.count(name_after) == 0) {
        made.push_back(name_after);
      }
    }
    // A printed line, an image, or a folder of images.
    ASSERT_EQ(made.size(), ran.out.empty() ? 1U : 0U);
    for (const std::string& file : made) {
      if (!fs::is_directory(File(file))) {
        EXPECT_FALSE(Read(File(file)).empty()) << file;
        continue;
      }
      EXPECT_GE(FileNames(file).size(), 2U);
      for (const std::string& part : FileNames(file)) {
        EXPECT_FALSE(Read(File(file + "/" + part)).empty()) << part;
      }
    }
  }
}

}  // namespace
