// The classic TeskPf class, member for member, for code ported from C++:
// pointer out-arguments become returned tuples and tables become lists.
// getPf is left out: its Pf tree is a C structure Python cannot use.
#include <optional>

#include <pybind11/stl.h>

#include <TeskPf.h>
#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

template <class T>
std::vector<T> listOf(const Table<T> &table) {
    return std::vector<T>(table.begin(), table.end());
}

// The classic class's overloads by key and by index under one Python name.
template <class Result, class ByKey, class ByIndex>
Result byKeyOrIndex(const py::object &where, ByKey by_key, ByIndex by_index) {
    if (py::isinstance<py::int_>(where)) return by_index(where.cast<int>());
    return by_key(where.cast<std::string>());
}

}  // namespace

void bindClassic(py::module_ &module) {
    using Key = const py::object &;
    py::class_<TeskPf>(module, "TeskPf", "The classic handle; keys are key paths or entry indices.")
        .def(py::init<std::string, int>(), py::arg("name"), py::arg("type") = 0)
        .def("size", &TeskPf::size)
        .def("display", [](const TeskPf &pf) { pf.display(); })
        .def("getList",
             [](const TeskPf &pf) {
                 std::vector<std::vector<std::string>> rows;
                 for (const Table<std::string> &entry : pf.getList()) rows.push_back(listOf(entry));
                 return rows;
             })
        .def("getEntry",
             [](const TeskPf &pf, Key k) {
                 return listOf(byKeyOrIndex<Table<std::string>>(
                     k, [&](const std::string &key) { return pf.getEntry(key); },
                     [&](int index) { return pf.getEntry(index); }));
             })
        .def("getSource",
             [](const TeskPf &pf, Key k) {
                 return byKeyOrIndex<std::string>(
                     k, [&](const std::string &key) { return pf.getSource(key); },
                     [&](int index) { return pf.getSource(index); });
             })
        .def("getLevel",
             [](const TeskPf &pf, Key k) {
                 return byKeyOrIndex<int>(
                     k, [&](const std::string &key) { return pf.getLevel(key); },
                     [&](int index) { return pf.getLevel(index); });
             })
        .def("getKey", &TeskPf::getKey)
        .def(
            "getValue",
            [](const TeskPf &pf, Key k) {
                bool ok = false;
                Table<int> types;
                std::string value = byKeyOrIndex<std::string>(
                    k, [&](const std::string &key) { return pf.getValue(key, &ok, &types); },
                    [&](int index) { return pf.getValue(index, &ok, &types); });
                return py::make_tuple(value, ok, listOf(types));
            },
            "(value, ok, types); ('', False, []) for a missing key.")
        .def(
            "checkValue",
            [](const TeskPf &pf, Key k, std::optional<std::string> invalue) {
                Table<int> types;
                std::string *proposal = invalue ? &*invalue : nullptr;
                bool ok = byKeyOrIndex<bool>(
                    k, [&](const std::string &key) { return pf.checkValue(key, proposal, &types); },
                    [&](int index) { return pf.checkValue(index, proposal, &types); });
                return py::make_tuple(ok, listOf(types));
            },
            py::arg("key"), py::arg("invalue") = py::none(), "(ok, types); (False, []) for a missing key.")
        .def("getComment",
             [](const TeskPf &pf, Key k) {
                 return byKeyOrIndex<std::string>(
                     k, [&](const std::string &key) { return pf.getComment(key); },
                     [&](int index) { return pf.getComment(index); });
             })
        .def(
            "getConstraints",
            [](const TeskPf &pf, Key k) {
                bool ok = false;
                std::string text = byKeyOrIndex<std::string>(
                    k, [&](const std::string &key) { return pf.getConstraints(key, &ok); },
                    [&](int index) { return pf.getConstraints(index, &ok); });
                return py::make_tuple(text, ok);
            },
            "(text, parsed); ('', False) for a missing key.")
        .def("getEntryIndex", &TeskPf::getEntryIndex)
        .def("getPfString", &TeskPf::getPfString)
        .def(
            "setValue",
            [](TeskPf &pf, Key k, std::string value, int callback_flag) {
                if (py::isinstance<py::int_>(k))
                    pf.setValue(k.cast<int>(), std::move(value), callback_flag);
                else
                    pf.setValue(k.cast<std::string>(), std::move(value), callback_flag);
            },
            py::arg("key"), py::arg("value"), py::arg("callback_flag") = 0)
        .def("setComment",
             [](TeskPf &pf, Key k, std::string comment) {
                 if (py::isinstance<py::int_>(k))
                     pf.setComment(k.cast<int>(), std::move(comment));
                 else
                     pf.setComment(k.cast<std::string>(), std::move(comment));
             })
        .def(
            "write",
            [](const TeskPf &pf, std::string pffile) {
                pf.write(pffile);
                return pffile;
            },
            "Writes the text; returns the file name used (\".pf\" appended when missing).")
        .def_static("key2Perl", &TeskPf::key2Perl)
        .def_static("key2Pfkey", &TeskPf::key2Pfkey)
        .def_static("key2Table", [](std::string key) { return listOf(TeskPf::key2Table(std::move(key))); })
        .def_static("escapeValue", &TeskPf::escapeValue)
        .def_static("unescapeValue", &TeskPf::unescapeValue);
}

}  // namespace teskpf_python
