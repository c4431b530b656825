#include "image_files.h"

#include <algorithm>
#include <array>
#include <climits>
#include <opencv2/imgcodecs.hpp>
#include <string_view>
#include <system_error>
#include <vector>

#include "codec_messages.h"
#include "whole_file.h"

namespace KELRA::tool {
namespace {

constexpr std::string_view kRawEnding = ".raw";

// What a format holds without a conversion that OpenCV would make silently.
struct Format {
  std::string_view name;
  std::vector<std::string_view> endings;
  std::vector<KelImageType> depths;
  std::vector<int> channels;  // any number when empty
};

const std::vector<Format>& Formats() {
  static const std::vector<Format> formats = {
      {"PNG", {".png"}, {KEL_8U, KEL_16U}, {1, 3, 4}},
      {"TIFF", {".tif", ".tiff"}, {KEL_8U, KEL_16U, KEL_32F, KEL_64F}, {1, 3, 4}},
      {"JPEG", {".jpg", ".jpeg"}, {KEL_8U}, {1, 3}},
      {"BMP", {".bmp"}, {KEL_8U}, {1, 3, 4}},
      {"PGM", {".pgm"}, {KEL_8U, KEL_16U}, {1}},
      {"PPM", {".ppm"}, {KEL_8U, KEL_16U}, {3}},
      {"PNM", {".pnm"}, {KEL_8U, KEL_16U}, {1, 3}},
      {"raw", {kRawEnding}, {KEL_8U, KEL_8S, KEL_16U, KEL_16S, KEL_32S, KEL_32F, KEL_64F}, {}},
  };
  return formats;
}

template <class List, class Value>
bool Has(const List& list, const Value& value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

std::string LowerCase(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') {
      letter = static_cast<char>(letter - 'A' + 'a');
    }
  }
  return text;
}

// The endings of all formats that `fits`, as "a, b or c".
template <class Fits>
std::string Endings(Fits fits) {
  std::vector<std::string_view> endings;
  for (const Format& format : Formats()) {
    if (fits(format)) {
      endings.push_back(format.endings.front());
    }
  }
  std::string text;
  for (std::size_t i = 0; i < endings.size(); ++i) {
    if (i > 0) {
      text += i + 1 == endings.size() ? " or " : ", ";
    }
    text += endings[i];
  }
  return text;
}

std::string EndingOf(const std::filesystem::path& path) {
  return LowerCase(path.extension().string());
}

const Format* FindFormat(const std::filesystem::path& path) {
  for (const Format& format : Formats()) {
    if (Has(format.endings, EndingOf(path))) {
      return &format;
    }
  }
  return nullptr;
}

const Format& FormatOf(const std::filesystem::path& path) {
  const Format* format = FindFormat(path);
  if (format == nullptr) {
    throw FileError(path, "the ending '" + EndingOf(path) + "' names no image format, expected " +
                              Endings([](const Format&) { return true; }));
  }
  return *format;
}

bool IsRaw(const Format& format) { return format.endings.front() == kRawEnding; }

bool Holds(const Format& format, const KelImage& image) {
  return Has(format.depths, image.BitDepth()) &&
         (format.channels.empty() || Has(format.channels, image.Channels()));
}

void CheckHolds(const Format& format, const std::filesystem::path& path, const KelImage& image) {
  if (Holds(format, image)) {
    return;
  }
  const std::string fitting = Endings([&](const Format& other) { return Holds(other, image); });
  throw FileError(
      path, std::string(format.name) + " cannot hold the result's " + DepthText(image.BitDepth()) +
                " samples in " + ChannelText(image.Channels()) +
                (fitting.empty() ? ", nor can another format" : ", expected " + fitting));
}

// A JPEG file that ends within its last scan. The decoder would fill the missing rows silently;
// for the other formats it fails by itself.
bool IsCutJpeg(const Bytes& bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  constexpr std::string_view kStartMarker = "\xFF\xD8\xFF";
  constexpr std::string_view kScanMarker = "\xFF\xDA";
  constexpr std::string_view kEndMarker = "\xFF\xD9";
  if (!text.starts_with(kStartMarker)) {
    return false;
  }
  const std::size_t scan = text.rfind(kScanMarker);
  return scan == std::string_view::npos || text.find(kEndMarker, scan) == std::string_view::npos;
}

bool IsTiff(const Bytes& bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return text.starts_with("II") || text.starts_with("MM");
}

// A TIFF file may hold several pages, of which the decoder reads the first. A pipe cannot be asked
// again.
std::string PagesLeft(const std::filesystem::path& path, const Bytes& bytes) {
  std::error_code error;
  if (!IsTiff(bytes) || !std::filesystem::is_regular_file(path, error)) {
    return "";
  }
  const std::size_t pages = cv::imcount(path.string());
  TakeCodecMessage();
  return pages > 1 ? "only the first of " + std::to_string(pages) + " pages is read" : "";
}

}  // namespace

ReadResult ReadImage(const std::filesystem::path& path) {
  const Bytes bytes = ReadWholeFile(path);
  if (bytes.empty()) {
    throw FileError(path, "is empty, expected an image");
  }
  if (bytes.size() > INT_MAX) {
    throw FileError(path, "is larger than 2 GiB, expected an image");
  }
  if (IsCutJpeg(bytes)) {
    throw FileError(path, "is cut off, expected a whole JPEG image");
  }
  TakeCodecMessage();
  cv::Mat decoded;
  std::string problem;
  try {
    decoded = cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
  } catch (const cv::Exception& refused) {
    problem = refused.err;
  }
  std::string warning = TakeCodecMessage();
  if (decoded.empty()) {
    if (problem.empty()) {
      problem = warning;
    }
    throw FileError(path, "cannot be read as an image" + (problem.empty() ? "" : ": " + problem));
  }
  if (const std::string pages = PagesLeft(path, bytes); !pages.empty()) {
    warning += (warning.empty() ? "" : "; ") + pages;
  }
  return {KelImage(decoded), warning};
}

ReadResult ReadImage(const std::filesystem::path& path, const std::optional<RawLayout>& raw) {
  const Format* format = FindFormat(path);
  if (raw && (format == nullptr || IsRaw(*format))) {
    return {ReadRaw(path, *raw), ""};
  }
  if (format != nullptr && IsRaw(*format)) {
    throw FileError(path, "does not tell its size, expected --raw WIDTHxHEIGHTxCHANNELS:TYPE");
  }
  return ReadImage(path);
}

void WriteImage(const std::filesystem::path& path, const KelImage& image) {
  const Format& format = FormatOf(path);
  CheckHolds(format, path, image);
  if (IsRaw(format)) {
    WriteWholeFile(path, RawBytes(image));
    return;
  }
  Bytes bytes;
  bool encoded = false;
  std::string problem;
  try {
    encoded = cv::imencode(std::string(format.endings.front()), image.Mat(), bytes);
  } catch (const cv::Exception& refused) {
    problem = ": " + refused.err;
  }
  if (!encoded) {
    throw FileError(path, "the result, " + SizeText(image) + " pixels, cannot be written as " +
                              std::string(format.name) + problem);
  }
  WriteWholeFile(path, bytes);
}

std::string SizeText(int width, int height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

std::string SizeText(const KelImage& image) { return SizeText(image.Width(), image.Height()); }

std::string DepthText(KelImageType depth) {
  constexpr std::array<const char*, 7> kDepthNames = {
      "8-bit",         "8-bit signed", "16-bit",      "16-bit signed",
      "32-bit signed", "32-bit float", "64-bit float"};
  const auto index = static_cast<std::size_t>(depth);
  return index < kDepthNames.size() ? kDepthNames[index] : "unknown";
}

std::string ChannelText(int channels) {
  return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

}  // namespace KELRA::tool
