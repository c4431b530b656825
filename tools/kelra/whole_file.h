// Files read and written as a whole.
#pragma once

#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace KELRA::tool {

// A file that cannot be read, written or understood; the text begins with the file's path.
class FileError : public std::runtime_error {
 public:
  FileError(const std::filesystem::path& path, const std::string& problem)
      : std::runtime_error(path.string() + ": " + problem) {}
};

using Bytes = std::vector<unsigned char>;

Bytes ReadWholeFile(const std::filesystem::path& path);

// Makes or replaces the file in one step: a reader sees the old content or the new one, and after a
// failure the old content is still there and nothing else. The bytes are on the disk first.
void WriteWholeFile(const std::filesystem::path& path, const Bytes& bytes);

// Removes what all threads have written so far of files that are not complete. While the result is
// held no file is begun or completed.
[[nodiscard]] std::unique_lock<std::mutex> AbandonWrites();

}  // namespace KELRA::tool
