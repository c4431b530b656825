#include <KELRA/KelData.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using KELRA::KelImage;
using KELRA::KelImageArray;
using KELRA::KelPointArray;
using KELRA::KelRegion;
using KELRA::KelRegionArray;
using KELRA::KelVar;
using KELRA::KelVarArray;

TEST(Array, KeepsValuesInOrder) {
  KelPointArray points = {{1, 2}, {3, 4}};
  points.Append({5, 6});
  ASSERT_EQ(points.Length(), 3);
  EXPECT_EQ(points[0].x, 1);
  EXPECT_EQ(points[1].y, 4);
  EXPECT_EQ(points[2].x, 5);
}

TEST(Array, DefaultAndClearedAreWithoutElements) {
  KelVarArray values;
  EXPECT_EQ(values.Length(), 0);
  values.Append(7);
  values.Clear();
  EXPECT_EQ(values.Length(), 0);
}

TEST(Array, ElementsCanBeAssigned) {
  KelVarArray values = {KelVar(1), KelVar("two")};
  values[0] = KelVar(2.5);
  EXPECT_EQ(values[0].ToDouble(), 2.5);
  EXPECT_EQ(values[1].ToString(), "two");
}

TEST(Array, CopiesHaveElementsOfTheirOwn) {
  KelPointArray points = {{1, 2}};
  KelPointArray copy(points);
  KelPointArray assigned;
  assigned = points;
  points[0].x = 9;
  EXPECT_EQ(copy[0].x, 1);
  EXPECT_EQ(assigned[0].x, 1);
}

TEST(Array, AppendsAnElementOfItself) {
  KelVarArray values = {KelVar("text")};
  for (int i = 0; i < 20; ++i) {
    values.Append(values[0]);
  }
  EXPECT_EQ(values[20].ToString(), "text");
}

TEST(Array, IndexOutsideThrows) {
  KelPointArray points = {{1, 2}, {3, 4}};
  const KelPointArray& constant = points;
  for (const int index : {-1, 2, 1000000, -2147483647}) {
    EXPECT_THROW(points[index], std::out_of_range) << index;
    EXPECT_THROW(constant[index], std::out_of_range) << index;
  }
}

TEST(Array, HoldsImagesAndRegions) {
  const KelImageArray images = {KelImage(cv::Mat(2, 3, CV_8UC1)), KelImage()};
  EXPECT_EQ(images[0].Width(), 3);
  EXPECT_EQ(images[1].Width(), 0);
  const KelRegionArray regions = {KelRegion(4, 5)};
  EXPECT_EQ(regions[0].Height(), 5);
}

}  // namespace
