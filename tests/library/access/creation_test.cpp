#include <KELRA/KelImageOperation.h>

#include <climits>
#include <cstdint>
#include <string>
#include <utility>
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

template <class Sample>
cv::Mat FilledAs(const cv::Mat& like, const KelColorRGBA& color) {
  cv::Mat image(like.size(), like.type());
  const int interleaved[] = {color.blue, color.green, color.red, color.alpha};
  const int channels = image.channels();
  for (int row = 0; row < image.rows; ++row) {
    for (int i = 0; i < image.cols * channels; ++i) {
      image.ptr<Sample>(row)[i] =
          static_cast<Sample>(channels == 1 ? color.red : interleaved[i % channels]);
    }
  }
  return image;
}

cv::Mat Filled(const cv::Mat& like, const KelColorRGBA& color) {
  switch (like.depth()) {
    case CV_8U:
      return FilledAs<std::uint8_t>(like, color);
    case CV_8S:
      return FilledAs<std::int8_t>(like, color);
    case CV_16U:
      return FilledAs<std::uint16_t>(like, color);
    case CV_16S:
      return FilledAs<std::int16_t>(like, color);
    case CV_32S:
      return FilledAs<std::int32_t>(like, color);
    case CV_32F:
      return FilledAs<float>(like, color);
    default:
      return FilledAs<double>(like, color);
  }
}

// A color of which every type has each component, in more than one byte where it has more.
KelColorRGBA ColorOf(int type) {
  switch (type) {
    case KEL_8U:
      return {200, 100, 50, 25};
    case KEL_8S:
      return {-128, 127, -3, 99};
    case KEL_16U:
      return {65535, 300, 0x1234, 7};
    case KEL_16S:
      return {-32768, 32767, -300, 0x1234};
    default:
      return {INT_MIN + 1, INT_MAX, INT_MIN, 0x12345678};
  }
}

constexpr int kIntegerTypes[] = {KEL_8U, KEL_8S, KEL_16U, KEL_16S, KEL_32S};

// Fills an image of the size and compares it with what the model makes.
void ExpectFilled(KelImage* dst, const cv::Size& size, int type, int channels,
                  const KelColorRGBA& color) {
  SCOPED_TRACE("type " + std::to_string(type) + " x " + std::to_string(channels) + ", width " +
               std::to_string(size.width));
  KelImageOperation object;
  ASSERT_EQ(object.CreateConst(dst, size.height, size.width, static_cast<KelImageType>(type),
                               channels, color),
            STATUS_OK);
  EXPECT_EQ(dst->Mat().type(), CV_MAKETYPE(type & 7, channels));
  ASSERT_EQ(dst->Mat().size(), size);
  EXPECT_TRUE(dst->Mat().isContinuous());
  EXPECT_TRUE(SameImage(dst->Mat(), Filled(dst->Mat(), color)));
}

TEST(CreateConst, FillsOneChannelWithRedAndOthersWithBlueGreenRedAlpha) {
  for (const int type : kIntegerTypes) {
    for (const int channels : {1, 3, 4}) {
      for (int width = 1; width <= 70; ++width) {
        KelImage dst;
        ExpectFilled(&dst, {width, 3}, type, channels, ColorOf(type));
      }
    }
  }
}

// Shared out, the largest also past the caches, whose last bytes are less than a repetition.
TEST(CreateConst, FillsLargeImages) {
  for (const cv::Size& size : {cv::Size(1, 100001), cv::Size(3001, 701), cv::Size(4099, 1501)}) {
    for (const auto& [type, channels] : {std::pair(KEL_8U, 1), {KEL_8U, 3}, {KEL_16S, 4}}) {
      KelImage dst;
      ExpectFilled(&dst, size, type, channels, ColorOf(type));
    }
  }
}

TEST(CreateConst, StandsForTheLowThreeBitsOfTypesBeyondTheKnown) {
  KelImage dst;
  ExpectFilled(&dst, {5, 2}, 8 + KEL_32S, 3, ColorOf(KEL_32S));
  ExpectFilled(&dst, {5, 2}, 8 + KEL_32F, 4, {1, -2, 300, 70000});
  ExpectFilled(&dst, {5, 2}, 8 + KEL_64F, 3, {INT_MAX, INT_MIN, 1, 0});
  KelImageOperation object;
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, static_cast<KelImageType>(8), 3, {300, -1, 77, 0}),
            STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), cv::Mat(2, 3, CV_8UC3, cv::Scalar(77, 0, 255))));
}

TEST(CreateConst, AnswersWhatTheMakingThrowsWithACode) {
  KelImageOperation object;
  const cv::Mat before(1, 2, CV_8UC1, cv::Scalar(3));
  KelImage dst(before);
  RecordedLog log;
  struct Case {
    cv::Size size;
    KelImageType type;
    int channels;
  };
  // In 64 bits the bytes of the last two are 0 and -4.
  for (const Case& c : {Case{{INT_MAX, INT_MAX}, KEL_32S, 4}, Case{{1 << 30, 1 << 30}, KEL_32S, 4},
                        Case{{1431655766, INT_MAX}, KEL_16U, 3}}) {
    EXPECT_EQ(object.CreateConst(&dst, c.size.height, c.size.width, c.type, c.channels, kColor),
              ERR_CREATE_EXCEPTION);
    EXPECT_EQ(dst.ImageData(), before.data);
    EXPECT_EQ(log.Take(), std::vector{StartRecord("CreateConst", 6848)});
  }
}

TEST(CreateConst, LeavesWhatItsOutputSharedAlone) {
  cv::Mat before = RandomImage(4, 6, CV_8UC3);
  const cv::Mat copy = before.clone();
  for (const cv::Mat& shared : {before, before(cv::Rect(1, 1, 3, 2)), before.rowRange(1, 3),
                                cv::Mat(4, 6, CV_8UC3, before.data)}) {
    KelImage dst(shared);
    ExpectFilled(&dst, shared.size(), KEL_8U, 3, {7, 8, 9, 0});
    EXPECT_TRUE(SameImage(before, copy));
  }
}

TEST(CreateConst, DoesNotKeepAPartOfALargerImage) {
  KelImage dst(RandomImage(400, 600, CV_8UC3)(cv::Rect(1, 1, 3, 2)));
  ExpectFilled(&dst, {3, 2}, KEL_8U, 3, {7, 8, 9, 0});
  EXPECT_FALSE(dst.Mat().isSubmatrix());
}

TEST(CreateConst, FillsAnImageOfItsOutputsOwnAgain) {
  for (const cv::Size& size : {cv::Size(7, 5), cv::Size(3001, 1501)}) {
    KelImage dst;
    ExpectFilled(&dst, size, KEL_8U, 3, ColorOf(KEL_8U));
    const void* const pixels = dst.ImageData();
    ExpectFilled(&dst, size, KEL_8U, 3, {1, 2, 3, 0});
    EXPECT_EQ(dst.ImageData(), pixels);
  }
}

TEST(CreateConst, LogsItsStartAndExit) {
  KelImageOperation object;
  KelImage dst;
  RecordedLog log;
  ASSERT_EQ(object.CreateConst(&dst, 2, 3, KEL_8U, 1, {7, 0, 0, 0}), STATUS_OK);
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
