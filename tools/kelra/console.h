// Everything that the program says on standard error: one line each, and a progress bar while
// several files are worked on.
#pragma once

#include <cstddef>
#include <cstdio>
#include <mutex>
#include <string>

namespace KELRA::tool {

// Any thread may call the methods.
class Console {
 public:
  // To be made before standard error is exchanged.
  Console();

  // "kelra: text"; line ends within the text become spaces.
  void Say(const std::string& text);

  bool IsTerminal() const { return is_terminal_; }

  // Shows a bar until `total` steps have been made; Say prints above it.
  void BeginProgress(std::string label, std::size_t total);
  void Step();
  void EndProgress();

 private:
  void Draw();
  void Erase();

  std::FILE* const stream_;
  const bool is_terminal_;
  std::mutex mutex_;
  std::string label_;
  std::size_t done_ = 0;
  std::size_t total_ = 0;  // 0: no bar
};

}  // namespace KELRA::tool
