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

const char *typeName(teskpf::ValueType type) {
    static const char *const names[] = {"str", "int", "float", "color", "font", "regex"};
    return names[static_cast<int>(type)];
}

// The names of a block's members, in file order ("" for list items).
std::vector<std::string> memberNames(const teskpf::Node &node) {
    std::vector<std::string> names;
    names.reserve(node.size());
    for (teskpf::Member member : node) names.emplace_back(member.name);
    return names;
}

}  // namespace

void bindDocument(py::module_ &module) {
    py::class_<teskpf::Verdict>(module, "Verdict", "A value's verdict against the annotation in effect.")
        .def_readonly("ok", &teskpf::Verdict::ok)
        .def_readonly("annotation", &teskpf::Verdict::annotation)
        .def_property_readonly("origin", [](const teskpf::Verdict &v) { return originName(v.origin); })
        .def_property_readonly("where",
                               [](const teskpf::Verdict &v) { return std::make_pair(v.from.file, v.from.line); })
        .def_property_readonly("types",
                               [](const teskpf::Verdict &v) {
                                   std::vector<std::string> names;
                                   for (teskpf::ValueType type : v.types) names.emplace_back(typeName(type));
                                   return names;
                               })
        .def_readonly("message", &teskpf::Verdict::message);

    py::class_<teskpf::Node>(module, "Node", "A place in a Document: the document, a block, a list or a value.")
        .def("__bool__", [](const teskpf::Node &n) { return static_cast<bool>(n); })
        .def("is_block", &teskpf::Node::is_block)
        .def("is_list", &teskpf::Node::is_list)
        .def("is_value", &teskpf::Node::is_value)
        .def(
            "member", [](const teskpf::Node &n, std::string_view name) { return n[name]; }, py::keep_alive<0, 1>())
        .def(
            "item", [](const teskpf::Node &n, std::size_t i) { return n[i]; }, py::keep_alive<0, 1>())
        .def("size", &teskpf::Node::size)
        .def("names", &memberNames)
        .def("key_path", &teskpf::Node::key_path)
        .def("name", [](const teskpf::Node &n) { return std::string(n.name()); })
        .def("level", &teskpf::Node::level)
        .def("source",
             [](const teskpf::Node &n) {
                 teskpf::Source source = n.source();
                 return py::make_tuple(source.file, source.line);
             })
        .def("comment", [](const teskpf::Node &n) { return std::string(n.comment()); })
        .def("annotation", [](const teskpf::Node &n) { return std::string(n.annotation()); })
        .def("text", [](const teskpf::Node &n) { return std::string(n.text()); })
        .def("fields", &teskpf::Node::fields)
        .def("check", &teskpf::Node::check);

    py::class_<teskpf::Document>(module, "Document", "Parameter files read and merged like the classic class.")
        .def_static("load", &teskpf::Document::load, py::arg("name"))
        .def_static("load_file", &teskpf::Document::loadFile, py::arg("path"))
        .def_static("parse", &teskpf::Document::parse, py::arg("text"), py::arg("name") = "<string>")
        .def_property_readonly("files", &teskpf::Document::files)
        .def("root", &teskpf::Document::root, py::keep_alive<0, 1>())
        .def("find", &teskpf::Document::find, py::keep_alive<0, 1>());

    module.def("to_integer", &teskpf::to_integer, "The integer a value stands for, as <int> reads it; None if none.");
    module.def("to_float", &teskpf::to_float, "The number a value stands for, as <float> reads it; None if none.");
    module.def("to_bool", &teskpf::to_bool, "True for true/yes/on/1, False for false/no/off/0 (any case); else None.");
}

}  // namespace teskpf_python
