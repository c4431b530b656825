#include "call.h"

#include <algorithm>

namespace kelra_fuzz {
namespace {

using KELRA::KelImage;
using KELRA::KelPointArray;

KelPointArray Points(InputReader* reader, int count, cv::Size size) {
  KelPointArray points;
  for (int i = 0; i < count; ++i) {
    points.Append(reader->PointAround(size));
  }
  return points;
}

// Mostly as many as are wanted.
int Count(InputReader* reader, int wanted) {
  return reader->Rarely(16) ? reader->Between(0, 5) : wanted;
}

float AngleInDegrees(InputReader* reader) {
  constexpr float kAngles[] = {0, 90, 180, 270, 360, 45, 0.5F, 359.5F};
  switch (reader->Between(0, 3)) {
    case 0:
      return reader->OneOf(kAngles);
    case 1:
      return reader->AnyFloat();
    default:
      return static_cast<float>(reader->Between(0, 3600)) / 10;
  }
}

float Factor(InputReader* reader) {
  constexpr float kFactors[] = {1, 1, 0.5F, -1, 2, 0.37F, 255, 1.0F / 255};
  return reader->Flip() ? reader->OneOf(kFactors) : reader->AnyFloat();
}

void ReadGeometry(InputReader* reader, cv::Size size, Call* call) {
  const int last_column = std::max(size.width - 1, 0);
  const int last_row = std::max(size.height - 1, 0);
  call->roi = reader->RegionOfInterest(size);
  // Half of the positions are the origin, where the images overlap most.
  if (reader->Flip()) {
    call->position = reader->PointAround({last_column, last_row});
  }
  call->center.x = static_cast<float>(reader->Coordinate(last_column));
  call->center.y = static_cast<float>(reader->Coordinate(last_row));
  call->pixel[0] = reader->Mostly(0, last_row);
  call->pixel[1] = reader->Mostly(0, last_column);
  call->angle = reader->Flip() ? 0 : static_cast<double>(AngleInDegrees(reader));
  call->angles = {AngleInDegrees(reader), AngleInDegrees(reader)};
  const int points = reader->Between(3, 4);
  call->from = Points(reader, Count(reader, points), size);
  call->to = Points(reader, Count(reader, points), size);
}

void ReadImages(InputReader* reader, Scene* scene, cv::Size size, Call* call) {
  const int count = reader->Between(0, 6);
  const bool alike = reader->Flip();
  for (int i = 0; i < count; ++i) {
    const KelImage& image = scene->Image(reader->Between(0, Scene::kImages - 1));
    const bool fits = image.Mat().size == call->first->Mat().size &&
                      image.Mat().type() == call->first->Mat().type();
    call->images.Append(alike && !fits ? *call->first : image);
  }
  for (int& length : call->grid) {
    length = reader->Mostly(1, 3);
  }
  if (reader->Flip() && call->grid[0] > 0) {
    call->grid[1] = call->images.Length() / call->grid[0];
  }
  call->offsets = Points(reader, Count(reader, call->images.Length()), size);
}

}  // namespace

Call ReadCall(InputReader* reader, Scene* scene) {
  Call call;
  constexpr int kFirst[] = {0, 0, 0, 1, 2, 3};
  constexpr int kSecond[] = {1, 1, 1, 0, 2, 3};
  constexpr int kOutput[] = {2, 2, 0, 1, 3, 3};
  call.first = &scene->Image(reader->OneOf(kFirst));
  call.second = &scene->Image(reader->OneOf(kSecond));
  call.output = reader->Rarely(32) ? nullptr : &scene->Image(reader->OneOf(kOutput));
  const cv::Mat& first = call.first->Mat();
  // A header that was copied from an empty one may still have rows of -1.
  const cv::Size size = first.dims <= 2 && first.rows > 0 ? first.size() : cv::Size();
  call.value = first.depth() == CV_8U ? reader->Mostly(0, 255) : reader->Mostly(0, 65535);
  call.mode = reader->Mostly(-1, 12);
  call.channel = reader->Mostly(0, 4);
  call.scale = Factor(reader);
  call.offset = reader->AnyFloat();
  call.flag = reader->Flip();
  call.type = static_cast<KELRA::KelImageType>(reader->Mostly(-1, 8));
  for (int& length : call.lengths) {
    length = reader->Mostly(0, 12);
  }
  for (int* component : {&call.color.red, &call.color.green, &call.color.blue, &call.color.alpha}) {
    *component = reader->Mostly(0, 255);
  }
  ReadGeometry(reader, size, &call);
  ReadImages(reader, scene, size, &call);
  call.region = reader->Runs(size);
  for (int i = reader->Between(0, 2); i > 0; --i) {
    call.regions.Append(reader->Runs(size));
  }
  call.buffer = scene->AddBuffer(kBufferSize, static_cast<std::uint8_t>(reader->Between(0, 255)));
  return call;
}

}  // namespace kelra_fuzz
