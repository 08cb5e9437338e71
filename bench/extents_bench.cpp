// How far the derived ends of symbols agree with ctags' own, where ctags
// gives one (C, C++, Python, Go, Java, C#, Ruby), and how fast they are
// derived. For every source file under the given folders it runs ctags as
// the indexer does, derives the end of each symbol that has one from the
// file's text alone, and compares.
//
//   extents_bench [--show N] [--language NAME] FOLDER...
//
// prints, per language, the symbols with an end from ctags, how many of
// them the derivation gets exactly, and the derivation's speed; --show
// prints N disagreements per language (path:line kind name ctags derived).
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "lomarind/extents/symbol_extents.h"
#include "lomarind/process/subprocess.h"
#include "lomarind/storage/ctags_tags.h"
#include "lomarind/utils/language_filter.h"

namespace {

namespace fs = std::filesystem;
namespace rc = lomarind::repository_changes;

struct Tally {
  std::size_t symbols = 0;  // with an end from ctags
  std::size_t agree = 0;
  std::size_t bytes = 0;
  double seconds = 0;
  std::vector<std::string> disagreements;
};

struct Options {
  std::size_t show = 0;
  std::string language;
  std::vector<fs::path> folders;
};

// Source files under `root` (relative paths), .git and links left out.
std::vector<std::string> source_files(const fs::path& root, const std::string& only) {
  std::vector<std::string> files;
  for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator();
       ++it) {
    if (it->is_directory() && it->path().filename() == ".git") it.disable_recursion_pending();
    if (it->is_symlink() || !it->is_regular_file()) continue;
    const std::string path = fs::relative(it->path(), root).string();
    const auto language = lomarind::language_filter::language_of(path);
    if (language && rc::derives_end_lines(*language) && (only.empty() || *language == only)) {
      files.push_back(path);
    }
  }
  return files;
}

// ctags' tags of `files`, by path.
std::map<std::string, std::vector<rc::CtagsTag>> ctags_tags(const fs::path& root,
                                                            const std::vector<std::string>& files) {
  std::string list;
  for (const std::string& file : files) list += "./" + file + "\n";
  const lomarind::subprocess::Result result = lomarind::subprocess::run(
      {.argv = {"ctags", "--options=NONE", "-o", "-", "--output-format=json", "--fields=+neKzS",
                "--fields=-P", "--sort=no", "--links=no", "-L", "-"},
       .environment = lomarind::subprocess::inherited_environment(),
       .input = list,
       .working_directory = root,
       .inactivity_limit = {},
       .stop = nullptr,
       .silence_check = {},
       .on_silence = nullptr});
  std::map<std::string, std::vector<rc::CtagsTag>> tags;
  std::string_view out = result.out;
  while (!out.empty()) {
    const std::string_view line = out.substr(0, out.find('\n'));
    out.remove_prefix(std::min(out.size(), line.size() + 1));
    // A shell heredoc's end is its terminator, wherever its statement ends.
    if (auto tag = rc::parse_ctags_line(line);
        tag && tag->end && tag->path.starts_with("./") && tag->kind != "heredoc") {
      tags[tag->path.substr(2)].push_back(std::move(*tag));
    }
  }
  return tags;
}

void compare_file(const fs::path& root, const std::string& path,
                  const std::vector<rc::CtagsTag>& tags, std::size_t show, Tally& tally) {
  const std::string language(*lomarind::language_filter::language_of(path));
  const std::optional<std::string> text = rc::read_source_file(root, path);
  if (!text) return;
  std::vector<std::int64_t> starts;
  for (const rc::CtagsTag& tag : tags) starts.push_back(tag.line);
  const auto began = std::chrono::steady_clock::now();
  const std::vector<std::int64_t> ends = rc::derive_end_lines(*text, language, starts);
  tally.seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
  tally.bytes += text->size();
  for (std::size_t i = 0; i < tags.size(); ++i) {
    const std::int64_t expected = std::max(tags[i].line, *tags[i].end);
    ++tally.symbols;
    if (ends[i] == expected) {
      ++tally.agree;
    } else if (tally.disagreements.size() < show) {
      tally.disagreements.push_back(path + ":" + std::to_string(tags[i].line) + " " + tags[i].kind +
                                    " " + tags[i].name + " ctags " + std::to_string(expected) +
                                    " derived " + std::to_string(ends[i]));
    }
  }
}

Options parse_options(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--show" && i + 1 < argc) {
      options.show = std::stoul(argv[++i]);
    } else if (arg == "--language" && i + 1 < argc) {
      options.language = argv[++i];
    } else {
      options.folders.emplace_back(arg);
    }
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse_options(argc, argv);
  if (options.folders.empty()) {
    std::cerr << "usage: extents_bench [--show N] [--language NAME] FOLDER...\n";
    return 2;
  }
  std::map<std::string, Tally> tallies;
  for (const fs::path& root : options.folders) {
    const std::vector<std::string> files = source_files(root, options.language);
    for (const auto& [path, tags] : ctags_tags(root, files)) {
      const std::string language(*lomarind::language_filter::language_of(path));
      compare_file(root, path, tags, options.show, tallies[language]);
    }
  }
  std::printf("%-12s %9s %9s %8s %10s\n", "language", "symbols", "agree", "agree %", "MB/s");
  for (const auto& [language, tally] : tallies) {
    std::printf("%-12s %9zu %9zu %7.2f%% %10.1f\n", language.c_str(), tally.symbols, tally.agree,
                tally.symbols ? 100.0 * tally.agree / tally.symbols : 0.0,
                tally.seconds > 0 ? tally.bytes / 1e6 / tally.seconds : 0.0);
  }
  for (const auto& [language, tally] : tallies) {
    for (const std::string& line : tally.disagreements) std::cout << line << "\n";
  }
  return 0;
}
