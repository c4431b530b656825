// Ends the program when a call breaks a promise, and tells which call and which promise.
#pragma once

#include <cstddef>
#include <opencv2/core.hpp>
#include <string>

#include "call.h"
#include "outcome.h"

namespace kelra_fuzz {

std::string Text(const cv::Mat& mat);
std::string Text(const Outcome& outcome);
// Both, and the first byte that differs.
std::string Difference(const Outcome& actual, const Outcome& expected);

class Judge {
 public:
  // Before the call.
  Judge(const Operation& operation, const Call& call);

  // `found` is called to tell what was found instead.
  template <class Found>
  void Require(bool holds, const char* promise, Found found) const {
    if (!holds) {
      Fail(promise, found());
    }
  }
  void Require(bool holds, const char* promise) const {
    Require(holds, promise, [] { return std::string(); });
  }

 private:
  [[noreturn]] void Fail(const char* promise, const std::string& found) const;

  const Operation& operation_;
  const Call& call_;
  cv::Mat output_before_;  // the header alone
};

}  // namespace kelra_fuzz
