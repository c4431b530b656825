// Files of samples and nothing else, as cameras and frame grabbers leave them: rows packed from the
// top, channels interleaved, samples in this machine's byte order.
#pragma once

#include <KELRA/KelData.h>

#include <filesystem>

#include "whole_file.h"

namespace KELRA::tool {

// What such a file does not tell.
struct RawLayout {
  int width = 0;
  int height = 0;
  int channels = 0;
  KelImageType type = KEL_8U;
};

// Throws FileError, also when the file's size is not the layout's.
KelImage ReadRaw(const std::filesystem::path& path, const RawLayout& layout);

// The content of the file for an image.
Bytes RawBytes(const KelImage& image);

}  // namespace KELRA::tool
