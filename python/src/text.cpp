// How the bytes of files become str and back (see Text and Path).
#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

py::str decoded(PyObject *made) {
    if (!made) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(made);
}

}  // namespace

py::str text(std::string_view bytes) {
    return decoded(PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape"));
}

py::str path(std::string_view bytes) {
    return decoded(PyUnicode_DecodeFSDefaultAndSize(bytes.data(), static_cast<Py_ssize_t>(bytes.size())));
}

py::list texts(const std::vector<std::string> &each) {
    py::list list;
    for (const std::string &one : each) list.append(text(one));
    return list;
}

}  // namespace teskpf_python

namespace pybind11::detail {

PyObject *encodeText(PyObject *str) { return PyUnicode_AsEncodedString(str, "utf-8", "surrogateescape"); }

bool loadBytes(handle source, std::string &bytes, PyObject *(*encode)(PyObject *)) {
    // str and bytes stay as they are; an os.PathLike gives its path.
    object named = reinterpret_steal<object>(PyOS_FSPath(source.ptr()));
    if (!named) {
        PyErr_Clear();
        return false;
    }
    PyObject *raw = named.ptr();
    if (PyUnicode_Check(raw)) {
        named = reinterpret_steal<object>(encode(raw));
        if (!named) {  // a lone surrogate that no byte stands for
            PyErr_Clear();
            return false;
        }
        raw = named.ptr();
    }
    bytes.assign(PyBytes_AS_STRING(raw), static_cast<size_t>(PyBytes_GET_SIZE(raw)));
    return true;
}

}  // namespace pybind11::detail
