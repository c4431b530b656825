#include "input_reader.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kelra_fuzz {
namespace {

using KELRA::KelPoint;
using KELRA::KelPointArray;
using KELRA::KelRegion;
using KELRA::KelROI;
using KELRA::KelROIType;

constexpr int kEnds[] = {-1,
                         255,
                         256,
                         65535,
                         65536,
                         -255,
                         -65536,
                         std::numeric_limits<int>::max(),
                         std::numeric_limits<int>::max() - 1,
                         std::numeric_limits<int>::min(),
                         std::numeric_limits<int>::min() + 1};

using Double = std::numeric_limits<double>;
using Float = std::numeric_limits<float>;

constexpr double kSpecial[] = {
    -0.0,
    Double::quiet_NaN(),
    Double::infinity(),
    -Double::infinity(),
    Double::max(),
    -Double::max(),
    Double::denorm_min(),
    Float::max(),
    Float::denorm_min(),
    -1e-9,
    0.49999997,
    0.5,
    -0.5,
    1.0 / 255,
    254.5,
    65535,
    65534.5,
    8388608,
    16777216,
    2147483647,
    2147483648,
    -2147483648,
    -2147483649,
    4294967296,
    -1e10,
    1e30,
};

}  // namespace

int InputReader::Mostly(int lowest, int highest) {
  switch (Between(0, 15)) {
    case 14:
      return OneOf(kEnds);
    case 15:
      return provider_.ConsumeIntegral<int>();
    default:
      return Between(lowest, highest);
  }
}

double InputReader::AnyDouble() {
  switch (Between(0, 7)) {
    case 5:
    case 6:
      return OneOf(kSpecial);
    case 7: {
      const auto mantissa = provider_.ConsumeIntegral<std::int32_t>();
      return std::ldexp(mantissa, Between(-40, 10));
    }
    case 4:
      return Between(-1024, 1023) / 8.0;
    default:
      return Between(-4, 40);
  }
}

double InputReader::Coordinate(int extent) {
  switch (Between(0, 7)) {
    case 0:
    case 1:
    case 2:
    case 3:
      return Between(0, extent);
    case 4:
    case 5:
      return Between(-16, 4 * extent + 16) / 4.0;
    case 6:
      return Between(-2 * extent, 2 * extent);
    default:
      return AnyDouble();
  }
}

KelPoint InputReader::PointAround(cv::Size size) {
  const double x = Coordinate(size.width);
  return {x, Coordinate(size.height)};
}

KelROI InputReader::RegionOfInterest(cv::Size size) {
  const int longest = std::max(size.width, size.height);
  constexpr KelROIType kKinds[] = {KELRA::KEL_ROI_WHOLE_IMAGE, KELRA::KEL_ROI_WHOLE_IMAGE,
                                   KELRA::KEL_ROI_RECTANGLE,   KELRA::KEL_ROI_RECTANGLE,
                                   KELRA::KEL_ROI_REGION,      KELRA::KEL_ROI_REGION,
                                   KELRA::KEL_ROI_REGION,      KELRA::KEL_ROI_CIRCLE,
                                   KELRA::KEL_ROI_ELLIPSE,     KELRA::KEL_ROI_ROTATED_RECTANGLE,
                                   KELRA::KEL_ROI_POLYGON,     KELRA::KEL_ROI_POLYGON,
                                   KELRA::KEL_ROI_ANNULUS,     KELRA::KEL_ROI_LINE};
  switch (OneOf(kKinds)) {
    case KELRA::KEL_ROI_WHOLE_IMAGE:
      return KelROI::WholeImage();
    case KELRA::KEL_ROI_RECTANGLE: {
      const KelPoint corner = PointAround(size);
      const KelPoint extent = PointAround(size);
      return KelROI::Rectangle(corner.x, corner.y, extent.x, extent.y);
    }
    case KELRA::KEL_ROI_REGION:
      return KelROI::Region(Runs(size));
    case KELRA::KEL_ROI_CIRCLE: {
      const KelPoint center = PointAround(size);
      return KelROI::Circle(center, Coordinate(longest));
    }
    case KELRA::KEL_ROI_ELLIPSE: {
      const KelPoint center = PointAround(size);
      const KelPoint radii = PointAround(size);
      return KelROI::Ellipse(center, radii.x, radii.y, Coordinate(360));
    }
    case KELRA::KEL_ROI_ROTATED_RECTANGLE: {
      const KelPoint center = PointAround(size);
      const KelPoint extent = PointAround(size);
      return KelROI::RotatedRectangle(center, extent.x, extent.y, Coordinate(360));
    }
    case KELRA::KEL_ROI_POLYGON: {
      KelPointArray vertices;
      for (int i = Between(0, 6); i > 0; --i) {
        vertices.Append(PointAround(size));
      }
      return KelROI::Polygon(vertices);
    }
    case KELRA::KEL_ROI_ANNULUS: {
      const KelPoint center = PointAround(size);
      const double inner = Coordinate(longest);
      return KelROI::Annulus(center, inner, Coordinate(longest));
    }
    default:
      // Kinds without an area, kinds whose geometry is missing, and what is no kind.
      return KelROI(static_cast<KelROIType>(Between(-1, 12)));
  }
}

KelRegion InputReader::Runs(cv::Size size) {
  KelRegion region(size.width, size.height);
  if (Rarely(8)) {
    const int width = Mostly(0, 40);
    region = KelRegion(width, Mostly(0, 40));
  }
  for (int i = Between(0, 7); i > 0; --i) {
    const int row = Mostly(-1, size.height);
    const int first = Mostly(-2, size.width);
    const int last = Flip() ? Mostly(-1, size.width + 1) : size.width - 1;
    region.Append({row, first, last});
  }
  return region;
}

}  // namespace kelra_fuzz
