// Logging, bitmaps and image arrays that fail when a test says so; they stand in for their
// libraries.
#pragma once

#include "KELRA/KelGdi.h"

namespace kelra_test {

struct SiblingFaults {
  int log_records_before_a_throw = -1;  // negative: never throws
  int appended_images_lost = 0;         // the next so many
  // The only bitmap, whose handle is 1.
  BITMAP bitmap{};
  int record_size = sizeof(BITMAP);  // what GetObjectW returns
  int deleted_bitmaps = 0;
};

SiblingFaults& Faults();

}  // namespace kelra_test
