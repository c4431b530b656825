#include "frame/status.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace KELRA {
namespace {

static_assert(sizeof(KelLong) == 4 && std::is_signed_v<KelLong>);

// The numbers are stored in inspection recipes and evaluated by other programs.
TEST(StatusCodes, HaveTheirFixedNumbers) {
  const struct {
    KelLong constant;
    KelLong number;
  } cases[] = {
      {STATUS_OK, 0},
      {ERR_IMAGE_EMPTY, 11000001},
      {ERR_ROI_TYPE, 11000002},
      {ERR_NOT_SINGLE_CHANNEL, 11000005},
      {ERR_CHANNEL_COUNT, 11000006},
      {ERR_COUNT_LIMIT, 11000007},
      {ERR_BIT_DEPTH, 11000009},
      {ERR_POINT_COUNT, 11000010},
      {ERR_GRID_COUNT, 11000012},
      {ERR_DEPTH_MISMATCH, 11000016},
      {ERR_CHANNEL_MISMATCH, 11000018},
      {ERR_WIDTH_MISMATCH, 11000030},
      {ERR_HEIGHT_MISMATCH, 11000031},
      {ERR_PARAM_1, 11200001},
      {ERR_PARAM_2, 11200002},
      {ERR_PARAM_3, 11200003},
      {ERR_PARAM_4, 11200004},
      {ERR_PARAM_5, 11200005},
      {ERR_PARAM_6, 11200006},
      {ERR_PASTE_WORK, 20201002},
      {ERR_FILL_NO_CONTOUR, 20201003},
      {ERR_AVG_SIZE_MISMATCH, 20201004},
      {ERR_AVG_CHANNEL_MISMATCH, 20201005},
      {ERR_AVG_DEPTH_MISMATCH, 20201006},
      {ERR_CREATE_EXCEPTION, 20201100},
      {ERR_SET_PIXEL_EXCEPTION, 20201101},
      {ERR_GET_PIXEL_EXCEPTION, 20201102},
      {ERR_BORDER_EXCEPTION, 20201103},
      {ERR_CONVERT_EXCEPTION, 20201104},
      {ERR_PASTE_EXCEPTION, 20201105},
      {ERR_BITWISE_EXCEPTION, 20201106},
      {ERR_WARP_EXCEPTION, 20201107},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.constant, c.number);
  }
}

TEST(Status, IsOkOnlyForZero) {
  EXPECT_TRUE(Status(STATUS_OK).ok());
  EXPECT_FALSE(Status(ERR_IMAGE_EMPTY).ok());
  EXPECT_FALSE(Status(-1).ok());
}

KelLong FirstFailure(KelLong first, KelLong second, int* evaluated) {
  const auto evaluate = [&](KelLong code) {
    ++*evaluated;
    return Status(code);
  };
  KELRA_RETURN_IF_ERROR(evaluate(first));
  KELRA_RETURN_IF_ERROR(evaluate(second));
  return 77;
}

TEST(Status, ReturnIfErrorReturnsTheFirstFailureAndEvaluatesNothingBehindIt) {
  const struct {
    KelLong first, second, returned;
    int evaluated;
  } cases[] = {{0, 0, 77, 2}, {5, 0, 5, 1}, {0, 6, 6, 2}, {5, 6, 5, 1}, {-1, 0, -1, 1}};
  for (const auto& c : cases) {
    int evaluated = 0;
    EXPECT_EQ(FirstFailure(c.first, c.second, &evaluated), c.returned);
    EXPECT_EQ(evaluated, c.evaluated);
  }
}

}  // namespace
}  // namespace KELRA
