// The submodules of the _lomarind extension, one binder each.
#pragma once

#include <pybind11/pybind11.h>

namespace lomarind::python {

namespace py = pybind11;

// git_utils: the git reader's operations, run by the git program.
void bind_git_utils(py::module_& module);
// storage: open_index, the index handle and the two index queries.
void bind_storage(py::module_& module);
// language_filter, path_filter, pagination, retrieval.
void bind_filters(py::module_& module);
// git_history: the answers, called with the Python module whose
// neighbours they use.
void bind_git_history(py::module_& module);
// git_coupling: the change-coupling answers, on the production neighbours.
void bind_git_coupling(py::module_& module);

}  // namespace lomarind::python
