// GDI bitmaps of images.
#pragma once

#include <KELRA/KelData.h>
#include <KELRA/KelGdi.h>

namespace KELRA::tool {

// A bitmap that holds a copy of the image's rows, from the top down, padded to 16 bits. Throws
// std::invalid_argument unless the samples are 8-bit, in 1, 3 or 4 channels. The caller deletes it.
//
// On Windows such a bitmap keeps no bits in memory, so that ImageConvertBITMAP refuses it.
HBITMAP MakeBitmap(const KelImage& image);

}  // namespace KELRA::tool
