// The classic TeskPf class, member for member, for code ported from C++:
// pointer out-arguments become returned tuples and tables become lists.
// getPf is left out: its Pf tree is a C structure Python cannot use.
#include <climits>
#include <optional>

#include <pybind11/stl.h>

#include <TeskPf.h>
#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

py::list listOf(const Table<std::string> &table) {
    py::list list;
    for (const std::string &item : table) list.append(text(item));
    return list;
}

py::list listOf(const Table<int> &table) {
    py::list list;
    for (int item : table) list.append(item);
    return list;
}

// The classic class's overloads by key and by index under one Python name:
// an int is an index (one beyond int's range an index of no entry), a str or
// bytes a key path; anything else is a TypeError.
template <class ByKey, class ByIndex>
auto byKeyOrIndex(const py::handle &where, ByKey by_key, ByIndex by_index) -> decltype(by_index(0)) {
    if (PyLong_Check(where.ptr())) {
        int overflow = 0;
        const long long index = PyLong_AsLongLongAndOverflow(where.ptr(), &overflow);
        if (overflow != 0 || index < INT_MIN || index > INT_MAX) return by_index(-1);
        return by_index(static_cast<int>(index));
    }
    py::detail::make_caster<Text> key;
    if (!key.load(where, true))
        throw py::type_error("key must be a str (key path) or an int (entry index), not " +
                             std::string(Py_TYPE(where.ptr())->tp_name));
    return by_key(py::detail::cast_op<Text &>(key).bytes);
}

}  // namespace

void bindClassic(py::module_ &module) {
    using Key = const py::object &;
    // Reading and writing files let other Python threads run meanwhile.
    py::class_<TeskPf>(module, "TeskPf", "The classic handle; keys are key paths or entry indices.")
        .def(py::init([](const Text &name, int type) {
                 py::gil_scoped_release reading;
                 return TeskPf(name.bytes, type);
             }),
             py::arg("name"), py::arg("type") = 0)
        .def("size", &TeskPf::size)
        .def("display", [](const TeskPf &pf) { pf.display(); })
        .def("getList",
             [](const TeskPf &pf) {
                 py::list rows;
                 for (const Table<std::string> &entry : pf.getList()) rows.append(listOf(entry));
                 return rows;
             })
        .def("getEntry",
             [](const TeskPf &pf, Key k) {
                 return listOf(byKeyOrIndex(
                     k, [&](const std::string &key) { return pf.getEntry(key); },
                     [&](int index) { return pf.getEntry(index); }));
             })
        .def("getSource",
             [](const TeskPf &pf, Key k) {
                 return path(byKeyOrIndex(
                     k, [&](const std::string &key) { return pf.getSource(key); },
                     [&](int index) { return pf.getSource(index); }));
             })
        .def("getLevel",
             [](const TeskPf &pf, Key k) {
                 return byKeyOrIndex(
                     k, [&](const std::string &key) { return pf.getLevel(key); },
                     [&](int index) { return pf.getLevel(index); });
             })
        .def("getKey", [](const TeskPf &pf, int index) { return text(pf.getKey(index)); })
        .def(
            "getValue",
            [](const TeskPf &pf, Key k) {
                bool ok = false;
                Table<int> types;
                std::string value = byKeyOrIndex(
                    k, [&](const std::string &key) { return pf.getValue(key, &ok, &types); },
                    [&](int index) { return pf.getValue(index, &ok, &types); });
                return py::make_tuple(text(value), ok, listOf(types));
            },
            "(value, ok, types); ('', False, []) for a missing key.")
        .def(
            "checkValue",
            [](const TeskPf &pf, Key k, std::optional<Text> invalue) {
                Table<int> types;
                std::string *proposal = invalue ? &invalue->bytes : nullptr;
                bool ok = byKeyOrIndex(
                    k, [&](const std::string &key) { return pf.checkValue(key, proposal, &types); },
                    [&](int index) { return pf.checkValue(index, proposal, &types); });
                return py::make_tuple(ok, listOf(types));
            },
            py::arg("key"), py::arg("invalue") = py::none(), "(ok, types); (False, []) for a missing key.")
        .def("getComment",
             [](const TeskPf &pf, Key k) {
                 return text(byKeyOrIndex(
                     k, [&](const std::string &key) { return pf.getComment(key); },
                     [&](int index) { return pf.getComment(index); }));
             })
        .def(
            "getConstraints",
            [](const TeskPf &pf, Key k) {
                bool ok = false;
                std::string constraints = byKeyOrIndex(
                    k, [&](const std::string &key) { return pf.getConstraints(key, &ok); },
                    [&](int index) { return pf.getConstraints(index, &ok); });
                return py::make_tuple(text(constraints), ok);
            },
            "(text, parsed); ('', False) for a missing key.")
        .def("getEntryIndex", [](const TeskPf &pf, const Text &key) { return pf.getEntryIndex(key.bytes); })
        .def("getPfString", [](const TeskPf &pf) { return text(pf.getPfString()); })
        .def(
            "setValue",
            [](TeskPf &pf, Key k, const Text &value, int callback_flag) {
                byKeyOrIndex(
                    k, [&](const std::string &key) { pf.setValue(key, value.bytes, callback_flag); },
                    [&](int index) { pf.setValue(index, value.bytes, callback_flag); });
            },
            py::arg("key"), py::arg("value"), py::arg("callback_flag") = 0)
        .def("setComment",
             [](TeskPf &pf, Key k, const Text &comment) {
                 byKeyOrIndex(
                     k, [&](const std::string &key) { pf.setComment(key, comment.bytes); },
                     [&](int index) { pf.setComment(index, comment.bytes); });
             })
        .def(
            "write",
            [](const TeskPf &pf, const Path &pffile) {
                std::string name = pffile.bytes;
                {
                    py::gil_scoped_release writing;
                    pf.write(name);
                }
                return path(name);
            },
            "Writes the text; returns the file name used (\".pf\" appended when missing).")
        .def_static("key2Perl", [](const Text &key) { return text(TeskPf::key2Perl(key.bytes)); })
        .def_static("key2Pfkey", [](const Text &key) { return text(TeskPf::key2Pfkey(key.bytes)); })
        .def_static("key2Table", [](const Text &key) { return listOf(TeskPf::key2Table(key.bytes)); })
        .def_static("escapeValue", [](const Text &value) { return text(TeskPf::escapeValue(value.bytes)); })
        .def_static("unescapeValue", [](const Text &value) { return text(TeskPf::unescapeValue(value.bytes)); });
}

}  // namespace teskpf_python
