#include "raw_buffers.h"

#include <KELRA/KelImageOperation.h>

#include <cstddef>
#include <string>

namespace KELRA::tool {

KelImage ReadRaw(const std::filesystem::path& path, const RawLayout& layout) {
  Bytes bytes = ReadWholeFile(path);
  const std::size_t row_bytes = static_cast<std::size_t>(layout.width) *
                                static_cast<std::size_t>(layout.channels) *
                                CV_ELEM_SIZE1(layout.type);
  const auto height = static_cast<std::size_t>(layout.height);
  if (bytes.size() % row_bytes != 0 || bytes.size() / row_bytes != height) {
    throw FileError(path, "has " + std::to_string(bytes.size()) + " bytes, expected " +
                              std::to_string(height) + " rows of " + std::to_string(row_bytes));
  }
  KelImageOperation operation;
  KelImage view;
  if (const KelLong status = operation.ImageConvert(bytes.data(), &view, layout.height,
                                                    layout.width, layout.type, layout.channels, 0);
      status != STATUS_OK) {
    throw FileError(path, "cannot be used as an image (" + std::to_string(status) + ")");
  }
  return view.DeepCopy();
}

Bytes RawBytes(const KelImage& image) {
  const cv::Mat& mat = image.Mat();
  const std::size_t row_bytes = mat.elemSize() * static_cast<std::size_t>(mat.cols);
  Bytes bytes;
  bytes.reserve(row_bytes * static_cast<std::size_t>(mat.rows));
  for (int row = 0; row < mat.rows; ++row) {
    bytes.insert(bytes.end(), mat.ptr(row), mat.ptr(row) + row_bytes);
  }
  return bytes;
}

}  // namespace KELRA::tool
