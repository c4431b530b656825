// The values of options, from their texts. Numbers are read whole and in the same way under every
// locale: no spaces, no plus sign, a point as decimal separator.
#pragma once

#include <KELRA/KelData.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "raw_buffers.h"

namespace KELRA::tool {

// A text that is no value of its kind; what() says what was expected, and where it helps what is
// wrong.
class BadValue : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Each kind of value: how it reads, and how help and usage show it. They throw BadValue; regions
// that come from a file also throw FileError.
void ParseValue(std::string_view text, int* value);
void ParseValue(std::string_view text, float* value);   // any float, also inf and nan
void ParseValue(std::string_view text, double* value);  // any double, also inf and nan
void ParseValue(std::string_view text, KelPoint* value);
void ParseValue(std::string_view text, KelPointArray* value);
void ParseValue(std::string_view text, KelColorRGBA* value);
void ParseValue(std::string_view text, KelRegion* value);
void ParseValue(std::string_view text, KelROI* value);
void ParseValue(std::string_view text, KelImageType* value);
void ParseValue(std::string_view text, RawLayout* value);

inline const char* Placeholder(const int*) { return "N"; }
inline const char* Placeholder(const float*) { return "NUMBER"; }
inline const char* Placeholder(const double*) { return "NUMBER"; }
inline const char* Placeholder(const KelPoint*) { return "X,Y"; }
inline const char* Placeholder(const KelPointArray*) { return "X1,Y1,X2,Y2,..."; }
inline const char* Placeholder(const KelColorRGBA*) { return "R,G,B[,A]"; }
inline const char* Placeholder(const KelRegion*) { return "RUNS"; }
inline const char* Placeholder(const KelROI*) { return "REGION"; }
inline const char* Placeholder(const KelImageType*) { return "TYPE"; }
inline const char* Placeholder(const RawLayout*) { return "WIDTHxHEIGHTxCHANNELS:TYPE"; }

// Whether the text of a region names an image file that marks its pixels.
bool NamesMask(std::string_view region);

// The forms of a region, one a line, each with its meaning.
std::string RegionHelp();

}  // namespace KELRA::tool
