// The diagnostics and the format-preserving editor.
#include <chrono>
#include <cmath>
#include <optional>

#include <pybind11/stl.h>

#include <teskpf/diagnostics.h>
#include <teskpf/editor.h>
#include <teskpf/save.h>
#include <teskpf/search.h>

#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

// Editor::openLocked with the GIL released while it waits, so that the
// thread holding the lock can go on; a signal (Ctrl-C) ends the wait with the
// exception its Python handler raises. `timeout` in seconds, None for none.
teskpf::Editor openLocked(const Path &file, std::optional<double> timeout) {
    teskpf::LockWait wait;
    if (timeout) {
        if (std::isnan(*timeout) || *timeout < 0) throw py::value_error("timeout must be a number of seconds >= 0");
        wait.timeout = std::chrono::duration<double>(*timeout);
    }
    wait.keep_waiting = [] {
        py::gil_scoped_acquire held;
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        return true;
    };
    py::gil_scoped_release released;
    return teskpf::Editor::openLocked(file.bytes, wait);
}

py::str describe(const teskpf::Diagnostic &d) {
    return text(d.file + ":" + std::to_string(d.line) + ":" + std::to_string(d.column) + ": " +
                teskpf::severityName(d.severity) + ": " + d.message + " [" + d.rule + "]");
}

}  // namespace

void bindTools(py::module_ &module) {
    // Reading, locking and saving let other Python threads run meanwhile.
    const py::call_guard<py::gil_scoped_release> released;
    py::class_<teskpf::Diagnostic>(module, "Diagnostic", "One problem found in one file; locations are 1-based.")
        .def_property_readonly("file", [](const teskpf::Diagnostic &d) { return path(d.file); })
        .def_readonly("line", &teskpf::Diagnostic::line)
        .def_readonly("column", &teskpf::Diagnostic::column)
        .def_property_readonly("severity", [](const teskpf::Diagnostic &d) { return teskpf::severityName(d.severity); })
        .def_property_readonly("rule", [](const teskpf::Diagnostic &d) { return text(d.rule); })
        .def_property_readonly("message", [](const teskpf::Diagnostic &d) { return text(d.message); })
        .def_property_readonly("key", [](const teskpf::Diagnostic &d) { return text(d.key); })
        .def("__repr__", &describe);
    py::class_<teskpf::NamedFiles>(module, "NamedFiles", "The files an argument names, and why.")
        .def_property_readonly(
            "form",
            [](const teskpf::NamedFiles &n) { return n.form == teskpf::NamedFiles::Form::Name ? "name" : "path"; })
        .def_readonly("itself", &teskpf::NamedFiles::itself)
        .def_property_readonly("files",
                               [](const teskpf::NamedFiles &n) {
                                   py::list files;
                                   for (const std::string &file : n.files) files.append(path(file));
                                   return files;
                               })
        .def_property_readonly("why", [](const teskpf::NamedFiles &n) { return text(n.why); });
    module.def(
        "named_files", [](const Path &name) { return teskpf::namedFiles(name.bytes); }, py::arg("name"), released);
    module.def(
        "named_file", [](const Path &name) { return path(teskpf::namedFile(name.bytes)); }, py::arg("name"));
    // `disable`: the rules left out (CheckOptions::disabled_rules).
    module.def(
        "check_file",
        [](const Path &file, std::vector<std::string> disable) {
            return teskpf::checkFile(file.bytes, {std::move(disable)});
        },
        py::arg("path"), py::arg("disable") = std::vector<std::string>(), released);
    module.def(
        "check_name",
        [](const Text &name, std::vector<std::string> disable) {
            return teskpf::checkName(name.bytes, {std::move(disable)});
        },
        py::arg("name"), py::arg("disable") = std::vector<std::string>(), released);
    module.def("rule_ids", &teskpf::ruleIds);

    py::class_<teskpf::Editor>(module, "Editor", "Edits one file, changing only the bytes an edit concerns.")
        .def_static("open_locked", &openLocked, py::arg("path"), py::arg("timeout") = py::none())
        .def_property_readonly("text", [](const teskpf::Editor &e) { return text(e.text()); })
        .def_property_readonly(
            "data", [](const teskpf::Editor &e) { return py::bytes(e.text()); }, "The content's bytes, edits included.")
        .def_property_readonly("changed", &teskpf::Editor::changed)
        .def(
            "set_value",
            [](teskpf::Editor &e, const Text &key_path, const Text &value) { e.setValue(key_path.bytes, value.bytes); },
            py::arg("key_path"), py::arg("value"))
        .def(
            "set_comment",
            [](teskpf::Editor &e, const Text &key_path, const Text &comment) {
                e.setComment(key_path.bytes, comment.bytes);
            },
            py::arg("key_path"), py::arg("comment"))
        .def(
            "add",
            [](teskpf::Editor &e, const Text &key_path, const Text &value, const Text &comment) {
                e.add(key_path.bytes, value.bytes, comment.bytes);
            },
            py::arg("key_path"), py::arg("value"), py::arg("comment") = "")
        .def(
            "remove", [](teskpf::Editor &e, const Text &key_path) { e.remove(key_path.bytes); }, py::arg("key_path"))
        .def("save", &teskpf::Editor::save, released);
}

}  // namespace teskpf_python
