// The parts of the teskpf._teskpf extension module, one per area.
#pragma once

#include <pybind11/pybind11.h>

namespace teskpf_python {

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
