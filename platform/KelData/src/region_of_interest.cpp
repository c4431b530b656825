#include <cstddef>
#include <memory>
#include <utility>
#include <variant>

#include "KELRA/KelData.h"

namespace KELRA {

KelROI::KelROI() = default;
KelROI::KelROI(KelROIType kind) : kind_(kind) {}
KelROI::KelROI(KelROIType kind, KelShape shape)
    : kind_(kind), shape_(std::make_shared<const KelShape>(std::move(shape))) {}
KelROI::KelROI(const KelROI& other) = default;
KelROI& KelROI::operator=(const KelROI& other) = default;
KelROI::~KelROI() = default;

KelROI KelROI::WholeImage() { return KelROI(); }

KelROI KelROI::Rectangle(double x, double y, double width, double height) {
  return KelROI(KEL_ROI_RECTANGLE, KelRectangleShape{x, y, width, height});
}

KelROI KelROI::RotatedRectangle(KelPoint center, double width, double height, double angleDegrees) {
  return KelROI(KEL_ROI_ROTATED_RECTANGLE,
                KelRotatedRectangleShape{center, width, height, angleDegrees});
}

KelROI KelROI::Circle(KelPoint center, double radius) {
  return KelROI(KEL_ROI_CIRCLE, KelCircleShape{center, radius});
}

KelROI KelROI::Ellipse(KelPoint center, double radiusX, double radiusY, double angleDegrees) {
  return KelROI(KEL_ROI_ELLIPSE, KelEllipseShape{center, radiusX, radiusY, angleDegrees});
}

KelROI KelROI::Polygon(const KelPointArray& vertices) {
  KelPolygonShape polygon;
  polygon.vertices.reserve(static_cast<std::size_t>(vertices.Length()));
  for (int i = 0; i < vertices.Length(); ++i) {
    polygon.vertices.push_back(vertices[i]);
  }
  return KelROI(KEL_ROI_POLYGON, std::move(polygon));
}

KelROI KelROI::Annulus(KelPoint center, double innerRadius, double outerRadius) {
  return KelROI(KEL_ROI_ANNULUS, KelAnnulusShape{center, innerRadius, outerRadius});
}

KelROI KelROI::Region(const KelRegion& region) { return KelROI(KEL_ROI_REGION, region); }

KelROIType KelROI::ROIType() const { return kind_; }

const KelShape& KelROI::Shape() const {
  static const KelShape without_geometry;
  return shape_ == nullptr ? without_geometry : *shape_;
}

}  // namespace KELRA
