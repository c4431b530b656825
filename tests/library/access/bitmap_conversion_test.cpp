#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <vector>

#include "KELRA/KelImageOperation.h"
#include "recorded_log.h"
#include "test_images.h"

namespace kelra_test {
namespace {

using namespace KELRA;

struct Bitmap {
  HBITMAP handle;
  int width_bytes;
  std::vector<std::uint8_t> bits;  // rows padded to 16 bits

  KelLong Value() const { return static_cast<KelLong>(reinterpret_cast<std::intptr_t>(handle)); }

  bool Exists() const {
    BITMAP record;
    return GetObjectW(handle, sizeof(record), &record) != 0;
  }
};

Bitmap MakeBitmap(int width, int height, unsigned bits_per_pixel) {
  Bitmap bitmap;
  bitmap.width_bytes =
      static_cast<int>((static_cast<unsigned>(width) * bits_per_pixel + 15) / 16 * 2);
  bitmap.bits.resize(static_cast<std::size_t>(bitmap.width_bytes) *
                     static_cast<std::size_t>(height));
  for (std::size_t i = 0; i < bitmap.bits.size(); ++i) {
    bitmap.bits[i] = static_cast<std::uint8_t>(i * 31 + 7);
  }
  bitmap.handle = CreateBitmap(width, height, 1, bits_per_pixel, bitmap.bits.data());
  EXPECT_NE(bitmap.handle, nullptr);
  return bitmap;
}

// Byte for byte what the bitmap's memory holds, and zeros behind its end.
cv::Mat ExpectedImage(const Bitmap& bitmap, int width, int height, int channels, bool top_down) {
  cv::Mat image(height, width, CV_8UC(channels));
  for (int row = 0; row < height; ++row) {
    const int from = top_down ? row : height - 1 - row;
    for (int i = 0; i < width * channels; ++i) {
      const auto offset =
          static_cast<std::size_t>(from) * static_cast<std::size_t>(bitmap.width_bytes) +
          static_cast<std::size_t>(i);
      image.ptr(row)[i] = offset < bitmap.bits.size() ? bitmap.bits[offset] : std::uint8_t{0};
    }
  }
  return image;
}

TEST(ImageConvertBITMAP, CopiesEveryFormatInBothOrders) {
  struct Format {
    unsigned bits_per_pixel;
    int channels;
  };
  for (const Format& format : {Format{1, 1}, Format{8, 1}, Format{24, 3}, Format{32, 4}}) {
    for (int width = 1; width <= 70; ++width) {
      for (const int height : {1, 2, 5}) {
        for (const int top_down : {0, 1}) {
          SCOPED_TRACE(testing::Message() << format.bits_per_pixel << " bits, " << width << " x "
                                          << height << ", top down " << top_down);
          const Bitmap bitmap = MakeBitmap(width, height, format.bits_per_pixel);
          KelImageOperation op;
          KelImage dst;
          ASSERT_EQ(op.ImageConvertBITMAP(&dst, bitmap.Value(), height, width, 8, format.channels,
                                          top_down),
                    STATUS_OK);
          ASSERT_TRUE(SameImage(
              dst.Mat(), ExpectedImage(bitmap, width, height, format.channels, top_down == 1)));
          ASSERT_FALSE(bitmap.Exists());
        }
      }
    }
  }
}

// Shared out among threads; and past the caches.
TEST(ImageConvertBITMAP, CopiesLargeBitmapsInBothOrders) {
  for (const cv::Size& size : {cv::Size(701, 1501), cv::Size(4001, 1501)}) {
    for (const int top_down : {0, 1}) {
      SCOPED_TRACE(testing::Message() << size << ", top down " << top_down);
      const Bitmap bitmap = MakeBitmap(size.width, size.height, 24);
      KelImageOperation op;
      KelImage dst;
      ASSERT_EQ(
          op.ImageConvertBITMAP(&dst, bitmap.Value(), size.height, size.width, 8, 3, top_down),
          STATUS_OK);
      ASSERT_TRUE(
          SameImage(dst.Mat(), ExpectedImage(bitmap, size.width, size.height, 3, top_down == 1)));
    }
  }
}

TEST(ImageConvertBITMAP, BottomUpBeginsWithTheLastStoredRow) {
  const Bitmap bitmap = MakeBitmap(2, 3, 24);
  KelImageOperation op;
  KelImage dst;
  ASSERT_EQ(op.ImageConvertBITMAP(&dst, bitmap.Value(), 3, 2, 8, 3, 0), STATUS_OK);
  EXPECT_EQ(dst.Mat().ptr(0)[0], bitmap.bits[12]);
  EXPECT_EQ(dst.Mat().ptr(2)[5], bitmap.bits[5]);
}

// 40 one-bit pixels of 6 bytes a row in 2 rows: 12 bytes stand for 80 pixels.
TEST(ImageConvertBITMAP, OneBitRowsRunIntoTheNextAndEndInZeros) {
  const Bitmap bitmap = MakeBitmap(40, 2, 1);
  KelImageOperation op;
  KelImage dst;
  ASSERT_EQ(op.ImageConvertBITMAP(&dst, bitmap.Value(), 2, 40, 8, 1, 1), STATUS_OK);
  EXPECT_EQ(dst.Mat().at<std::uint8_t>(0, 6), bitmap.bits[6]);
  EXPECT_EQ(dst.Mat().at<std::uint8_t>(0, 11), bitmap.bits[11]);
  EXPECT_EQ(dst.Mat().at<std::uint8_t>(0, 12), 0);
  EXPECT_EQ(dst.Mat().at<std::uint8_t>(1, 5), bitmap.bits[11]);
  EXPECT_EQ(cv::countNonZero(dst.Mat()),
            cv::countNonZero(bitmap.bits) + cv::countNonZero(cv::Mat(bitmap.bits).rowRange(6, 12)));
}

TEST(ImageConvertBITMAP, WritesIntoAnOutputOfTheSameSize) {
  const Bitmap bitmap = MakeBitmap(5, 3, 24);
  GuardedImage output(RandomImage(3, 5, CV_8UC3), 4, 4);
  KelImageOperation op;
  KelImage dst(output.Mat());
  ASSERT_EQ(op.ImageConvertBITMAP(&dst, bitmap.Value(), 3, 5, 8, 3, 1), STATUS_OK);
  EXPECT_EQ(dst.ImageData(), output.Mat().data);
  EXPECT_TRUE(SameImage(output.Mat(), ExpectedImage(bitmap, 5, 3, 3, true)));
  EXPECT_TRUE(output.SurroundingsUntouched());
}

TEST(ImageConvertBITMAP, AViewOfTheBitmapAsOutputOutlivesIt) {
  const Bitmap bitmap = MakeBitmap(6, 4, 8);
  BITMAP record;
  ASSERT_EQ(GetObjectW(bitmap.handle, sizeof(record), &record), 32);
  KelImageOperation op;
  KelImage dst;
  ASSERT_EQ(op.ImageConvert(record.bmBits, &dst, 4, 6, KEL_8U, 1, 0), STATUS_OK);
  ASSERT_EQ(op.ImageConvertBITMAP(&dst, bitmap.Value(), 4, 6, 8, 1, 0), STATUS_OK);
  EXPECT_TRUE(SameImage(dst.Mat(), ExpectedImage(bitmap, 6, 4, 1, false)));
}

struct BitmapCase {
  int width;
  int height;
  unsigned bits_per_pixel;
  int asked_height;
  int asked_width;
  int bits_per_channel;
  int channels;
  int top_down;
  bool has_output;
  KelLong status;
};

TEST(ImageConvertBITMAP, ChecksInItsOrderAndConsumesTheBitmapAlways) {
  const std::vector<BitmapCase> cases = {
      {6, 4, 24, 5, 7, 16, 2, 2, false, ERR_PARAM_2},
      {6, 4, 24, -4, 6, 8, 3, 1, true, ERR_PARAM_2},
      {6, 4, 24, INT_MIN, 6, 8, 3, 1, true, ERR_PARAM_2},
      {6, 4, 24, 4, 7, 16, 2, 2, false, ERR_PARAM_3},
      {6, 4, 24, 4, -6, 8, 3, 1, true, ERR_PARAM_3},
      {6, 4, 24, 4, 6, 16, 2, 2, false, ERR_PARAM_4},
      {6, 4, 24, 4, 6, 0, 3, 1, true, ERR_PARAM_4},
      {6, 4, 24, 4, 6, 8, 2, 2, false, ERR_PARAM_5},
      {6, 4, 24, 4, 6, 8, 0, 1, true, ERR_PARAM_5},
      {6, 4, 24, 4, 6, 8, 5, 1, true, ERR_PARAM_5},
      {6, 4, 24, 4, 6, 8, 4, 2, false, ERR_PARAM_6},
      {6, 4, 24, 4, 6, 8, 3, -1, true, ERR_PARAM_6},
      {6, 4, 24, 4, 6, 8, 4, 1, false, ERR_PARAM_5},
      {6, 4, 24, 4, 6, 8, 1, 1, true, ERR_PARAM_5},
      {6, 4, 32, 4, 6, 8, 3, 1, true, ERR_PARAM_5},
      {6, 4, 16, 4, 6, 8, 1, 1, true, ERR_PARAM_5},
      {6, 4, 4, 4, 6, 8, 1, 1, true, ERR_PARAM_5},
      {6, 4, 1, 4, 6, 8, 3, 1, true, ERR_PARAM_5},
      {6, 4, 24, 4, 6, 8, 3, 1, false, ERR_IMAGE_EMPTY},
      {6, 4, 24, 4, 6, 8, 3, 1, true, STATUS_OK},
  };
  RecordedLog log;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    const BitmapCase& c = cases[i];
    const Bitmap bitmap = MakeBitmap(c.width, c.height, c.bits_per_pixel);
    const cv::Mat before = RandomImage(2, 2, CV_16UC3);
    KelImage dst(before);
    KelImageOperation op;
    EXPECT_EQ(op.ImageConvertBITMAP(c.has_output ? &dst : nullptr, bitmap.Value(), c.asked_height,
                                    c.asked_width, c.bits_per_channel, c.channels, c.top_down),
              c.status);
    EXPECT_FALSE(bitmap.Exists());
    std::vector<LogRecord> records = {StartRecord("ImageConvertBITMAPfun", 7402)};
    if (c.status == STATUS_OK) {
      records.push_back(ExitRecord("ImageConvertBITMAPfun", 7478));
    } else {
      EXPECT_EQ(dst.ImageData(), before.data);
    }
    EXPECT_EQ(log.Take(), records);
  }
}

TEST(ImageConvertBITMAP, RefusesWhatIsNoBitmap) {
  const Bitmap deleted = MakeBitmap(6, 4, 24);
  DeleteObject(deleted.handle);
  RecordedLog log;
  for (const KelLong handle : {KelLong{0}, KelLong{-1}, KelLong{INT_MIN}, deleted.Value()}) {
    KelImageOperation op;
    KelImage dst;
    EXPECT_EQ(op.ImageConvertBITMAP(&dst, handle, -1, -1, 0, 0, -1), ERR_PARAM_1) << handle;
    EXPECT_TRUE(dst.Mat().empty());
    EXPECT_EQ(log.Take(), (std::vector<LogRecord>{StartRecord("ImageConvertBITMAPfun", 7402)}));
  }
}

}  // namespace
}  // namespace kelra_test
