// Where a second image lies on a first one, upright or turned: functions of sizes, position and
// angle alone.
//
// Angles are in degrees, counterclockwise as seen on a screen, where rows grow downwards. Positions
// are inside the first image.
#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "KELRA/KelData.h"

namespace KELRA {

// What two images share when one is laid onto the other. Empty where they do not meet.
struct Placement {
  cv::Rect on_first;
  cv::Point on_second;

  cv::Rect OnSecond() const { return {on_second, on_first.size()}; }
};

// The second image with its corner at the position, whose fraction is dropped; what sticks out on
// the right and below is cut off.
Placement PlaceUpright(cv::Size first, cv::Size second, const KelPoint& position);

// How an image is turned into an image of its own.
struct Turn {
  cv::Matx23f transform;  // from the pixels of the image to those of the turned image
  cv::Size size;          // the box around the turned image
};

Turn TurnOf(cv::Size image, double angle);

// The corners of an image turned about its middle; the second is the image's first pixel.
std::array<cv::Point2f, 4> TurnedCorners(cv::Size image, double angle);

// The outline of an image that is turned so that its corner lies at the position.
std::array<cv::Point2f, 4> Footprint(cv::Size image, const KelPoint& position, double angle);

// An image of the size `turned` whose corner is that of the footprint's bounding box; what sticks
// out on any side is cut off.
Placement PlaceTurned(cv::Size first, cv::Size turned, const std::array<cv::Point2f, 4>& footprint);

}  // namespace KELRA
