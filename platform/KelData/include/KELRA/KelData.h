// Images, points, arrays, run-length regions and regions of interest.
#pragma once

#include <initializer_list>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <variant>
#include <vector>

#include "KELRA/KelBase.h"

#if defined(KelData_EXPORTS)
#define KELDATA_API KELRA_EXPORT
#else
#define KELDATA_API KELRA_IMPORT
#endif

namespace KELRA {

// Sample types; the values are OpenCV's depth codes.
enum KelImageType : int {
  KEL_8U = 0,
  KEL_8S = 1,
  KEL_16U = 2,
  KEL_16S = 3,
  KEL_32S = 4,
  KEL_32F = 5,
  KEL_64F = 6
};

// An image: one matrix, rows of interleaved samples. Copying an image shares its pixels, as copying
// a cv::Mat does; `DeepCopy` does not. A matrix of more than two dimensions has no width and height
// and so counts as empty.
class KELDATA_API KelImage {
 public:
  KelImage();                             // empty
  explicit KelImage(const cv::Mat& mat);  // shares the matrix's pixels
  KelImage(const KelImage& other);
  KelImage& operator=(const KelImage& other);
  ~KelImage();

  int Width() const;     // columns of the matrix
  int Height() const;    // rows of the matrix
  int Channels() const;  // samples per pixel
  KelImageType BitDepth() const;
  void* ImageData() const;  // first byte of the first row; null when empty
  KelImage DeepCopy() const;

  cv::Mat& Mat();
  const cv::Mat& Mat() const;

 private:
  cv::Mat mat_;
};

// Exported like the classes: with GCC an array of a hidden type would be hidden itself.
struct KELDATA_API KelPoint {
  double x = 0;
  double y = 0;
};

struct KelColorRGBA {
  int red = 0;
  int green = 0;
  int blue = 0;
  int alpha = 0;
};

// A horizontal run of pixels; the last column belongs to it.
struct KelRun {
  int row = 0;
  int firstColumn = 0;
  int lastColumn = 0;
};

// An ordered sequence of values, instantiated for the element types below.
template <class T>
class KELDATA_API KelArray {
 public:
  KelArray();
  KelArray(std::initializer_list<T> values);
  KelArray(const KelArray& other);
  KelArray& operator=(const KelArray& other);
  ~KelArray();

  int Length() const;
  void Append(const T& value);
  void Clear();
  // Throws std::out_of_range for an index outside [0, Length()).
  T& operator[](int index);
  const T& operator[](int index) const;

 private:
  std::vector<T> values_;
};

// An int, a double or a std::string; a default-constructed value is the int 0.
class KELDATA_API KelVar {
 public:
  KelVar();
  KelVar(int value);
  KelVar(double value);
  KelVar(const std::string& value);
  KelVar(const char* value);
  KelVar(const KelVar& other);
  KelVar& operator=(const KelVar& other);
  ~KelVar();

  bool IsInt() const;
  bool IsDouble() const;
  bool IsString() const;
  // Numbers convert into each other (a double truncates toward zero and saturates, NaN gives 0);
  // a string as a number is 0, a number as a string its shortest decimal form.
  int ToInt() const;
  double ToDouble() const;
  std::string ToString() const;

 private:
  std::variant<int, double, std::string> value_;
};

// A run-length region on a grid of Width() x Height() pixels. Runs are kept as appended: they may
// overlap, come in any order and lie partly or wholly outside the grid. A negative size counts
// as 0.
class KELDATA_API KelRegion {
 public:
  KelRegion();
  KelRegion(int width, int height);
  KelRegion(const KelRegion& other);
  KelRegion(KelRegion&& other) noexcept;
  KelRegion& operator=(const KelRegion& other);
  KelRegion& operator=(KelRegion&& other) noexcept;
  ~KelRegion();

  int Width() const;
  int Height() const;
  void Append(const KelRun& run);
  const std::vector<KelRun>& Runs() const;

 private:
  int width_ = 0;
  int height_ = 0;
  std::vector<KelRun> runs_;
};

using KelPointArray = KelArray<KelPoint>;
using KelImageArray = KelArray<KelImage>;
using KelVarArray = KelArray<KelVar>;
using KelRegionArray = KelArray<KelRegion>;

#if !defined(KelData_EXPORTS)
extern template class KelArray<KelPoint>;
extern template class KelArray<KelImage>;
extern template class KelArray<KelVar>;
extern template class KelArray<KelRegion>;
#endif

// Kinds of regions of interest. Point, line, polyline and arc have no area: no operation accepts
// them.
enum KelROIType : int {
  KEL_ROI_RECTANGLE = 0,
  KEL_ROI_ROTATED_RECTANGLE = 1,
  KEL_ROI_CIRCLE = 2,
  KEL_ROI_WHOLE_IMAGE = 3,
  KEL_ROI_ELLIPSE = 4,
  KEL_ROI_POINT = 5,
  KEL_ROI_POLYGON = 6,
  KEL_ROI_LINE = 7,
  KEL_ROI_ANNULUS = 8,
  KEL_ROI_POLYLINE = 9,
  KEL_ROI_ARC = 10,
  KEL_ROI_REGION = 11
};

// The geometry behind each kind. Lengths in pixels, angles in degrees, turning from the x axis
// towards the y axis (clockwise on the screen).
struct KelRectangleShape {
  double x, y, width, height;
};
struct KelRotatedRectangleShape {
  KelPoint center;
  double width, height, angleDegrees;
};
struct KelCircleShape {
  KelPoint center;
  double radius;
};
struct KelEllipseShape {
  KelPoint center;
  double radiusX, radiusY, angleDegrees;
};
struct KelPolygonShape {
  std::vector<KelPoint> vertices;
};
struct KelAnnulusShape {
  KelPoint center;
  double innerRadius, outerRadius;
};

// std::monostate: the whole image, or a kind without geometry.
using KelShape =
    std::variant<std::monostate, KelRectangleShape, KelRotatedRectangleShape, KelCircleShape,
                 KelEllipseShape, KelPolygonShape, KelAnnulusShape, KelRegion>;

// A region of interest. A pixel belongs to a shape when its centre, at its integer coordinates,
// does; shapes are cut at the image's edges. `Rectangle(x, y, w, h)` with integer arguments is
// columns x to x + w - 1 and rows y to y + h - 1. Copies share the immutable geometry.
class KELDATA_API KelROI {
 public:
  KelROI();                          // whole image
  explicit KelROI(KelROIType kind);  // a kind without geometry
  KelROI(const KelROI& other);
  KelROI& operator=(const KelROI& other);
  ~KelROI();

  static KelROI WholeImage();
  static KelROI Rectangle(double x, double y, double width, double height);
  static KelROI RotatedRectangle(KelPoint center, double width, double height, double angleDegrees);
  static KelROI Circle(KelPoint center, double radius);
  static KelROI Ellipse(KelPoint center, double radiusX, double radiusY, double angleDegrees);
  static KelROI Polygon(const KelPointArray& vertices);
  static KelROI Annulus(KelPoint center, double innerRadius, double outerRadius);
  static KelROI Region(const KelRegion& region);

  KelROIType ROIType() const;
  const KelShape& Shape() const;

 private:
  KELRA_LOCAL KelROI(KelROIType kind, KelShape shape);

  KelROIType kind_ = KEL_ROI_WHOLE_IMAGE;
  std::shared_ptr<const KelShape> shape_;
};

}  // namespace KELRA
