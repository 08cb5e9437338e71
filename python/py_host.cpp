#include "py_host.h"

#include "py_convert.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

bool truthy(const py::object& value) {
  const int result = PyObject_IsTrue(value.ptr());
  if (result < 0) throw py::error_already_set();
  return result == 1;
}

}  // namespace

py::object own(const char* submodule, const char* name) {
  return py::module_::import("lomarind._lomarind").attr(submodule).attr(name);
}

py::object replaced_on(const py::object& module, const char* submodule, const char* name) {
  py::object current = module.attr(name);
  if (current.is(own(submodule, name))) return py::object();
  return current;
}

py::object HostChangeIndex::replaced(const char* name) const {
  py::object current = host_.attr("repository_changes").attr(name);
  if (current.is(own("storage", name)) && py::isinstance<repository_changes::IndexDb>(db_)) {
    return py::object();
  }
  return current;
}

repository_changes::IndexedPaths HostChangeIndex::indexed_paths(
    const repository_changes::IndexDb&, const std::vector<std::string>& paths) const {
  const py::object op = replaced("indexed_paths");
  if (!op) {
    const auto& db = db_.cast<const repository_changes::IndexDb&>();
    py::gil_scoped_release release;
    return own_.indexed_paths(db, paths);
  }
  return indexed_paths_from(op(db_, to_list(paths, to_str)));
}

std::vector<repository_changes::SymbolOnLines> HostChangeIndex::symbols_on_lines(
    const repository_changes::IndexDb&, const std::vector<repository_changes::LineRange>& ranges,
    std::span<const std::string_view> kinds, int per_file) const {
  const py::object op = replaced("symbols_on_lines");
  const py::object host_kinds = host_.attr("CHANGE_KINDS");
  if (!op && host_kinds.is(own("filters", "RETRIEVABLE_KINDS"))) {
    const auto& db = db_.cast<const repository_changes::IndexDb&>();
    py::gil_scoped_release release;
    return own_.symbols_on_lines(db, ranges, kinds, per_file);
  }
  // Plain triples, as the module builds a LineRange.
  const py::list range_list = to_list(ranges, [](const repository_changes::LineRange& range) {
    return py::make_tuple(to_str(range.path), range.start_line, range.end_line);
  });
  const py::object query = op ? op : host_.attr("repository_changes").attr("symbols_on_lines");
  const py::object symbols = query(db_, range_list, host_kinds, py::arg("per_file") = per_file);
  return from_list(symbols, symbol_from);
}

bool HostSourceFilters::in_source_languages(std::string_view language) const {
  const py::object languages = host_.attr("SOURCE_LANGUAGES");
  if (languages.is(own("filters", "SOURCE_LANGUAGES"))) return own_.in_source_languages(language);
  return languages.contains(to_str(language));
}

bool HostSourceFilters::is_source_extension(std::string_view path) const {
  const py::object op = replaced_on(host_, "filters", "is_source_extension");
  if (!op) return own_.is_source_extension(path);
  return truthy(op(to_str(path)));
}

bool HostSourceFilters::is_test_path(std::string_view path) const {
  const py::object op = replaced_on(host_, "filters", "is_test_path");
  if (!op) return own_.is_test_path(path);
  return truthy(op(to_str(path)));
}

bool HostSourceFilters::should_skip_path(std::string_view directory) const {
  const py::object op = replaced_on(host_, "filters", "should_skip_path");
  if (!op) return own_.should_skip_path(directory);
  return truthy(op(to_str(directory)));
}

namespace {

// The Python exception behind the failure being handled, if there is one.
py::object handled_cause() {
  const std::exception_ptr failure = std::current_exception();
  if (!failure) return py::object();
  try {
    std::rethrow_exception(failure);
  } catch (const HostCause& cause) {
    return cause.original();
  } catch (...) {
    // Any other failure has no Python object of its own.
  }
  return py::object();
}

}  // namespace

// The level numbers of Python's logging module.
int python_level(LogLevel level) {
  switch (level) {
    case LogLevel::kDebug:
      return 10;
    case LogLevel::kWarning:
      return 30;
    case LogLevel::kError:
      return 40;
    case LogLevel::kInfo:
      break;
  }
  return 20;
}

HostLogSink::HostLogSink(py::module_ host, py::object repo_root)
    : host_(std::move(host)), repo_root_(std::move(repo_root)) {
  if (!repo_root_.is_none()) repo_root_text_ = to_path(repo_root_).string();
}

void HostLogSink::write(const LogRecord& record) const {
  // The production neighbours may log while they run without the GIL.
  py::gil_scoped_acquire gil;
  const py::object cause = handled_cause();
  py::list args;
  args.append(python_level(record.level));
  args.append(to_str(record.format));
  // A C++ text ends at its first NUL.
  std::string cause_text;
  if (cause) cause_text = to_bytes(py::str(cause), "an exception's text").c_str();
  for (const std::string& arg : record.args) {
    if (cause && arg == cause_text) {
      args.append(cause);
    } else if (!repo_root_.is_none() && arg == repo_root_text_) {
      args.append(repo_root_);
    } else {
      args.append(to_str(arg));
    }
  }
  host_.attr("logger").attr("log")(*py::tuple(args));
}

HostNeighbours::HostNeighbours(const py::module_& host, const py::object& repo_root,
                               const py::object& db)
    : sink(host, repo_root),
      production(
          {.now =
               [] {
                 return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
               },
           .runner = git_utils::GitRunner().stopped_by(&stop)},
          sink),
      git(host, repo_root, production.neighbours().git, stop),
      index(host, db, production.neighbours().index),
      filters(host, production.neighbours().filters) {}

namespace {

py::object python_cause(const py::module_& host, const std::exception_ptr& cause) {
  if (!cause) return py::none();
  try {
    std::rethrow_exception(cause);
  } catch (const HostCause& error) {
    return error.original();
  } catch (const git_utils::GitError& error) {
    return host.attr("GitError")(to_str(error.what()));
  } catch (const std::invalid_argument& error) {
    return py::reinterpret_borrow<py::object>(PyExc_ValueError)(to_str(error.what()));
  } catch (const std::exception&) {
    // A cause of another kind has no Python counterpart; the message says it all.
  }
  return py::none();
}

// The message of `error`. A C++ message ends at a NUL, but a translated
// one ends with its cause's text, so the rest comes from the cause.
py::str message_of(const git_history::GitHistoryError& error, const py::object& cause) {
  py::str message = to_str(error.what());
  if (cause.is_none()) return message;
  const py::str text = py::str(cause);
  const Py_ssize_t nul = PyUnicode_FindChar(text.ptr(), 0, 0, PyUnicode_GET_LENGTH(text.ptr()), 1);
  if (nul < 0) return message;
  return py::str(message + text[py::slice(nul, PyUnicode_GET_LENGTH(text.ptr()), 1)]);
}

}  // namespace

void translate_host_cause(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (const HostCause& cause) {
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(cause.original().ptr())),
                    cause.original().ptr());
  }
}

void raise_history_error(const py::module_& host, const git_history::GitHistoryError& error) {
  const py::object cause = python_cause(host, error.cause());
  py::object exception = host.attr("GitHistoryError")(message_of(error, cause));
  // Like `raise ... from cause`: setting __cause__ also suppresses the context.
  if (!cause.is_none()) exception.attr("__cause__") = cause;
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
  throw py::error_already_set();
}

}  // namespace lomarind::python
