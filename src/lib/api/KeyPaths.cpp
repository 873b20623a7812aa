#include <teskpf/key_path.h>

#include "syntax/KeyPathSyntax.h"

namespace teskpf {

std::vector<KeyPathComponent> parseKeyPath(std::string_view path) {
    const syntax::ParsedPath parsed = syntax::parse(path);
    if (!parsed.ok())
        throw KeyPathError("not a key path: expected " + std::string(parsed.error) + " at offset " +
                               std::to_string(parsed.error_offset),
                           parsed.error_offset);
    std::vector<KeyPathComponent> components;
    components.reserve(parsed.components.size());
    for (const syntax::Component &c : parsed.components) components.push_back({std::string(c.name), c.position});
    return components;
}

std::string formatKeyPath(const std::vector<KeyPathComponent> &components) {
    std::vector<syntax::Component> viewed;
    viewed.reserve(components.size());
    for (const KeyPathComponent &c : components) {
        if (c.position > syntax::kMaxPosition)
            throw KeyPathError(
                "list position " + std::to_string(c.position) + " is beyond " + std::to_string(syntax::kMaxPosition),
                0);
        viewed.push_back({c.name, c.position < 0 ? -1 : c.position});
    }
    return syntax::print(viewed);
}

std::string parseKeyArgument(std::string_view key) {
    syntax::ArgumentPath read = syntax::readArgument(key);
    if (!read.ok())
        throw KeyPathError(
            "not a key path: expected " + std::string(read.error) + " at offset " + std::to_string(read.error_offset),
            read.error_offset);
    return std::move(read.path);
}

std::string keyPathArgument(std::string_view key) { return syntax::fromArgument(key); }

}  // namespace teskpf
