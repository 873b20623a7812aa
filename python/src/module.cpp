// The extension module: errors first, so that every later part may raise them.
#include <optional>
#include <string>
#include <system_error>

#include <teskpf/error.h>

#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

// The errno value of `code`; 0 for a reason of the library's own.
int errnoOf(std::error_code code) {
    const std::error_category &category = code.category();
    return category == std::generic_category() || category == std::system_category() ? code.value() : 0;
}

// Raises `type` for `error`: str() its message, with its file and line, and
// for an IoError its errno value.
void raiseFor(const py::handle &type, const teskpf::Error &error, std::optional<int> errno_value = std::nullopt) {
    try {
        py::object raised = type(text(error.what()));
        raised.attr("file") = path(error.file());
        raised.attr("line") = error.line();
        if (errno_value) raised.attr("errno") = *errno_value;
        PyErr_SetObject(type.ptr(), raised.ptr());
    } catch (py::error_already_set &failed) {  // making it failed (no memory, say): raise that
        failed.restore();
    }
}

}  // namespace

void bindErrors(py::module_ &module) {
    static py::exception<teskpf::Error> error(module, "Error", PyExc_Exception);
    static py::exception<teskpf::IoError> io_error(module, "IoError", error.ptr());
    static py::exception<teskpf::EditError> edit_error(module, "EditError", error.ptr());
    // What an error raised without them (by the classic class, or made in
    // Python) has.
    error.attr("file") = py::str("");
    error.attr("line") = 0;
    io_error.attr("errno") = 0;
    error.doc() =
        "An error of the teskpf library. str() is its message; file is the file it concerns\n"
        "(\"\" when none) and line the 1-based line (0 when none).";
    io_error.doc() =
        "A file could not be read, written, locked or saved. errno is the system's reason\n"
        "(an errno value such as errno.ENOENT), 0 when the reason is the library's own.";
    edit_error.doc() =
        "An edit was refused and nothing was changed; line is that of the entry it\n"
        "concerns (0 when there is none, e.g. a missing key).";
    // Translators run latest first: the subclasses before their base.
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const teskpf::IoError &e) {
            raiseFor(io_error, e, errnoOf(e.code()));
        } catch (const teskpf::EditError &e) {
            raiseFor(edit_error, e);
        } catch (const teskpf::Error &e) {
            raiseFor(error, e);
        } catch (const std::string &message) {  // the classic class's errors
            raiseFor(error, teskpf::Error(message));
        }
    });
}

}  // namespace teskpf_python

PYBIND11_MODULE(_teskpf, module) {
    module.doc() = "Bindings of the teskpf C++ library; use the teskpf package.";
    // The project's version, as CMake's project() states it.
    module.attr("__version__") = TESKPF_VERSION;
    teskpf_python::bindErrors(module);
    teskpf_python::bindDocument(module);
    teskpf_python::bindTools(module);
    teskpf_python::bindClassic(module);
    teskpf_python::bindWatch(module);
    teskpf_python::bindKeyPath(module);
}
