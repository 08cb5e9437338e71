// What every child we start is started with: its standard descriptors and
// folder, a process group of its own and a clean signal state. Internal to
// process/.
#pragma once

#include <signal.h>
#include <spawn.h>

#include <filesystem>
#include <string>
#include <vector>

#include "lomarind/process/child_pipes.h"

namespace lomarind::subprocess {

// The strings as the NULL-ended array of pointers exec takes.
inline std::vector<char*> c_strings(const std::vector<std::string>& strings) {
  std::vector<char*> out;
  out.reserve(strings.size() + 1);
  for (const std::string& s : strings) out.push_back(const_cast<char*>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

// The spawn's file actions: `stdio` as the standard descriptors, the folder
// (empty: ours), and no other descriptor of ours (a host may have left some
// inheritable). Throws std::system_error.
class FileActions {
 public:
  explicit FileActions(const int (&stdio)[3], const std::filesystem::path& folder = {}) {
    ::posix_spawn_file_actions_init(&actions_);
    for (int fd = 0; fd < 3; ++fd)
      check(::posix_spawn_file_actions_adddup2(&actions_, stdio[fd], fd));
    if (!folder.empty()) check(::posix_spawn_file_actions_addchdir_np(&actions_, folder.c_str()));
    check(::posix_spawn_file_actions_addclosefrom_np(&actions_, 3));
  }
  ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  void check(int error) {
    if (error == 0) return;
    ::posix_spawn_file_actions_destroy(&actions_);
    throw_errno(error, "cannot prepare a child process");
  }
  posix_spawn_file_actions_t actions_;
};

// A group of its own: Ctrl-C on a terminal reaches us alone, and we decide
// how the child ends; killing the group ends whatever the child started.
// No signal blocked, none ignored: a host may block or ignore some (SIGPIPE
// above all), and exec would hand that on.
class Attributes {
 public:
  Attributes() {
    ::posix_spawnattr_init(&attributes_);
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    ::posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    ::posix_spawnattr_setsigdefault(&attributes_, &all);
  }
  ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

}  // namespace lomarind::subprocess
