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
// encodes to the very same bytes. An argument may also be bytes (or, as for
// Path, an os.PathLike).
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
// Key paths: the library's parser and printer.
void bindKeyPath(pybind11::module_ &module);
// The classic TeskPf class, out-pointers turned into returned tuples.
void bindClassic(pybind11::module_ &module);
// The watcher, its events and key changes.
void bindWatch(pybind11::module_ &module);

}  // namespace teskpf_python

namespace pybind11::detail {

// Reads a str (encoded by `encode`), bytes or os.PathLike into `bytes`;
// false for any other object and for a str that does not encode.
bool loadBytes(handle source, std::string &bytes, PyObject *(*encode)(PyObject *));
// str.encode("utf-8", "surrogateescape").
PyObject *encodeText(PyObject *str);

template <class Wrapped, str (*decode)(std::string_view), PyObject *(*encode)(PyObject *)>
struct bytes_caster {
    PYBIND11_TYPE_CASTER(Wrapped, const_name("str"));
    bool load(handle source, bool) { return loadBytes(source, value.bytes, encode); }
    static handle cast(const Wrapped &wrapped, return_value_policy, handle) { return decode(wrapped.bytes).release(); }
};

template <>
struct type_caster<teskpf_python::Text> : bytes_caster<teskpf_python::Text, teskpf_python::text, encodeText> {};
template <>
struct type_caster<teskpf_python::Path>
    : bytes_caster<teskpf_python::Path, teskpf_python::path, PyUnicode_EncodeFSDefault> {};

}  // namespace pybind11::detail
