// What hole filling makes of the contours that another contour library finds, right or wrong.

#include <KELRA/KelImageOperation.h>

#include <limits>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "scripted_contours.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

constexpr int kSide = 40;

using Contours = std::vector<std::vector<cv::Point>>;

std::vector<cv::Point> Square(int first, int last) {
  return {{first, first}, {last, first}, {last, last}, {first, last}};
}

void Script(const Contours& contours, const std::vector<cv::Vec4i>& hierarchy) {
  ContourScript& script = FoundContours();
  script = {};
  for (const std::vector<cv::Point>& contour : contours) {
    script.starts.push_back(static_cast<int>(script.points.size()));
    script.points.insert(script.points.end(), contour.begin(), contour.end());
  }
  script.starts.push_back(static_cast<int>(script.points.size()));
  script.hierarchy = hierarchy;
}

KelLong Compute(const cv::Mat& image, bool holes_only, KelImage* dst) {
  KelImage src(image);
  KelROI whole;
  return KelImageOperation().ImageFill(src, whole, holes_only, dst);
}

// The contours drawn one by one with all that their hierarchy has below them.
cv::Mat Drawn(const cv::Mat& image, bool holes_only, const Contours& contours,
              const std::vector<cv::Vec4i>& hierarchy) {
  cv::Mat drawn = holes_only ? cv::Mat::zeros(image.size(), CV_8UC1) : image.clone();
  const auto draw = [&](int contour) {
    cv::drawContours(drawn, contours, contour, cv::Scalar(255), cv::FILLED, cv::LINE_8, hierarchy,
                     std::numeric_limits<int>::max());
  };
  for (int top = 0; top >= 0; top = hierarchy[static_cast<std::size_t>(top)][0]) {
    if (!holes_only) {
      draw(top);
    }
    for (int child = hierarchy[static_cast<std::size_t>(top)][2]; child > 0;
         child = hierarchy[static_cast<std::size_t>(child)][0]) {
      draw(child);
    }
  }
  return drawn;
}

void ExpectDrawn(const cv::Mat& image, const Contours& contours,
                 const std::vector<cv::Vec4i>& hierarchy) {
  Script(contours, hierarchy);
  for (const bool holes_only : {false, true}) {
    KelImage dst;
    ASSERT_EQ(Compute(image, holes_only, &dst), STATUS_OK);
    ASSERT_TRUE(SameImage(dst.Mat(), Drawn(image, holes_only, contours, hierarchy)));
  }
}

TEST(ImageFillOfFoundContours, DrawsEachObjectAndHoleWithAllThatLiesInIt) {
  const cv::Mat image = cv::Mat::zeros(kSide, kSide, CV_8UC1);
  const std::vector<cv::Vec4i> chain = {{-1, -1, 1, -1}, {-1, -1, 2, 0}, {-1, -1, -1, 1}};
  ExpectDrawn(image, {Square(2, 30), Square(5, 20), Square(8, 12)}, chain);
  // Apart from each other, whatever the hierarchy says.
  ExpectDrawn(image, {Square(2, 6), Square(10, 14), Square(20, 26)}, chain);
  ExpectDrawn(image, {Square(2, 9), Square(20, 26)}, {{1, -1, -1, -1}, {-1, 0, -1, -1}});
}

TEST(ImageFillOfFoundContours, DrawsWhatOpenCvFinds) {
  cv::RNG random(5);
  for (int trial = 0; trial < 300; ++trial) {
    cv::Mat image(kSide, kSide, CV_8UC1);
    random.fill(image, cv::RNG::UNIFORM, 0, 10);
    image = image > 2 + trial % 6;
    Contours contours;
    std::vector<cv::Vec4i> hierarchy;
    cv::findContours(image, contours, hierarchy, trial % 2 == 0 ? cv::RETR_TREE : cv::RETR_CCOMP,
                     cv::CHAIN_APPROX_SIMPLE);
    ExpectDrawn(image, contours, hierarchy);
  }
}

TEST(ImageFillOfFoundContours, ReportsTheStatusOfTheSearchAndMissingContoursAndTooMany) {
  const cv::Mat image = cv::Mat::zeros(kSide, kSide, CV_8UC1);
  const cv::Mat before(1, 2, CV_8UC1, cv::Scalar(3));
  const cv::Vec4i alone(-1, -1, -1, -1);
  const struct {
    ContourScript script;
    KelLong status;
  } kCases[] = {
      {{4711, Square(1, 5), {0, 4}, {alone}}, 4711},
      {{0, Square(1, 5), {}, {alone}}, ERR_FILL_NO_CONTOUR},
      {{0, Square(1, 5), {0}, {alone}}, ERR_FILL_NO_CONTOUR},
      {{0, Square(1, 5), {0, 4}, {}}, ERR_FILL_NO_CONTOUR},
      {{0, Square(1, 5), {0, 4}, std::vector<cv::Vec4i>(10000, alone)}, STATUS_OK},
      {{0, Square(1, 5), {0, 4}, std::vector<cv::Vec4i>(10001, alone)}, ERR_COUNT_LIMIT},
  };
  for (const auto& test : kCases) {
    FoundContours() = test.script;
    for (const bool holes_only : {false, true}) {
      KelImage dst(before);
      EXPECT_EQ(Compute(image, holes_only, &dst), test.status);
      EXPECT_EQ(dst.ImageData() == before.data, test.status != STATUS_OK);
    }
  }
}

TEST(ImageFillOfFoundContours, EndsWhereTheHierarchyLeadsInCircles) {
  const cv::Mat image = cv::Mat::zeros(kSide, kSide, CV_8UC1);
  const Contours contours = {Square(2, 30), Square(5, 20), Square(8, 12)};
  const std::vector<std::vector<cv::Vec4i>> kHierarchies = {
      {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}},
      {{1, -1, -1, -1}, {0, -1, -1, -1}, {-1, -1, -1, -1}},
      {{-1, -1, 1, -1}, {2, -1, -1, 0}, {1, -1, -1, 0}},
      {{-1, -1, 1, -1}, {-1, -1, 2, 0}, {-1, -1, 1, 1}},
      {{1, -1, 1, -1}, {1, -1, 1, 1}, {2, 2, 2, 2}},
  };
  for (const auto& hierarchy : kHierarchies) {
    Script(contours, hierarchy);
    for (const bool holes_only : {false, true}) {
      KelImage dst;
      EXPECT_EQ(Compute(image, holes_only, &dst), STATUS_OK);
    }
  }
}

TEST(ImageFillOfFoundContours, LeavesOutContoursThatAreNotThere) {
  const cv::Mat image = cv::Mat::zeros(kSide, kSide, CV_8UC1);
  cv::Mat square = image.clone();
  cv::rectangle(square, cv::Point(2, 2), cv::Point(9, 9), cv::Scalar(255), cv::FILLED);
  const cv::Vec4i next(1, -1, -1, -1);
  const cv::Vec4i last(-1, -1, -1, -1);
  const struct {
    const char* what;
    std::vector<int> starts;
    std::vector<cv::Vec4i> hierarchy;
  } kCases[] = {
      {"more links than starts", {0, 4}, {next, last}},
      {"more starts than links", {0, 4, 4, 4}, {last}},
      {"a link past the end", {0, 4}, {{7, -1, 9, -1}}},
      {"a start past the points", {0, 4, 5}, {next, last}},
      {"a start far past the points", {0, 4, std::numeric_limits<int>::max()}, {next, last}},
      {"a start before the points", {0, 4, -9}, {next, last}},
      {"starts that go back", {0, 4, 2}, {next, last}},
      {"a contour without points", {0, 4, 4}, {next, last}},
  };
  for (const auto& test : kCases) {
    FoundContours() = {0, Square(2, 9), test.starts, test.hierarchy};
    KelImage dst;
    EXPECT_EQ(Compute(image, false, &dst), STATUS_OK) << test.what;
    EXPECT_TRUE(SameImage(dst.Mat(), square)) << test.what;
  }
}

TEST(ImageFillOfFoundContours, StaysInsideTheImageWhateverIsFound) {
  cv::RNG random(6);
  for (int trial = 0; trial < 500; ++trial) {
    const int count = random.uniform(1, 12);
    ContourScript& script = FoundContours();
    script = {};
    for (int i = 0; i < 4 * count; ++i) {
      script.points.emplace_back(random.uniform(-kSide, 2 * kSide),
                                 random.uniform(-kSide, 2 * kSide));
    }
    for (int i = 0; i <= count; ++i) {
      script.starts.push_back(trial % 2 == 0 ? 4 * i : random.uniform(-2, 5 * count));
    }
    for (int i = 0; i < count; ++i) {
      script.hierarchy.emplace_back(random.uniform(-1, count + 2), random.uniform(-1, count),
                                    random.uniform(-1, count + 2), random.uniform(-1, count));
    }
    const cv::Mat pixels = RandomImage(kSide, kSide, CV_8UC1);
    for (const bool holes_only : {false, true}) {
      GuardedImage result(pixels, 3, 5);
      KelImage dst(result.Mat());
      ASSERT_EQ(Compute(pixels, holes_only, &dst), STATUS_OK);
      ASSERT_EQ(dst.ImageData(), result.Mat().data);
      ASSERT_TRUE(result.SurroundingsUntouched());
    }
  }
}

}  // namespace
}  // namespace kelra_test
