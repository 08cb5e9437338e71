// A GitRunner for tests: it starts git from a minimal environment with an
// empty home folder, so the developer's own git config never applies.
#pragma once

#include <cstdlib>
#include <string>

#include "lomarind/git/git_runner.h"
#include "lomarind/utils/git_utils.h"
#include "support/temp_git_repo.h"

namespace lomarind::testing {

class IsolatedGit {
 public:
  IsolatedGit() {
    const char* path = std::getenv("PATH");
    runner_ = git_utils::GitRunner("git", {"PATH=" + std::string(path ? path : "/usr/bin:/bin"),
                                           "HOME=" + home_.path().string()});
  }

  const git_utils::GitRunner& runner() const { return runner_; }

 private:
  TempDir home_;
  git_utils::GitRunner runner_;
};

// The text of the GitError that `call` throws, or "no error".
template <typename Call>
std::string git_error(Call call) {
  try {
    call();
  } catch (const git_utils::GitError& e) {
    return e.what();
  }
  return "no error";
}

}  // namespace lomarind::testing
