// The _lomarind extension: the C++ side of the lomarind package. The
// package's modules (lomarind/...) give each function its Python name and
// signature; this only converts values and calls the library.
#include "py_bindings.h"

PYBIND11_MODULE(_lomarind, module) {
  using namespace lomarind::python;
  module.doc() = "The C++ side of the lomarind package.";
  py::module_ git_utils = module.def_submodule("git_utils");
  bind_git_utils(git_utils);
  py::module_ storage = module.def_submodule("storage");
  bind_storage(storage);
  py::module_ filters = module.def_submodule("filters");
  bind_filters(filters);
  py::module_ git_history = module.def_submodule("git_history");
  bind_git_history(git_history);
  py::module_ git_coupling = module.def_submodule("git_coupling");
  bind_git_coupling(git_coupling);
}
