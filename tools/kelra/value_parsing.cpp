#include "value_parsing.h"

#include <KELRA/KelDataConvert.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <optional>
#include <system_error>
#include <vector>

#include "image_files.h"
#include "whole_file.h"

namespace KELRA::tool {
namespace {

std::string Quoted(std::string_view text) { return "'" + std::string(text) + "'"; }

template <class Number>
std::optional<Number> ToNumber(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc{} || stop != end) {
    return std::nullopt;
  }
  return number;
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) {
      return parts;
    }
    text.remove_prefix(end + 1);
  }
}

// Finite numbers with commas between them.
std::vector<double> Coordinates(std::string_view text, const std::string& expected) {
  std::vector<double> numbers;
  for (const std::string_view part : Split(text, ',')) {
    const auto number = ToNumber<double>(part);
    if (!number || !std::isfinite(*number)) {
      throw BadValue(Quoted(part) + " is not a finite number, expected " + expected);
    }
    numbers.push_back(*number);
  }
  return numbers;
}

std::string CountText(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " number" : " numbers");
}

KelPointArray Points(const std::vector<double>& numbers, const std::string& expected) {
  if (numbers.size() % 2 != 0) {
    throw BadValue("got " + CountText(numbers.size()) + ", expected " + expected);
  }
  KelPointArray points;
  for (std::size_t i = 0; i < numbers.size(); i += 2) {
    points.Append({numbers[i], numbers[i + 1]});
  }
  return points;
}

std::vector<std::string_view> Words(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r";
  std::vector<std::string_view> words;
  for (std::size_t begin = line.find_first_not_of(kBlanks); begin != std::string_view::npos;) {
    const std::size_t end = std::min(line.find_first_of(kBlanks, begin), line.size());
    words.push_back(line.substr(begin, end - begin));
    begin = line.find_first_not_of(kBlanks, end);
  }
  return words;
}

std::optional<KelRun> ToRun(const std::vector<std::string_view>& words) {
  if (words.size() != 3) {
    return std::nullopt;
  }
  const auto row = ToNumber<int>(words[0]);
  const auto first = ToNumber<int>(words[1]);
  const auto last = ToNumber<int>(words[2]);
  if (!row || !first || !last || *last < *first) {
    return std::nullopt;
  }
  return KelRun{*row, *first, *last};
}

int ExtentUpTo(int index) { return index < 0 ? 0 : std::min(index, INT_MAX - 1) + 1; }

// The runs of a text file, on the smallest grid that holds them.
KelRegion RunsOfFile(const std::string& path) {
  const Bytes bytes = ReadWholeFile(path);
  const std::string text(bytes.begin(), bytes.end());
  std::vector<KelRun> runs;
  int width = 0;
  int height = 0;
  int line_number = 0;
  for (const std::string_view line : Split(text, '\n')) {
    ++line_number;
    const auto words = Words(line.substr(0, line.find('#')));
    if (words.empty()) {
      continue;
    }
    const auto run = ToRun(words);
    if (!run) {
      throw FileError(path, "line " + std::to_string(line_number) + " is " + Quoted(line) +
                                ", expected row, first and last column: three whole numbers, the "
                                "last column not before the first");
    }
    runs.push_back(*run);
    width = std::max(width, ExtentUpTo(run->lastColumn));
    height = std::max(height, ExtentUpTo(run->row));
  }
  KelRegion region(width, height);
  for (const KelRun& run : runs) {
    region.Append(run);
  }
  return region;
}

// An opaque black pixel is as black as a transparent one.
KelImage WithoutAlpha(const KelImage& image) {
  if (image.Channels() != 4) {
    return image;
  }
  cv::Mat colors(image.Mat().size(), CV_MAKETYPE(image.BitDepth(), 3));
  cv::mixChannels(std::vector<cv::Mat>{image.Mat()}, std::vector<cv::Mat>{colors},
                  std::vector<int>{0, 0, 1, 1, 2, 2});
  return KelImage(colors);
}

KelRegion RegionOfMask(const std::string& path) {
  KelImage mask = WithoutAlpha(ReadImage(path).image);
  KelRegion region;
  if (const KelLong status = KelDataConvert::KelImageToRegion(mask, &region); status != 0) {
    throw FileError(path, "cannot be used as a mask (" + std::to_string(status) + ")");
  }
  return region;
}

using Numbers = std::vector<double>;

// A region that numbers describe.
struct Shape {
  std::string_view name;
  std::string_view arguments;  // as help shows them; their number is the number expected
  std::string_view meaning;
  KelROI (*make)(const Numbers&);
};

constexpr std::array kShapes = {
    Shape{"rect", "x,y,w,h", "columns x to x+w-1 of rows y to y+h-1",
          [](const Numbers& n) { return KelROI::Rectangle(n[0], n[1], n[2], n[3]); }},
    Shape{"rotated-rect", "cx,cy,w,h,angle", "a rectangle about (cx, cy), turned clockwise",
          [](const Numbers& n) {
            return KelROI::RotatedRectangle({n[0], n[1]}, n[2], n[3], n[4]);
          }},
    Shape{"circle", "cx,cy,r", "radius r about (cx, cy)",
          [](const Numbers& n) {
            return KelROI::Circle({n[0], n[1]}, n[2]);
          }},
    Shape{"ellipse", "cx,cy,rx,ry,angle", "radii rx and ry, turned clockwise",
          [](const Numbers& n) {
            return KelROI::Ellipse({n[0], n[1]}, n[2], n[3], n[4]);
          }},
    Shape{"annulus", "cx,cy,inner,outer", "the ring between two radii",
          [](const Numbers& n) {
            return KelROI::Annulus({n[0], n[1]}, n[2], n[3]);
          }},
};

struct TypeName {
  std::string_view name;
  KelImageType type;
};

constexpr std::array kTypeNames = {TypeName{"u8", KEL_8U},   TypeName{"s8", KEL_8S},
                                   TypeName{"u16", KEL_16U}, TypeName{"s16", KEL_16S},
                                   TypeName{"s32", KEL_32S}, TypeName{"f32", KEL_32F},
                                   TypeName{"f64", KEL_64F}};

constexpr const char* kPolygonForm = "polygon:x1,y1,x2,y2,x3,y3,... with three or more corners";

std::string FormOf(const Shape& shape) {
  return std::string(shape.name) + ":" + std::string(shape.arguments);
}

KelROI ShapeOf(const Shape& shape, std::string_view arguments) {
  const std::string expected = FormOf(shape);
  const Numbers numbers = Coordinates(arguments, expected);
  const std::size_t count = Split(shape.arguments, ',').size();
  if (numbers.size() != count) {
    throw BadValue("got " + CountText(numbers.size()) + ", expected " + expected);
  }
  return shape.make(numbers);
}

KelROI PolygonOf(std::string_view arguments) {
  const KelPointArray corners = Points(Coordinates(arguments, kPolygonForm), kPolygonForm);
  if (corners.Length() < 3) {
    throw BadValue("got " + std::to_string(corners.Length()) + " corners, expected " +
                   kPolygonForm);
  }
  return KelROI::Polygon(corners);
}

KelRegion RegionOfFile(std::string_view kind, std::string_view path) {
  if (path.empty()) {
    throw BadValue("got no file, expected " + std::string(kind) + ":FILE");
  }
  return kind == "mask" ? RegionOfMask(std::string(path)) : RunsOfFile(std::string(path));
}

}  // namespace

void ParseValue(std::string_view text, int* value) {
  const auto number = ToNumber<int>(text);
  if (!number) {
    throw BadValue("expected a whole number from -2147483648 to 2147483647");
  }
  *value = *number;
}

void ParseValue(std::string_view text, float* value) {
  const auto number = ToNumber<float>(text);
  if (!number) {
    throw BadValue("expected a number that single precision can hold, such as 1.5");
  }
  *value = *number;
}

void ParseValue(std::string_view text, double* value) {
  const auto number = ToNumber<double>(text);
  if (!number) {
    throw BadValue("expected a number, such as 1.5");
  }
  *value = *number;
}

void ParseValue(std::string_view text, KelPoint* value) {
  const std::string expected = "two numbers X,Y";
  const Numbers numbers = Coordinates(text, expected);
  if (numbers.size() != 2) {
    throw BadValue("got " + CountText(numbers.size()) + ", expected " + expected);
  }
  *value = {numbers[0], numbers[1]};
}

void ParseValue(std::string_view text, KelPointArray* value) {
  const std::string expected = "pairs of numbers X1,Y1,X2,Y2,...";
  *value = Points(Coordinates(text, expected), expected);
}

void ParseValue(std::string_view text, KelColorRGBA* value) {
  const std::string expected = "whole numbers R,G,B or R,G,B,A";
  std::array<int, 4> components{};
  const auto parts = Split(text, ',');
  if (parts.size() != 3 && parts.size() != 4) {
    throw BadValue("got " + CountText(parts.size()) + ", expected " + expected);
  }
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto number = ToNumber<int>(parts[i]);
    if (!number) {
      throw BadValue(Quoted(parts[i]) + " is no whole number, expected " + expected);
    }
    components[i] = *number;
  }
  *value = {components[0], components[1], components[2], components[3]};
}

void ParseValue(std::string_view text, KelRegion* value) {
  const std::size_t colon = text.find(':');
  const std::string_view kind = text.substr(0, colon);
  if (colon == std::string_view::npos || (kind != "runs" && kind != "mask")) {
    throw BadValue("expected runs:FILE or mask:FILE");
  }
  *value = RegionOfFile(kind, text.substr(colon + 1));
}

void ParseValue(std::string_view text, KelROI* value) {
  if (text == "whole") {
    *value = KelROI::WholeImage();
    return;
  }
  const std::size_t colon = text.find(':');
  const std::string_view kind = text.substr(0, colon);
  if (colon != std::string_view::npos) {
    const std::string_view rest = text.substr(colon + 1);
    for (const Shape& shape : kShapes) {
      if (kind != shape.name) {
        continue;
      }
      *value = ShapeOf(shape, rest);
      return;
    }
    if (kind == "polygon") {
      *value = PolygonOf(rest);
      return;
    }
    if (kind == "runs" || kind == "mask") {
      *value = KelROI::Region(RegionOfFile(kind, rest));
      return;
    }
  }
  std::string expected = "expected whole";
  for (const Shape& shape : kShapes) {
    expected += ", " + FormOf(shape);
  }
  throw BadValue(expected + ", polygon:x1,y1,..., runs:FILE or mask:FILE");
}

void ParseValue(std::string_view text, KelImageType* value) {
  std::string expected = "expected one of";
  for (const TypeName& entry : kTypeNames) {
    if (entry.name == text) {
      *value = entry.type;
      return;
    }
    expected += ' ';
    expected += entry.name;
  }
  throw BadValue(Quoted(text) + " is no type of samples, " + expected);
}

void ParseValue(std::string_view text, RawLayout* value) {
  const std::string expected = "expected WIDTHxHEIGHTxCHANNELS:TYPE, such as 640x480x1:u16";
  const std::size_t colon = text.find(':');
  const auto sizes = Split(text.substr(0, colon), 'x');
  if (colon == std::string_view::npos || sizes.size() != 3) {
    throw BadValue(expected);
  }
  const auto width = ToNumber<int>(sizes[0]);
  const auto height = ToNumber<int>(sizes[1]);
  const auto channels = ToNumber<int>(sizes[2]);
  if (!width || !height || *width < 1 || *height < 1) {
    throw BadValue("the size is not two whole numbers from 1 on, " + expected);
  }
  if (!channels || (*channels != 1 && *channels != 3 && *channels != 4)) {
    throw BadValue("there are not 1, 3 or 4 channels, " + expected);
  }
  ParseValue(text.substr(colon + 1), &value->type);
  value->width = *width;
  value->height = *height;
  value->channels = *channels;
}

bool NamesMask(std::string_view region) { return region.starts_with("mask:"); }

std::string RegionHelp() {
  constexpr std::size_t kMeaningColumn = 32;
  std::string help;
  const auto line = [&](std::string form, std::string_view meaning) {
    form.resize(std::max(form.size() + 1, kMeaningColumn), ' ');
    help += "  " + form + std::string(meaning) + "\n";
  };
  line("whole", "the whole image");
  for (const Shape& shape : kShapes) {
    line(FormOf(shape), shape.meaning);
  }
  line("polygon:x1,y1,x2,y2,...", "three or more corners");
  line("runs:FILE", "a text file: row, first and last column per line, # for comments");
  line("mask:FILE", "an image of IN's size: the pixels that are not black");
  return help;
}

}  // namespace KELRA::tool
