#include <KELRA/KelImageOperation.h>

#include <climits>
#include <string>
#include <vector>

#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

constexpr KelColorRGBA kColor{10, 20, 30, 40};

struct CreateCase {
  std::string what;
  int height;
  int width;
  int type;
  int channels;
  KelColorRGBA color;
  KelLong status;
};

const CreateCase kCreateCases[] = {
    {"smallest", 1, 1, KEL_8U, 1, {0, 0, 0, 0}, STATUS_OK},
    {"height, width", 0, 0, KEL_32F, 2, {-1, 0, 0, 0}, ERR_PARAM_1},
    {"negative height", -1, 5, KEL_8U, 1, kColor, ERR_PARAM_1},
    {"width, type", 5, 0, KEL_32F, 2, {-1, 0, 0, 0}, ERR_PARAM_2},
    {"type 5, channels", 5, 5, KEL_32F, 2, {-1, 0, 0, 0}, ERR_PARAM_3},
    {"type 6, channels", 5, 5, KEL_64F, 2, {-1, 0, 0, 0}, ERR_PARAM_3},
    {"channels, color", 5, 5, KEL_8U, 2, {-1, 0, 0, 0}, ERR_PARAM_4},
    {"no channels", 5, 5, KEL_8U, 0, kColor, ERR_PARAM_4},
    {"five channels", 5, 5, KEL_8U, 5, kColor, ERR_PARAM_4},
    {"one channel checks red alone", 2, 3, KEL_8U, 1, {7, 300, 300, 300}, STATUS_OK},
    {"8U red below", 2, 3, KEL_8U, 1, {-1, 0, 0, 0}, ERR_PARAM_5},
    {"8U red above", 2, 3, KEL_8U, 1, {256, 0, 0, 0}, ERR_PARAM_5},
    {"8U largest", 2, 3, KEL_8U, 4, {255, 255, 255, 255}, STATUS_OK},
    {"8U green", 2, 3, KEL_8U, 3, {0, 256, 0, 0}, ERR_PARAM_5},
    {"8U blue", 2, 3, KEL_8U, 3, {0, 0, 256, 0}, ERR_PARAM_5},
    {"8U alpha, of three channels too", 2, 3, KEL_8U, 3, {0, 0, 0, 256}, ERR_PARAM_5},
    {"8S smallest", 2, 3, KEL_8S, 1, {-128, 0, 0, 0}, STATUS_OK},
    {"8S below", 2, 3, KEL_8S, 1, {-129, 0, 0, 0}, ERR_PARAM_5},
    {"8S above", 2, 3, KEL_8S, 1, {128, 0, 0, 0}, ERR_PARAM_5},
    {"16U largest", 2, 3, KEL_16U, 3, {65535, 65535, 65535, 65535}, STATUS_OK},
    {"16U above", 2, 3, KEL_16U, 4, {0, 0, 0, 65536}, ERR_PARAM_5},
    {"16U below", 2, 3, KEL_16U, 1, {-1, 0, 0, 0}, ERR_PARAM_5},
    {"16S ends", 2, 3, KEL_16S, 4, {-32768, 32767, -32768, 32767}, STATUS_OK},
    {"16S below", 2, 3, KEL_16S, 1, {-32769, 0, 0, 0}, ERR_PARAM_5},
    {"16S above", 2, 3, KEL_16S, 3, {0, 32768, 0, 0}, ERR_PARAM_5},
    {"32S ends", 2, 3, KEL_32S, 4, {INT_MIN + 1, INT_MAX, 0, INT_MAX}, STATUS_OK},
    {"32S red", 2, 3, KEL_32S, 1, {INT_MIN, 0, 0, 0}, ERR_PARAM_5},
    {"32S green", 2, 3, KEL_32S, 3, {0, INT_MIN, 0, 0}, ERR_PARAM_5},
    {"32S blue is not checked", 2, 3, KEL_32S, 4, {0, 0, INT_MIN, 0}, STATUS_OK},
    {"32S alpha", 2, 3, KEL_32S, 3, {0, 0, 0, INT_MIN}, ERR_PARAM_5},
    {"beyond the types no color is checked", 2, 3, 8, 1, {-5, 0, 0, 0}, STATUS_OK},
};

TEST(CreateConst, ReportsTheFirstFailingCheckAndLeavesTheOutputAlone) {
  for (const CreateCase& test : kCreateCases) {
    const cv::Mat before(1, 2, CV_8UC1, cv::Scalar(3));
    KelImage dst(before);
    KelImageOperation object;
    const auto run = [&](KelImage* output) {
      return object.CreateConst(output, test.height, test.width,
                                static_cast<KelImageType>(test.type), test.channels, test.color);
    };
    EXPECT_EQ(run(&dst), test.status) << test.what;
    EXPECT_EQ(dst.ImageData() == before.data, test.status != STATUS_OK) << test.what;
    EXPECT_EQ(run(nullptr), test.status != STATUS_OK ? test.status : ERR_IMAGE_EMPTY) << test.what;
  }
}

TEST(CreateConst, FillsOneChannelWithRedAndOthersWithBlueGreenRedAlpha) {
  KelImageOperation object;
  KelImage dst;
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, KEL_8U, 1, {7, 300, 300, 300}), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(2, 3, CV_8UC1, cv::Scalar(7))));
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, KEL_16U, 3, kColor), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(2, 3, CV_16UC3, cv::Scalar(30, 20, 10))));
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, KEL_8U, 4, kColor), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(2, 3, CV_8UC4, cv::Scalar(30, 20, 10, 40))));
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, KEL_32S, 4, {1, 2, INT_MIN, 4}), STATUS_OK);
  EXPECT_EQ(dst.Mat().at<cv::Vec4i>(1, 2), cv::Vec4i(INT_MIN, 2, 1, 4));
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, KEL_8S, 1, {-128, 0, 0, 0}), STATUS_OK);
  EXPECT_EQ(dst.Mat().at<schar>(0, 0), -128);
}

TEST(CreateConst, StandsForTheLowThreeBitsOfTypesBeyondTheKnown) {
  KelImageOperation object;
  KelImage dst;
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, static_cast<KelImageType>(8), 1, {300, 0, 0, 0}),
            STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(2, 3, CV_8UC1, cv::Scalar(255))));
}

TEST(CreateConst, AnswersWhatTheMakingThrowsWithACode) {
  KelImageOperation object;
  const cv::Mat before(1, 2, CV_8UC1, cv::Scalar(3));
  KelImage dst(before);
  RecordedLog log;
  EXPECT_EQ(object.CreateConst(&dst, INT_MAX, INT_MAX, KEL_32S, 4, kColor), ERR_CREATE_EXCEPTION);
  EXPECT_EQ(dst.ImageData(), before.data);
  EXPECT_EQ(log.Take(), std::vector{StartRecord("CreateConst", 6848)});
}

TEST(CreateConst, MakesANewImage) {
  KelImageOperation object;
  const cv::Mat before(2, 3, CV_8UC1, cv::Scalar(3));
  KelImage dst(before);
  RecordedLog log;
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, KEL_8U, 1, {7, 0, 0, 0}), STATUS_OK);
  EXPECT_NE(dst.ImageData(), before.data);
  EXPECT_EQ(log.Take(),
            (std::vector{StartRecord("CreateConst", 6848), ExitRecord("CreateConst", 6952)}));
}

TEST(Copy, CopiesEveryTypeIntoPixelsOfItsOwn) {
  for (const int type : {CV_8UC1, CV_8UC3, CV_16UC4, CV_32FC2, CV_64FC1, CV_8SC3}) {
    cv::Mat image(5, 7, type);
    cv::RNG(1).fill(image, cv::RNG::UNIFORM, 0, 100);
    KelImageOperation object;
    KelImage src(image(cv::Rect(1, 1, 5, 3)));
    KelImage dst;
    ASSERT_EQ(object.Copy(src, &dst), STATUS_OK);
    EXPECT_TRUE(SameImage(dst.Mat(), src.Mat()));
    EXPECT_NE(dst.ImageData(), src.ImageData());
  }
}

// Shared out, the largest also past the caches.
TEST(Copy, OfALargeImageGivesTheSame) {
  for (const int rows : {701, 5001}) {
    cv::Mat image(rows, 1301, CV_8UC3);
    cv::RNG(1).fill(image, cv::RNG::UNIFORM, 0, 256);
    for (const cv::Rect& part : {cv::Rect(0, 0, 1301, rows), cv::Rect(1, 1, 1299, rows - 2)}) {
      KelImageOperation object;
      KelImage src(image(part));
      KelImage dst;
      ASSERT_EQ(object.Copy(src, &dst), STATUS_OK);
      EXPECT_TRUE(SameImage(dst.Mat(), src.Mat()));
    }
  }
}

TEST(Copy, WritesAnOutputThatFitsInPlaceAndTouchesNothingBesideIt) {
  const cv::Mat image = RandomImage(5, 7, CV_8UC3, 1);
  GuardedImage guarded(RandomImage(5, 7, CV_8UC3, 2), 5, 9);
  KelImageOperation object;
  KelImage src(image);
  KelImage dst(guarded.Mat());
  ASSERT_EQ(object.Copy(src, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(guarded.Mat(), image));
  EXPECT_TRUE(guarded.SurroundingsUntouched());
}

TEST(Copy, MayOverlapItsInput) {
  KelImageOperation object;
  cv::Mat memory = RandomImage(12, 20, CV_8UC1);
  const cv::Mat image = memory.rowRange(0, 8).clone();
  KelImage src(memory.rowRange(0, 8));
  KelImage dst(memory.rowRange(3, 11));
  ASSERT_EQ(object.Copy(src, &dst), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), image));
  KelImage same(image.clone());
  ASSERT_EQ(object.Copy(same, &same), STATUS_OK);
  EXPECT_TRUE(SameImage(same.Mat(), image));
}

TEST(Copy, RefusesAnEmptyImageAndAnOutputThatIsNone) {
  KelImageOperation object;
  KelImage empty(cv::Mat(0, 10, CV_8UC1));
  const cv::Mat before(1, 2, CV_8UC1, cv::Scalar(3));
  KelImage dst(before);
  RecordedLog log;
  EXPECT_EQ(object.Copy(empty, &dst), ERR_IMAGE_EMPTY);
  EXPECT_EQ(dst.ImageData(), before.data);
  EXPECT_EQ(log.Take(), std::vector{StartRecord("Copy", 6964)});
  EXPECT_EQ(object.Copy(dst, nullptr), ERR_IMAGE_EMPTY);
}

TEST(Copy, LogsItsStartAndExit) {
  KelImageOperation object;
  KelImage src(RandomImage(2, 3, CV_8UC1));
  KelImage dst;
  RecordedLog log;
  ASSERT_EQ(object.Copy(src, &dst), STATUS_OK);
  EXPECT_EQ(log.Take(), (std::vector{StartRecord("Copy", 6964), ExitRecord("Copy", 6974)}));
}

}  // namespace
}  // namespace kelra_test
