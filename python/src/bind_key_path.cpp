// Key paths through the library's parser and printer, so that the package
// spells no key path of its own.
#include <teskpf/key_path.h>

#include "bindings.h"

namespace py = pybind11;

namespace teskpf_python {

namespace {

// A tuple of names (str) and list positions (int) as key-path components;
// any other part stands for its str().
std::vector<teskpf::KeyPathComponent> componentsOf(const py::tuple &parts) {
    std::vector<teskpf::KeyPathComponent> components;
    components.reserve(parts.size());
    for (py::handle part : parts) {
        if (py::isinstance<py::int_>(part) && !py::isinstance<py::bool_>(part)) {
            const long position = part.cast<long>();
            if (position < 0)
                throw teskpf::KeyPathError("list position " + std::to_string(position) + " is negative", 0);
            components.push_back({{}, position});
        } else {
            py::object named = py::isinstance<py::str>(part) || py::isinstance<py::bytes>(part)
                                   ? py::reinterpret_borrow<py::object>(part)
                                   : py::str(part);
            components.push_back({named.cast<Text>().bytes, -1});
        }
    }
    return components;
}

}  // namespace

void bindKeyPath(py::module_ &module) {
    module.def(
        "key_path", [](const py::tuple &parts) { return text(teskpf::formatKeyPath(componentsOf(parts))); },
        py::arg("key"));
    module.def(
        "key_path", [](const Text &key) { return text(teskpf::keyPathArgument(key.bytes)); }, py::arg("key"),
        "The key path of a key: a tuple of names (str) and list positions (int), a key path\n"
        "such as '[\"a\"][0]' as it is, or a top-level name ('a' is '[\"a\"]').");
    module.def(
        "parse_key_path",
        [](const Text &path) {
            const std::vector<teskpf::KeyPathComponent> components = teskpf::parseKeyPath(path.bytes);
            py::tuple parts(components.size());
            for (size_t i = 0; i < components.size(); ++i)
                parts[i] = components[i].isPosition() ? py::object(py::int_(components[i].position))
                                                      : py::object(text(components[i].name));
            return parts;
        },
        py::arg("path"),
        "The components of a key path: names (str) and list positions (int). Raises\n"
        "teskpf.Error, saying where, for text that is not a key path.");
}

}  // namespace teskpf_python
