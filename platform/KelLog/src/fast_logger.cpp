#include <spdlog/details/os.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>

#include "KELRA/KelLog.h"

namespace KELRA {
namespace {

// Hands each record to an unbuffered stream in one call. The sinks that come with spdlog write
// through the stream's buffer, where a record longer than the buffer goes out in pieces.
class RecordSink final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  explicit RecordSink(std::FILE* stream) : stream_(stream) {
    std::setvbuf(stream_, nullptr, _IONBF, 0);
  }

 protected:
  void sink_it_(const spdlog::details::log_msg& record) override {
    spdlog::memory_buf_t text;
    formatter_->format(record, text);
    if (std::fwrite(text.data(), 1, text.size(), stream_) == text.size() || failed_) {
      return;
    }
    failed_ = true;
    std::fprintf(stderr, "KelLog: cannot write a record: %s\n",
                 std::generic_category().message(errno).c_str());
  }

  void flush_() override {}

 private:
  std::FILE* const stream_;
  bool failed_ = false;
};

std::FILE* OpenTarget(const char* target) {
  if (std::strcmp(target, "stderr") == 0) {
    return stderr;
  }
  std::FILE* file = nullptr;
  if (spdlog::details::os::fopen_s(&file, target, "ab")) {
    std::fprintf(stderr, "KelLog: KELRA_LOG: cannot append to '%s': %s; logging stays off\n",
                 target, std::generic_category().message(errno).c_str());
    return nullptr;
  }
  return file;
}

spdlog::logger* Open() noexcept {
  const char* target = std::getenv("KELRA_LOG");
  if (target == nullptr || *target == '\0' || std::strcmp(target, "off") == 0) {
    return nullptr;
  }
  try {
    std::FILE* stream = OpenTarget(target);
    if (stream == nullptr) {
      return nullptr;
    }
    auto logger = std::make_unique<spdlog::logger>("KELRA", std::make_shared<RecordSink>(stream));
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(
        "%Y-%m-%dT%H:%M:%S.%f%z [%t] %v", spdlog::pattern_time_type::local, "\n"));
    return logger.release();
  } catch (...) {
    std::fputs("KelLog: KELRA_LOG: out of memory; logging stays off\n", stderr);
    return nullptr;
  }
}

// Null when logging is off. Set while the library is loaded, before the libraries that log through
// it, and never freed, so that their load-time and unload-time code may log too.
spdlog::logger* g_logger = Open();

const char* TextOrNull(const char* text) { return text == nullptr ? "(null)" : text; }

void Write(const char* message, const char* module, const char* function, int line) noexcept {
  try {
    std::string text;
    text.append(TextOrNull(module)).append(" ");
    text.append(TextOrNull(function)).append(":").append(std::to_string(line)).append(" ");
    text.append(TextOrNull(message));
    // As a view the text is a message; as a format string its bytes would be interpreted.
    g_logger->log(spdlog::level::info, spdlog::string_view_t(text.data(), text.size()));
  } catch (...) {
    // Out of memory: the record is lost, the call that it belongs to is not.
    return;
  }
}

}  // namespace

// Functions of the library rather than of its callers: another build of it may do more.
KelFastLoggerPrivate::KelFastLoggerPrivate() {}
KelFastLoggerPrivate::~KelFastLoggerPrivate() {}

KelLong KelFastLoggerPrivate::Log(const char* message, const char* module, const char* function,
                                  int line) {
  if (g_logger != nullptr) {
    Write(message, module, function, line);
  }
  return 0;
}

}  // namespace KELRA
