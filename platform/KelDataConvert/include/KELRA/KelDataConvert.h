// Run-length regions to binary images and back.
#pragma once

#include "KELRA/KelBase.h"
#include "KELRA/KelData.h"

#if defined(KelDataConvert_EXPORTS)
#define KELDATACONVERT_API KELRA_EXPORT
#else
#define KELDATACONVERT_API KELRA_IMPORT
#endif

namespace KELRA {

// Statuses of this library.
inline constexpr KelLong KEL_CONVERT_ERR_EMPTY =
    15000001;  // an empty image, or a grid without pixels
inline constexpr KelLong KEL_CONVERT_ERR_OUTPUT = 15000002;  // the output pointer is null
inline constexpr KelLong KEL_CONVERT_ERR_MEMORY = 15000003;  // the result does not fit in memory

// After a failure the output is as the caller passed it; nothing is thrown.
class KELDATACONVERT_API KelDataConvert {
 public:
  // An 8-bit image of the region's grid: 255 on its runs, 0 elsewhere. Runs are cut at the grid.
  static KelLong KelRegionToImage(KelRegion& region, KelImage* image);

  // The runs of all pixels of which any sample is not 0, row by row from the left, on the image's
  // grid. Any depth and channel count; NaN is not 0.
  static KelLong KelImageToRegion(KelImage& image, KelRegion* region);
};

}  // namespace KELRA
