#include "lomarind/storage/cached_git_reader.h"

#include <future>
#include <numeric>
#include <optional>
#include <utility>

#include "lomarind/process/blocked_signals.h"
#include "lomarind/storage/cache_use.h"
#include "lomarind/storage/commit_cache.h"

namespace lomarind::commit_cache {

using git_utils::CommitChanges;

namespace {

// Runs `step`; the text of a CacheError or GitError leaving it. Logs
// nothing: a background thread must not call a host's sink.
template <typename Step>
std::optional<std::string> failure_of(Step&& step) {
  try {
    std::forward<Step>(step)();
  } catch (const CacheError& e) {
    return e.what();
  } catch (const git_utils::GitError& e) {
    return e.what();
  }
  return std::nullopt;
}

// A period this long names most of the paths the cache holds: asking git
// for all of them while it still lists saves waiting for the period's own
// afterwards.
constexpr std::size_t kLongListing = 1000;

// Tells the thread that prepares the cache, once, whether the listing grew
// long; "no" at the latest when it goes, so that thread never waits on.
class LongListing {
 public:
  explicit LongListing(std::promise<bool>& answer) : answer_(answer) {}
  ~LongListing() { tell(false); }
  LongListing(const LongListing&) = delete;
  LongListing& operator=(const LongListing&) = delete;

  void tell(bool long_listing) {
    if (!std::exchange(told_, true)) answer_.set_value(long_listing);
  }

 private:
  std::promise<bool>& answer_;
  bool told_ = false;
};

// The cache made ready for one period, or why it cannot be used.
struct Ready {
  std::optional<CacheUse> use;
  std::optional<std::string> failure;
};

}  // namespace

void CachedGitReader::warn_once(const std::string& message) const {
  if (warned_.exchange(true)) return;
  warnings_.warning("%s; reading every commit from git (LOMARIND_NO_CACHE=1 turns the cache off)",
                    {message});
}

std::vector<CommitChanges> CachedGitReader::log_commit_changes(
    const std::filesystem::path& repo_root, std::chrono::sys_seconds since, const std::string& ref,
    int max_commits) const {
  finish_storing();
  // The cache is made ready (what shapes diffs, the file) while git lists
  // the commits; once the listing is long, the attributes of every path the
  // cache names are asked too, rather than those of the period's after it.
  std::promise<bool> long_listing;
  std::shared_future<bool> is_long = long_listing.get_future().share();
  std::future<Ready> ready = start_thread([this, &repo_root, is_long] {
    Ready prepared;
    prepared.failure = failure_of([&] {
      prepared.use.emplace(start_use(runner_, repo_root, max_bytes_));
      if (is_long.get()) prepared.use->learn_known_attributes();
    });
    if (prepared.failure) prepared.use.reset();
    return prepared;
  });
  std::vector<CommitChanges> commits;
  {
    // Ends before `ready` does, whatever ends the listing.
    LongListing told(long_listing);
    commits = git_.log_commit_times(repo_root, since, ref, max_commits, [&](std::size_t listed) {
      if (listed >= kLongListing) told.tell(true);
    });
  }
  if (commits.empty()) return commits;
  Ready prepared = ready.get();
  if (prepared.failure) warn_once(*prepared.failure);
  std::optional<CacheUse>& use = prepared.use;
  std::vector<std::size_t> missing;
  if (!use || !attempt([&] { missing = use->fill(commits); })) {
    use.reset();
    missing.resize(commits.size());
    std::iota(missing.begin(), missing.end(), std::size_t{0});
  }
  read_missing(repo_root, commits, missing);
  std::vector<CachedCommit> kept;
  if (use && !missing.empty() && attempt([&] { kept = use->to_keep(commits, missing); })) {
    // Stored while the caller builds its answer; the next period waits for
    // it and reports its failure, the reader's end waits for it.
    const std::lock_guard<std::mutex> lock(storing_mutex_);
    storing_ = start_thread([use = std::move(*use), kept = std::move(kept)]() mutable {
      return failure_of([&] { use.keep(kept); });
    });
  }
  return commits;
}

CachedGitReader::~CachedGitReader() {
  // Nothing is logged here: a host may hold a lock its sink needs.
  const std::lock_guard<std::mutex> lock(storing_mutex_);
  if (storing_.valid()) storing_.wait();
}

void CachedGitReader::finish_storing() const {
  std::optional<std::string> failure;
  {
    const std::lock_guard<std::mutex> lock(storing_mutex_);
    if (storing_.valid()) failure = storing_.get();
  }
  if (failure) warn_once(*failure);
}

template <typename Step>
bool CachedGitReader::attempt(Step&& step) const {
  const std::optional<std::string> failure = failure_of(std::forward<Step>(step));
  if (failure) warn_once(*failure);
  return !failure;
}

void CachedGitReader::read_missing(const std::filesystem::path& repo_root,
                                   std::vector<CommitChanges>& commits,
                                   const std::vector<std::size_t>& missing) const {
  if (missing.empty()) return;
  std::vector<std::string> ids;
  ids.reserve(missing.size());
  for (std::size_t i : missing) ids.push_back(commits[i].commit);
  std::vector<CommitChanges> read = git_.read_commit_changes(repo_root, ids);
  for (std::size_t k = 0; k < missing.size(); ++k) {
    if (read[k].commit != ids[k]) {
      throw git_utils::GitError("git showed commit " + read[k].commit + " for " + ids[k]);
    }
    commits[missing[k]].files = std::move(read[k].files);
  }
}

}  // namespace lomarind::commit_cache
