#include "rasterize.h"

#include <KELRA/KelData.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <ctime>
#include <functional>
#include <limits>
#include <opencv2/core.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "run_grid.h"

namespace {

using KELRA::KelAnnulusShape;
using KELRA::KelCircleShape;
using KELRA::KelEllipseShape;
using KELRA::KelPoint;
using KELRA::KelPolygonShape;
using KELRA::KelRectangleShape;
using KELRA::KelRegion;
using KELRA::KelRotatedRectangleShape;
using KELRA::KelRun;
using KELRA::KelShape;
using KELRA::PixelRuns;
using KELRA::Rasterize;
using kelra_test::AreMaximalRuns;
using kelra_test::Painted;
using kelra_test::SameRuns;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// What a model says about a pixel; `kEither` within the model's own rounding of a boundary.
enum class Verdict { kOutside, kInside, kEither };

Verdict Exactly(bool inside) { return inside ? Verdict::kInside : Verdict::kOutside; }

using Model = std::function<Verdict(int column, int row)>;

// Runs that are well formed, tightly boxed, and cover what the model says.
::testing::AssertionResult Agrees(const KelShape& shape, cv::Size image, const Model& model) {
  const PixelRuns got = Rasterize(shape, image);
  if (const auto well_formed = AreMaximalRuns(got.runs, image); !well_formed) {
    return well_formed;
  }
  const cv::Mat grid = Painted(got.runs, image);
  std::vector<cv::Point> covered;
  for (int row = 0; row < image.height; ++row) {
    for (int column = 0; column < image.width; ++column) {
      const bool inside = grid.at<uchar>(row, column) != 0;
      const Verdict expected = model(column, row);
      if (expected != Verdict::kEither && inside != (expected == Verdict::kInside)) {
        return ::testing::AssertionFailure()
               << "column " << column << ", row " << row << " of " << image.width << " x "
               << image.height << " is " << (inside ? "covered" : "not covered");
      }
      if (inside) {
        covered.emplace_back(column, row);
      }
    }
  }
  cv::Rect box;
  for (const cv::Point& point : covered) {
    box |= cv::Rect(point, cv::Size(1, 1));
  }
  if (got.box != box) {
    return ::testing::AssertionFailure() << "box " << got.box << " instead of " << box;
  }
  if (got.FillsBox() != (static_cast<int>(covered.size()) == box.area())) {
    return ::testing::AssertionFailure() << "FillsBox is wrong";
  }
  return ::testing::AssertionSuccess();
}

// Random shapes whose lengths are whole eighths, so that the models can decide about every pixel
// in integers, and that hit pixel centres often.
class RandomShapes {
 public:
  explicit RandomShapes(std::uint64_t seed) : random_(seed) {}

  bool Chance(int one_in) { return random_.uniform(0, one_in) == 0; }
  int Int(int low, int high) { return random_.uniform(low, high + 1); }
  cv::Size Image() { return {Int(1, 60), Int(1, 40)}; }

  // Eighths of a pixel; mostly whole or half pixels.
  int Eighths(int low, int high) {
    const int unit = Chance(3) ? 1 : Chance(2) ? 4 : 8;
    return Int(low * 8 / unit, high * 8 / unit) * unit;
  }

 private:
  cv::RNG random_;
};

double Pixels(std::int64_t eighths) { return static_cast<double>(eighths) / 8; }

constexpr int kTrials = 3000;

TEST(Rasterize, RectangleIsHalfOpen) {
  RandomShapes random(11);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    const int x = random.Eighths(-30, 70);
    const int y = random.Eighths(-30, 50);
    const int w = random.Eighths(-3, 60);
    const int h = random.Eighths(-3, 60);
    ASSERT_TRUE(Agrees(KelRectangleShape{Pixels(x), Pixels(y), Pixels(w), Pixels(h)}, image,
                       [&](int column, int row) {
                         return Exactly(x <= 8 * column && 8 * column < x + w && y <= 8 * row &&
                                        8 * row < y + h);
                       }))
        << "trial " << trial;
  }
}

TEST(Rasterize, RectanglesSideBySideShareNoPixelAndLeaveNoneOut) {
  const cv::Size image(40, 8);
  for (const double cut : {7.0, 7.25, 7.5, 8.0, 19.999}) {
    const PixelRuns left = Rasterize(KelRectangleShape{0, 0, cut, 8}, image);
    const PixelRuns right = Rasterize(KelRectangleShape{cut, 0, 40 - cut, 8}, image);
    EXPECT_EQ(left.box.width + right.box.width, 40) << cut;
    EXPECT_EQ(left.box.width, right.box.x) << cut;
  }
}

TEST(Rasterize, RotatedRectangleAtRightAnglesIsTheRectangle) {
  RandomShapes random(12);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    const int x = random.Eighths(-10, 60);
    const int y = random.Eighths(-10, 50);
    int w = random.Eighths(0, 50);
    int h = random.Eighths(0, 50);
    const int quarters = random.Int(-9, 9);
    const KelRotatedRectangleShape rotated{
        {Pixels(x), Pixels(y)}, Pixels(w), Pixels(h), quarters * 90.0};
    if (quarters % 2 != 0) {
      std::swap(w, h);
    }
    const KelRectangleShape upright{Pixels(x) - w / 16.0, Pixels(y) - h / 16.0, Pixels(w),
                                    Pixels(h)};
    ASSERT_TRUE(SameRuns(Rasterize(rotated, image).runs, Rasterize(upright, image).runs))
        << "trial " << trial << ", " << quarters << " quarter turns";
  }
}

TEST(Rasterize, RotatedRectangleAgreesWithDistancesInItsOwnAxes) {
  RandomShapes random(13);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    const KelRotatedRectangleShape shape{
        {Pixels(random.Eighths(-10, 60)), Pixels(random.Eighths(-10, 50))},
        Pixels(random.Eighths(0, 50)),
        Pixels(random.Eighths(0, 50)),
        random.Chance(3) ? random.Int(-8, 8) * 45.0 : random.Int(-7200, 7200) / 10.0};
    const long double turn = shape.angleDegrees * 3.14159265358979323846L / 180;
    ASSERT_TRUE(Agrees(shape, image,
                       [&](int column, int row) {
                         const long double dx = column - shape.center.x;
                         const long double dy = row - shape.center.y;
                         const long double u = std::abs(dx * std::cos(turn) + dy * std::sin(turn));
                         const long double v = std::abs(dy * std::cos(turn) - dx * std::sin(turn));
                         const long double excess =
                             std::max(u - shape.width / 2, v - shape.height / 2);
                         return std::abs(excess) < 1e-9L ? Verdict::kEither : Exactly(excess < 0);
                       }))
        << "trial " << trial << ", angle " << shape.angleDegrees;
  }
}

TEST(Rasterize, CircleIncludesItsRim) {
  RandomShapes random(14);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    const std::int64_t x = random.Eighths(-20, 70);
    const std::int64_t y = random.Eighths(-20, 60);
    const std::int64_t r = random.Eighths(0, 45);
    ASSERT_TRUE(Agrees(KelCircleShape{{Pixels(x), Pixels(y)}, Pixels(r)}, image,
                       [&](int column, int row) {
                         const std::int64_t dx = std::int64_t{8} * column - x;
                         const std::int64_t dy = std::int64_t{8} * row - y;
                         return Exactly(dx * dx + dy * dy <= r * r);
                       }))
        << "trial " << trial;
  }
}

TEST(Rasterize, AnnulusIncludesBothRims) {
  RandomShapes random(15);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    const std::int64_t x = random.Eighths(-20, 70);
    const std::int64_t y = random.Eighths(-20, 60);
    const std::int64_t inner = random.Eighths(0, 30);
    const std::int64_t outer = random.Eighths(0, 45);
    ASSERT_TRUE(Agrees(KelAnnulusShape{{Pixels(x), Pixels(y)}, Pixels(inner), Pixels(outer)}, image,
                       [&](int column, int row) {
                         const std::int64_t dx = std::int64_t{8} * column - x;
                         const std::int64_t dy = std::int64_t{8} * row - y;
                         const std::int64_t d = dx * dx + dy * dy;
                         return Exactly(inner * inner <= d && d <= outer * outer);
                       }))
        << "trial " << trial;
  }
}

TEST(Rasterize, UprightEllipseIncludesItsRim) {
  RandomShapes random(16);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    const std::int64_t x = random.Eighths(-10, 60);
    const std::int64_t y = random.Eighths(-10, 50);
    std::int64_t rx = random.Eighths(0, 45);
    std::int64_t ry = random.Eighths(0, 45);
    const int quarters = random.Int(-5, 5);
    const KelEllipseShape shape{{Pixels(x), Pixels(y)}, Pixels(rx), Pixels(ry), quarters * 90.0};
    if (quarters % 2 != 0) {
      std::swap(rx, ry);
    }
    ASSERT_TRUE(Agrees(shape, image,
                       [&](int column, int row) {
                         const std::int64_t dx = (std::int64_t{8} * column - x) * ry;
                         const std::int64_t dy = (std::int64_t{8} * row - y) * rx;
                         return Exactly(rx > 0 && ry > 0 && dx * dx + dy * dy <= rx * ry * rx * ry);
                       }))
        << "trial " << trial;
  }
}

TEST(Rasterize, TurnedEllipseAgreesWithItsEquation) {
  RandomShapes random(17);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    const KelEllipseShape shape{
        {Pixels(random.Eighths(-10, 60)), Pixels(random.Eighths(-10, 50))},
        Pixels(random.Eighths(1, 50)),
        Pixels(random.Eighths(1, 50)),
        random.Chance(3) ? random.Int(-8, 8) * 45.0 : random.Int(-7200, 7200) / 10.0};
    const long double turn = shape.angleDegrees * 3.14159265358979323846L / 180;
    ASSERT_TRUE(Agrees(shape, image,
                       [&](int column, int row) {
                         const long double dx = column - shape.center.x;
                         const long double dy = row - shape.center.y;
                         const long double u =
                             (dx * std::cos(turn) + dy * std::sin(turn)) / shape.radiusX;
                         const long double v =
                             (dy * std::cos(turn) - dx * std::sin(turn)) / shape.radiusY;
                         const long double value = u * u + v * v;
                         return std::abs(value - 1) < 1e-9L ? Verdict::kEither : Exactly(value < 1);
                       }))
        << "trial " << trial << ", angle " << shape.angleDegrees;
  }
}

// Even-odd by a ray to the right, and every edge on its own, in whole eighths.
struct PolygonModel {
  std::vector<std::pair<std::int64_t, std::int64_t>> vertices;

  bool Covers(std::int64_t x, std::int64_t y) const {
    bool inside = false;
    for (std::size_t i = 0; i < vertices.size(); ++i) {
      const auto [ax, ay] = vertices[i];
      const auto [bx, by] = vertices[(i + 1) % vertices.size()];
      const std::int64_t cross = (bx - ax) * (y - ay) - (by - ay) * (x - ax);
      if (cross == 0 && std::min(ax, bx) <= x && x <= std::max(ax, bx) && std::min(ay, by) <= y &&
          y <= std::max(ay, by)) {
        return true;
      }
      if ((ay <= y) != (by <= y) && (cross < 0) == (by < ay)) {
        inside = !inside;
      }
    }
    return inside && vertices.size() >= 3;
  }
};

TEST(Rasterize, PolygonIsEvenOddWithItsEdges) {
  RandomShapes random(18);
  for (int trial = 0; trial < 2 * kTrials; ++trial) {
    const cv::Size image = random.Image();
    PolygonModel model;
    KelPolygonShape shape;
    const int count = random.Chance(20) ? random.Int(20, 60) : random.Int(3, 9);
    const int low = random.Chance(2) ? -40 : 0;
    const int high = random.Chance(4) ? 8 : 70;
    for (int i = 0; i < count; ++i) {
      if (i > 0 && random.Chance(8)) {
        model.vertices.push_back(model.vertices[static_cast<std::size_t>(random.Int(0, i - 1))]);
      } else {
        model.vertices.emplace_back(random.Eighths(low, high), random.Eighths(low, high));
      }
      // Level and vertical edges more often than chance has them.
      if (i > 0 && random.Chance(4)) {
        model.vertices.back().second = model.vertices[static_cast<std::size_t>(i - 1)].second;
      } else if (i > 0 && random.Chance(4)) {
        model.vertices.back().first = model.vertices[static_cast<std::size_t>(i - 1)].first;
      }
      shape.vertices.push_back(
          {Pixels(model.vertices.back().first), Pixels(model.vertices.back().second)});
    }
    ASSERT_TRUE(Agrees(shape, image,
                       [&](int column, int row) {
                         return Exactly(
                             model.Covers(8 * std::int64_t{column}, 8 * std::int64_t{row}));
                       }))
        << "trial " << trial;
  }
}

TEST(Rasterize, PolygonWithFewerThanThreeVerticesCoversNothing) {
  for (const std::vector<KelPoint>& vertices :
       {std::vector<KelPoint>{}, {{2, 2}}, {{2, 2}, {6, 2}}}) {
    EXPECT_TRUE(Rasterize(KelPolygonShape{vertices}, {10, 10}).runs.empty()) << vertices.size();
  }
}

TEST(Rasterize, PolygonWithoutAreaCoversThePixelsOnItsEdges) {
  const PixelRuns got = Rasterize(KelPolygonShape{{{1, 1}, {4, 4}, {2, 2}}}, {10, 10});
  EXPECT_TRUE(SameRuns(got.runs, {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}}));
}

TEST(Rasterize, RegionIsTheUnionOfItsRunsWithinTheImage) {
  RandomShapes random(19);
  for (int trial = 0; trial < kTrials; ++trial) {
    const cv::Size image = random.Image();
    KelRegion region(random.Int(0, 30), random.Int(0, 30));
    for (int i = random.Int(0, 40); i > 0; --i) {
      const int first = random.Int(-20, 80);
      region.Append({random.Int(-5, 45), first, first + random.Int(-3, 12)});
    }
    ASSERT_TRUE(Agrees(region, image,
                       [&](int column, int row) {
                         for (const KelRun& run : region.Runs()) {
                           if (run.row == row && run.firstColumn <= column &&
                               column <= run.lastColumn) {
                             return Verdict::kInside;
                           }
                         }
                         return Verdict::kOutside;
                       }))
        << "trial " << trial;
  }
}

TEST(Rasterize, RegionRunsMayReachTheEndsOfTheIntegers) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  KelRegion region(1, 1);
  region.Append({1, kMin, kMax});
  region.Append({2, 3, kMax});
  region.Append({3, kMin, 4});
  region.Append({kMin, 0, 5});
  region.Append({kMax, 0, 5});
  region.Append({4, kMax, kMin});
  EXPECT_TRUE(SameRuns(Rasterize(region, {8, 8}).runs, {{1, 0, 7}, {2, 3, 7}, {3, 0, 4}}));
}

TEST(Rasterize, NotFiniteOrNegativeLengthsCoverNothing) {
  std::vector<KelShape> shapes = {
      std::monostate{},
      KelRectangleShape{2, 2, 0, 5},
      KelRectangleShape{2, 2, 5, -1},
      KelRectangleShape{5, 5, -3, -3},
      KelRotatedRectangleShape{{5, 5}, 0, 5, 0},
      KelRotatedRectangleShape{{5, 5}, 5, -5, 30},
      KelCircleShape{{5, 5}, -1},
      KelEllipseShape{{5, 5}, -3, 3, 0},
      KelEllipseShape{{5, 5}, 3, 0, 0},
      KelAnnulusShape{{5, 5}, -1, 4},
      KelAnnulusShape{{5, 5}, 4, 3},
      KelAnnulusShape{{5, 5}, -4, -3},
      KelRegion(10, 10),
  };
  for (const double bad : {kNan, kInfinity, -kInfinity}) {
    shapes.insert(shapes.end(), {
                                    KelRectangleShape{bad, 2, 5, 5},
                                    KelRectangleShape{2, bad, 5, 5},
                                    KelRectangleShape{2, 2, bad, 5},
                                    KelRectangleShape{2, 2, 5, bad},
                                    KelRotatedRectangleShape{{bad, 5}, 5, 5, 0},
                                    KelRotatedRectangleShape{{5, bad}, 5, 5, 0},
                                    KelRotatedRectangleShape{{5, 5}, bad, 5, 0},
                                    KelRotatedRectangleShape{{5, 5}, 5, bad, 0},
                                    KelRotatedRectangleShape{{5, 5}, 5, 5, bad},
                                    KelCircleShape{{bad, 5}, 3},
                                    KelCircleShape{{5, bad}, 3},
                                    KelCircleShape{{5, 5}, bad},
                                    KelEllipseShape{{bad, 5}, 3, 3, 0},
                                    KelEllipseShape{{5, bad}, 3, 3, 0},
                                    KelEllipseShape{{5, 5}, bad, 3, 0},
                                    KelEllipseShape{{5, 5}, 3, bad, 0},
                                    KelEllipseShape{{5, 5}, 3, 3, bad},
                                    KelAnnulusShape{{bad, 5}, 1, 3},
                                    KelAnnulusShape{{5, bad}, 1, 3},
                                    KelAnnulusShape{{5, 5}, bad, 3},
                                    KelAnnulusShape{{5, 5}, 1, bad},
                                    KelPolygonShape{{{1, 1}, {8, 1}, {bad, 8}}},
                                    KelPolygonShape{{{1, 1}, {8, 1}, {4, bad}}},
                                });
  }
  for (std::size_t i = 0; i < shapes.size(); ++i) {
    const PixelRuns got = Rasterize(shapes[i], {10, 10});
    EXPECT_TRUE(got.runs.empty()) << "shape " << i;
    EXPECT_TRUE(got.box.empty()) << "shape " << i;
  }
}

TEST(Rasterize, HugeShapesAroundTheImageCoverAllOfIt) {
  constexpr double kHuge = 1e300;
  constexpr double kLargest = std::numeric_limits<double>::max();
  const std::vector<KelShape> shapes = {
      KelRectangleShape{-kHuge, -kHuge, 2 * kHuge, 2 * kHuge},
      KelRectangleShape{0, 0, kLargest, kLargest},
      KelRotatedRectangleShape{{5, 5}, kHuge, kHuge, 30},
      KelRotatedRectangleShape{{0, 0}, kLargest, kLargest, 45},
      KelCircleShape{{5, 5}, kHuge},
      KelCircleShape{{1e299, -1e299}, kHuge},
      KelCircleShape{{0, 0}, kLargest},
      KelEllipseShape{{5, 5}, kHuge, 1e290, 77},
      KelEllipseShape{{5, 5}, kLargest, kLargest, 45},
      KelEllipseShape{{5, 5}, kHuge, 100, 0},
      KelPolygonShape{{{-kHuge, -kHuge}, {kHuge, -kHuge}, {0, kHuge}}},
      KelPolygonShape{{{-kLargest, -kLargest}, {kLargest, -kLargest}, {0, kLargest}}},
      KelAnnulusShape{{20, 20}, 1, kHuge},
  };
  for (std::size_t i = 0; i < shapes.size(); ++i) {
    const PixelRuns got = Rasterize(shapes[i], {10, 10});
    EXPECT_TRUE(got.FillsBox()) << "shape " << i;
    EXPECT_EQ(got.box, cv::Rect(0, 0, 10, 10)) << "shape " << i;
  }
}

TEST(Rasterize, TheLargestEllipseCoversTheImageAtEveryAngle) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  for (int angle = 0; angle <= 360; ++angle) {
    const KelEllipseShape shape{{5, 5}, kLargest, kLargest, static_cast<double>(angle)};
    EXPECT_EQ(Rasterize(shape, {10, 10}).runs.size(), 10U) << angle;
    EXPECT_TRUE(Rasterize(shape, {10, 10}).FillsBox()) << angle;
  }
}

TEST(Rasterize, ShapesFarAwayCoverNothing) {
  for (const double far : {1e9, 1e20, 1e300, -1e9, -1e20, -1e300}) {
    const std::vector<KelShape> shapes = {
        KelRectangleShape{far, 0, 5, 5},
        KelRectangleShape{0, far, 5, 5},
        KelRotatedRectangleShape{{far, 5}, 5, 5, 10},
        KelRotatedRectangleShape{{5, far}, 5, 5, 10},
        KelCircleShape{{far, 5}, 5},
        KelCircleShape{{5, far}, 5},
        KelEllipseShape{{far, 5}, 5, 3, 10},
        KelEllipseShape{{5, far}, 5, 3, 10},
        KelAnnulusShape{{far, far}, 1, 5},
        KelPolygonShape{{{far, 0}, {far, 5}, {far, 9}}},
        KelPolygonShape{{{0, far}, {5, far}, {9, far}}},
        // To the right of a steep edge that passes the image at a distance.
        KelPolygonShape{{{-1e200, -1e300}, {3e200, 1e300}, {1e300, 0}}},
    };
    for (std::size_t i = 0; i < shapes.size(); ++i) {
      EXPECT_TRUE(Rasterize(shapes[i], {10, 10}).runs.empty()) << far << ", shape " << i;
    }
  }
}

// Where the spacing of the doubles is wider than a pixel, computed ends of runs are worth nothing.
TEST(Rasterize, CirclesBeyondThePrecisionOfTheirCoordinatesAgreeWithTheirPredicate) {
  const cv::Size image(300, 20);
  for (const double size : {1e6, 1e8, 1e12, 1e15, 1e16, 1e17, 1e18}) {
    for (const double offset : {-100.0, 0.0, 10.0, 150.0, 290.0}) {
      for (const double down : {0.0, 7.0, 1e9}) {
        const double across = size + offset;
        for (const KelCircleShape& shape :
             {KelCircleShape{{across, down}, size}, KelCircleShape{{down, across}, size}}) {
          const cv::Size seen = shape.center.x == across ? image : cv::Size(20, 300);
          ASSERT_TRUE(Agrees(shape, seen,
                             [&](int column, int row) {
                               const double dx = column - shape.center.x;
                               const double dy = row - shape.center.y;
                               return Exactly(dx * dx + dy * dy <= shape.radius * shape.radius);
                             }))
              << size << ' ' << offset << ' ' << down;
        }
      }
    }
  }
}

TEST(Rasterize, PolygonsBeyondThePrecisionOfTheirCoordinatesAgreeWithTheirPredicate) {
  const cv::Size image(120, 20);
  for (const double size : {1e6, 1e10, 1e15, 1e16, 1e17}) {
    for (const double slope : {0.1, 1.0, 7.0}) {
      // The half plane to the left of a long edge through the image.
      const KelPoint top{60 - size * slope, -size};
      const KelPoint bottom{60 + size * slope, size};
      const KelPolygonShape shape{{top, bottom, {-20 * size, size}, {-20 * size, -size}}};
      ASSERT_TRUE(Agrees(shape, image,
                         [&](int column, int row) {
                           return Exactly((bottom.y - top.y) * (column - top.x) <=
                                          (bottom.x - top.x) * (row - top.y));
                         }))
          << size << ' ' << slope;
    }
  }
}

TEST(Rasterize, TinyShapesCoverThePixelAtTheirCentre) {
  const std::vector<KelRun> pixel = {{4, 3, 3}};
  for (const double length : {0.0, 1e-320, 1e-200, 0.25}) {
    EXPECT_TRUE(SameRuns(Rasterize(KelCircleShape{{3, 4}, length}, {9, 9}).runs, pixel)) << length;
    EXPECT_TRUE(SameRuns(Rasterize(KelAnnulusShape{{3, 4}, 0, length}, {9, 9}).runs, pixel))
        << length;
    EXPECT_TRUE(Rasterize(KelCircleShape{{3.5, 4}, length}, {9, 9}).runs.empty()) << length;
  }
  for (const double length : {1e-320, 1e-200, 0.25}) {
    EXPECT_TRUE(SameRuns(Rasterize(KelEllipseShape{{3, 4}, length, length, 0}, {9, 9}).runs, pixel))
        << length;
    EXPECT_TRUE(SameRuns(Rasterize(KelRectangleShape{3, 4, length, length}, {9, 9}).runs,
                         length < 0.2 ? std::vector<KelRun>{} : pixel))
        << length;
  }
}

TEST(Rasterize, CostDependsOnTheRowsReachedAndNotOnTheImage) {
  constexpr int kMax = std::numeric_limits<int>::max();
  const cv::Size image(kMax, kMax);
  const std::clock_t start = std::clock();  // other programs' time does not count
  const PixelRuns circle = Rasterize(KelCircleShape{{1e9, 2e9}, 2}, image);
  EXPECT_EQ(circle.box, cv::Rect(999999998, 1999999998, 5, 5));
  EXPECT_EQ(circle.runs.size(), 5U);
  const PixelRuns level = Rasterize(KelPolygonShape{{{-1e300, 7}, {1e300, 7}, {1e300, 8}}}, image);
  EXPECT_EQ(level.box, cv::Rect(0, 7, kMax, 1));
  const PixelRuns turned = Rasterize(KelRotatedRectangleShape{{1e9, 1e9}, 3e9, 3, 0.000001}, image);
  EXPECT_LT(turned.runs.size(), 100U);
  EXPECT_FALSE(turned.runs.empty());
  EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC);
}

TEST(Rasterize, AnglesThatDifferByFullTurnsGiveTheSamePixels) {
  const cv::Size image(60, 60);
  for (int angle = -360; angle <= 360; angle += 15) {
    for (const double turns : {-3.0, 1.0, 1000.0}) {
      const KelRotatedRectangleShape a{{30, 30}, 40, 20, static_cast<double>(angle)};
      const KelRotatedRectangleShape b{{30, 30}, 40, 20, angle + 360 * turns};
      EXPECT_TRUE(SameRuns(Rasterize(a, image).runs, Rasterize(b, image).runs)) << angle;
      const KelEllipseShape c{{30, 30}, 20, 10, static_cast<double>(angle)};
      const KelEllipseShape d{{30, 30}, 20, 10, angle + 360 * turns};
      EXPECT_TRUE(SameRuns(Rasterize(c, image).runs, Rasterize(d, image).runs)) << angle;
    }
  }
}

TEST(Rasterize, PositiveAnglesTurnFromTheXAxisTowardsTheYAxis) {
  const cv::Mat grid =
      Painted(Rasterize(KelRotatedRectangleShape{{20, 20}, 30, 3, 45}, {41, 41}).runs, {41, 41});
  EXPECT_EQ(grid.at<uchar>(28, 28), 255);
  EXPECT_EQ(grid.at<uchar>(12, 28), 0);
  const cv::Mat oval =
      Painted(Rasterize(KelEllipseShape{{20, 20}, 15, 2, 45}, {41, 41}).runs, {41, 41});
  EXPECT_EQ(oval.at<uchar>(28, 28), 255);
  EXPECT_EQ(oval.at<uchar>(12, 28), 0);
}

TEST(Rasterize, ImageWithoutPixelsHasNone) {
  for (const cv::Size image : {cv::Size(0, 5), cv::Size(5, 0), cv::Size(-1, 5)}) {
    EXPECT_TRUE(Rasterize(KelRectangleShape{-9, -9, 99, 99}, image).runs.empty());
  }
}

}  // namespace
