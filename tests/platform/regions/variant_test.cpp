#include <KELRA/KelData.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using KELRA::KelVar;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Variant, DefaultIsTheIntZero) {
  const KelVar value;
  EXPECT_TRUE(value.IsInt());
  EXPECT_EQ(value.ToInt(), 0);
}

TEST(Variant, KnowsItsKind) {
  EXPECT_TRUE(KelVar(1).IsInt());
  EXPECT_TRUE(KelVar(1.0).IsDouble());
  EXPECT_TRUE(KelVar("1").IsString());
  EXPECT_TRUE(KelVar(std::string("1")).IsString());
  EXPECT_FALSE(KelVar(1).IsDouble());
  EXPECT_FALSE(KelVar(1.0).IsString());
  EXPECT_FALSE(KelVar("1").IsInt());
}

TEST(Variant, DoublesTruncateAndSaturateAsInts) {
  struct Case {
    double value;
    int expected;
  };
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  for (const Case& c : {Case{2.9, 2},
                        {-2.9, -2},
                        {0.0, 0},
                        {2147483646.5, kMax - 1},
                        {2147483647.0, kMax},
                        {2147483648.0, kMax},
                        {-2147483648.5, kMin},
                        {1e300, kMax},
                        {-1e300, kMin},
                        {kInfinity, kMax},
                        {-kInfinity, kMin},
                        {std::numeric_limits<double>::quiet_NaN(), 0}}) {
    EXPECT_EQ(KelVar(c.value).ToInt(), c.expected) << c.value;
  }
}

TEST(Variant, IntsAreDoublesOfTheSameValue) {
  EXPECT_EQ(KelVar(-7).ToDouble(), -7.0);
  EXPECT_EQ(KelVar(2.25).ToDouble(), 2.25);
}

TEST(Variant, StringsAreZeroAsNumbers) {
  EXPECT_EQ(KelVar("12").ToInt(), 0);
  EXPECT_EQ(KelVar("1.5").ToDouble(), 0.0);
}

TEST(Variant, NumbersHaveTheirShortestDecimalFormAsStrings) {
  EXPECT_EQ(KelVar(-120).ToString(), "-120");
  EXPECT_EQ(KelVar(0.1).ToString(), "0.1");
  EXPECT_EQ(KelVar(3.0).ToString(), "3");
  EXPECT_EQ(KelVar(-1.7976931348623157e308).ToString(), "-1.7976931348623157e+308");
  EXPECT_EQ(KelVar("text").ToString(), "text");
}

TEST(Variant, NullTextIsTheEmptyString) {
  const char* none = nullptr;
  EXPECT_TRUE(KelVar(none).IsString());
  EXPECT_EQ(KelVar(none).ToString(), "");
}

TEST(Variant, CopiesHoldTheSameValue) {
  const KelVar text("text");
  KelVar copy(text);
  EXPECT_EQ(copy.ToString(), "text");
  copy = KelVar(5);
  EXPECT_EQ(copy.ToInt(), 5);
  EXPECT_EQ(text.ToString(), "text");
}

}  // namespace
