#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "regions.h"
#include "side_by_side.h"

namespace KELRA::bench {
namespace {

// The pixel in the middle.
template <class Sample>
void SetMiddle(cv::Mat* image, Sample value) {
  image->ptr<Sample>(image->rows / 2)[image->cols / 2 * image->channels()] = value;
}

// One channel of the pixels of runs. OpenCV sets all channels of a colour image at once.
void RegisterPainting(const char* region_name) {
  const auto make = [region_name](cv::Size size, int type) {
    struct On {
      KelImageOperation op;
      KelImage src;
      KelRegionArray regions;
      KelImage our_dst;
      cv::Mat opencv_dst;
    };
    const auto region = RegionOn(size, region_name);
    cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
    mask(region->box).setTo(255, region->mask);
    const auto on = std::make_shared<On>();
    on->src = KelImage(Noise(size, type));
    on->regions.Append(RunsOf(mask));
    return Calls{[=] { return on->op.SetRegionValue(on->src, &on->our_dst, on->regions, 1, 200); },
                 [=] {
                   on->src.Mat().copyTo(on->opencv_dst);
                   on->opencv_dst(region->box).setTo(cv::Scalar::all(200), region->mask);
                 }};
  };
  Register(CallsSideBySide{"SetRegionValue", make, 2, kAllTypes, region_name});
}

// Either side's calls use up one bitmap each.
Calls ConvertBitmaps(cv::Size size, int type) {
  struct On {
    KelImageOperation op;
    cv::Mat bits;
    std::vector<HBITMAP> bitmaps;
    KelImage our_dst;
    cv::Mat opencv_dst;
    ~On() {
      for (const HBITMAP bitmap : bitmaps) {
        DeleteObject(bitmap);
      }
    }
    HBITMAP Take() {
      const HBITMAP bitmap = bitmaps.back();
      bitmaps.pop_back();
      return bitmap;
    }
  };
  const auto on = std::make_shared<On>();
  // Rows of an even number of bytes, as a bitmap's are.
  on->bits = cv::Mat::zeros(size.height, (size.width + 1) / 2 * 2, type);
  return {[=] {
            const auto handle = static_cast<KelLong>(reinterpret_cast<std::intptr_t>(on->Take()));
            return on->op.ImageConvertBITMAP(&on->our_dst, handle, size.height, size.width, 8,
                                             CV_MAT_CN(type), 0);
          },
          [=] {
            const HBITMAP bitmap = on->Take();
            BITMAP header;
            GetObjectW(bitmap, sizeof(header), &header);
            const cv::Mat pixels(header.bmHeight, header.bmWidth, type, header.bmBits,
                                 static_cast<std::size_t>(header.bmWidthBytes));
            cv::flip(pixels, on->opencv_dst, 0);
            DeleteObject(bitmap);
          },
          [=](int calls) {
            for (int i = 0; i < calls; ++i) {
              on->bitmaps.push_back(CreateBitmap(size.width, size.height, 1,
                                                 static_cast<unsigned>(8 * CV_MAT_CN(type)),
                                                 on->bits.data));
            }
          }};
}

// Two fields, as new images.
Calls SeparateRows(cv::Size size, int type) {
  struct On {
    KelImageOperation op;
    KelImage src;
  };
  const auto on = std::make_shared<On>();
  on->src = KelImage(Noise(size, type));
  return {[=] {
            KelImageArray fields;
            return on->op.ImageRowSeparate(on->src, &fields, 2);
          },
          [=] {
            const cv::Mat& src = on->src.Mat();
            for (int i = 0; i < 2; ++i) {
              cv::Mat field(src.rows / 2, src.cols, src.type());
              for (int row = 0; row < field.rows; ++row) {
                src.row(2 * row + i).copyTo(field.row(row));
              }
            }
          }};
}

}  // namespace

void RegisterAccess() {
  Register({"GetPixelValue",
            [](KelImageOperation& op, KelImage& src, KelImage*) {
              double value = 0;
              const KelLong status =
                  op.GetPixelValue(src, src.Height() / 2, src.Width() / 2, 1, &value);
              benchmark::DoNotOptimize(value);
              return status;
            },
            [](const cv::Mat& src, cv::Mat*) {
              double value = src.at<std::uint8_t>(src.rows / 2, src.cols / 2);
              benchmark::DoNotOptimize(value);
            },
            {CV_8UC1}},
           Work::kCallOnly);
  Register({"SetPixelValue",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.SetPixelValue(src, dst, src.Height() / 2, src.Width() / 2, 1, 200);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              src.copyTo(*dst);
              if (src.depth() == CV_8U) {
                SetMiddle<std::uint8_t>(dst, 200);
              } else {
                SetMiddle<std::uint16_t>(dst, 200);
              }
            }});
  RegisterPainting(kWhole);
  for (const char* region : kPartialRegions) {
    RegisterPainting(region);
  }
  Register({"ImageConvert",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.ImageConvert(src.ImageData(), dst, src.Height(), src.Width(), KEL_8U, 1, 0);
            },
            [](const cv::Mat& src, cv::Mat* dst) {
              *dst = cv::Mat(src.rows, src.cols, CV_8UC1, src.data);
            },
            {CV_8UC1}},
           Work::kCallOnly);
  Register(CallsSideBySide{"ImageConvertBITMAP", ConvertBitmaps, 2, {CV_8UC1, CV_8UC3}});
  Register({"ImageDepthConvert to 16 bits",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.ImageDepthConvert(src, dst, KEL_16U);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, CV_16U); },
            {CV_8UC1, CV_8UC3}});
  Register({"ImageDepthConvert to 8 bits",
            [](KelImageOperation& op, KelImage& src, KelImage* dst) {
              return op.ImageDepthConvert(src, dst, KEL_8U);
            },
            [](const cv::Mat& src, cv::Mat* dst) { src.convertTo(*dst, CV_8U); },
            {CV_16UC1, CV_16UC3}});
  Register(CallsSideBySide{"ImageRowSeparate 2", SeparateRows, 2, {CV_8UC1}, kWhole, {1, 2}});
}

}  // namespace KELRA::bench
