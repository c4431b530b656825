#include <KELRA/KelData.h>
#include <gtest/gtest.h>

#include <variant>

#include "run_grid.h"

namespace {

using namespace KELRA;  // the kinds' names

TEST(RegionOfInterest, DefaultIsTheWholeImage) {
  EXPECT_EQ(KelROI().ROIType(), KEL_ROI_WHOLE_IMAGE);
  EXPECT_EQ(KelROI::WholeImage().ROIType(), KEL_ROI_WHOLE_IMAGE);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(KelROI().Shape()));
}

TEST(RegionOfInterest, OfAKindAloneHasNoGeometry) {
  for (int kind = -1; kind <= 13; ++kind) {
    const KelROI roi(static_cast<KelROIType>(kind));
    EXPECT_EQ(static_cast<int>(roi.ROIType()), kind);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(roi.Shape())) << kind;
  }
}

TEST(RegionOfInterest, FactoriesSetKindAndGeometry) {
  const KelROI rectangle = KelROI::Rectangle(1, 2, 3, 4);
  EXPECT_EQ(rectangle.ROIType(), KEL_ROI_RECTANGLE);
  const auto& r = std::get<KelRectangleShape>(rectangle.Shape());
  EXPECT_TRUE(r.x == 1 && r.y == 2 && r.width == 3 && r.height == 4);

  const KelROI rotated = KelROI::RotatedRectangle({1, 2}, 3, 4, 5);
  EXPECT_EQ(rotated.ROIType(), KEL_ROI_ROTATED_RECTANGLE);
  const auto& t = std::get<KelRotatedRectangleShape>(rotated.Shape());
  EXPECT_TRUE(t.center.x == 1 && t.center.y == 2 && t.width == 3 && t.height == 4 &&
              t.angleDegrees == 5);

  const KelROI circle = KelROI::Circle({1, 2}, 3);
  EXPECT_EQ(circle.ROIType(), KEL_ROI_CIRCLE);
  const auto& c = std::get<KelCircleShape>(circle.Shape());
  EXPECT_TRUE(c.center.x == 1 && c.center.y == 2 && c.radius == 3);

  const KelROI ellipse = KelROI::Ellipse({1, 2}, 3, 4, 5);
  EXPECT_EQ(ellipse.ROIType(), KEL_ROI_ELLIPSE);
  const auto& e = std::get<KelEllipseShape>(ellipse.Shape());
  EXPECT_TRUE(e.center.x == 1 && e.center.y == 2 && e.radiusX == 3 && e.radiusY == 4 &&
              e.angleDegrees == 5);

  const KelROI polygon = KelROI::Polygon({{1, 2}, {3, 4}, {5, 7}});
  EXPECT_EQ(polygon.ROIType(), KEL_ROI_POLYGON);
  const auto& vertices = std::get<KelPolygonShape>(polygon.Shape()).vertices;
  ASSERT_EQ(vertices.size(), 3U);
  EXPECT_TRUE(vertices[0].x == 1 && vertices[1].y == 4 && vertices[2].y == 7);

  const KelROI annulus = KelROI::Annulus({1, 2}, 3, 4);
  EXPECT_EQ(annulus.ROIType(), KEL_ROI_ANNULUS);
  const auto& a = std::get<KelAnnulusShape>(annulus.Shape());
  EXPECT_TRUE(a.center.x == 1 && a.center.y == 2 && a.innerRadius == 3 && a.outerRadius == 4);

  KelRegion runs(8, 9);
  runs.Append({1, 2, 3});
  const KelROI region = KelROI::Region(runs);
  EXPECT_EQ(region.ROIType(), KEL_ROI_REGION);
  const auto& kept = std::get<KelRegion>(region.Shape());
  EXPECT_EQ(kept.Width(), 8);
  EXPECT_EQ(kept.Height(), 9);
  EXPECT_TRUE(kelra_test::SameRuns(kept.Runs(), {{1, 2, 3}}));
}

TEST(RegionOfInterest, IsIndependentOfWhatItWasMadeFrom) {
  KelRegion runs(8, 9);
  runs.Append({1, 2, 3});
  const KelROI roi = KelROI::Region(runs);
  runs.Append({2, 2, 3});
  EXPECT_EQ(std::get<KelRegion>(roi.Shape()).Runs().size(), 1U);
}

TEST(RegionOfInterest, CopiesShareTheGeometry) {
  const KelROI polygon = KelROI::Polygon({{1, 2}, {3, 4}, {5, 7}});
  KelROI copy(polygon);
  KelROI assigned;
  assigned = polygon;
  copy = assigned;
  EXPECT_EQ(&copy.Shape(), &polygon.Shape());
  EXPECT_EQ(&assigned.Shape(), &polygon.Shape());
  EXPECT_EQ(assigned.ROIType(), KEL_ROI_POLYGON);
}

}  // namespace
