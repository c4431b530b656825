// The program's readers of option values and raw files: a text is read or refused with BadValue or
// FileError, and what was read can be used.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "KELRA/KelROIDataConvert.h"
#include "KELRA/KelStatus.h"
#include "raw_buffers.h"
#include "value_parsing.h"

namespace {

using namespace KELRA;
using namespace KELRA::tool;

void Require(bool holds, const char* promise) {
  if (!holds) {
    std::fprintf(stderr, "\nBroken promise: %s\n", promise);
    std::abort();
  }
}

// A file of these bytes, in memory.
class FileOf {
 public:
  explicit FileOf(std::string_view content) : descriptor_(memfd_create("fuzzed", 0)) {
    Require(descriptor_ >= 0, "there is a file to read from");
    Require(
        write(descriptor_, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
        "the file takes its content");
  }
  ~FileOf() { close(descriptor_); }
  FileOf(const FileOf&) = delete;
  FileOf& operator=(const FileOf&) = delete;

  std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

// False when the text is refused.
template <class T>
bool Reads(const std::string& text, T* value) {
  try {
    ParseValue(text, value);
    return true;
  } catch (const BadValue&) {
    return false;
  } catch (const FileError&) {
    return false;
  }
}

// The pixels that the region covers, or the region library's refusal.
void UseRegion(KelROI roi) {
  cv::Mat image = cv::Mat::zeros(9, 13, CV_8UC1);
  cv::Mat mask;
  if (KelROIDataConvert().GenMaskImage(image, roi, &mask, 1, 0) == STATUS_OK) {
    Require(mask.size() == image.size() && mask.type() == CV_8UC1, "the mask has the image's size");
  }
}

void ReadRawFile(const RawLayout& layout, std::string_view content) {
  Require(layout.width >= 1 && layout.height >= 1, "a layout has pixels");
  const FileOf file(content);
  try {
    const KelImage image = ReadRaw(file.Path(), layout);
    const Bytes bytes = RawBytes(image);
    Require(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()) == content,
            "a raw file's image has the file's bytes");
  } catch (const FileError&) {
    // Another size than the layout's.
  }
}

// The first byte says what the text is; the first line of a raw file is its layout.
void ReadAs(int kind, const std::string& text) {
  const bool names_a_file = text.find("runs:") == 0 || text.find("mask:") == 0;
  switch (kind % 9) {
    case 0: {
      KelROI roi;
      // Files that are not of this program's making are left alone.
      if (!names_a_file && Reads(text, &roi)) {
        UseRegion(roi);
      }
      break;
    }
    case 1: {
      const FileOf file(text);
      KelROI roi;
      if (Reads("runs:" + file.Path(), &roi)) {
        UseRegion(roi);
      }
      break;
    }
    case 2: {
      KelPointArray points;
      Reads(text, &points);
      break;
    }
    case 3: {
      KelPoint point;
      Reads(text, &point);
      break;
    }
    case 4: {
      KelColorRGBA color;
      Reads(text, &color);
      break;
    }
    case 5: {
      RawLayout layout;
      const std::size_t end = text.find('\n');
      if (Reads(text.substr(0, end), &layout)) {
        ReadRawFile(layout, end == std::string::npos ? "" : std::string_view(text).substr(end + 1));
      }
      break;
    }
    case 6: {
      int value = 0;
      if (Reads(text, &value)) {
        Require(std::to_string(value) == text || text.find_first_of("0-") == 0,
                "a whole number reads as it is written");
      }
      break;
    }
    case 7: {
      double value = 0;
      Reads(text, &value);
      float narrow = 0;
      Reads(text, &narrow);
      break;
    }
    default: {
      KelImageType type{};
      Reads(text, &type);
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 0) {
    ReadAs(data[0], std::string(reinterpret_cast<const char*>(data + 1), size - 1));
  }
  return 0;
}
