// A GitRunner for tests: it starts git from a minimal environment with an
// empty home folder, so the developer's own git config never applies.
#pragma once

#include <cstdlib>
#include <string>

#include "lomarind/utils/git_runner.h"
#include "support/temp_git_repo.h"

namespace lomarind::testing {

class IsolatedGit {
 public:
  // `extra_env` ("NAME=value") is added to the starting environment, as if
  // inherited from a parent process.
  explicit IsolatedGit(std::vector<std::string> extra_env = {}) {
    const char* path = std::getenv("PATH");
    std::vector<std::string> env = {"PATH=" + std::string(path ? path : "/usr/bin:/bin"),
                                    "HOME=" + home_.path().string()};
    env.insert(env.end(), extra_env.begin(), extra_env.end());
    runner_ = git_utils::GitRunner("git", std::move(env));
  }

  const git_utils::GitRunner& runner() const { return runner_; }

 private:
  TempDir home_;
  git_utils::GitRunner runner_;
};

}  // namespace lomarind::testing
