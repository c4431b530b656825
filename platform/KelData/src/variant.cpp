#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <variant>

#include "KELRA/KelData.h"

namespace KELRA {
namespace {

int SaturateToInt(double value) {
  constexpr double kLowest = std::numeric_limits<int>::min();
  constexpr double kLargest = std::numeric_limits<int>::max();
  if (std::isnan(value)) {
    return 0;
  }
  if (value <= kLowest) {
    return std::numeric_limits<int>::min();
  }
  if (value >= kLargest) {
    return std::numeric_limits<int>::max();
  }
  return static_cast<int>(value);
}

// Independent of the locale, unlike the stream and printf families.
template <class Number>
std::string ShortestDecimal(Number value) {
  char digits[32];  // the longest double needs 24
  const std::to_chars_result end = std::to_chars(digits, digits + sizeof(digits), value);
  return std::string(digits, end.ptr);
}

}  // namespace

KelVar::KelVar() = default;
KelVar::KelVar(int value) : value_(value) {}
KelVar::KelVar(double value) : value_(value) {}
KelVar::KelVar(const std::string& value) : value_(value) {}
KelVar::KelVar(const char* value) : value_(std::string(value == nullptr ? "" : value)) {}
KelVar::KelVar(const KelVar& other) = default;
KelVar& KelVar::operator=(const KelVar& other) = default;
KelVar::~KelVar() = default;

bool KelVar::IsInt() const { return std::holds_alternative<int>(value_); }
bool KelVar::IsDouble() const { return std::holds_alternative<double>(value_); }
bool KelVar::IsString() const { return std::holds_alternative<std::string>(value_); }

int KelVar::ToInt() const {
  if (const double* number = std::get_if<double>(&value_)) {
    return SaturateToInt(*number);
  }
  const int* number = std::get_if<int>(&value_);
  return number == nullptr ? 0 : *number;
}

double KelVar::ToDouble() const {
  if (const double* number = std::get_if<double>(&value_)) {
    return *number;
  }
  return ToInt();
}

std::string KelVar::ToString() const {
  if (const std::string* text = std::get_if<std::string>(&value_)) {
    return *text;
  }
  if (const double* number = std::get_if<double>(&value_)) {
    return ShortestDecimal(*number);
  }
  return ShortestDecimal(ToInt());
}

}  // namespace KELRA
