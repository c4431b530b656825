// Image files: PNG, TIFF, JPEG, BMP, PGM, PPM and PNM, told apart by their endings when written,
// and raw buffers, whose ending is .raw.
#pragma once

#include <KELRA/KelData.h>

#include <filesystem>
#include <optional>
#include <string>

#include "raw_buffers.h"

namespace KELRA::tool {

struct ReadResult {
  KelImage image;
  // What the codec complained about while it read the image, and which pages it left; usually
  // empty.
  std::string warning;
};

// The samples as they are in the file: depth and channels are kept, nothing is turned. Throws
// FileError.
ReadResult ReadImage(const std::filesystem::path& path);

// The same with a layout for files that need one: those whose ending names no image format.
ReadResult ReadImage(const std::filesystem::path& path, const std::optional<RawLayout>& raw);

// Writes the image whole or not at all. An image that the format of the path's ending cannot hold
// as it is throws FileError, as does every other failure.
void WriteImage(const std::filesystem::path& path, const KelImage& image);

// "384 x 303"
std::string SizeText(int width, int height);
std::string SizeText(const KelImage& image);

// "8-bit", "16-bit", "32-bit float", ...
std::string DepthText(KelImageType depth);

// "1 channel", "3 channels"
std::string ChannelText(int channels);

}  // namespace KELRA::tool
