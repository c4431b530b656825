// An image turned about a corner and laid onto a canvas.
#pragma once

#include <opencv2/core.hpp>

namespace KELRA {

// The extent of a turned image in the canvas's coordinates.
struct TurnedExtent {
  double min_x, min_y, max_x, max_y;
};

// Of an image of `size`, turned by `angle` degrees, whose top left corner lies on (x, y).
TurnedExtent ExtentOfTurned(cv::Size size, double angle, int x, int y);

// Writes the turned image into `canvas`, over its extent. An extent that begins left of or
// above the canvas is moved to its edge: the canvas has grown by as much. Pixels of the canvas that
// the image does not reach stay as they are.
//
// The image has one or three 8-bit or 16-bit channels and the canvas is of its type; they share no
// pixels.
void PasteTurned(const cv::Mat& image, double angle, const TurnedExtent& extent, cv::Mat* canvas);

}  // namespace KELRA
