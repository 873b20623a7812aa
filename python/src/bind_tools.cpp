// The diagnostics and the format-preserving editor.
#include <pybind11/stl.h>

#include <teskpf/diagnostics.h>
#include <teskpf/editor.h>

#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

void bindTools(py::module_ &module) {
    py::class_<teskpf::Diagnostic>(module, "Diagnostic", "One problem found in one file; locations are 1-based.")
        .def_readonly("file", &teskpf::Diagnostic::file)
        .def_readonly("line", &teskpf::Diagnostic::line)
        .def_readonly("column", &teskpf::Diagnostic::column)
        .def_property_readonly("severity", [](const teskpf::Diagnostic &d) { return teskpf::severityName(d.severity); })
        .def_readonly("rule", &teskpf::Diagnostic::rule)
        .def_readonly("message", &teskpf::Diagnostic::message)
        .def_readonly("key", &teskpf::Diagnostic::key)
        .def("__repr__", [](const teskpf::Diagnostic &d) {
            return d.file + ":" + std::to_string(d.line) + ":" + std::to_string(d.column) + ": " +
                   teskpf::severityName(d.severity) + ": " + d.message + " [" + d.rule + "]";
        });
    module.def("check_file", &teskpf::checkFile, py::arg("path"));
    module.def("check_name", &teskpf::checkName, py::arg("name"));

    py::class_<teskpf::Editor>(module, "Editor", "Edits one file, changing only the bytes an edit concerns.")
        .def_static("open_locked", &teskpf::Editor::openLocked, py::arg("path"))
        .def_property_readonly("text", &teskpf::Editor::text)
        .def_property_readonly("changed", &teskpf::Editor::changed)
        .def("set_value", &teskpf::Editor::setValue, py::arg("key_path"), py::arg("value"))
        .def("set_comment", &teskpf::Editor::setComment, py::arg("key_path"), py::arg("comment"))
        .def("add", &teskpf::Editor::add, py::arg("key_path"), py::arg("value"), py::arg("comment") = "")
        .def("remove", &teskpf::Editor::remove, py::arg("key_path"))
        .def("save", &teskpf::Editor::save);
}

}  // namespace teskpf_python
