#include "codec_messages.h"

#include <cstdio>
#include <iostream>
#include <opencv2/core.hpp>
#include <opencv2/core/utils/logger.hpp>

namespace KELRA::tool {
namespace {

thread_local std::string t_caught;

void Catch(const char* text, std::size_t length) {
  constexpr std::size_t kEnough = 1000;
  if (t_caught.size() < kEnough) {
    t_caught.append(text, length);
  }
}

class CatchingBuffer final : public std::streambuf {
 protected:
  std::streamsize xsputn(const char* text, std::streamsize length) override {
    Catch(text, static_cast<std::size_t>(length));
    return length;
  }
  int_type overflow(int_type byte) override {
    const char text = traits_type::to_char_type(byte);
    Catch(&text, 1);
    return traits_type::not_eof(byte);
  }
};

// libpng and libjpeg print to the C stream; glibc lets a program exchange it. Code that took the
// stream's address earlier, such as the log, keeps the real one.
#if defined(__GLIBC__)
void CatchCStream() {
  cookie_io_functions_t functions{};
  functions.write = [](void*, const char* text, std::size_t length) {
    Catch(text, length);
    return static_cast<ssize_t>(length);
  };
  std::FILE* catching = fopencookie(nullptr, "w", functions);
  if (catching == nullptr) {
    return;
  }
  std::setvbuf(catching, nullptr, _IONBF, 0);
  stderr = catching;
}

void RestoreCStream(std::FILE* stream) {
  if (stderr == stream) {
    return;
  }
  std::fclose(stderr);
  stderr = stream;
}
#else
void CatchCStream() {}
void RestoreCStream(std::FILE*) {}
#endif

int IgnoreError(int, const char*, const char*, const char*, int, void*) { return 0; }

}  // namespace

CodecMessageCatcher::CodecMessageCatcher()
    : buffer_(std::make_unique<CatchingBuffer>()),
      real_buffer_(std::cerr.rdbuf(buffer_.get())),
      real_stream_(stderr) {
  CatchCStream();
  cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
  cv::redirectError(&IgnoreError);  // the exception that follows carries the text
}

CodecMessageCatcher::~CodecMessageCatcher() {
  std::cerr.rdbuf(real_buffer_);
  RestoreCStream(real_stream_);
}

std::string TakeCodecMessage() {
  std::string line = t_caught.substr(0, t_caught.find('\n'));
  t_caught.clear();
  return line;
}

}  // namespace KELRA::tool
