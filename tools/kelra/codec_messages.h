// What image codecs print to standard error, caught and attributed to the image at hand.
#pragma once

#include <cstdio>
#include <memory>
#include <streambuf>
#include <string>

namespace KELRA::tool {

// While one exists, nothing that OpenCV or an image codec prints reaches standard error. To be made
// once, before any thread is started. Where the C library cannot exchange its stream, messages of
// the C codecs still get through.
class CodecMessageCatcher {
 public:
  CodecMessageCatcher();
  ~CodecMessageCatcher();
  CodecMessageCatcher(const CodecMessageCatcher&) = delete;
  CodecMessageCatcher& operator=(const CodecMessageCatcher&) = delete;

 private:
  const std::unique_ptr<std::streambuf> buffer_;
  std::streambuf* const real_buffer_;
  std::FILE* const real_stream_;
};

// The first line that was caught on the calling thread since the last call, without a line end.
std::string TakeCodecMessage();

}  // namespace KELRA::tool
