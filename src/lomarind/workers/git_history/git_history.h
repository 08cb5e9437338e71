// The git-history answers: what a branch changed since it left its base,
// what a period changed, and which files or components a period changed
// most. Every answer reads git through the injected GitReader and asks the
// injected ChangeIndex once for what it needs; it keeps no state between calls.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/json.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/records.h"

namespace lomarind::git_history {

// Which changed files count as production source.
class SourceFilters {
 public:
  virtual ~SourceFilters() = default;
  virtual bool in_source_languages(std::string_view language) const = 0;
  virtual bool is_source_extension(std::string_view path) const = 0;
  virtual bool is_test_path(std::string_view path) const = 0;
  virtual bool should_skip_path(std::string_view directory) const = 0;
};

// Adds the next-page hint to a paginated answer and returns the answer.
class PaginationHint {
 public:
  virtual ~PaginationHint() = default;
  virtual Json add_pagination_hint(Json result, std::int64_t count) const = 0;
};

// The neighbours an answer talks to. All must outlive the GitHistory.
struct Neighbours {
  const git_utils::GitReader& git;
  const repository_changes::ChangeIndex& index;
  const SourceFilters& filters;
  const PaginationHint& pagination;
  const Logger& logger;
};

struct RecentChangesOptions {
  std::string since;
  std::optional<std::string> branch;
  bool include_symbols;
  std::int64_t limit;
  std::int64_t offset;
  bool source_only;
};

struct HotspotsOptions {
  std::string since;
  std::optional<std::string> branch;
  std::string group_by;
  std::int64_t limit;
  std::int64_t offset;
  bool source_only;
};

struct FileHotspotsOptions {
  std::string since;
  std::optional<std::string> branch;
  std::int64_t limit;
};

struct BranchDiffOptions {
  std::optional<std::string> base_branch;
  std::optional<std::string> head_branch;
  bool include_symbols;
  std::int64_t limit;
  std::int64_t offset;
  bool source_only;
};

class GitHistory {
 public:
  explicit GitHistory(const Neighbours& neighbours) : n_(neighbours) {}

  Json recent_changes(const repository_changes::Repository& repository,
                      const std::filesystem::path& repo_root,
                      const RecentChangesOptions& options) const;
  Json hotspots(const repository_changes::Repository& repository,
                const std::filesystem::path& repo_root, const HotspotsOptions& options) const;
  std::vector<Json> file_hotspots(const repository_changes::Repository& repository,
                                  const std::filesystem::path& repo_root,
                                  const FileHotspotsOptions& options) const;
  Json branch_diff(const repository_changes::Repository& repository,
                   const std::filesystem::path& repo_root,
                   const BranchDiffOptions& options) const;

 private:
  Neighbours n_;
};

}  // namespace lomarind::git_history
