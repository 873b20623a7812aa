// The watcher as the teskpf package drives it from Python: its descriptor is
// waited on by Python (select, which lets Ctrl-C through), process() does
// what is due with the GIL released, current() hands out the document in
// effect.
#include <pybind11/stl.h>

#include <memory>

#include <teskpf/watch.h>

#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

std::chrono::milliseconds milliseconds(long count) { return std::chrono::milliseconds(count); }

// The snapshot as the Document binding holds it. Python's views only read it.
std::shared_ptr<teskpf::Document> shared(std::shared_ptr<const teskpf::Document> document) {
    return std::const_pointer_cast<teskpf::Document>(std::move(document));
}

}  // namespace

void bindWatch(py::module_ &module) {
    const py::call_guard<py::gil_scoped_release> released;
    py::class_<teskpf::KeyChange>(module, "KeyChange", "One key path whose value a reload changed.")
        .def_property_readonly("key", [](const teskpf::KeyChange &c) { return text(c.key); })
        .def_property_readonly("change", [](const teskpf::KeyChange &c) { return teskpf::changeKindName(c.change); })
        .def_property_readonly("old", [](const teskpf::KeyChange &c) { return text(c.old_value); })
        .def_property_readonly("new", [](const teskpf::KeyChange &c) { return text(c.new_value); })
        .def_property_readonly("file", [](const teskpf::KeyChange &c) { return path(c.file); })
        .def_readonly("line", &teskpf::KeyChange::line)
        .def("__repr__", [](const teskpf::KeyChange &c) {
            return text(std::string(teskpf::changeKindName(c.change)) + " " + c.key + ": '" + c.old_value + "' -> '" +
                        c.new_value + "' (" + c.file + ":" + std::to_string(c.line) + ")");
        });
    py::class_<teskpf::WatchEvent>(module, "WatchEvent", "The outcome of a reload: accepted changes, or a rejection.")
        .def_property_readonly("event", [](const teskpf::WatchEvent &e) { return teskpf::watchEventName(e.kind); })
        .def_property_readonly("accepted",
                               [](const teskpf::WatchEvent &e) { return e.kind == teskpf::WatchEvent::Kind::Changed; })
        .def_property_readonly("files",
                               [](const teskpf::WatchEvent &e) {
                                   py::list files;
                                   for (const std::string &file : e.files) files.append(path(file));
                                   return files;
                               })
        .def_readonly("changes", &teskpf::WatchEvent::changes)
        .def_readonly("diagnostics", &teskpf::WatchEvent::diagnostics)
        .def_property_readonly("error", [](const teskpf::WatchEvent &e) { return text(e.error); })
        .def("__repr__", [](const teskpf::WatchEvent &e) {
            return text("<WatchEvent " + std::string(teskpf::watchEventName(e.kind)) + ": " +
                        std::to_string(e.changes.size()) + " changes, " + std::to_string(e.diagnostics.size()) +
                        " diagnostics>");
        });
    py::class_<teskpf::Watcher>(module, "Watcher", "Reloads the files a name stands for as they change.")
        .def(py::init([](const Path &name, long settle_ms, long poll_ms) {
                 teskpf::WatchOptions options;
                 options.settle = milliseconds(settle_ms);
                 options.poll = milliseconds(poll_ms);
                 return std::make_unique<teskpf::Watcher>(name.bytes, options);
             }),
             py::arg("name"), py::arg("settle_ms"), py::arg("poll_ms"), released)
        .def("fd", &teskpf::Watcher::fd)
        .def("process", &teskpf::Watcher::process, released)
        .def("current", [](const teskpf::Watcher &w) { return shared(w.current()); })
        .def("initial", &teskpf::Watcher::initial, py::return_value_policy::copy)
        .def("polling", &teskpf::Watcher::polling);
}

}  // namespace teskpf_python
