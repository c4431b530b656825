#include "status_text.h"

#include <KELRA/KelROIDataConvert.h>
#include <gtest/gtest.h>

#include <opencv2/core.hpp>

namespace KELRA::tool {
namespace {

struct Options {
  int value = 0;
  KelROI roi;
};

Command Declared() {
  return CommandBuilder<Options>(Form::kEach, "name", "summary")
      .Required("--value", &Options::value, "")
      .Region(&Options::roi)
      .Checked(ERR_PARAM_1, "--value", SampleRange(1))
      .Checked(ERR_PARAM_2, "--other", Always("7"))
      .Run([](Call&, Options&) { return KelLong{0}; });
}

std::string Text(KelLong status, const std::vector<KelImage>& inputs) {
  const Command command = Declared();
  Invocation invocation;
  invocation.command = &command;
  invocation.texts = {{"--value", "300"}, {"--roi", "circle:9,9,1"}};
  return StatusText(status, invocation, inputs);
}

KelImage Image(int width, int height, int type) { return KelImage(cv::Mat(height, width, type)); }

TEST(StatusText, TellsTheOptionAndItsRangeForTheImage) {
  EXPECT_EQ(Text(ERR_PARAM_1, {Image(4, 3, CV_8UC1)}),
            "--value 300: must be 1 to 255 for an 8-bit image (ERR_PARAM_1, 11200001)");
  EXPECT_EQ(Text(ERR_PARAM_1, {Image(4, 3, CV_16UC3)}),
            "--value 300: must be 1 to 65535 for a 16-bit image (ERR_PARAM_1, 11200001)");
  EXPECT_EQ(Text(ERR_PARAM_2, {Image(4, 3, CV_8UC1)}), "must be 7 (ERR_PARAM_2, 11200002)");
}

TEST(StatusText, TellsTheRegionThatCoversNothing) {
  EXPECT_EQ(Text(KEL_ROI_ERR_OUTSIDE, {Image(384, 303, CV_8UC1)}),
            "--roi circle:9,9,1: covers no pixel of the 384 x 303 image, expected one that does "
            "(KEL_ROI_ERR_OUTSIDE, 13000003)");
}

TEST(StatusText, TellsTheDepthAndTheChannelsThatItGot) {
  EXPECT_EQ(Text(ERR_CHANNEL_COUNT, {Image(4, 3, CV_8UC4)}),
            "the image has 4 channels, expected 1 or 3 (ERR_CHANNEL_COUNT, 11000006)");
  const std::string depth = Text(ERR_BIT_DEPTH, {Image(4, 3, CV_32FC1)});
  EXPECT_NE(depth.find("32-bit float"), std::string::npos) << depth;
  EXPECT_NE(depth.find("(ERR_BIT_DEPTH, 11000009)"), std::string::npos) << depth;
  EXPECT_EQ(Text(ERR_DEPTH_MISMATCH, {Image(4, 3, CV_8UC1), Image(4, 3, CV_16UC1)}),
            "got 8-bit and 16-bit images, expected one depth (ERR_DEPTH_MISMATCH, 11000016)");
  EXPECT_EQ(
      Text(ERR_WIDTH_MISMATCH, {Image(4, 3, CV_8UC1), Image(5, 3, CV_8UC1), Image(4, 3, CV_8UC1)}),
      "got images of 4 x 3 and 5 x 3 pixels, expected one width "
      "(ERR_WIDTH_MISMATCH, 11000030)");
}

TEST(StatusText, TellsTheNumberOfAnUnknownStatus) {
  EXPECT_EQ(Text(17, {Image(4, 3, CV_8UC1)}), "the operation failed (status 17)");
  EXPECT_EQ(Text(13000099, {Image(4, 3, CV_8UC1)}),
            "--roi circle:9,9,1: the operation failed (status 13000099)");
}

TEST(StatusText, EveryStatusOfTheLibraryHasAMeaning) {
  for (const KelLong status : {ERR_IMAGE_EMPTY,
                               ERR_ROI_TYPE,
                               ERR_NOT_SINGLE_CHANNEL,
                               ERR_CHANNEL_COUNT,
                               ERR_COUNT_LIMIT,
                               ERR_BIT_DEPTH,
                               ERR_POINT_COUNT,
                               ERR_GRID_COUNT,
                               ERR_DEPTH_MISMATCH,
                               ERR_CHANNEL_MISMATCH,
                               ERR_WIDTH_MISMATCH,
                               ERR_HEIGHT_MISMATCH,
                               ERR_PARAM_1,
                               ERR_PARAM_2,
                               ERR_PARAM_3,
                               ERR_PARAM_4,
                               ERR_PARAM_5,
                               ERR_PARAM_6,
                               ERR_PASTE_WORK,
                               ERR_FILL_NO_CONTOUR,
                               ERR_AVG_SIZE_MISMATCH,
                               ERR_AVG_CHANNEL_MISMATCH,
                               ERR_AVG_DEPTH_MISMATCH,
                               ERR_CREATE_EXCEPTION,
                               ERR_SET_PIXEL_EXCEPTION,
                               ERR_GET_PIXEL_EXCEPTION,
                               ERR_BORDER_EXCEPTION,
                               ERR_CONVERT_EXCEPTION,
                               ERR_PASTE_EXCEPTION,
                               ERR_BITWISE_EXCEPTION,
                               ERR_WARP_EXCEPTION,
                               KEL_ROI_ERR_IMAGE,
                               KEL_ROI_ERR_KIND,
                               KEL_ROI_ERR_OUTSIDE,
                               KEL_ROI_ERR_PART,
                               KEL_ROI_ERR_OUTPUT,
                               KEL_ROI_ERR_MEMORY}) {
    const std::string text = Text(status, {Image(4, 3, CV_8UC1)});
    EXPECT_NE(text.find("ERR_"), std::string::npos) << text;
    EXPECT_NE(text.find(", " + std::to_string(status) + ")"), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace KELRA::tool
