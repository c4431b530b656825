#include "whole_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>

#include "temporary_folder.h"

namespace KELRA::tool {
namespace {

namespace fs = std::filesystem;
using kelra_test::ReadFile;
using kelra_test::TemporaryFolder;
using kelra_test::WriteFile;

const Bytes kBytes = {'n', 'e', 'w', 0, 1};
const std::string kText(kBytes.begin(), kBytes.end());

long FileCount(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

TEST(WholeFile, MakesAFileWithTheUsualPermissions) {
  const TemporaryFolder folder;
  const mode_t mask = umask(022);
  WriteWholeFile(folder / "a", kBytes);
  umask(mask);
  EXPECT_EQ(ReadFile(folder / "a"), kText);
  EXPECT_EQ(ReadWholeFile(folder / "a"), kBytes);
  EXPECT_EQ(fs::status(folder / "a").permissions(), static_cast<fs::perms>(0644));
  EXPECT_EQ(FileCount(folder.Path()), 1);
}

TEST(WholeFile, ReplacesContentAndKeepsPermissions) {
  const TemporaryFolder folder;
  WriteFile(folder / "a", "something longer");
  fs::permissions(folder / "a", static_cast<fs::perms>(0600));
  WriteWholeFile(folder / "a", kBytes);
  EXPECT_EQ(ReadFile(folder / "a"), kText);
  EXPECT_EQ(fs::status(folder / "a").permissions(), static_cast<fs::perms>(0600));
  EXPECT_EQ(FileCount(folder.Path()), 1);
}

TEST(WholeFile, AReaderKeepsTheOldContentWhileItIsReplaced) {
  const TemporaryFolder folder;
  WriteFile(folder / "a", "old");
  std::ifstream reader(folder / "a");
  WriteWholeFile(folder / "a", kBytes);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST(WholeFile, WritesThroughASymbolicLink) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "elsewhere");
  WriteFile(folder / "elsewhere/a", "old");
  fs::create_symlink("elsewhere/a", folder / "link");
  WriteWholeFile(folder / "link", kBytes);
  EXPECT_TRUE(fs::is_symlink(folder / "link"));
  EXPECT_EQ(ReadFile(folder / "elsewhere/a"), kText);
}

TEST(WholeFile, FailureLeavesNothingBehind) {
  const TemporaryFolder folder;
  fs::create_directory(folder / "folder");
  EXPECT_THROW(WriteWholeFile(folder / "folder", kBytes), FileError);
  EXPECT_THROW(WriteWholeFile(folder / "missing/a", kBytes), FileError);
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_THROW(WriteWholeFile(folder / "pipe", kBytes), FileError);
  EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
  EXPECT_THROW(WriteWholeFile(folder / std::string(300, 'a'), kBytes), FileError);
  EXPECT_EQ(FileCount(folder.Path()), 2);
}

TEST(WholeFile, ReadsNeitherFoldersNorMissingFiles) {
  const TemporaryFolder folder;
  EXPECT_THROW(ReadWholeFile(folder.Path()), FileError);
  EXPECT_THROW(ReadWholeFile(folder / "missing"), FileError);
  WriteFile(folder / "empty", "");
  EXPECT_TRUE(ReadWholeFile(folder / "empty").empty());
}

}  // namespace
}  // namespace KELRA::tool
