#include "lomarind/storage/indexer.h"

#include <chrono>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "lomarind/process/subprocess.h"
#include "lomarind/storage/components.h"
#include "lomarind/storage/ctags_runner.h"
#include "lomarind/storage/index_file.h"
#include "lomarind/storage/index_git.h"
#include "lomarind/storage/index_sources.h"
#include "lomarind/storage/index_writer.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/language_filter.h"

namespace lomarind::indexer {
namespace {

namespace rc = repository_changes;

// Files that differed from the indexed commit when they were read: the
// index holds their work-tree content, so the next run reads them again
// even if they went back to the committed content.
constexpr char kDirtyPrefix[] = "dirty:";

using PathSet = std::unordered_set<std::string>;

struct Plan {
  std::vector<rc::IndexedFile> to_read;        // facts filled in, symbols to be read
  std::vector<rc::IndexedFile> facts_changed;  // unchanged content, new language or component
  std::vector<std::string> removed;            // no longer tracked
};

bool stopped(const IndexerOptions& options) {
  return options.stop != nullptr && options.stop->load();
}

std::vector<rc::IndexedFile> file_facts(const std::vector<std::string>& tracked) {
  const rc::Components components(tracked);
  std::vector<rc::IndexedFile> files;
  files.reserve(tracked.size());
  for (const std::string& path : tracked) {
    std::optional<std::string> language;
    if (const auto known = language_filter::language_of(path)) language.emplace(*known);
    files.push_back({path, std::move(language), components.component_of(path), {}});
  }
  return files;
}

// The files to read again since the last run, or nullopt when every file
// must be read: asked to, no commit yet, or no usable record of the last run.
std::optional<PathSet> changed_paths(const IndexerOptions& options, const rc::IndexGit& git,
                                     const rc::IndexWriter& writer,
                                     const std::optional<std::string>& head,
                                     const std::vector<std::string>& dirty) {
  if (options.full || !head) return std::nullopt;
  const std::optional<std::string> indexed = writer.meta(rc::kIndexedCommitKey);
  if (!indexed) return std::nullopt;
  std::optional<std::vector<std::string>> changed =
      git.changed_between(options.repo_root, *indexed, *head);
  if (!changed) return std::nullopt;
  PathSet paths(changed->begin(), changed->end());
  paths.insert(dirty.begin(), dirty.end());
  for (std::string& path : writer.meta_paths(kDirtyPrefix)) paths.insert(std::move(path));
  return paths;
}

// With `changed` absent, every tracked file is read into an emptied index.
Plan make_plan(std::vector<rc::IndexedFile> files, rc::IndexedPaths stored,
               const std::optional<PathSet>& changed) {
  Plan plan;
  for (rc::IndexedFile& file : files) {
    const auto old = stored.find(file.path);
    if (!changed || old == stored.end() || changed->contains(file.path)) {
      plan.to_read.push_back(std::move(file));
    } else if (old->second != rc::IndexedPath{file.language, file.component}) {
      plan.facts_changed.push_back(std::move(file));
    }
    if (old != stored.end()) stored.erase(old);
  }
  for (auto& [path, facts] : stored) plan.removed.push_back(path);
  return plan;
}

// Stores `files`, with symbols for the source files that ctags may read.
void read_files(const IndexerOptions& options, std::vector<rc::IndexedFile> files,
                rc::IndexWriter& writer) {
  const std::size_t total = files.size();
  std::size_t done = 0;
  const auto store = [&](const rc::IndexedFile& file) {
    writer.put_file(file);
    if (options.progress) options.progress(++done, total);
  };
  rc::ReadableFiles readable(options.repo_root);
  std::vector<rc::IndexedFile> sources;
  for (rc::IndexedFile& file : files) {
    if (stopped(options)) return;
    if (file.language && language_filter::in_source_languages(*file.language) &&
        readable.readable(file.path)) {
      sources.push_back(std::move(file));
    } else {
      store(file);
    }
  }
  rc::extract_symbols({.repo_root = options.repo_root,
                       .program = options.ctags_program,
                       .jobs = 2,
                       .stop = options.stop,
                       .inactivity_limit = options.ctags_inactivity_limit},
                      std::move(sources), store);
}

void record_run(rc::IndexWriter& writer, const std::optional<std::string>& head,
                const std::vector<std::string>& dirty) {
  if (head) {
    writer.set_meta(rc::kIndexedCommitKey, *head);
  } else {
    writer.erase_meta(rc::kIndexedCommitKey);
  }
  writer.set_meta_paths(kDirtyPrefix, dirty);
}

rc::IndexError interrupted(const IndexerOptions& options) {
  return rc::IndexError("indexing interrupted: " + options.index_path.string() +
                        " is left as it was");
}

IndexSummary update_index(const IndexerOptions& options) {
  const auto started = std::chrono::steady_clock::now();
  const rc::GitIndexSource git_program(git_utils::GitRunner().stopped_by(options.stop));
  const rc::IndexGit& git = options.git != nullptr ? *options.git : git_program;
  // Git is asked first, so that outside a repository no index file appears.
  std::vector<std::string> tracked = git.tracked_files(options.repo_root);
  const std::optional<std::string> head = git.head_commit(options.repo_root);
  rc::IndexWriter writer(options.index_path);
  const std::vector<std::string> dirty =
      head ? git.work_tree_changes(options.repo_root) : std::vector<std::string>{};
  const std::optional<PathSet> changed = changed_paths(options, git, writer, head, dirty);
  if (!changed) writer.clear();
  Plan plan =
      make_plan(file_facts(tracked), changed ? writer.stored_files() : rc::IndexedPaths{}, changed);
  const std::size_t files_read = plan.to_read.size();
  read_files(options, std::move(plan.to_read), writer);
  for (const std::string& path : plan.removed) writer.remove_file(path);
  for (const rc::IndexedFile& file : plan.facts_changed) writer.set_facts(file);
  record_run(writer, head, dirty);
  if (stopped(options)) throw interrupted(options);
  const rc::IndexWriter::Totals totals = writer.totals();
  writer.commit();
  return {
      .files = totals.files,
      .symbols = totals.symbols,
      .languages = totals.languages,
      .seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count(),
      .incremental = changed.has_value(),
      .files_read = files_read};
}

}  // namespace

IndexSummary build_index(const IndexerOptions& options) {
  try {
    return update_index(options);
  } catch (const subprocess::Interrupted&) {
    throw interrupted(options);  // a git command was stopped on the way
  }
}

std::filesystem::path default_index_path(const std::filesystem::path& repo_root) {
  return default_index_path_in(rc::GitIndexSource().common_dir(repo_root));
}

std::filesystem::path default_index_path_in(const std::filesystem::path& common_dir) {
  return common_dir / "lomarind" / "index.db";
}

}  // namespace lomarind::indexer
