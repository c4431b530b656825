#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

#include "KELRA/KelGdi.h"

namespace {

struct Bitmap {
  BITMAP record;
  std::unique_ptr<std::byte[]> bits;
};

bool IsBitmapDepth(unsigned bitsPerPixel) {
  switch (bitsPerPixel) {
    case 1:
    case 4:
    case 8:
    case 16:
    case 24:
    case 32:
      return true;
    default:
      return false;
  }
}

// The bitmaps of the process by the value of their handle.
class BitmapTable {
 public:
  HBITMAP Insert(Bitmap bitmap) {
    const std::lock_guard lock(mutex_);
    do {
      last_ = last_ == INT32_MAX ? 1 : last_ + 1;
    } while (bitmaps_.count(last_) != 0);
    bitmaps_.emplace(last_, std::move(bitmap));
    // A handle is a number, not an address.
    return reinterpret_cast<HBITMAP>(last_);  // NOLINT(performance-no-int-to-ptr)
  }

  bool Find(void* handle, BITMAP* record) const {
    const std::lock_guard lock(mutex_);
    const auto found = bitmaps_.find(reinterpret_cast<std::intptr_t>(handle));
    if (found == bitmaps_.end()) {
      return false;
    }
    *record = found->second.record;
    return true;
  }

  bool Erase(void* handle) {
    const std::lock_guard lock(mutex_);
    return bitmaps_.erase(reinterpret_cast<std::intptr_t>(handle)) != 0;
  }

 private:
  mutable std::mutex mutex_;
  std::unordered_map<std::intptr_t, Bitmap> bitmaps_;
  std::intptr_t last_ = 0;
};

// Never destroyed: bitmaps may be deleted while the process ends.
BitmapTable& Bitmaps() {
  static BitmapTable& table = *new BitmapTable;
  return table;
}

}  // namespace

HBITMAP CreateBitmap(int width, int height, unsigned planes, unsigned bitsPerPixel,
                     const void* bits) {
  if (width < 1 || height < 1 || planes != 1 || !IsBitmapDepth(bitsPerPixel)) {
    return nullptr;
  }
  const std::int64_t width_bytes = (std::int64_t{width} * bitsPerPixel + 15) / 16 * 2;
  if (width_bytes > INT32_MAX / height) {
    return nullptr;
  }
  const auto byte_count = static_cast<std::size_t>(width_bytes * height);

  try {
    auto copy = std::make_unique<std::byte[]>(byte_count);
    if (bits != nullptr) {
      std::memcpy(copy.get(), bits, byte_count);
    }
    const BITMAP record{.bmType = 0,
                        .bmWidth = width,
                        .bmHeight = height,
                        .bmWidthBytes = static_cast<std::int32_t>(width_bytes),
                        .bmPlanes = 1,
                        .bmBitsPixel = static_cast<std::uint16_t>(bitsPerPixel),
                        .bmBits = copy.get()};
    return Bitmaps().Insert({record, std::move(copy)});
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

int GetObjectW(void* handle, int size, void* record) {
  constexpr int kRecordSize = sizeof(BITMAP);
  BITMAP found;
  if (!Bitmaps().Find(handle, &found)) {
    return 0;
  }
  if (record == nullptr) {
    return kRecordSize;
  }
  if (size < kRecordSize) {
    return 0;
  }
  std::memcpy(record, &found, sizeof(found));
  return kRecordSize;
}

int DeleteObject(void* handle) { return Bitmaps().Erase(handle) ? 1 : 0; }
