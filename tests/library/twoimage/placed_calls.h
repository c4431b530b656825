// Calls of the operations on a placed second image, for the tests of all of them.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "test_images.h"

namespace kelra_test {

// What a call is made of; by default it succeeds.
struct PlacedCall {
  int depth1 = CV_8U;
  int depth2 = CV_8U;
  int channels1 = 1;
  int channels2 = 1;
  cv::Size size1{7, 5};
  cv::Size size2{7, 5};
  KELRA::KelPoint position{2, 1};
  double angle = 0;
  bool has_output = true;

  KELRA::KelImage Image1() const { return Zeros(size1, CV_MAKETYPE(depth1, channels1)); }
  KELRA::KelImage Image2() const { return Zeros(size2, CV_MAKETYPE(depth2, channels2)); }

 private:
  static KELRA::KelImage Zeros(cv::Size size, int type) {
    return KELRA::KelImage(size.area() == 0 ? cv::Mat(size, type) : cv::Mat::zeros(size, type));
  }
};

struct PlacedFault {
  const char* name;
  KELRA::KelLong status;
  std::function<void(PlacedCall&)> apply;
};

// What can be wrong, in the order in which it is checked.
inline std::vector<PlacedFault> PlacedFaults() {
  using Limits = std::numeric_limits<double>;
  std::vector<PlacedFault> faults = {
      {"depth", KELRA::ERR_BIT_DEPTH, [](PlacedCall& c) { c.depth1 = c.depth2 = CV_32F; }},
      {"mismatch", KELRA::ERR_DEPTH_MISMATCH, [](PlacedCall& c) { c.depth2 = CV_16U; }},
      {"first empty", KELRA::ERR_IMAGE_EMPTY, [](PlacedCall& c) { c.size1.width = 0; }},
      {"second empty", KELRA::ERR_IMAGE_EMPTY, [](PlacedCall& c) { c.size2.height = 0; }},
      {"first channels", KELRA::ERR_CHANNEL_COUNT, [](PlacedCall& c) { c.channels1 = 2; }},
      {"second channels", KELRA::ERR_CHANNEL_COUNT, [](PlacedCall& c) { c.channels2 = 4; }},
  };
  for (const double x : {-0.001, -1.0, 7.0, 8.0, 1e300, -1e300, Limits::infinity(),
                         -Limits::infinity(), Limits::quiet_NaN()}) {
    faults.push_back({"x", KELRA::ERR_PARAM_1, [x](PlacedCall& call) { call.position.x = x; }});
  }
  for (const double y : {-0.001, 5.0, 1e300, Limits::infinity(), Limits::quiet_NaN()}) {
    faults.push_back({"y", KELRA::ERR_PARAM_1, [y](PlacedCall& call) { call.position.y = y; }});
  }
  for (const double angle :
       {-0.001, 360.001, 1e300, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN()}) {
    faults.push_back(
        {"angle", KELRA::ERR_PARAM_2, [angle](PlacedCall& call) { call.angle = angle; }});
  }
  faults.push_back(
      {"no output", KELRA::ERR_IMAGE_EMPTY, [](PlacedCall& call) { call.has_output = false; }});
  return faults;
}

using RunPlaced =
    std::function<KELRA::KelLong(KELRA::KelImage& image1, KELRA::KelImage& image2,
                                 KELRA::KelImage* result, KELRA::KelPoint& position, double angle)>;

// Each fault alone, and before every later one, gives its status and leaves the output alone.
inline void ExpectStatusesInOrder(const RunPlaced& run) {
  const std::vector<PlacedFault> faults = PlacedFaults();
  const cv::Mat before = RandomImage(3, 4, CV_16UC3);
  for (std::size_t i = 0; i < faults.size(); ++i) {
    for (std::size_t j = i; j < faults.size(); ++j) {
      PlacedCall call;
      faults[j].apply(call);
      faults[i].apply(call);
      KELRA::KelImage image1 = call.Image1();
      KELRA::KelImage image2 = call.Image2();
      KELRA::KelImage result(before.clone());
      const void* pixels = result.ImageData();
      EXPECT_EQ(run(image1, image2, call.has_output ? &result : nullptr, call.position, call.angle),
                faults[i].status)
          << faults[i].name << ", " << faults[j].name;
      EXPECT_TRUE(SameImage(result.Mat(), before));
      EXPECT_EQ(result.ImageData(), pixels);
    }
  }
}

struct PlacedGeometry {
  cv::Size first;
  cv::Size second;
  KELRA::KelPoint position;
};

inline std::vector<PlacedGeometry> UprightGeometries() {
  return {
      {{40, 6}, {40, 6}, {0, 0}},       {{40, 6}, {40, 6}, {0.5, 0.75}},
      {{40, 6}, {40, 6}, {3, 2}},       {{40, 6}, {40, 6}, {39, 5}},
      {{40, 6}, {17, 3}, {0, 0}},       {{40, 6}, {17, 3}, {5.9, 1.9}},
      {{40, 6}, {17, 3}, {23, 3}},      {{40, 6}, {17, 3}, {30, 4}},
      {{17, 3}, {40, 6}, {0, 0}},       {{17, 3}, {40, 6}, {2, 1}},
      {{17, 9}, {40, 2}, {1, 4}},       {{1, 1}, {1, 1}, {0, 0}},
      {{1, 1}, {9, 9}, {0.9, 0.9}},     {{9, 9}, {1, 1}, {8, 8}},
      {{1, 30}, {1, 30}, {0, 7}},       {{70, 1}, {70, 1}, {13, 0}},
      {{500, 300}, {500, 300}, {0, 0}}, {{500, 300}, {500, 300}, {33, 20}},
  };
}

struct TurnedGeometry {
  cv::Size first;
  cv::Size second;
  KELRA::KelPoint position;
  double angle;
};

// Images that lie inside, stick out on each side and lie wholly outside; positions with fractions.
inline std::vector<TurnedGeometry> TurnedGeometries() {
  std::vector<TurnedGeometry> geometries;
  const PlacedGeometry shapes[] = {
      {{60, 50}, {20, 12}, {20, 20}}, {{60, 50}, {20, 12}, {0, 0}},
      {{60, 50}, {20, 12}, {59, 49}}, {{60, 50}, {20, 12}, {0.25, 30.75}},
      {{60, 50}, {60, 50}, {0, 0}},   {{23, 9}, {60, 50}, {11, 4}},
      {{60, 50}, {1, 1}, {30, 30}},   {{1, 1}, {30, 20}, {0, 0}},
      {{60, 50}, {1, 40}, {30, 5}},   {{60, 50}, {40, 1}, {5, 30}},
  };
  for (const PlacedGeometry& shape : shapes) {
    for (const double angle :
         {1e-9, 0.3, 30.0, 45.0, 90.0, 123.4, 180.0, 200.5, 270.0, 315.0, 359.9, 360.0}) {
      geometries.push_back({shape.first, shape.second, shape.position, angle});
    }
  }
  return geometries;
}

inline std::string Describe(const TurnedGeometry& g) {
  return std::to_string(g.second.width) + " x " + std::to_string(g.second.height) + " on " +
         std::to_string(g.first.width) + " x " + std::to_string(g.first.height) + " at " +
         std::to_string(g.position.x) + ", " + std::to_string(g.position.y) + " turned by " +
         std::to_string(g.angle);
}

inline std::string Describe(const PlacedGeometry& g) {
  return Describe(TurnedGeometry{g.first, g.second, g.position, 0});
}

}  // namespace kelra_test
