// The change-coupling answers for Python (lomarind.workers.git_coupling),
// over the neighbours git_history holds, chosen as its own answers choose
// them (py_host.h): a failure raises git_history's GitHistoryError, and
// warnings go to git_history's logger.
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

#include "lomarind/workers/git_history/coupling.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_host.h"

namespace lomarind::python {

namespace {

// A count as Python passes it: an int of any size or anything with
// __index__, clamped to 64 bits (a count beyond them answers as one at them).
std::int64_t count_of(py::handle value, std::string_view name) {
  try {
    return value.cast<ClampedInt>().value;
  } catch (const py::cast_error&) {
    throw py::type_error(std::string(name) + " must be an int; got " +
                         to_bytes(py::repr(value), "a repr"));
  }
}

// A degree as Python passes it: a float, an int or anything with __float__.
double degree_of(py::handle value) {
  const double degree = PyFloat_AsDouble(value.ptr());
  if (degree == -1.0 && PyErr_Occurred()) throw py::error_already_set();
  return degree;
}

py::object change_coupling(const py::module_& host, bool own, const py::object& repository,
                           const py::object& repo_root, py::handle since, py::handle branch,
                           py::handle path, bool source_only, py::handle min_revisions,
                           py::handle min_shared, py::handle min_degree, py::handle max_changeset,
                           ClampedInt limit, ClampedInt offset) {
  const git_history::CouplingOptions options{
      .since = to_bytes(since, "since"),
      .branch = to_optional_bytes(branch, "branch"),
      .path = to_optional_bytes(path, "path"),
      .source_only = source_only,
      .min_revisions = count_of(min_revisions, "min_revisions"),
      .min_shared = count_of(min_shared, "min_shared"),
      .min_degree = degree_of(min_degree),
      .max_changeset = count_of(max_changeset, "max_changeset"),
      .limit = limit.value,
      .offset = offset.value};
  // Refused as the host wrote the value: repr(2) is "2", repr(True) "True".
  const std::pair<std::string_view, py::handle> given[] = {{"min_revisions", min_revisions},
                                                           {"min_shared", min_shared},
                                                           {"min_degree", min_degree},
                                                           {"max_changeset", max_changeset}};
  try {
    git_history::detail::check_thresholds(git_history::detail::thresholds_of(options),
                                          [&](std::string_view option) {
                                            for (const auto& [name, value] : given) {
                                              if (name == option)
                                                return to_bytes(py::repr(value), "a repr");
                                            }
                                            return std::string(option);
                                          });
  } catch (const git_history::GitHistoryError& error) {
    raise_history_error(host, error);
  }
  return python_answer(
      host, own, repository, repo_root,
      [&](const git_history::GitHistory& history, const repository_changes::Repository& index,
          const std::filesystem::path& root) {
        return history.change_coupling(index, root, options);
      });
}

py::object missing_partners(const py::module_& host, bool own, const py::object& repository,
                            const py::object& repo_root, py::handle base_branch,
                            py::handle head_branch, py::handle since, bool source_only) {
  const git_history::MissingPartnersOptions options{
      .base_branch = to_optional_bytes(base_branch, "base_branch"),
      .head_branch = to_optional_bytes(head_branch, "head_branch"),
      .since = to_bytes(since, "since"),
      .source_only = source_only};
  return python_answer(
      host, own, repository, repo_root,
      [&](const git_history::GitHistory& history, const repository_changes::Repository& index,
          const std::filesystem::path& root) {
        return history.missing_partners(index, root, options);
      });
}

}  // namespace

void bind_git_coupling(py::module_& module) {
  module.def("change_coupling", change_coupling);
  module.def("missing_partners", missing_partners);
  module.attr("DEFAULT_MIN_REVISIONS") = git_history::kDefaultMinRevisions;
  module.attr("DEFAULT_MIN_SHARED") = git_history::kDefaultMinShared;
  module.attr("DEFAULT_MIN_DEGREE") = git_history::kDefaultMinDegree;
  module.attr("DEFAULT_MAX_CHANGESET") = git_history::kDefaultMaxChangeset;
}

}  // namespace lomarind::python
