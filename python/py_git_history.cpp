// The history answers for Python. Each call builds the module's neighbours
// over the Python module object it is given (lomarind.workers.git_history),
// runs the answer with the GIL held (the git and index neighbours release it
// while they work), and turns GitHistoryError into the module's Python
// exception, chained to the Python GitError or ValueError behind it.
#include <string>

#include "lomarind/utils/quoting.h"
#include "lomarind/workers/git_history/answer_json.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_host.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

// Runs one answer of GitHistory over neighbours bound to `host`. Without
// `hint` the answer leaves out the next-page hint: the host has its own,
// which the Python side applies.
template <typename Answer, typename Options>
py::object answer(Answer (git_history::GitHistory::*ask)(const repository_changes::Repository&,
                                                         const std::filesystem::path&,
                                                         const Options&) const,
                  const py::module_& host, const py::object& repository,
                  const py::object& repo_root, const Options& options, bool hint) {
  HostNeighbours n(host, repo_root, repository.attr("db"));
  return answering(host, [&] {
    Answer answer = (n.history.*ask)(n.repository, to_path(repo_root), options);
    if (!hint) {
      answer.page.next_offset.reset();
      answer.page.hint.reset();
    }
    return json_to_python(git_history::to_json(answer));
  });
}

py::object recent_changes(const py::module_& host, const py::object& repository,
                          const py::object& repo_root, py::handle since, py::handle branch,
                          bool include_symbols, ClampedInt limit, ClampedInt offset,
                          bool source_only, bool hint) {
  return answer(&git_history::GitHistory::recent_changes, host, repository, repo_root,
                git_history::RecentChangesOptions{.since = to_bytes(since, "since"),
                                                  .branch = to_optional_bytes(branch, "branch"),
                                                  .include_symbols = include_symbols,
                                                  .limit = limit.value,
                                                  .offset = offset.value,
                                                  .source_only = source_only},
                hint);
}

py::object hotspots(const py::module_& host, const py::object& repository,
                    const py::object& repo_root, py::handle since, py::handle branch,
                    py::handle group_by, ClampedInt limit, ClampedInt offset, bool source_only,
                    bool hint) {
  if (group_by.is_none()) {
    // The C++ answer takes a name; an absent one is refused here, as it
    // would be there, before anything runs.
    raise_history_error(
        host, git_history::GitHistoryError("group_by must be 'file' or 'component'; got " +
                                           quoting::quoted_name(std::optional<std::string>())));
  }
  return answer(&git_history::GitHistory::hotspots, host, repository, repo_root,
                git_history::HotspotsOptions{.since = to_bytes(since, "since"),
                                             .branch = to_optional_bytes(branch, "branch"),
                                             .group_by = to_bytes(group_by, "group_by"),
                                             .limit = limit.value,
                                             .offset = offset.value,
                                             .source_only = source_only},
                hint);
}

py::object branch_diff(const py::module_& host, const py::object& repository,
                       const py::object& repo_root, py::handle base_branch, py::handle head_branch,
                       bool include_symbols, ClampedInt limit, ClampedInt offset, bool source_only,
                       bool hint) {
  return answer(
      &git_history::GitHistory::branch_diff, host, repository, repo_root,
      git_history::BranchDiffOptions{.base_branch = to_optional_bytes(base_branch, "base_branch"),
                                     .head_branch = to_optional_bytes(head_branch, "head_branch"),
                                     .include_symbols = include_symbols,
                                     .limit = limit.value,
                                     .offset = offset.value,
                                     .source_only = source_only},
      hint);
}

}  // namespace

// The smaller operations; defined in py_git_history_parts.cpp.
void bind_git_history_parts(py::module_& module);
// The internal ones; defined in py_git_history_internals.cpp.
void bind_git_history_internals(py::module_& module);

void bind_git_history(py::module_& module) {
  using py::arg;
  module.def("recent_changes", recent_changes, arg("host"), arg("repository"), arg("repo_root"),
             arg("since"), arg("branch"), arg("include_symbols"), arg("limit"), arg("offset"),
             arg("source_only"), arg("hint"));
  module.def("hotspots", hotspots, arg("host"), arg("repository"), arg("repo_root"), arg("since"),
             arg("branch"), arg("group_by"), arg("limit"), arg("offset"), arg("source_only"),
             arg("hint"));
  module.def("branch_diff", branch_diff, arg("host"), arg("repository"), arg("repo_root"),
             arg("base_branch"), arg("head_branch"), arg("include_symbols"), arg("limit"),
             arg("offset"), arg("source_only"), arg("hint"));
  module.attr("MAX_COMMITS") = git_history::MAX_COMMITS;
  module.attr("SYMBOLS_PER_ROW") = git_history::SYMBOLS_PER_ROW;
  bind_git_history_parts(module);
  bind_git_history_internals(module);
  py::register_exception_translator(translate_host_cause);
}

}  // namespace lomarind::python
