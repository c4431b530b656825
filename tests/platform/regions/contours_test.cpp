#include <KELRA/KelRLC.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <limits>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <utility>
#include <vector>

#include "test_images.h"

namespace {

using KELRA::KelImage;
using KELRA::KelRLC;
using kelra_test::GuardedImage;
using kelra_test::SameImage;

using Contour = std::vector<cv::Point>;

struct Found {
  std::vector<Contour> contours;
  std::vector<cv::Vec4i> hierarchy;

  std::vector<int> Siblings(int first) const {
    std::vector<int> indices;
    for (int i = first; i >= 0; i = hierarchy[static_cast<std::size_t>(i)][0]) {
      indices.push_back(i);
    }
    return indices;
  }
  std::vector<int> Objects() const { return contours.empty() ? std::vector<int>{} : Siblings(0); }
  std::vector<int> ChildrenOf(int index) const {
    return Siblings(hierarchy[static_cast<std::size_t>(index)][2]);
  }
  const Contour& Line(int index) const { return contours[static_cast<std::size_t>(index)]; }
};

Found Find(const cv::Mat& pixels) {
  KelImage image(pixels);
  Contour points;
  std::vector<int> starts;
  Found found;
  EXPECT_EQ(KelRLC::FindContours(image, &points, &starts, &found.hierarchy), 0);
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    found.contours.emplace_back(points.begin() + starts[i], points.begin() + starts[i + 1]);
  }
  EXPECT_EQ(found.contours.size(), found.hierarchy.size());
  EXPECT_EQ(starts.empty(), found.contours.empty());
  if (!starts.empty()) {
    EXPECT_EQ(starts.front(), 0);
    EXPECT_EQ(starts.back(), static_cast<int>(points.size()));
  }
  return found;
}

void Paint(cv::Mat& canvas, const Found& found, int index) {
  cv::drawContours(canvas, found.contours, index, cv::Scalar(255), cv::FILLED, 8, found.hierarchy,
                   std::numeric_limits<int>::max());
}

cv::Mat FilledObjects(const cv::Mat& image, const Found& found) {
  cv::Mat canvas = image.clone();
  for (const int object : found.Objects()) {
    Paint(canvas, found, object);
    for (const int hole : found.ChildrenOf(object)) {
      Paint(canvas, found, hole);
    }
  }
  return canvas;
}

cv::Mat HolesAlone(const cv::Mat& image, const Found& found) {
  cv::Mat canvas = cv::Mat::zeros(image.size(), CV_8UC1);
  for (const int object : found.Objects()) {
    for (const int hole : found.ChildrenOf(object)) {
      Paint(canvas, found, hole);
    }
  }
  return canvas;
}

// Components by flood fill, pixel by pixel. Labels from 1 in the order of the first pixels.
struct Flood {
  Flood(const cv::Mat& image, bool foreground, int neighbours)
      : labels(cv::Mat::zeros(image.size(), CV_32SC1)) {
    constexpr std::array<std::pair<int, int>, 8> kSteps = {
        {{1, 0}, {-1, 0}, {0, 1}, {0, -1}, {1, 1}, {1, -1}, {-1, 1}, {-1, -1}}};
    const cv::Rect all({}, image.size());
    for (int y = 0; y < image.rows; ++y) {
      for (int x = 0; x < image.cols; ++x) {
        if ((image.at<uchar>(y, x) != 0) != foreground || labels.at<int>(y, x) != 0) {
          continue;
        }
        ++count;
        reaches_border.push_back(false);
        first.emplace_back(x, y);
        Contour stack = {{x, y}};
        labels.at<int>(y, x) = count;
        while (!stack.empty()) {
          const cv::Point at = stack.back();
          stack.pop_back();
          for (int i = 0; i < neighbours; ++i) {
            const auto [dx, dy] = kSteps[static_cast<std::size_t>(i)];
            const cv::Point next = at + cv::Point(dx, dy);
            if (!all.contains(next)) {
              reaches_border.back() = true;
            } else if ((image.at<uchar>(next) != 0) == foreground && labels.at<int>(next) == 0) {
              labels.at<int>(next) = count;
              stack.push_back(next);
            }
          }
        }
      }
    }
  }

  cv::Mat Pixels(int label) const { return labels == label; }

  cv::Mat labels;
  int count = 0;
  std::vector<bool> reaches_border;
  Contour first;  // the first pixel of each
};

// The holes' pixels.
cv::Mat PlainHoles(const cv::Mat& image) {
  const Flood background(image, false, 4);
  cv::Mat holes = cv::Mat::zeros(image.size(), CV_8UC1);
  for (int label = 1; label <= background.count; ++label) {
    if (!background.reaches_border[static_cast<std::size_t>(label - 1)]) {
      holes.setTo(255, background.Pixels(label));
    }
  }
  return holes;
}

// What cannot be reached from outside, through background joined over 4 neighbours.
cv::Mat PlainFilled(const cv::Mat& image) {
  cv::Mat padded;
  cv::copyMakeBorder(image, padded, 1, 1, 1, 1, cv::BORDER_CONSTANT, cv::Scalar(0));
  const Flood background(padded, false, 4);
  return 255 - background.Pixels(1)(cv::Rect(1, 1, image.cols, image.rows));
}

::testing::AssertionResult PaintsExactly(const cv::Mat& image) {
  const Found found = Find(image);
  const cv::Mat filled = PlainFilled(image);
  const cv::Mat holes = PlainHoles(image);
  if (const auto same = SameImage(FilledObjects(image, found), filled); !same) {
    return ::testing::AssertionFailure() << "filled: " << same.message() << '\n' << image;
  }
  if (const auto same = SameImage(HolesAlone(image, found), holes); !same) {
    return ::testing::AssertionFailure() << "holes: " << same.message() << '\n' << image;
  }
  return ::testing::AssertionSuccess();
}

// '#' is foreground; rows are separated by spaces.
cv::Mat Drawn(const std::string& text) {
  const auto width = std::min(text.find(' '), text.size());
  const std::size_t height = (text.size() + 1) / (width + 1);
  cv::Mat image(static_cast<int>(height), static_cast<int>(width), CV_8UC1);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      image.at<uchar>(static_cast<int>(y), static_cast<int>(x)) =
          text[y * (width + 1) + x] == '#' ? 255 : 0;
    }
  }
  return image;
}

cv::Mat RandomBinary(cv::RNG& random, cv::Size size, double density, int value) {
  cv::Mat image(size, CV_8UC1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      image.at<uchar>(y, x) =
          random.uniform(0.0, 1.0) < density ? static_cast<uchar>(value) : uchar{0};
    }
  }
  return image;
}

TEST(Contours, OfTheBlackImageAreNone) {
  EXPECT_TRUE(Find(cv::Mat::zeros(5, 7, CV_8UC1)).contours.empty());
}

TEST(Contours, OfTheWhiteImageAreOneAlongItsEdges) {
  const Found found = Find(cv::Mat(5, 7, CV_8UC1, cv::Scalar(1)));
  ASSERT_EQ(found.contours.size(), 1U);
  EXPECT_EQ(found.hierarchy[0], cv::Vec4i(-1, -1, -1, -1));
  EXPECT_EQ(cv::contourArea(found.contours[0]), 24);
  for (const cv::Point& corner : {cv::Point(0, 0), {6, 0}, {6, 4}, {0, 4}}) {
    EXPECT_NE(std::find(found.contours[0].begin(), found.contours[0].end(), corner),
              found.contours[0].end())
        << corner;
  }
}

TEST(Contours, OfASinglePixelAreOnePoint) {
  const Found found = Find(Drawn("... .#. ..."));
  ASSERT_EQ(found.contours.size(), 1U);
  EXPECT_EQ(found.contours[0], (Contour{{1, 1}}));
}

TEST(Contours, DiagonalNeighboursAreOneObjectAndEncloseAHole) {
  const Found found = Find(Drawn(".#. #.# .#."));
  ASSERT_EQ(found.contours.size(), 2U);
  EXPECT_EQ(found.contours[0].size(), 4U);
  EXPECT_EQ(cv::contourArea(found.contours[0]), 2);
  EXPECT_EQ(found.contours[1], (Contour{{1, 1}}));
  EXPECT_EQ(found.hierarchy[0], cv::Vec4i(-1, -1, 1, -1));
  EXPECT_EQ(found.hierarchy[1], cv::Vec4i(-1, -1, -1, 0));
}

TEST(Contours, BackgroundThatMeetsTheBorderDiagonallyIsAHole) {
  const cv::Mat image = Drawn(".## #.# ###");
  EXPECT_EQ(Find(image).contours.size(), 2U);
  EXPECT_TRUE(PaintsExactly(image));
}

TEST(Contours, BackgroundAtTheBorderIsNoHole) {
  EXPECT_EQ(Find(Drawn("### #.# #.#")).contours.size(), 1U);
  EXPECT_EQ(Find(Drawn("### ..# ###")).contours.size(), 1U);
}

TEST(Contours, ObjectInAHoleIsATopLevelContourAndTheHoleHasOneAroundIt) {
  const Found found = Find(Drawn("##### #...# #.#.# #...# #####"));
  ASSERT_EQ(found.contours.size(), 4U);
  const std::vector<int> objects = found.Objects();
  ASSERT_EQ(objects.size(), 2U);
  EXPECT_EQ(found.Line(objects[1]), (Contour{{2, 2}}));
  EXPECT_TRUE(found.ChildrenOf(objects[1]).empty());
  const std::vector<int> holes = found.ChildrenOf(objects[0]);
  ASSERT_EQ(holes.size(), 1U);
  EXPECT_EQ(cv::boundingRect(found.Line(holes[0])), cv::Rect(1, 1, 3, 3));
  const std::vector<int> around = found.ChildrenOf(holes[0]);
  ASSERT_EQ(around.size(), 1U);
  EXPECT_EQ(cv::boundingRect(found.Line(around[0])), cv::Rect(1, 1, 3, 3));
  EXPECT_TRUE(found.ChildrenOf(around[0]).empty());
}

TEST(Contours, AndTheirHolesComeInTheOrderOfTheirFirstPixels) {
  const Found found = Find(Drawn("###.### #.#.#.# ###.### #.#.#.# ###.###"));
  ASSERT_EQ(found.contours.size(), 6U);
  const std::vector<int> objects = found.Objects();
  ASSERT_EQ(objects.size(), 2U);
  EXPECT_EQ(cv::boundingRect(found.Line(objects[0])).x, 0);
  EXPECT_EQ(cv::boundingRect(found.Line(objects[1])).x, 4);
  const std::vector<int> left = found.ChildrenOf(objects[0]);
  const std::vector<int> right = found.ChildrenOf(objects[1]);
  ASSERT_EQ(left.size(), 2U);
  ASSERT_EQ(right.size(), 2U);
  EXPECT_EQ(found.Line(left[0]), (Contour{{1, 1}}));
  EXPECT_EQ(found.Line(left[1]), (Contour{{1, 3}}));
  EXPECT_EQ(found.Line(right[0]), (Contour{{5, 1}}));
  EXPECT_EQ(found.Line(right[1]), (Contour{{5, 3}}));
}

TEST(Contours, HierarchyLinksAgreeWithEachOther) {
  cv::RNG random(20);
  for (int trial = 0; trial < 300; ++trial) {
    const Found found = Find(RandomBinary(random, {24, 20}, 0.1 * random.uniform(1, 10), 255));
    std::size_t reached = 0;
    const std::function<void(const std::vector<int>&, int)> check =
        [&](const std::vector<int>& siblings, int parent) {
          int previous = -1;
          for (const int index : siblings) {
            const cv::Vec4i& links = found.hierarchy[static_cast<std::size_t>(index)];
            EXPECT_EQ(links[1], previous);
            EXPECT_EQ(links[3], parent);
            EXPECT_GT(index, std::max(previous, parent));
            previous = index;
            ++reached;
            check(found.ChildrenOf(index), index);
          }
        };
    check(found.Objects(), -1);
    ASSERT_EQ(reached, found.contours.size());
  }
}

TEST(Contours, PaintedFilledCoverObjectsAndHolesExactly) {
  for (const std::string text :
       {"#", "##", "# #", "#### #..# #..# ####", "##### #...# #.#.# #...# #####",
        "####### #.....# #.###.# #.#.#.# #.###.# #.....# #######",
        "######### #.......# #.#...#.# #.......# #.#.#.#.# #.......# #########",
        ".#.#. #.#.# .#.#. #.#.# .#.#.", "###### #....# #.##.# #..#.# #.#..# #....# ######",
        "######## #......# ######.# #....#.# #.##.#.# #.#..#.# #.####.# #......# ########",
        // Two objects in one row of a hole, the right one beginning above the left.
        "######### #.......# #.....#.# #.#.###.# #.......# #########"}) {
    EXPECT_TRUE(PaintsExactly(Drawn(text)));
  }
}

TEST(Contours, OfRandomImagesCoverObjectsAndHolesExactly) {
  cv::RNG random(21);
  for (int trial = 0; trial < 6000; ++trial) {
    const cv::Size size(random.uniform(1, 18), random.uniform(1, 14));
    const double density = 0.1 * random.uniform(1, 10);
    const int value = random.uniform(0, 2) == 0 ? 255 : random.uniform(1, 256);
    ASSERT_TRUE(PaintsExactly(RandomBinary(random, size, density, value))) << "trial " << trial;
  }
}

// Blobs inside blobs: every object and hole drawn into what is there already.
TEST(Contours, OfNestedObjectsCoverObjectsAndHolesExactly) {
  cv::RNG random(22);
  for (int trial = 0; trial < 40; ++trial) {
    cv::Mat image = cv::Mat::zeros(random.uniform(60, 160), random.uniform(60, 220), CV_8UC1);
    for (int shape = 0; shape < 120; ++shape) {
      const cv::Point center(random.uniform(0, image.cols), random.uniform(0, image.rows));
      const cv::Size axes(random.uniform(1, 40), random.uniform(1, 40));
      cv::ellipse(image, center, axes, random.uniform(0.0, 180.0), 0, 360,
                  cv::Scalar(random.uniform(0, 2) * 255), random.uniform(0, 2) == 0 ? 1 : -1);
    }
    ASSERT_TRUE(PaintsExactly(image)) << "trial " << trial;
  }
}

TEST(Contours, OfRingsInRingsCoverObjectsAndHolesExactly) {
  cv::Mat image = cv::Mat::zeros(301, 401, CV_8UC1);
  for (int inset = 0; inset < 150; inset += 3) {
    cv::rectangle(image, cv::Rect(inset, inset, 401 - 2 * inset, 301 - 2 * inset), cv::Scalar(255));
  }
  const Found found = Find(image);
  EXPECT_EQ(found.Objects().size(), 50U);
  EXPECT_TRUE(PaintsExactly(image));
}

TEST(Contours, BelongToOneComponentEach) {
  cv::RNG random(23);
  for (int trial = 0; trial < 300; ++trial) {
    const cv::Mat image = RandomBinary(random, {24, 20}, 0.1 * random.uniform(3, 9), 255);
    const Flood objects(image, true, 8);
    const Flood background(image, false, 4);
    const Found found = Find(image);
    const std::vector<int> tops = found.Objects();
    ASSERT_EQ(static_cast<int>(tops.size()), objects.count);
    std::size_t holes = 0;
    for (int label = 1; label <= objects.count; ++label) {
      const int top = tops[static_cast<std::size_t>(label - 1)];
      for (const cv::Point& point : found.Line(top)) {
        ASSERT_EQ(objects.labels.at<int>(point), label);
      }
      int last = 0;
      for (const int hole : found.ChildrenOf(top)) {
        ++holes;
        const int hole_label = background.labels.at<int>(found.Line(hole).front());
        ASSERT_GT(hole_label, last);  // the order of the first pixels
        last = hole_label;
        cv::Mat painted = cv::Mat::zeros(image.size(), CV_8UC1);
        Paint(painted, found, hole);
        ASSERT_TRUE(SameImage(painted, background.Pixels(hole_label)));
        // Left of a hole's first pixel is the object around it.
        ASSERT_EQ(objects.labels.at<int>(
                      background.first[static_cast<std::size_t>(hole_label - 1)] - cv::Point(1, 0)),
                  label);
      }
    }
    ASSERT_EQ(holes, static_cast<std::size_t>(std::count(background.reaches_border.begin(),
                                                         background.reaches_border.end(), false)));
  }
}

TEST(Contours, LeadStraightFromPointToPoint) {
  cv::RNG random(24);
  for (int trial = 0; trial < 200; ++trial) {
    const Found found = Find(RandomBinary(random, {40, 30}, 0.1 * random.uniform(1, 10), 255));
    for (const Contour& contour : found.contours) {
      for (std::size_t i = 0; i < contour.size(); ++i) {
        const cv::Point way = contour[(i + 1) % contour.size()] - contour[i];
        ASSERT_TRUE(way.x == 0 || way.y == 0 || std::abs(way.x) == std::abs(way.y));
        ASSERT_TRUE(contour.size() == 1 || way != cv::Point());
      }
    }
  }
}

// 200 x 120 squares of 3 x 3 pixels, each with a hole.
TEST(Contours, MayBeManyThousands) {
  cv::Mat image = cv::Mat::zeros(480, 800, CV_8UC1);
  for (int y = 0; y < image.rows; y += 4) {
    for (int x = 0; x < image.cols; x += 4) {
      cv::rectangle(image, cv::Rect(x, y, 3, 3), cv::Scalar(255));
    }
  }
  const Found found = Find(image);
  EXPECT_EQ(found.contours.size(), 48000U);
  EXPECT_EQ(found.Objects().size(), 24000U);
}

TEST(Contours, OfWideImagesAreFoundAcrossBlocksOfPixels) {
  cv::RNG random(25);
  for (int width = 50; width <= 210; ++width) {
    ASSERT_TRUE(PaintsExactly(RandomBinary(random, {width, 6}, 0.7, 200))) << width;
    cv::Mat framed(5, width, CV_8UC1, cv::Scalar(255));
    framed.row(2).colRange(1, width - 1).setTo(0);
    ASSERT_TRUE(PaintsExactly(framed)) << width;
  }
}

TEST(Contours, ReadThePixelsOfTheImageAlone) {
  cv::RNG random(26);
  for (const int gap : {0, 13}) {
    const cv::Mat pixels = RandomBinary(random, {67, 20}, 0.6, 255);
    GuardedImage image(pixels, gap, gap);
    const Found found = Find(image.Mat());
    const Found expected = Find(pixels);
    EXPECT_EQ(found.contours, expected.contours);
    EXPECT_EQ(found.hierarchy, expected.hierarchy);
    EXPECT_TRUE(image.SurroundingsUntouched());
  }
}

TEST(Contours, RefuseOtherImagesAndKeepTheOutputs) {
  const int sizes[] = {2, 2, 2};
  for (const cv::Mat& mat :
       {cv::Mat(), cv::Mat(0, 3, CV_8UC1), cv::Mat(3, 3, CV_8SC1), cv::Mat(3, 3, CV_16UC1),
        cv::Mat(3, 3, CV_8UC3), cv::Mat(3, sizes, CV_8UC1)}) {
    KelImage image(mat);
    Contour points = {{1, 2}};
    std::vector<int> starts = {7};
    std::vector<cv::Vec4i> hierarchy = {{1, 2, 3, 4}};
    EXPECT_EQ(KelRLC::FindContours(image, &points, &starts, &hierarchy), KELRA::KEL_RLC_ERR_IMAGE);
    EXPECT_EQ(points, (Contour{{1, 2}}));
    EXPECT_EQ(starts, std::vector<int>{7});
    EXPECT_EQ(hierarchy, (std::vector<cv::Vec4i>{{1, 2, 3, 4}}));
  }
}

TEST(Contours, RefuseNullOutputs) {
  KelImage image;
  Contour points;
  std::vector<int> starts;
  std::vector<cv::Vec4i> hierarchy;
  EXPECT_EQ(KelRLC::FindContours(image, nullptr, &starts, &hierarchy), KELRA::KEL_RLC_ERR_OUTPUT);
  EXPECT_EQ(KelRLC::FindContours(image, &points, nullptr, &hierarchy), KELRA::KEL_RLC_ERR_OUTPUT);
  EXPECT_EQ(KelRLC::FindContours(image, &points, &starts, nullptr), KELRA::KEL_RLC_ERR_OUTPUT);
}

}  // namespace
