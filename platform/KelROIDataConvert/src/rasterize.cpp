#include "rasterize.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <variant>

namespace KELRA {
namespace {

constexpr double kPi = 3.14159265358979323846;

template <class... Numbers>
bool AllFinite(Numbers... numbers) {
  return (std::isfinite(numbers) && ...);
}

// `value` cut to [low, high], also when an int cannot hold it; `low` for NaN.
int ClampToInt(double value, int low, int high) {
  if (!(value > low)) {
    return low;
  }
  return value < high ? static_cast<int>(value) : high;
}

int Doubled(int step) { return std::min(step, std::numeric_limits<int>::max() / 2) * 2; }

// The first column in [low, high] at which `reached` holds, where it holds from some column on;
// `high` when it holds at none before. `guess` makes it fast when near, and never wrong.
template <class Predicate>
int FirstColumn(int low, int high, double guess, Predicate reached) {
  if (low >= high) {
    return high;
  }
  // The answer lies in [low, high]: widen steps from the guess until it is between two probes.
  int probe = ClampToInt(guess, low, high - 1);
  if (reached(probe)) {
    high = probe;
    for (int step = 1; high > low; step = Doubled(step)) {
      probe = high - low > step ? high - step : low;
      if (!reached(probe)) {
        low = probe + 1;
        break;
      }
      high = probe;
    }
  } else {
    low = probe + 1;
    for (int step = 1; low < high; step = Doubled(step)) {
      probe = high - low > step ? low + step - 1 : high - 1;
      if (reached(probe)) {
        high = probe;
        break;
      }
      low = probe + 1;
    }
  }
  while (low < high) {
    const int middle = low + (high - low) / 2;
    if (reached(middle)) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

// Rows of the image within [top, bottom], both computed from coordinates of the given magnitude:
// widened by what rounding may have cost, since a row too many yields no run.
struct RowRange {
  RowRange(double top, double bottom, double magnitude, int height) {
    const double slack = 1 + magnitude * 0x1p-50;
    first = ClampToInt(std::floor(top - slack), 0, height);
    end = ClampToInt(std::ceil(bottom + slack), -1, height - 1) + 1;
  }
  int first;
  int end;
};

// Appends [first, end) of a row unless it is empty.
void AppendRun(std::vector<KelRun>& runs, int row, int first, int end) {
  if (first < end) {
    runs.push_back({row, first, end - 1});
  }
}

// Appends the union of the row's runs; sorts them in passing.
void AppendUnion(std::vector<KelRun>& runs, int row, std::vector<std::pair<int, int>>& spans) {
  std::sort(spans.begin(), spans.end());
  for (std::size_t i = 0; i < spans.size();) {
    auto [first, end] = spans[i];
    for (++i; i < spans.size() && spans[i].first <= end; ++i) {
      end = std::max(end, spans[i].second);
    }
    AppendRun(runs, row, first, end);
  }
}

std::vector<KelRun> RunsOf(const std::monostate&, cv::Size) { return {}; }

std::vector<KelRun> RunsOf(const KelRectangleShape& shape, cv::Size image) {
  std::vector<KelRun> runs;
  if (!AllFinite(shape.x, shape.y, shape.width, shape.height)) {
    return runs;
  }
  // The first integer that is not less than each edge: exact.
  const int left = ClampToInt(std::ceil(shape.x), 0, image.width);
  const int right = ClampToInt(std::ceil(shape.x + shape.width), 0, image.width);
  const int top = ClampToInt(std::ceil(shape.y), 0, image.height);
  const int bottom = ClampToInt(std::ceil(shape.y + shape.height), 0, image.height);
  if (left >= right || top >= bottom) {
    return runs;
  }
  runs.reserve(static_cast<std::size_t>(bottom - top));
  for (int row = top; row < bottom; ++row) {
    AppendRun(runs, row, left, right);
  }
  return runs;
}

struct Direction {
  double cosine;
  double sine;
};

// Exact for multiples of 90 degrees; the same for angles that differ by full turns.
Direction DirectionOf(double angleDegrees) {
  int quarters = 0;
  const double rest = std::remquo(angleDegrees, 90.0, &quarters) * (kPi / 180);
  const double cosine = std::cos(rest);
  const double sine = std::sin(rest);
  switch (quarters & 3) {
    case 0:
      return {cosine, sine};
    case 1:
      return {-sine, cosine};
    case 2:
      return {-cosine, -sine};
    default:
      return {sine, -cosine};
  }
}

// One pair of opposite edges of a rotated rectangle: -half <= distance < half, the distance being
// taken along an axis that points to the right, or straight down.
struct Slab {
  Slab(Direction axis, double half_width) : x(axis.cosine), y(axis.sine), half(half_width) {
    if (x < 0 || (x == 0 && y < 0)) {
      x = -x;
      y = -y;
    }
  }

  // The first column of the row whose distance is at least `bound`.
  int FirstAtLeast(double bound, KelPoint center, int row, int width) const {
    const double along = y * (row - center.y);
    return FirstColumn(0, width, std::ceil((bound - along) / x + center.x),
                       [&](int column) { return x * (column - center.x) + along >= bound; });
  }

  double x;
  double y;
  double half;
};

std::vector<KelRun> RunsOf(const KelRotatedRectangleShape& shape, cv::Size image) {
  std::vector<KelRun> runs;
  if (!AllFinite(shape.center.x, shape.center.y, shape.width, shape.height, shape.angleDegrees)) {
    return runs;
  }
  if (!(shape.width > 0 && shape.height > 0)) {
    return runs;
  }
  const Direction along = DirectionOf(shape.angleDegrees);
  const Slab columns(along, shape.width / 2);
  const Slab rows({-along.sine, along.cosine}, shape.height / 2);
  const double reach =
      std::abs(along.sine) * (shape.width / 2) + std::abs(along.cosine) * (shape.height / 2);
  const RowRange range(shape.center.y - reach, shape.center.y + reach,
                       std::abs(shape.center.y) + reach, image.height);
  for (int row = range.first; row < range.end; ++row) {
    const auto first = [&](const Slab& slab, double bound) {
      return slab.FirstAtLeast(bound, shape.center, row, image.width);
    };
    AppendRun(runs, row, std::max(first(columns, -columns.half), first(rows, -rows.half)),
              std::min(first(columns, columns.half), first(rows, rows.half)));
  }
  return runs;
}

// The power of two that brings a positive length into [0.5, 1). Scaling by it is exact, and keeps
// the squares of very large and very small lengths within the range of a double.
double UnitScale(double length) {
  int exponent = 0;
  std::frexp(length, &exponent);
  return std::ldexp(1.0, -std::clamp(exponent, -1000, 1000));
}

// A disc, or an ellipse in any position: an upright ellipse, each of whose rows is moved sideways
// in proportion to its distance from the centre. Written so, the value that decides about a pixel
// falls and then rises along a row, in floating point as well, and the row is one run.
class Oval {
 public:
  static Oval Disc(KelPoint center, double radius) {
    const double scale = UnitScale(radius);
    const double scaled = radius * scale;
    return Oval(center, 0, radius, {scale, scale}, 1, 1, scaled * scaled);
  }

  // Both radii greater than 0.
  static Oval Ellipse(const KelEllipseShape& shape) {
    const Direction along = DirectionOf(shape.angleDegrees);
    // Half the height of the ellipse, half the chord through its centre, and the rows' shift.
    double vertical = shape.radiusY;
    double chord = shape.radiusX;
    double shear = 0;
    if (along.cosine == 0) {
      std::swap(vertical, chord);
    } else if (along.sine != 0) {
      const double longest = std::max(shape.radiusX, shape.radiusY);
      const double scale = UnitScale(longest);
      const double a = shape.radiusX * scale;
      const double b = shape.radiusY * scale;
      const double squared =
          along.cosine * b * (along.cosine * b) + along.sine * a * (along.sine * a);
      const double root = std::sqrt(squared);
      // Neither is longer than the longer radius, which rounding must not take beyond a double.
      vertical = std::min(root / scale, longest);
      chord = std::min(a * b / root / scale, longest);
      shear = along.cosine * along.sine * ((a - b) * (a + b)) / squared;
    }
    const double column_scale = UnitScale(chord);
    const double row_scale = UnitScale(vertical);
    const double w = chord * column_scale;
    const double h = vertical * row_scale;
    return Oval(shape.center, shear, vertical, {column_scale, row_scale}, h * h, w * w,
                w * h * (w * h));
  }

  RowRange Rows(int height) const {
    return RowRange(center_.y - reach_, center_.y + reach_, std::abs(center_.y) + reach_, height);
  }

  // The run [first, end) of the columns below `width` that lie inside, or, with `with_rim` false,
  // strictly inside; empty when there are none.
  std::pair<int, int> Columns(int row, int width, bool with_rim) const {
    const double shift = shear_ * (row - center_.y);
    const double down = (row - center_.y) * scale_.row;
    const double down_term = row_factor_ * (down * down);
    const auto across = [&](int column) { return ((column - center_.x) - shift) * scale_.column; };
    const auto inside = [&](int column) {
      const double t = across(column);
      const double value = column_factor_ * (t * t) + down_term;
      return with_rim ? value <= limit_ : value < limit_;
    };
    const double middle = center_.x + shift;
    const double half =
        std::sqrt(std::max(0.0, (limit_ - down_term) / column_factor_)) / scale_.column;
    const double left = std::ceil(middle - half);
    const double right = std::floor(middle + half) + 1;
    int first = ClampToInt(left, 0, width);
    int end = ClampToInt(right, 0, width);
    // The computed ends stand when the pixels on both sides of them agree.
    if (first < end && inside(first) && (first == 0 || !inside(first - 1)) && inside(end - 1) &&
        (end == width || !inside(end))) {
      return {first, end};
    }
    // Otherwise search from the column nearest to the row's centre, which is one of two.
    int nearest =
        FirstColumn(0, width, std::ceil(middle), [&](int column) { return across(column) >= 0; });
    if (nearest == width || !inside(nearest)) {
      if (--nearest < 0 || !inside(nearest)) {
        return {0, 0};
      }
    }
    first = FirstColumn(0, nearest, left, inside);
    end = FirstColumn(nearest + 1, width, right, [&](int column) { return !inside(column); });
    return {first, end};
  }

 private:
  struct Scale {
    double column;
    double row;
  };

  Oval(KelPoint center, double shear, double reach, Scale scale, double column_factor,
       double row_factor, double limit)
      : center_(center),
        shear_(shear),
        reach_(reach),
        scale_(scale),
        column_factor_(column_factor),
        row_factor_(row_factor),
        limit_(limit) {}

  KelPoint center_;
  double shear_;  // columns per row
  double reach_;  // half the height
  Scale scale_;
  double column_factor_;  // inside: column_factor x t^2 + row_factor x y^2 <= limit
  double row_factor_;
  double limit_;
};

std::vector<KelRun> RunsOf(const Oval& oval, cv::Size image) {
  std::vector<KelRun> runs;
  const RowRange range = oval.Rows(image.height);
  for (int row = range.first; row < range.end; ++row) {
    const auto [first, end] = oval.Columns(row, image.width, true);
    AppendRun(runs, row, first, end);
  }
  return runs;
}

std::vector<KelRun> RunsOf(const KelCircleShape& shape, cv::Size image) {
  if (!AllFinite(shape.center.x, shape.center.y, shape.radius) || shape.radius < 0) {
    return {};
  }
  return RunsOf(Oval::Disc(shape.center, shape.radius), image);
}

std::vector<KelRun> RunsOf(const KelEllipseShape& shape, cv::Size image) {
  if (!AllFinite(shape.center.x, shape.center.y, shape.radiusX, shape.radiusY,
                 shape.angleDegrees) ||
      !(shape.radiusX > 0 && shape.radiusY > 0)) {
    return {};
  }
  return RunsOf(Oval::Ellipse(shape), image);
}

std::vector<KelRun> RunsOf(const KelAnnulusShape& shape, cv::Size image) {
  std::vector<KelRun> runs;
  if (!AllFinite(shape.center.x, shape.center.y, shape.innerRadius, shape.outerRadius) ||
      shape.innerRadius < 0 || shape.innerRadius > shape.outerRadius) {
    return runs;
  }
  const Oval outer = Oval::Disc(shape.center, shape.outerRadius);
  const Oval inner = Oval::Disc(shape.center, shape.innerRadius);
  const RowRange range = outer.Rows(image.height);
  for (int row = range.first; row < range.end; ++row) {
    const auto [first, end] = outer.Columns(row, image.width, true);
    const auto [hole_first, hole_end] = inner.Columns(row, image.width, false);
    // What lies strictly inside the inner circle lies inside the outer one.
    const bool has_hole = hole_first < hole_end;
    AppendRun(runs, row, first, has_hole ? hole_first : end);
    AppendRun(runs, row, has_hole ? hole_end : end, end);
  }
  return runs;
}

// An edge of a polygon that is not level, from its upper to its lower end.
struct Edge {
  KelPoint upper;
  KelPoint lower;
  int first_row;
  int last_row;
};

// The even-odd fill of a polygon, row by row.
class PolygonFill {
 public:
  PolygonFill(const std::vector<KelPoint>& vertices, cv::Size image) : image_(image) {
    double largest = 1;
    for (const KelPoint& vertex : vertices) {
      largest = std::max({largest, std::abs(vertex.x), std::abs(vertex.y)});
    }
    // Products of two coordinates must not overflow; scaling by a power of two is exact.
    scale_ = largest > 0x1p500 ? 0x1p-524 : 1;
    for (std::size_t i = 0; i < vertices.size(); ++i) {
      AddEdge(vertices[i], vertices[i + 1 < vertices.size() ? i + 1 : 0]);
    }
    const auto by_first_row = [](const Edge& a, const Edge& b) {
      return a.first_row < b.first_row;
    };
    std::stable_sort(edges_.begin(), edges_.end(), by_first_row);
    std::stable_sort(level_edges_.begin(), level_edges_.end(), by_first_row);
  }

  std::vector<KelRun> Runs() {
    std::vector<KelRun> runs;
    std::size_t next_edge = 0;
    std::size_t next_level = 0;
    while (true) {
      if (active_.empty()) {
        // On to the next row that anything reaches.
        int next = image_.height;
        if (next_edge < edges_.size()) {
          next = std::min(next, edges_[next_edge].first_row);
        }
        if (next_level < level_edges_.size()) {
          next = std::min(next, level_edges_[next_level].first_row);
        }
        if (next == image_.height) {
          return runs;
        }
        row_ = next;
      }
      for (; next_edge < edges_.size() && edges_[next_edge].first_row == row_; ++next_edge) {
        active_.push_back(edges_[next_edge]);
      }
      spans_.clear();
      crossings_.clear();
      for (; next_level < level_edges_.size() && level_edges_[next_level].first_row == row_;
           ++next_level) {
        AddLevelSpan(level_edges_[next_level]);
      }
      for (const Edge& edge : active_) {
        AddCrossing(edge);
      }
      std::sort(crossings_.begin(), crossings_.end());
      for (std::size_t i = 0; i + 1 < crossings_.size(); i += 2) {
        spans_.emplace_back(crossings_[i], crossings_[i + 1]);
      }
      AppendUnion(runs, row_, spans_);
      active_.erase(std::remove_if(active_.begin(), active_.end(),
                                   [&](const Edge& edge) { return edge.last_row == row_; }),
                    active_.end());
      ++row_;
    }
  }

 private:
  void AddEdge(KelPoint a, KelPoint b) {
    if (a.y > b.y) {
      std::swap(a, b);
    }
    const int last = image_.height - 1;
    const double first_row = std::ceil(a.y);
    const double last_row = std::floor(b.y);
    if (first_row > last_row || last_row < 0 || first_row > last) {
      return;
    }
    const Edge edge{a, b, ClampToInt(first_row, 0, last), ClampToInt(last_row, 0, last)};
    (a.y == b.y ? level_edges_ : edges_).push_back(edge);
  }

  void AddLevelSpan(const Edge& edge) {
    const auto [left, right] = std::minmax(edge.upper.x, edge.lower.x);
    AddSpan(ClampToInt(std::ceil(left), 0, image_.width),
            ClampToInt(std::floor(right), -1, image_.width - 1) + 1);
  }

  void AddSpan(int first, int end) {
    if (first < end) {
      spans_.emplace_back(first, end);
    }
  }

  // A pixel is on an edge when its cross product with it is 0, and to the right of it when that is
  // positive. Both hold from some column on, whatever the rounding.
  void AddCrossing(const Edge& edge) {
    const double x = edge.upper.x * scale_;
    const double rise = edge.lower.y * scale_ - edge.upper.y * scale_;
    const double run = edge.lower.x * scale_ - x;
    const double across = run * (row_ * scale_ - edge.upper.y * scale_);
    const auto along = [&](int column) { return rise * (column * scale_ - x); };
    const double guess = edge.upper.x + across / rise / scale_;
    const int right = FirstColumn(0, image_.width, std::floor(guess) + 1,
                                  [&](int column) { return along(column) > across; });
    if (right > 0 && along(right - 1) == across) {
      AddSpan(
          FirstColumn(0, right - 1, right - 1, [&](int column) { return along(column) >= across; }),
          right);
    }
    // A vertex between two rows of edges counts once: with the edge below it.
    if (row_ < edge.lower.y) {
      crossings_.push_back(right);
    }
  }

  cv::Size image_;
  double scale_ = 1;
  int row_ = 0;
  std::vector<Edge> edges_;        // by first row
  std::vector<Edge> level_edges_;  // by row
  std::vector<Edge> active_;       // those that the row meets
  std::vector<int> crossings_;     // of the row: the first column to the right of each edge
  std::vector<std::pair<int, int>> spans_;  // of the row: [first, end) inside or on an edge
};

std::vector<KelRun> RunsOf(const KelPolygonShape& shape, cv::Size image) {
  const bool finite = std::all_of(shape.vertices.begin(), shape.vertices.end(),
                                  [](const KelPoint& p) { return AllFinite(p.x, p.y); });
  if (!finite || shape.vertices.size() < 3) {
    return {};
  }
  return PolygonFill(shape.vertices, image).Runs();
}

std::vector<KelRun> RunsOf(const KelRegion& region, cv::Size image) {
  std::vector<KelRun> cut;
  cut.reserve(region.Runs().size());
  for (const KelRun& run : region.Runs()) {
    const int first = std::max(run.firstColumn, 0);
    const int last = std::min(run.lastColumn, image.width - 1);
    if (run.row >= 0 && run.row < image.height && first <= last) {
      cut.push_back({run.row, first, last});
    }
  }
  const auto before = [](const KelRun& a, const KelRun& b) {
    return a.row != b.row ? a.row < b.row : a.firstColumn < b.firstColumn;
  };
  if (!std::is_sorted(cut.begin(), cut.end(), before)) {
    std::sort(cut.begin(), cut.end(), before);
  }
  std::size_t kept = 0;
  for (const KelRun& run : cut) {
    if (kept > 0 && cut[kept - 1].row == run.row &&
        run.firstColumn <= cut[kept - 1].lastColumn + 1) {
      cut[kept - 1].lastColumn = std::max(cut[kept - 1].lastColumn, run.lastColumn);
    } else {
      cut[kept++] = run;
    }
  }
  cut.resize(kept);
  return cut;
}

}  // namespace

PixelRuns Rasterize(const KelShape& shape, cv::Size image) {
  PixelRuns result;
  if (image.width <= 0 || image.height <= 0) {
    return result;
  }
  result.runs = std::visit([&](const auto& geometry) { return RunsOf(geometry, image); }, shape);
  if (result.runs.empty()) {
    return result;
  }
  int left = std::numeric_limits<int>::max();
  int right = 0;
  for (const KelRun& run : result.runs) {
    left = std::min(left, run.firstColumn);
    right = std::max(right, run.lastColumn);
    result.pixels += static_cast<std::size_t>(run.lastColumn - run.firstColumn + 1);
  }
  const int top = result.runs.front().row;
  result.box = cv::Rect(left, top, right - left + 1, result.runs.back().row - top + 1);
  return result;
}

}  // namespace KELRA
