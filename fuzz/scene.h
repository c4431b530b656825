// The images that calls work on: each in memory of exactly its size, or a view into a larger block,
// sharing pixels with each other in every way that cv::Mat has.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <vector>

#include "KELRA/KelData.h"
#include "input_reader.h"

namespace kelra_fuzz {

// Memory of exactly so many bytes, so that a sanitizer sees the first access beside it.
class Block {
 public:
  explicit Block(std::size_t size) : bytes_(new std::uint8_t[size]), size_(size) {}

  std::uint8_t* begin() const { return bytes_.get(); }
  std::size_t size() const { return size_; }
  bool Holds(const cv::Mat& mat) const {
    return mat.data >= begin() && mat.data < begin() + size();
  }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_;
};

class Scene {
 public:
  static constexpr int kImages = 4;

  explicit Scene(InputReader* reader);
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  KELRA::KelImage& Image(int index) { return images_[static_cast<std::size_t>(index)]; }
  const std::vector<Block>& Blocks() const { return blocks_; }

  // Keeps a buffer that images may be views of from now on.
  std::uint8_t* AddBuffer(std::size_t size, std::uint8_t seed);

 private:
  cv::Mat NewImage(InputReader* reader, cv::Size size, int type);
  cv::Mat FirstImage(InputReader* reader);
  cv::Mat RelatedImage(InputReader* reader, int index);

  std::vector<Block> blocks_;
  std::array<KELRA::KelImage, kImages> images_;
};

}  // namespace kelra_fuzz
