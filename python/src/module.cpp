// The extension module: errors first, so that every later part may raise them.
#include <string>

#include <teskpf/error.h>

#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

void bindErrors(py::module_ &module) {
    static py::exception<teskpf::Error> error(module, "Error", PyExc_Exception);
    static py::exception<teskpf::IoError> io_error(module, "IoError", error.ptr());
    static py::exception<teskpf::EditError> edit_error(module, "EditError", error.ptr());
    // Translators run latest first: the subclasses before their base.
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const teskpf::IoError &e) {
            io_error(e.what());
        } catch (const teskpf::EditError &e) {
            edit_error(e.what());
        } catch (const teskpf::Error &e) {
            error(e.what());
        } catch (const std::string &message) {  // the classic class's errors
            error(message.c_str());
        }
    });
}

}  // namespace teskpf_python

PYBIND11_MODULE(_teskpf, module) {
    module.doc() = "Bindings of the teskpf C++ library; use the teskpf package.";
    teskpf_python::bindErrors(module);
    teskpf_python::bindDocument(module);
    teskpf_python::bindTools(module);
    teskpf_python::bindClassic(module);
}
