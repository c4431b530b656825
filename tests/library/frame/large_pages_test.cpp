#include "frame/large_pages.h"

#include <gtest/gtest.h>

namespace KELRA {
namespace {

// Of few pages and of many, ending in the middle of one.
TEST(LargePages, AMatrixHasTheSizeAndTypeAskedForAndCanBeWritten) {
  for (const cv::Size size : {cv::Size(1, 1), cv::Size(701, 300), cv::Size(4099, 3001)}) {
    for (const int type : {CV_8UC1, CV_16UC3}) {
      cv::Mat mat;
      CreateInLargePages(size, type, &mat);
      EXPECT_EQ(mat.size(), size);
      EXPECT_EQ(mat.type(), type);
      mat.setTo(7);
      EXPECT_EQ(cv::sum(mat)[0], 7.0 * size.area()) << size;
    }
  }
}

}  // namespace
}  // namespace KELRA
