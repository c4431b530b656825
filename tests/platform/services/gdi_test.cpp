#include <KELRA/KelGdi.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace {

BITMAP Record(HBITMAP handle) {
  BITMAP record{};
  EXPECT_EQ(GetObjectW(handle, sizeof(record), &record), 32);
  return record;
}

TEST(Gdi, RowsArePaddedToSixteenBits) {
  struct Case {
    int width;
    unsigned bits_per_pixel;
    int width_bytes;
  };
  for (const Case& c : std::vector<Case>{{1, 1, 2},
                                         {16, 1, 2},
                                         {17, 1, 4},
                                         {3, 4, 2},
                                         {5, 4, 4},
                                         {1, 8, 2},
                                         {2, 8, 2},
                                         {3, 8, 4},
                                         {3, 16, 6},
                                         {1, 24, 4},
                                         {2, 24, 6},
                                         {3, 32, 12}}) {
    SCOPED_TRACE(testing::Message() << c.width << " x " << c.bits_per_pixel);
    HBITMAP handle = CreateBitmap(c.width, 3, 1, c.bits_per_pixel, nullptr);
    ASSERT_NE(handle, nullptr);
    const BITMAP record = Record(handle);
    EXPECT_EQ(record.bmType, 0);
    EXPECT_EQ(record.bmWidth, c.width);
    EXPECT_EQ(record.bmHeight, 3);
    EXPECT_EQ(record.bmWidthBytes, c.width_bytes);
    EXPECT_EQ(record.bmPlanes, 1);
    EXPECT_EQ(record.bmBitsPixel, c.bits_per_pixel);
    const std::vector<unsigned char> zeros(static_cast<std::size_t>(c.width_bytes) * 3);
    EXPECT_EQ(std::memcmp(record.bmBits, zeros.data(), zeros.size()), 0);
    EXPECT_EQ(DeleteObject(handle), 1);
  }
}

TEST(Gdi, KeepsACopyOfTheBits) {
  std::vector<unsigned char> bits = {1, 2, 3, 0, 4, 5, 6, 0};
  const std::vector<unsigned char> original = bits;
  HBITMAP handle = CreateBitmap(3, 2, 1, 8, bits.data());
  bits.assign(bits.size(), 99);
  EXPECT_EQ(std::memcmp(Record(handle).bmBits, original.data(), original.size()), 0);
  EXPECT_EQ(DeleteObject(handle), 1);
}

TEST(Gdi, RefusesSizesAndDepthsThatMakeNoBitmap) {
  struct Case {
    int width, height;
    unsigned planes, bits_per_pixel;
  };
  for (const Case& c : std::vector<Case>{{0, 1, 1, 8},
                                         {1, 0, 1, 8},
                                         {-1, 1, 1, 8},
                                         {1, INT_MIN, 1, 8},
                                         {1, 1, 0, 8},
                                         {1, 1, 2, 8},
                                         {1, 1, 1, 0},
                                         {1, 1, 1, 2},
                                         {1, 1, 1, 48},
                                         {1, 1, 1, UINT_MAX},
                                         {INT_MAX, INT_MAX, 1, 32},
                                         {INT_MAX, INT_MAX, 1, 1},
                                         {INT_MAX, 1, 1, 32},
                                         {1 << 16, 1 << 15, 1, 8}}) {
    EXPECT_EQ(CreateBitmap(c.width, c.height, c.planes, c.bits_per_pixel, nullptr), nullptr)
        << c.width << " x " << c.height << ", " << c.planes << " x " << c.bits_per_pixel;
  }
}

TEST(Gdi, GetObjectChecksHandleAndBuffer) {
  HBITMAP handle = CreateBitmap(2, 2, 1, 8, nullptr);
  unsigned char bytes[64];
  std::memset(bytes, 0xAA, sizeof(bytes));
  EXPECT_EQ(GetObjectW(handle, 0, nullptr), 32);
  EXPECT_EQ(GetObjectW(handle, 31, bytes), 0);
  EXPECT_EQ(GetObjectW(handle, -1, bytes), 0);
  EXPECT_EQ(bytes[0], 0xAA);
  EXPECT_EQ(GetObjectW(handle, 64, bytes), 32);
  EXPECT_EQ(bytes[31], (reinterpret_cast<std::uintptr_t>(Record(handle).bmBits) >> 56) & 0xFF);
  EXPECT_EQ(bytes[32], 0xAA);
  EXPECT_EQ(GetObjectW(nullptr, 64, bytes), 0);
  EXPECT_EQ(GetObjectW(nullptr, 0, nullptr), 0);
  EXPECT_EQ(DeleteObject(handle), 1);
}

TEST(Gdi, AHandleIsStaleAfterItsBitmap) {
  HBITMAP handle = CreateBitmap(2, 2, 1, 8, nullptr);
  EXPECT_EQ(DeleteObject(handle), 1);
  EXPECT_EQ(DeleteObject(handle), 0);
  EXPECT_EQ(DeleteObject(nullptr), 0);
  for (int i = 0; i < 1000; ++i) {
    HBITMAP other = CreateBitmap(2, 2, 1, 8, nullptr);
    EXPECT_NE(other, handle);
    BITMAP record;
    EXPECT_EQ(GetObjectW(handle, sizeof(record), &record), 0);
    EXPECT_EQ(DeleteObject(other), 1);
  }
}

TEST(Gdi, HandlesOfConcurrentThreadsAreDistinctAndFitThirtyTwoBits) {
  constexpr int thread_count = 8;
  constexpr int bitmap_count = 500;
  std::vector<std::vector<HBITMAP>> made(thread_count);
  std::vector<std::thread> threads;
  for (int t = 0; t < thread_count; ++t) {
    threads.emplace_back([&handles = made[static_cast<std::size_t>(t)], t] {
      for (int i = 0; i < bitmap_count; ++i) {
        const std::uint16_t pixels[2] = {static_cast<std::uint16_t>(t),
                                         static_cast<std::uint16_t>(i)};
        handles.push_back(CreateBitmap(2, 1, 1, 16, pixels));
        if (i % 2 == 1) {
          DeleteObject(std::exchange(handles[handles.size() - 2], nullptr));
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  std::set<HBITMAP> distinct;
  for (int t = 0; t < thread_count; ++t) {
    for (int i = 1; i < bitmap_count; i += 2) {
      HBITMAP handle = made[static_cast<std::size_t>(t)][static_cast<std::size_t>(i)];
      const auto value = reinterpret_cast<std::intptr_t>(handle);
      EXPECT_GT(value, 0);
      EXPECT_LE(value, INT32_MAX);
      distinct.insert(handle);
      std::uint16_t pixels[2];
      std::memcpy(pixels, Record(handle).bmBits, sizeof(pixels));
      EXPECT_EQ(pixels[0], t);
      EXPECT_EQ(pixels[1], i);
      EXPECT_EQ(DeleteObject(handle), 1);
    }
  }
  EXPECT_EQ(distinct.size(), static_cast<std::size_t>(thread_count * bitmap_count / 2));
}

}  // namespace
