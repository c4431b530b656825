#include "console.h"

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include <utility>

namespace KELRA::tool {
namespace {

bool IsTerminalStream(std::FILE* stream) {
#if defined(_WIN32)
  return _isatty(_fileno(stream)) != 0;
#else
  return isatty(fileno(stream)) != 0;
#endif
}

}  // namespace

Console::Console() : stream_(stderr), is_terminal_(IsTerminalStream(stream_)) {}

void Console::Say(const std::string& text) {
  std::string line = "kelra: " + text;
  for (char& byte : line) {
    if (byte == '\n' || byte == '\r') {
      byte = ' ';
    }
  }
  line += '\n';
  const std::lock_guard lock(mutex_);
  Erase();
  std::fwrite(line.data(), 1, line.size(), stream_);
  Draw();
}

void Console::BeginProgress(std::string label, std::size_t total) {
  const std::lock_guard lock(mutex_);
  label_ = std::move(label);
  done_ = 0;
  total_ = total;
  Draw();
}

void Console::Step() {
  const std::lock_guard lock(mutex_);
  ++done_;
  Draw();
}

void Console::EndProgress() {
  const std::lock_guard lock(mutex_);
  Erase();
  total_ = 0;
}

void Console::Draw() {
  if (total_ == 0) {
    return;
  }
  constexpr std::size_t kBarWidth = 30;
  const std::size_t filled = done_ * kBarWidth / total_;
  const std::string bar = "\r" + label_ + " [" + std::string(filled, '#') +
                          std::string(kBarWidth - filled, '.') + "] " + std::to_string(done_) +
                          " of " + std::to_string(total_);
  std::fwrite(bar.data(), 1, bar.size(), stream_);
  std::fflush(stream_);
}

void Console::Erase() {
  if (total_ != 0) {
    std::fputs("\r\x1b[K", stream_);
  }
}

}  // namespace KELRA::tool
