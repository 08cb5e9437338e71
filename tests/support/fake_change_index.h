// A ChangeIndex with canned facts and symbols that records every query, and
// stands in for the index handle it expects to be passed.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/storage/repository_changes.h"

namespace lomarind::testing {

class FakeChangeIndex final : public repository_changes::ChangeIndex {
 public:
  FakeChangeIndex() = default;
  FakeChangeIndex(const FakeChangeIndex&) = delete;
  FakeChangeIndex& operator=(const FakeChangeIndex&) = delete;

  // Facts of the paths the index knows; indexed_paths returns those asked.
  repository_changes::IndexedPaths facts;
  // What symbols_on_lines returns, whatever it is asked.
  std::vector<repository_changes::SymbolOnLines> symbols;
  // When set, every query throws std::runtime_error("index is locked").
  bool fail = false;

  // "indexed_paths([a, b])", "symbols_on_lines([a:1-5], per_file=10)".
  mutable std::vector<std::string> calls;
  // The kinds of the last symbols_on_lines call.
  mutable std::vector<std::string> kinds;

  // A handle to pass to the answers. The fake never looks inside it; a
  // query given any other handle throws std::logic_error.
  repository_changes::Repository repository() const;

  repository_changes::IndexedPaths indexed_paths(
      const repository_changes::IndexDb& db, const std::vector<std::string>& paths) const override;
  std::vector<repository_changes::SymbolOnLines> symbols_on_lines(
      const repository_changes::IndexDb& db,
      const std::vector<repository_changes::LineRange>& ranges,
      std::span<const std::string_view> kinds, int per_file) const override;

 private:
  const repository_changes::IndexDb& handle() const;
  void check(const repository_changes::IndexDb& db) const;

  alignas(std::max_align_t) unsigned char handle_[16] = {};
};

}  // namespace lomarind::testing
