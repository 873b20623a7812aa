// Document and Node as the teskpf package walks them. A Node keeps the Python
// object it came from alive, and so its Document.
#include <pybind11/stl.h>

#include <teskpf/convert.h>
#include <teskpf/document.h>

#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

const char *originName(teskpf::AnnotationOrigin origin) {
    switch (origin) {
    case teskpf::AnnotationOrigin::Own: return "own";
    case teskpf::AnnotationOrigin::Enclosing: return "enclosing";
    case teskpf::AnnotationOrigin::Overridden: return "overridden";
    default: return "none";
    }
}

// The names of a block's members, in file order ("" for list items).
py::list memberNames(const teskpf::Node &node) {
    py::list names;
    for (teskpf::Member member : node) names.append(text(member.name));
    return names;
}

}  // namespace

void bindDocument(py::module_ &module) {
    const py::call_guard<py::gil_scoped_release> released;
    py::class_<teskpf::Verdict>(module, "Verdict", "A value's verdict against the annotation in effect.")
        .def_readonly("ok", &teskpf::Verdict::ok)
        .def_property_readonly("annotation", [](const teskpf::Verdict &v) { return text(v.annotation); })
        .def_property_readonly("origin", [](const teskpf::Verdict &v) { return originName(v.origin); })
        .def_property_readonly("where",
                               [](const teskpf::Verdict &v) { return std::make_pair(v.from.file, v.from.line); })
        .def_property_readonly("types",
                               [](const teskpf::Verdict &v) {
                                   std::vector<std::string> names;
                                   for (teskpf::ValueType type : v.types) names.emplace_back(teskpf::typeKeyword(type));
                                   return names;
                               })
        .def_property_readonly("message", [](const teskpf::Verdict &v) { return text(v.message); });

    py::class_<teskpf::Node>(module, "Node", "A place in a Document: the document, a block, a list or a value.")
        .def("__bool__", [](const teskpf::Node &n) { return static_cast<bool>(n); })
        .def("is_block", &teskpf::Node::isBlock)
        .def("is_list", &teskpf::Node::isList)
        .def("is_value", &teskpf::Node::isValue)
        .def(
            "member", [](const teskpf::Node &n, const Text &name) { return n[name.bytes]; }, py::keep_alive<0, 1>())
        .def(
            "item", [](const teskpf::Node &n, std::size_t i) { return n[i]; }, py::keep_alive<0, 1>())
        .def("size", &teskpf::Node::size)
        .def("names", &memberNames)
        .def("key_path", [](const teskpf::Node &n) { return text(n.keyPath()); })
        .def("name", [](const teskpf::Node &n) { return text(n.name()); })
        .def("level", &teskpf::Node::level)
        .def("source",
             [](const teskpf::Node &n) {
                 teskpf::Source source = n.source();
                 return py::make_tuple(path(source.file), source.line);
             })
        .def("comment", [](const teskpf::Node &n) { return text(n.comment()); })
        .def("annotation", [](const teskpf::Node &n) { return text(n.annotation()); })
        .def("text", [](const teskpf::Node &n) { return text(n.text()); })
        .def("fields", [](const teskpf::Node &n) { return texts(n.fields()); })
        .def("check", &teskpf::Node::check)
        .def("typed_fields", [](const teskpf::Node &n) -> std::optional<py::list> {
            std::optional<std::vector<teskpf::TypedField>> typed = n.typedFields();
            if (!typed) return std::nullopt;
            py::list fields;
            for (const teskpf::TypedField &field : *typed)
                std::visit(
                    [&](const auto &value) {
                        if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::string>)
                            fields.append(text(value));
                        else
                            fields.append(value);
                    },
                    field);
            return fields;
        });

    // Held by shared_ptr: a watcher's snapshot is shared with the watcher.
    py::class_<teskpf::Document, std::shared_ptr<teskpf::Document>>(
        module, "Document", "Parameter files read and merged like the classic class.")
        // Reading and parsing let other Python threads run meanwhile.
        .def_static(
            "load", [](const Text &name) { return teskpf::Document::load(name.bytes); }, py::arg("name"), released)
        .def_static(
            "load_file", [](const Path &file) { return teskpf::Document::loadFile(file.bytes); }, py::arg("path"),
            released)
        .def_static(
            "parse",
            [](const Text &content, const Path &name) { return teskpf::Document::parse(content.bytes, name.bytes); },
            py::arg("text"), py::arg("name") = "<string>", released)
        .def_property_readonly("files",
                               [](const teskpf::Document &d) {
                                   py::list files;
                                   for (const std::string &file : d.files()) files.append(path(file));
                                   return files;
                               })
        .def("root", &teskpf::Document::root, py::keep_alive<0, 1>())
        .def(
            "find", [](const teskpf::Document &d, const Text &key_path) { return d.find(key_path.bytes); },
            py::keep_alive<0, 1>());

    module.def(
        "to_integer", [](const Text &value) { return teskpf::toInteger(value.bytes); },
        "The integer a value stands for, as <int> reads it; None if none.");
    module.def(
        "to_float", [](const Text &value) { return teskpf::toFloat(value.bytes); },
        "The number a value stands for, as <float> reads it; None if none.");
    module.def(
        "to_bool", [](const Text &value) { return teskpf::toBool(value.bytes); },
        "True for true/yes/on/1, False for false/no/off/0 (any case); else None.");
}

}  // namespace teskpf_python
