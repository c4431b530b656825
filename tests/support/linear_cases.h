// Scales and offsets at which arithmetic in single precision is told apart from anything else.
#pragma once

#include <limits>
#include <vector>

namespace kelra_test {

struct LinearCase {
  float scale;
  float offset;
};

// Every scale with every offset.
inline std::vector<LinearCase> LinearCases() {
  using Limits = std::numeric_limits<float>;
  const float scales[] = {
      1.0F,
      1.0000001F,
      0.99999994F,
      0.0F,
      -0.0F,
      -1.0F,
      0.5F,
      0.1F,
      2.0F,
      255.0F,
      1.0F / 255,
      1e30F,
      -1e30F,
      1e-30F,
      Limits::min(),
      Limits::denorm_min(),
      Limits::max(),
      Limits::infinity(),
      -Limits::infinity(),
      Limits::quiet_NaN(),
  };
  const float offsets[] = {
      0.0F,
      -0.0F,
      0.25F,
      0.5F,
      -0.5F,
      0.49999997F,
      0.9999F,
      1.0F,
      -1.0F,
      7.5F,
      100.6F,
      127.0F,
      -128.0F,
      255.0F,
      -255.0F,
      256.0F,
      -256.0F,
      254.5F,
      65534.5F,
      65535.0F,
      -65535.0F,
      65536.0F,
      -65536.0F,
      131072.0F,
      8388608.0F,
      16777216.0F,
      -16777216.0F,
      2147483648.0F,
      -2147483648.0F,
      1e10F,
      1e30F,
      -1e30F,
      Limits::denorm_min(),
      Limits::infinity(),
      -Limits::infinity(),
      Limits::quiet_NaN(),
  };
  std::vector<LinearCase> cases;
  for (const float scale : scales) {
    for (const float offset : offsets) {
      cases.push_back({scale, offset});
    }
  }
  return cases;
}

// A few that reach every kernel: integer shortcuts, rounding, saturation at both ends.
inline std::vector<LinearCase> UsualLinearCases() {
  return {{1.0F, 0.0F}, {1.0F, -30.0F}, {1.0F, 0.5F}, {0.37F, 11.25F}, {-1.5F, 300.0F}};
}

}  // namespace kelra_test
