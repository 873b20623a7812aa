// The parts of the teskpf._teskpf extension module, one per area, and how
// the bytes of files travel between C++ and Python.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <pybind11/pybind11.h>

namespace teskpf_python {

// Bytes of a file's text (a value, key, comment, message) as Python sees
// them: a str decoded as UTF-8, any byte that is not UTF-8 kept as a lone
// surrogate (the "surrogateescape" error handler), so that a str handed back
// encodes to the very same bytes. An argument may also be bytes.
struct Text {
    std::string bytes;
};
// A file name: decoded and encoded as os.fsdecode and os.fsencode do; an
// argument may be str, bytes or an os.PathLike.
struct Path {
    std::string bytes;
};

// `bytes` as a str, as Text and Path arrive in Python.
pybind11::str text(std::string_view bytes);
pybind11::str path(std::string_view bytes);
pybind11::list texts(const std::vector<std::string> &each);

// teskpf.Error, IoError and EditError, and the translation of the classic
// class's std::string errors into teskpf.Error.
void bindErrors(pybind11::module_ &module);
// Document, Node, Verdict and the conversions.
void bindDocument(pybind11::module_ &module);
// The diagnostics and the format-preserving editor.
void bindTools(pybind11::module_ &module);
// The classic TeskPf class, out-pointers turned into returned tuples.
void bindClassic(pybind11::module_ &module);

}  // namespace teskpf_python

namespace pybind11::detail {

// Reads a str (encoded by `encode`) or bytes into `bytes`; false for any
// other object and for a str that does not encode.
bool loadBytes(handle source, std::string &bytes, PyObject *(*encode)(PyObject *));

template <>
struct type_caster<teskpf_python::Text> {
    PYBIND11_TYPE_CASTER(teskpf_python::Text, const_name("str"));
    bool load(handle source, bool);
    static handle cast(const teskpf_python::Text &value, return_value_policy, handle) {
        return teskpf_python::text(value.bytes).release();
    }
};

template <>
struct type_caster<teskpf_python::Path> {
    PYBIND11_TYPE_CASTER(teskpf_python::Path, const_name("str"));
    bool load(handle source, bool);
    static handle cast(const teskpf_python::Path &value, return_value_policy, handle) {
        return teskpf_python::path(value.bytes).release();
    }
};

}  // namespace pybind11::detail
