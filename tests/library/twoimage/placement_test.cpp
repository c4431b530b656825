#include "twoimage/placement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace KELRA {
namespace {

struct UprightCase {
  cv::Size first;
  cv::Size second;
  KelPoint position;
  cv::Rect on_first;
};

TEST(Placement, UprightIsCutAtTheRightAndBelow) {
  const UprightCase cases[] = {
      {{10, 8}, {10, 8}, {0, 0}, {0, 0, 10, 8}},
      {{10, 8}, {10, 8}, {3, 2}, {3, 2, 7, 6}},
      {{10, 8}, {10, 8}, {9, 7}, {9, 7, 1, 1}},
      {{10, 8}, {4, 3}, {3, 2}, {3, 2, 4, 3}},
      {{10, 8}, {4, 3}, {6, 5}, {6, 5, 4, 3}},
      {{10, 8}, {4, 3}, {7, 6}, {7, 6, 3, 2}},
      {{4, 3}, {10, 8}, {0, 0}, {0, 0, 4, 3}},
      {{4, 8}, {10, 3}, {1, 1}, {1, 1, 3, 3}},
      {{1, 1}, {1, 1}, {0, 0}, {0, 0, 1, 1}},
      {{2147483647, 1}, {2147483647, 1}, {5, 0}, {5, 0, 2147483642, 1}},
  };
  for (const UprightCase& c : cases) {
    const Placement placement = PlaceUpright(c.first, c.second, c.position);
    EXPECT_EQ(placement.on_first, c.on_first) << c.position.x << ", " << c.position.y;
    EXPECT_EQ(placement.OnSecond(), cv::Rect({0, 0}, c.on_first.size()));
  }
}

TEST(Placement, UprightDropsFractionsOfThePosition) {
  EXPECT_EQ(PlaceUpright({10, 8}, {10, 8}, {0.999, 7.999}).on_first, cv::Rect(0, 7, 10, 1));
  EXPECT_EQ(PlaceUpright({10, 8}, {4, 3}, {9.5, 0.5}).on_first, cv::Rect(9, 0, 1, 3));
}

struct TurnCase {
  double angle;
  cv::Size size;
  float shift_x;
  float shift_y;
};

// Cosine and sine of quarter turns are a little off 0 in single precision, and fractions are
// dropped, so that corners stay where they belong.
TEST(Placement, QuarterTurnsSwapOrKeepTheSizes) {
  for (const TurnCase& c : {TurnCase{90, {3, 5}, 0, 4},
                            {180, {5, 3}, 4, 2},
                            {270, {3, 5}, 2, 0},
                            {360, {5, 3}, 0, 0}}) {
    const Turn turn = TurnOf({5, 3}, c.angle);
    EXPECT_EQ(turn.size, c.size) << c.angle;
    EXPECT_EQ(turn.transform(0, 2), c.shift_x) << c.angle;
    EXPECT_EQ(turn.transform(1, 2), c.shift_y) << c.angle;
  }
}

TEST(Placement, AnEighthTurnFitsTheDiagonalBox) {
  // The corners (9, 0), (0, 4) and (9, 4) go to (6, -6), (2, 2) and (9, -3).
  const Turn turn = TurnOf({10, 5}, 45);
  EXPECT_EQ(turn.size, cv::Size(10, 9));
  const auto root = static_cast<float>(std::sqrt(0.5));
  EXPECT_EQ(turn.transform, cv::Matx23f(root, root, 0, -root, root, 6));
}

TEST(Placement, EveryCornerLandsInTheTurnedImage) {
  for (double angle = 0.5; angle <= 360; angle += 3.7) {
    for (const cv::Size size : {cv::Size(1, 1), {40, 1}, {1, 40}, {31, 17}, {200, 301}}) {
      const Turn turn = TurnOf(size, angle);
      for (const int x : {0, size.width - 1}) {
        for (const int y : {0, size.height - 1}) {
          const cv::Vec2f at =
              turn.transform * cv::Vec3f(static_cast<float>(x), static_cast<float>(y), 1);
          EXPECT_GT(at[0], -1.001F) << angle;
          EXPECT_LT(at[0], static_cast<float>(turn.size.width) + 0.001F) << angle;
          EXPECT_GT(at[1], -1.001F) << angle;
          EXPECT_LT(at[1], static_cast<float>(turn.size.height) + 0.001F) << angle;
        }
      }
    }
  }
}

TEST(Placement, SizesOfTheLargestImagesSaturate) {
  const Turn turn = TurnOf({2147483647, 2147483647}, 45);
  EXPECT_EQ(turn.size.width, 2147483647);
  EXPECT_EQ(turn.size.height, 2147483647);
}

// By plain geometry: the corners of a w x h rectangle turned about its first one.
TEST(Placement, FootprintTurnsAboutThePosition) {
  for (double angle = 0; angle <= 360; angle += 22.5) {
    const double radians = angle * 3.14159265358979 / 180;
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    const auto corners = Footprint({40, 20}, {100.25, 50.5}, angle);
    const cv::Point2d relative[] = {
        {20 * s, 20 * c}, {0, 0}, {40 * c, -40 * s}, {40 * c + 20 * s, 20 * c - 40 * s}};
    for (std::size_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(corners[i].x, 100.25 + relative[i].x, 1e-4) << angle << ", corner " << i;
      EXPECT_NEAR(corners[i].y, 50.5 + relative[i].y, 1e-4) << angle << ", corner " << i;
    }
  }
}

std::array<cv::Point2f, 4> FootprintFrom(float x, float y) {
  return {{{x + 3, y + 9}, {x, y + 2}, {x + 7, y}, {x + 9, y + 6}}};
}

struct TurnedCase {
  float x;
  float y;
  cv::Rect on_first;
  cv::Point on_second;
};

// A turned image of 10 x 8 on a first one of 30 x 20.
TEST(Placement, TurnedIsCutOnEverySide) {
  const TurnedCase cases[] = {
      {0, 0, {0, 0, 10, 8}, {0, 0}},          {4.9F, 3.9F, {4, 3, 10, 8}, {0, 0}},
      {20, 12, {20, 12, 10, 8}, {0, 0}},      {25.5F, 18.5F, {25, 18, 5, 2}, {0, 0}},
      {-0.5F, -0.5F, {0, 0, 9, 7}, {0, 0}},   {-3, -2, {0, 0, 7, 6}, {3, 2}},
      {-3.25F, -2.75F, {0, 0, 6, 5}, {3, 2}}, {-9, -7, {0, 0, 1, 1}, {9, 7}},
  };
  for (const TurnedCase& c : cases) {
    const Placement placement = PlaceTurned({30, 20}, {10, 8}, FootprintFrom(c.x, c.y));
    EXPECT_EQ(placement.on_first, c.on_first) << c.x << ", " << c.y;
    EXPECT_EQ(placement.on_second, c.on_second) << c.x << ", " << c.y;
  }
}

TEST(Placement, TurnedWhollyOutsideIsEmpty) {
  for (const cv::Point2f start : {cv::Point2f(-10, 0),
                                  {-9.5F, 0},
                                  {-1e9F, 0},
                                  {0, -8},
                                  {0, -100},
                                  {30, 0},
                                  {0, 20},
                                  {1e9F, 1e9F}}) {
    const Placement placement = PlaceTurned({30, 20}, {10, 8}, FootprintFrom(start.x, start.y));
    EXPECT_EQ(placement.on_first, cv::Rect()) << start;
  }
}

// Along one axis only.
TEST(Placement, ASecondImageLargerThanTheFirstIsCutOnBothSides) {
  const Placement placement = PlaceTurned({6, 100}, {20, 8}, FootprintFrom(-5, 50));
  EXPECT_EQ(placement.on_first, cv::Rect(0, 50, 6, 8));
  EXPECT_EQ(placement.on_second, cv::Point(5, 0));
}

TEST(Placement, StaysInBothImages) {
  cv::RNG random(7);
  int met = 0;
  for (int i = 0; i < 20000; ++i) {
    const cv::Size first(random.uniform(1, 60), random.uniform(1, 60));
    const cv::Size second(random.uniform(1, 90), random.uniform(1, 90));
    const KelPoint position{random.uniform(0.0, 1.0) * first.width,
                            random.uniform(0.0, 1.0) * first.height};
    const double angle = i % 3 == 0 ? random.uniform(0, 5) * 90.0 : random.uniform(0.0, 360.0);
    const cv::Size turned = TurnOf(second, angle).size;
    const Placement placement = PlaceTurned(first, turned, Footprint(second, position, angle));
    EXPECT_EQ(placement.on_first & cv::Rect({}, first), placement.on_first);
    EXPECT_EQ(placement.OnSecond() & cv::Rect({}, turned), placement.OnSecond());
    met += placement.on_first.empty() ? 0 : 1;
  }
  EXPECT_GT(met, 15000);
}

}  // namespace
}  // namespace KELRA
