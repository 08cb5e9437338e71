#include "lomarind/storage/ctags_runner.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "lomarind/extents/symbol_extents.h"
#include "lomarind/process/blocked_signals.h"
#include "lomarind/process/subprocess.h"
#include "lomarind/storage/ctags_tags.h"
#include "lomarind/storage/sqlite_index.h"

namespace lomarind::repository_changes {
namespace {

// Thrown from an output sink to make the subprocess kill ctags.
struct Cancelled {};

// Complete files on their way from the ctags readers to the caller's thread.
class FileQueue {
 public:
  explicit FileQueue(int workers) : running_(workers) {}

  void push(IndexedFile file) {
    const std::lock_guard lock(mutex_);
    files_.push_back(std::move(file));
    ready_.notify_one();
  }

  // One reader is done; `error` is empty when it succeeded.
  void finish(std::exception_ptr error) {
    const std::lock_guard lock(mutex_);
    if (error && !error_) error_ = error;
    --running_;
    ready_.notify_one();
  }

  struct Batch {
    std::vector<IndexedFile> files;
    bool last = false;  // every reader had finished: nothing more will come
  };

  Batch take(std::chrono::milliseconds wait) {
    std::unique_lock lock(mutex_);
    ready_.wait_for(lock, wait, [this] { return !files_.empty() || running_ == 0; });
    if (error_) std::rethrow_exception(error_);
    Batch batch{std::move(files_), running_ == 0};
    files_.clear();
    return batch;
  }

  void cancel() { cancelled_ = true; }
  // Set once the caller stopped taking files: every ctags still running is
  // killed.
  const std::atomic<bool>& cancelled() const { return cancelled_; }

 private:
  std::mutex mutex_;
  std::condition_variable ready_;
  std::vector<IndexedFile> files_;
  int running_;
  std::exception_ptr error_;
  std::atomic<bool> cancelled_ = false;
};

// Turns one ctags run's output into complete files. ctags reads its list in
// order and writes a file's tags before starting the next file, so once a
// tag of file k appears, every file listed before k is complete.
class TagStream {
 public:
  TagStream(std::vector<IndexedFile> files, const std::filesystem::path& repo_root,
            FileQueue& queue)
      : files_(std::move(files)), no_end_(files_.size()), repo_root_(repo_root), queue_(queue) {
    paths_.reserve(files_.size());
    for (const IndexedFile& file : files_) paths_.push_back(file.path);
    for (std::size_t i = 0; i < paths_.size(); ++i) position_.emplace(paths_[i], i);
  }

  std::string file_list() const {
    std::string list;
    for (const std::string& path : paths_) list += "./" + path + "\n";
    return list;
  }

  void feed(std::string_view chunk) {
    partial_.append(chunk);
    std::size_t start = 0;
    for (std::size_t end; (end = partial_.find('\n', start)) != std::string::npos;
         start = end + 1) {
      on_line(std::string_view(partial_).substr(start, end - start));
    }
    partial_.erase(0, start);
  }

  void finish() {
    on_line(partial_);
    flush_until(files_.size());
  }

  // The first file not yet complete: ctags is at it or past it.
  std::string_view reading() const {
    return next_ < paths_.size() ? std::string_view(paths_[next_]) : std::string_view();
  }

 private:
  void on_line(std::string_view line) {
    std::optional<CtagsTag> tag = parse_ctags_line(line);
    if (!tag || !tag->path.starts_with("./")) return;
    const auto it = position_.find(std::string_view(tag->path).substr(2));
    if (it == position_.end() || it->second < next_) return;
    flush_until(it->second);
    IndexedFile& file = files_[it->second];
    if (!tag->end) no_end_[it->second].push_back(file.symbols.size());
    file.symbols.push_back(to_symbol(*tag, file.language.value_or("")));
  }

  // Symbols whose end ctags did not give take the end their source shows.
  // Runs on this reader's thread, so that the files are read in parallel.
  void derive_ends(std::size_t index) {
    IndexedFile& file = files_[index];
    const std::vector<std::size_t> no_end = std::move(no_end_[index]);
    if (no_end.empty() || !file.language || !derives_end_lines(*file.language)) return;
    const std::optional<std::string> text = read_source_file(repo_root_, file.path);
    if (!text) return;
    std::vector<std::int64_t> starts;
    starts.reserve(no_end.size());
    for (const std::size_t i : no_end) starts.push_back(file.symbols[i].start_line);
    const std::vector<std::int64_t> ends = derive_end_lines(*text, *file.language, starts);
    for (std::size_t k = 0; k < no_end.size(); ++k) file.symbols[no_end[k]].end_line = ends[k];
  }

  void flush_until(std::size_t end) {
    for (; next_ < end; ++next_) {
      derive_ends(next_);
      std::vector<IndexedSymbol>& symbols = files_[next_].symbols;
      std::sort(symbols.begin(), symbols.end(), [](const IndexedSymbol& a, const IndexedSymbol& b) {
        return std::tie(a.start_line, b.end_line, a.name, a.kind, a.fqn) <
               std::tie(b.start_line, a.end_line, b.name, b.kind, b.fqn);
      });
      symbols.erase(std::unique(symbols.begin(), symbols.end()), symbols.end());
      queue_.push(std::move(files_[next_]));
    }
  }

  std::vector<IndexedFile> files_;                // handed over (moved out) in order
  std::vector<std::vector<std::size_t>> no_end_;  // per file, its symbols ctags gave no end
  const std::filesystem::path& repo_root_;
  std::vector<std::string> paths_;
  std::unordered_map<std::string_view, std::size_t> position_;  // views into paths_
  std::size_t next_ = 0;  // files before this one were handed over
  std::string partial_;
  FileQueue& queue_;
};

std::string failure(std::string_view reason) {
  return "cannot build the index: " + std::string(reason);
}

// The first line of ctags' complaint, without its notices.
std::string ctags_complaint(std::string_view err) {
  while (!err.empty()) {
    const std::string_view line = err.substr(0, err.find('\n'));
    if (!line.empty() && !line.starts_with("ctags: Notice:")) return std::string(line);
    err.remove_prefix(std::min(err.size(), line.size() + 1));
  }
  return "no message";
}

// Why a silent ctags was stopped, and where to look.
std::string stuck(const subprocess::Timeout& timeout, std::string_view reading) {
  std::string why = timeout.what();
  if (timeout.outputs_closed()) return why + " (the limit for a child to exit)";
  why += " (the limit for a silent ctags run)";
  if (!reading.empty()) {
    why += "; its parser may be stuck on " + std::string(reading) +
           " or a file listed after it: check that file with ctags alone";
  }
  return why;
}

// --options=NONE comes first, so that no .ctags.d of the repository can
// redirect the output or switch parsers off. The list goes on stdin in
// order, each name prefixed with "./" so that none reads as an option.
// Patterns (-P) are never read and cost ctags a fair share of its time;
// --sort=no keeps each file's tags together as they are found; links are
// not followed.
void run_ctags(const CtagsOptions& options, TagStream& stream, FileQueue& queue) {
  const subprocess::Command command{
      .argv = {options.program, "--options=NONE", "-o", "-", "--output-format=json",
               "--fields=+neKzS", "--fields=-P", "--sort=no", "--links=no", "-L", "-"},
      .environment = subprocess::inherited_environment(),
      .input = stream.file_list(),
      .working_directory = options.repo_root,
      .inactivity_limit = options.inactivity_limit,
      .exit_grace = subprocess::kExitGrace,
      .stop = &queue.cancelled(),
      .silence_check = {},
      .on_silence = nullptr};
  subprocess::Result result;
  try {
    result = subprocess::run(command, [&](std::string_view chunk) {
      if (queue.cancelled() || (options.stop != nullptr && options.stop->load())) {
        throw Cancelled{};
      }
      stream.feed(chunk);
    });
  } catch (const subprocess::Interrupted&) {
    throw Cancelled{};
  } catch (const subprocess::Timeout& e) {
    throw IndexError(failure(stuck(e, stream.reading())));
  } catch (const std::system_error& e) {
    if (e.code().value() != ENOENT) throw;
    std::throw_with_nested(IndexError(
        failure(options.program + " is not installed or not on PATH; install universal-ctags (the "
                                  "Debian and Ubuntu package is universal-ctags)")));
  }
  if (result.exit_status != 0) {
    throw IndexError(
        failure(options.program + " exited with status " + std::to_string(result.exit_status) +
                " (" + ctags_complaint(result.err) + "); lomarind index needs universal-ctags"));
  }
  stream.finish();
}

// Starts the readers; on every exit path they are cancelled and joined.
class Readers {
 public:
  Readers(const CtagsOptions& options, std::vector<TagStream>& streams, FileQueue& queue)
      : queue_(queue) {
    const BlockedSignals held;  // the readers leave the program's signals to its own thread
    for (TagStream& stream : streams) {
      threads_.emplace_back([&options, &stream, &queue] {
        try {
          run_ctags(options, stream, queue);
          queue.finish(nullptr);
        } catch (const Cancelled&) {
          queue.finish(nullptr);
        } catch (...) {
          queue.finish(std::current_exception());
        }
      });
    }
  }
  ~Readers() {
    queue_.cancel();
    for (std::thread& thread : threads_) thread.join();
  }
  Readers(const Readers&) = delete;
  Readers& operator=(const Readers&) = delete;

 private:
  FileQueue& queue_;
  std::vector<std::thread> threads_;
};

std::vector<TagStream> split(std::vector<IndexedFile> files, int jobs,
                             const std::filesystem::path& repo_root, FileQueue& queue) {
  std::vector<std::vector<IndexedFile>> shares(static_cast<std::size_t>(jobs));
  for (std::size_t i = 0; i < files.size(); ++i) {
    shares[i % shares.size()].push_back(std::move(files[i]));
  }
  std::vector<TagStream> streams;
  for (std::vector<IndexedFile>& share : shares) {
    streams.emplace_back(std::move(share), repo_root, queue);
  }
  return streams;
}

}  // namespace

void extract_symbols(const CtagsOptions& options, std::vector<IndexedFile> files,
                     const std::function<void(IndexedFile)>& on_file) {
  if (files.empty()) return;
  const int jobs = static_cast<int>(std::clamp<std::size_t>(
      files.size(), 1, static_cast<std::size_t>(std::max(options.jobs, 1))));
  FileQueue queue(jobs);
  std::vector<TagStream> streams = split(std::move(files), jobs, options.repo_root, queue);
  const Readers readers(options, streams, queue);
  const auto stopped = [&] { return options.stop != nullptr && options.stop->load(); };
  for (bool last = false; !last && !stopped();) {
    FileQueue::Batch batch = queue.take(std::chrono::milliseconds(50));
    last = batch.last;
    for (IndexedFile& file : batch.files) {
      if (stopped()) return;
      on_file(std::move(file));
    }
  }
}

}  // namespace lomarind::repository_changes
