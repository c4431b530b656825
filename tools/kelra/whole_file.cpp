#include "whole_file.h"

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <set>
#include <system_error>

namespace KELRA::tool {
namespace {

namespace fs = std::filesystem;

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

std::string SystemProblem(const char* what, int error = errno) {
  return std::string(what) + ": " + std::generic_category().message(error);
}

bool ReachesDisk(std::FILE* file) {
  if (std::fflush(file) != 0) {
    return false;
  }
#if defined(_WIN32)
  return _commit(_fileno(file)) == 0;
#else
  return fsync(fileno(file)) == 0;
#endif
}

// The files that are being written, under names of their own. Never destroyed: a signal can end the
// program while it is ending by itself.
struct UnfinishedFiles {
  std::mutex mutex;
  std::set<fs::path> paths;
};

UnfinishedFiles& Unfinished() {
  static UnfinishedFiles& files = *new UnfinishedFiles;
  return files;
}

// A new file beside `target`, under a name that no other file has; removed unless it takes the
// target's place. Messages call the target `name`.
class Replacement {
 public:
  Replacement(const fs::path& target, const fs::path& name) : target_(target), name_(name) {
    std::random_device random;
    const std::lock_guard lock(Unfinished().mutex);
    do {
      const std::uint64_t number = (std::uint64_t{random()} << 32) | random();
      path_ = target.parent_path() / (".kelra-" + std::to_string(number) + ".tmp");
      file_.reset(std::fopen(path_.string().c_str(), "wbx"));
    } while (!file_ && errno == EEXIST);
    if (!file_) {
      throw FileError(name, SystemProblem("cannot write"));
    }
    Unfinished().paths.insert(path_);
  }

  ~Replacement() {
    file_.reset();
    const std::lock_guard lock(Unfinished().mutex);
    if (Unfinished().paths.erase(path_) != 0) {
      std::error_code ignored;
      fs::remove(path_, ignored);
    }
  }

  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  void Write(const Bytes& bytes) {
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size() &&
                         ReachesDisk(file_.get());
    const bool closed = std::fclose(file_.release()) == 0;
    if (!written || !closed) {
      throw FileError(name_, SystemProblem("cannot write"));
    }
  }

  void TakePlace() {
    std::error_code error;
    if (const fs::file_status old = fs::status(target_, error); fs::exists(old)) {
      fs::permissions(path_, old.permissions(), error);
    }
    const std::lock_guard lock(Unfinished().mutex);
    fs::rename(path_, target_, error);
    if (error) {
      throw FileError(name_, "cannot write: " + error.message());
    }
    Unfinished().paths.erase(path_);
  }

 private:
  const fs::path target_;
  const fs::path name_;
  fs::path path_;
  File file_;
};

// The file behind symbolic links, which stay links.
fs::path BehindLinks(const fs::path& path) {
  std::error_code error;
  const fs::path found = fs::canonical(path, error);
  return error ? path : found;
}

}  // namespace

Bytes ReadWholeFile(const fs::path& path) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    throw FileError(path, "is a folder, expected a file");
  }
  const File file(std::fopen(path.string().c_str(), "rb"));
  if (!file) {
    throw FileError(path, SystemProblem("cannot read"));
  }
  Bytes bytes;
  unsigned char part[1 << 16];
  while (const std::size_t got = std::fread(part, 1, sizeof(part), file.get())) {
    bytes.insert(bytes.end(), part, part + got);
  }
  if (std::ferror(file.get()) != 0) {
    throw FileError(path, SystemProblem("cannot read"));
  }
  return bytes;
}

void WriteWholeFile(const fs::path& path, const Bytes& bytes) {
  const fs::path target = BehindLinks(path);
  std::error_code error;
  const fs::file_status old = fs::status(target, error);
  if (fs::exists(old)) {
    if (!fs::is_regular_file(old)) {
      throw FileError(path, "is not a file that can be replaced");
    }
    // Replacing would get around a file's write protection.
    if (!File(std::fopen(target.string().c_str(), "r+b"))) {
      throw FileError(path, SystemProblem("cannot write"));
    }
  }
  Replacement replacement(target, path);
  replacement.Write(bytes);
  replacement.TakePlace();
}

std::unique_lock<std::mutex> AbandonWrites() {
  std::unique_lock lock(Unfinished().mutex);
  for (const fs::path& path : Unfinished().paths) {
    std::error_code ignored;
    fs::remove(path, ignored);
  }
  return lock;
}

}  // namespace KELRA::tool
