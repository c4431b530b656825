// Follows the borders between foreground and background along the ends of the runs.
//
// Each run has two ends, a left and a right one, and the border that passes an end leads to exactly
// one other end, which the neighbouring runs tell. So the ends fall into closed borders: the outer
// ones of the objects, joined over 8 neighbours, and those between an object and a hole in it,
// which is joined over 4.

#include <cstddef>
#include <exception>
#include <utility>

#include "KELRA/KelRLC.h"
#include "runs.h"

namespace KELRA {
namespace {

constexpr int kNone = -1;

struct End {
  int run;
  bool right;
};

// A closed border, named by its index. A border of an object lies in a hole or, with kNone, in the
// outside; a border of a hole lies in an object.
struct Border {
  bool of_hole;
  int around;   // the border of the surrounding hole or object
  int contour;  // of the object or the hole
};

class Tracer {
 public:
  Tracer(std::vector<ForegroundRun> runs, std::vector<cv::Point>* points, std::vector<int>* starts,
         std::vector<cv::Vec4i>* hierarchy)
      : runs_(std::move(runs)),
        border_of_(2 * runs_.size(), kNone),
        points_(*points),
        starts_(*starts),
        hierarchy_(*hierarchy) {}

  void Trace() {
    // The ends in the order of a raster scan; what was crossed last in the row tells what the next
    // one lies in.
    int crossed = kNone;
    for (int run = 0; run < static_cast<int>(runs_.size()); ++run) {
      if (run == 0 || Run(run - 1).row != Run(run).row) {
        crossed = kNone;
      }
      for (const bool right : {false, true}) {
        const End end{run, right};
        if (BorderOf(end) == kNone) {
          TraceBorder(end, crossed);
        }
        crossed = BorderOf(end);
      }
    }
    if (!starts_.empty()) {
      starts_.push_back(static_cast<int>(points_.size()));
    }
  }

 private:
  const ForegroundRun& Run(int run) const { return runs_[static_cast<std::size_t>(run)]; }

  int& BorderOf(End end) {
    return border_of_[2 * static_cast<std::size_t>(end.run) + (end.right ? 1 : 0)];
  }

  const Border& At(int border) const { return borders_[static_cast<std::size_t>(border)]; }

  // The hole in which a row goes on after crossing a border, out of or into the background.
  int HoleBehind(int crossed) const {
    if (crossed == kNone) {
      return kNone;
    }
    return At(crossed).of_hole ? crossed : At(crossed).around;
  }

  // The object in which it goes on.
  int ObjectBehind(int crossed) const { return At(crossed).of_hole ? At(crossed).around : crossed; }

  // A border that a raster scan meets first at a right end is that of a hole.
  void TraceBorder(End start, int crossed) {
    if (start.right) {
      const int around = ObjectBehind(crossed);
      borders_.push_back({true, around, BeginContour(At(around).contour)});
      Follow<&Tracer::AddBackgroundPoints>(start);
      return;
    }
    const int around = HoleBehind(crossed);
    borders_.push_back({false, around, BeginContour(kNone)});
    Follow<&Tracer::AddForegroundPoints>(start);
    if (around != kNone) {
      // What a hole has around an object in it is a contour of the hole: filled by the even-odd
      // rule, the hole then leaves the object out.
      BeginContour(At(around).contour);
      Follow<&Tracer::AddBackgroundPoints>(start);
    }
  }

  // Marks the ends of the newest border and adds its points to the newest contour.
  template <void (Tracer::*kAddPoints)(End end, End next)>
  void Follow(End start) {
    const int border = static_cast<int>(borders_.size()) - 1;
    End end = start;
    do {
      BorderOf(end) = border;
      const End next = Next(end);
      (this->*kAddPoints)(end, next);
      end = next;
    } while (end.run != start.run || end.right != start.right);
    CloseContour();
  }

  // Follows the border with the foreground on the right hand: down at right ends, up at left ones.
  // Where two pixels of the foreground meet diagonally it passes between the two of the background.
  End Next(End end) const {
    const ForegroundRun& run = Run(end.run);
    if (end.right) {
      if (run.last_below == kNone) {
        return {end.run, false};
      }
      const int below_last = Run(run.last_below).last;
      const int neighbour = end.run + 1;
      if (below_last > run.last && InRow(neighbour, run.row) &&
          Run(neighbour).first <= below_last + 1) {
        return {neighbour, false};
      }
      return {run.last_below, true};
    }
    if (run.first_above == kNone) {
      return {end.run, true};
    }
    const int above_first = Run(run.first_above).first;
    const int neighbour = end.run - 1;
    if (above_first < run.first && InRow(neighbour, run.row) &&
        Run(neighbour).last >= above_first - 1) {
      return {neighbour, true};
    }
    return {run.first_above, false};
  }

  bool InRow(int run, int row) const {
    return run >= 0 && run < static_cast<int>(runs_.size()) && Run(run).row == row;
  }

  // Opens a contour as the last child of another, or at the top level.
  int BeginContour(int parent) {
    const int contour = static_cast<int>(hierarchy_.size());
    if (parent == kNone) {
      Link(&last_top_level_, contour);
    } else {
      if (last_child_[static_cast<std::size_t>(parent)] == kNone) {
        hierarchy_[static_cast<std::size_t>(parent)][2] = contour;
      }
      Link(&last_child_[static_cast<std::size_t>(parent)], contour);
    }
    hierarchy_.emplace_back(kNone, previous_, kNone, parent);
    last_child_.push_back(kNone);
    starts_.push_back(static_cast<int>(points_.size()));
    return contour;
  }

  // Makes `contour` the next sibling of `*last`.
  void Link(int* last, int contour) {
    previous_ = *last;
    if (*last != kNone) {
      hierarchy_[static_cast<std::size_t>(*last)][0] = contour;
    }
    *last = contour;
  }

  // Extends the contour level, upright or diagonally. Of the points on one such way only the ends
  // are kept.
  void AddPoint(int x, int y) {
    const cv::Point point(x, y);
    if (static_cast<int>(points_.size()) == starts_.back()) {
      points_.push_back(point);
      way_ = {};
      return;
    }
    const cv::Point way(Sign(x - points_.back().x), Sign(y - points_.back().y));
    if (way == cv::Point()) {
      return;
    }
    if (way == way_) {
      points_.back() = point;
    } else {
      points_.push_back(point);
      way_ = way;
    }
  }

  static int Sign(int value) { return (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0); }

  // Leaves out what repeats the first point.
  void CloseContour() {
    while (static_cast<int>(points_.size()) > starts_.back() + 1 &&
           points_.back() == points_[static_cast<std::size_t>(starts_.back())]) {
      points_.pop_back();
    }
  }

  // The way to the next end along the pixels inside the border: pieces of it are level, upright or
  // diagonal, so that straight lines pass exactly those pixels.
  void AddForegroundPoints(End end, End next) {
    const ForegroundRun& run = Run(end.run);
    AddPoint(end.right ? run.last : run.first, run.row);
    if (end.right && run.last_below != kNone) {
      const ForegroundRun& below = Run(run.last_below);
      if (below.last > run.last) {
        AddPoint(run.last + 1, below.row);
        AddPoint(next.right ? below.last : Run(next.run).first - 1, below.row);
      } else if (below.last < run.last) {
        AddPoint(below.last + 1, run.row);
      }
    } else if (!end.right && run.first_above != kNone) {
      const ForegroundRun& above = Run(run.first_above);
      if (above.first < run.first) {
        AddPoint(run.first - 1, above.row);
        AddPoint(next.right ? Run(next.run).last + 1 : above.first, above.row);
      } else if (above.first > run.first) {
        AddPoint(above.first - 1, run.row);
      }
    }
  }

  // The same for the pixels outside the border, over which the background is joined: level and
  // upright only.
  void AddBackgroundPoints(End end, End next) {
    const ForegroundRun& run = Run(end.run);
    const int step = end.right ? 1 : -1;  // out of the run, and on to the next row
    const int x = (end.right ? run.last : run.first) + step;
    const ForegroundRun& next_run = Run(next.run);
    const int next_x = next.right ? next_run.last + 1 : next_run.first - 1;
    AddPoint(x, run.row);
    if (next.right != end.right) {
      // Around the run to its other end, or along the row to its neighbour.
      if (next.run == end.run) {
        AddPoint(x, run.row + step);
        AddPoint(next_x, run.row + step);
      }
    } else if (step * (next_x - x) > 0) {
      AddPoint(next_x, run.row);
    } else {
      AddPoint(x, next_run.row);
    }
    AddPoint(next_x, next_run.row);
  }

  const std::vector<ForegroundRun> runs_;
  std::vector<int> border_of_;  // by end: 2 x run, plus 1 for the right one
  std::vector<Border> borders_;
  std::vector<int> last_child_;  // by contour
  int last_top_level_ = kNone;
  int previous_ = kNone;
  cv::Point way_;  // from the last point but one to the last: -1, 0 or 1 in each direction
  std::vector<cv::Point>& points_;
  std::vector<int>& starts_;
  std::vector<cv::Vec4i>& hierarchy_;
};

}  // namespace

KelLong KelRLC::FindContours(KelImage& image, std::vector<cv::Point>* points,
                             std::vector<int>* starts, std::vector<cv::Vec4i>* hierarchy) {
  if (points == nullptr || starts == nullptr || hierarchy == nullptr) {
    return KEL_RLC_ERR_OUTPUT;
  }
  const cv::Mat& mat = image.Mat();
  if (mat.empty() || mat.dims > 2 || mat.type() != CV_8UC1) {
    return KEL_RLC_ERR_IMAGE;
  }
  try {
    std::vector<cv::Point> found_points;
    std::vector<int> found_starts;
    std::vector<cv::Vec4i> found_hierarchy;
    Tracer(FindForegroundRuns(mat), &found_points, &found_starts, &found_hierarchy).Trace();
    points->swap(found_points);
    starts->swap(found_starts);
    hierarchy->swap(found_hierarchy);
    return 0;
  } catch (const std::exception&) {
    return KEL_RLC_ERR_MEMORY;
  }
}

}  // namespace KELRA
