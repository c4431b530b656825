#include "failing_siblings.h"

#include <cstring>
#include <stdexcept>

#include "KELRA/KelData.h"
#include "KELRA/KelLog.h"

namespace kelra_test {

SiblingFaults& Faults() {
  static SiblingFaults faults;
  return faults;
}

}  // namespace kelra_test

namespace KELRA {

using kelra_test::Faults;

KelFastLoggerPrivate::KelFastLoggerPrivate() = default;
KelFastLoggerPrivate::~KelFastLoggerPrivate() = default;

KelLong KelFastLoggerPrivate::Log(const char*, const char*, const char*, int) {
  if (Faults().log_records_before_a_throw-- == 0) {
    throw std::runtime_error("the log is full");
  }
  return 0;
}

template <>
void KelArray<KelImage>::Append(const KelImage& value) {
  if (Faults().appended_images_lost > 0) {
    --Faults().appended_images_lost;
    return;
  }
  values_.push_back(value);
}

}  // namespace KELRA

int GetObjectW(void* handle, int size, void* record) {
  const kelra_test::SiblingFaults& faults = kelra_test::Faults();
  if (handle != reinterpret_cast<void*>(1) || size != sizeof(BITMAP)) {
    return 0;
  }
  std::memcpy(record, &faults.bitmap, sizeof(BITMAP));
  return faults.record_size;
}

int DeleteObject(void* handle) {
  kelra_test::Faults().deleted_bitmaps += handle == reinterpret_cast<void*>(1) ? 1 : 0;
  return 1;
}
