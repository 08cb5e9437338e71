// The page cut of every list answer and the pagination fields it carries.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "lomarind/workers/git_history/answers.h"

namespace lomarind::git_history::detail {

// Items [max(offset, 0), max(offset, 0) + max(limit, 0)) of `items`, as a
// new list; positions past the end yield nothing. Only the page is copied.
template <typename T>
std::vector<T> page(std::span<const T> items, std::int64_t limit, std::int64_t offset) {
  const auto size = static_cast<std::int64_t>(items.size());
  const std::int64_t start = std::max<std::int64_t>(offset, 0);
  if (start >= size) return {};
  // Compared against what is left rather than added to start, so a huge
  // limit cannot overflow.
  const std::int64_t count = std::min(std::max<std::int64_t>(limit, 0), size - start);
  return std::vector<T>(items.begin() + start, items.begin() + start + count);
}

template <typename T>
std::vector<T> page(const std::vector<T>& items, std::int64_t limit, std::int64_t offset) {
  return page(std::span<const T>(items), limit, offset);
}

// Puts `items` in `less` order as far as the end of the page that page()
// cuts with `limit` and `offset`; the items after it stay in no particular
// order. A page is usually a small part of a long list.
template <typename T, typename Less>
void sort_through_page(std::vector<T>& items, std::int64_t limit, std::int64_t offset, Less less) {
  const auto size = static_cast<std::int64_t>(items.size());
  const std::int64_t start = std::clamp<std::int64_t>(offset, 0, size);
  const std::int64_t end = start + std::min(std::max<std::int64_t>(limit, 0), size - start);
  if (end > size / 2) {
    std::sort(items.begin(), items.end(), less);
  } else {
    std::partial_sort(items.begin(), items.begin() + end, items.end(), less);
  }
}

// The pagination fields of a page of `count` rows cut with `limit` and
// `offset` from `total`: the offset clamped at 0, whether the limit or the
// page stops before the end, and the next-page hint while there is more.
PageFields page_fields(std::int64_t total, std::int64_t limit, std::int64_t offset,
                       std::int64_t count);

}  // namespace lomarind::git_history::detail
