#include <KELRA/KelData.h>
#include <gtest/gtest.h>

#include <utility>

#include "run_grid.h"

namespace {

using KELRA::KelRegion;
using kelra_test::SameRuns;

TEST(Region, DefaultHasNoGridAndNoRuns) {
  const KelRegion region;
  EXPECT_EQ(region.Width(), 0);
  EXPECT_EQ(region.Height(), 0);
  EXPECT_TRUE(region.Runs().empty());
}

TEST(Region, NegativeSizesCountAsZero) {
  const KelRegion region(-3, -1);
  EXPECT_EQ(region.Width(), 0);
  EXPECT_EQ(region.Height(), 0);
}

TEST(Region, KeepsRunsAsAppended) {
  KelRegion region(4, 3);
  region.Append({2, 1, 3});
  region.Append({0, 5, -2});
  region.Append({2, 0, 2});
  EXPECT_EQ(region.Width(), 4);
  EXPECT_EQ(region.Height(), 3);
  EXPECT_TRUE(SameRuns(region.Runs(), {{2, 1, 3}, {0, 5, -2}, {2, 0, 2}}));
}

TEST(Region, CopiesHaveRunsOfTheirOwn) {
  KelRegion region(4, 3);
  region.Append({0, 0, 1});
  KelRegion copy(region);
  KelRegion assigned;
  assigned = region;
  region.Append({1, 0, 1});
  EXPECT_EQ(copy.Runs().size(), 1U);
  EXPECT_EQ(assigned.Runs().size(), 1U);
  EXPECT_EQ(assigned.Width(), 4);
}

TEST(Region, MovesHandTheRunsOver) {
  KelRegion region(4, 3);
  region.Append({0, 0, 1});
  const auto* runs = region.Runs().data();
  KelRegion moved(std::move(region));
  EXPECT_EQ(moved.Runs().data(), runs);
  KelRegion assigned;
  assigned = std::move(moved);
  EXPECT_EQ(assigned.Runs().data(), runs);
  EXPECT_EQ(assigned.Width(), 4);
  EXPECT_EQ(assigned.Height(), 3);
}

}  // namespace
