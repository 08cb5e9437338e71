#include "cli/whole_file.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/temp_git_repo.h"

namespace lomarind::cli {
namespace {

namespace fs = std::filesystem;

void write_file(const fs::path& path, std::string_view text) {
  std::ofstream(path, std::ios::binary) << text;
}

// The POSIX calls, but `failing` fails once with `error`.
class FailingEnv : public FileEnv {
 public:
  FailingEnv(std::string failing, int error) : failing_(std::move(failing)), error_(error) {}

  ssize_t write(int fd, const void* data, size_t size) const override {
    return fails("write") ? -1 : FileEnv::write(fd, data, size);
  }
  int fsync(int fd) const override { return fails("fsync") ? -1 : FileEnv::fsync(fd); }
  int close(int fd) const override {
    const int closed = FileEnv::close(fd);  // the descriptor is gone either way
    return fails("close") ? -1 : closed;
  }
  int rename(const char* from, const char* to) const override {
    return fails("rename") ? -1 : FileEnv::rename(from, to);
  }

 private:
  bool fails(std::string_view call) const {
    if (call != failing_) return false;
    errno = error_;
    return true;
  }

  std::string failing_;
  int error_;
};

TEST(WholeFileTest, AFailedWriteFlushOrRenameKeepsThePreviousFileAndLeavesNothing) {
  const struct {
    const char* call;
    int error;
  } cases[] = {{"write", ENOSPC}, {"fsync", EIO}, {"close", EIO}, {"rename", EACCES}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.call);
    const testing::TempDir dir;
    const fs::path page = dir.path() / "report.html";
    write_file(page, "the old page");
    try {
      write_whole_file(page, std::string(1 << 20, 'x'), FailingEnv(c.call, c.error));
      ADD_FAILURE() << "no error";
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::string(error.what()).find(strerror(c.error)), std::string::npos)
          << error.what();
    }
    EXPECT_EQ(testing::read_file(page), "the old page");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);
  }
}

TEST(WholeFileTest, ReplacesAFileWholeKeepingWhoMayReadIt) {
  const testing::TempDir dir;
  const fs::path page = dir.path() / "report.md";
  write_file(page, "old");
  fs::permissions(page, fs::perms::owner_read | fs::perms::owner_write);
  write_whole_file(page, "new", posix_file_env());
  EXPECT_EQ(testing::read_file(page), "new");
  EXPECT_EQ(fs::status(page).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace
}  // namespace lomarind::cli
