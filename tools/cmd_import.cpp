// teskpf import FILE.json [-o FILE.pf]: a parameter file from a JSON object.
#include <cctype>
#include <iostream>
#include <vector>

#include <TeskPf.h>
#include <teskpf/document.h>

#include "command.h"
#include "json_input.h"
#include "json_output.h"
#include "param_files.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// A member's place as jq writes it: .name, ["odd name"] or [3].
std::string memberPath(const std::string &parent, const std::string &name) {
    bool plain = !name.empty() && !std::isdigit(static_cast<unsigned char>(name[0]));
    for (char c : name) plain = plain && (std::isalnum(static_cast<unsigned char>(c)) || c == '_');
    return parent + (plain ? "." + name
                           : (parent.empty() ? ".[" : "[") +
                                 Json(name).dump(-1, ' ', false, Json::error_handler_t::replace) + "]");
}

[[noreturn]] void refuse(const std::string &path, const std::string &why) {
    throw ToolError("import: cannot represent " + (path.empty() ? std::string(".") : path) + ": " + why, kExitFailed);
}

bool hasControl(const std::string &text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return true;
    return false;
}

bool isBlank(char c) { return c == ' ' || c == '\t'; }

void checkKey(const std::string &key, const std::string &path) {
    if (key.empty()) refuse(path, "an empty key");
    if (hasControl(key)) refuse(path, "a key with a line break or control character");
    for (char c : key)
        if (isBlank(c)) refuse(path, "a key with a blank");
    if (key.find('#') != std::string::npos) refuse(path, "a key with '#', which starts a comment");
    if (key.find('[') != std::string::npos) refuse(path, "a key with '[', which is written without its name");
    if (key[0] == '}') refuse(path, "a key starting with '}', which closes a block");
}

// The text of a scalar as a value line holds it.
std::string valueText(const Json &value, const std::string &path, bool in_list) {
    if (value.is_null()) refuse(path, "null has no parameter-file value");
    std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    if (hasControl(text)) refuse(path, "a value with a line break, tab or control character");
    if (!text.empty() && (isBlank(text.front()) || isBlank(text.back())))
        refuse(path, "a value with blanks at either end, which reading trims");
    if (text.empty() && in_list) refuse(path, "an empty list item, which is written as an empty line");
    if (!text.empty() && text[0] == '}') refuse(path, "a value starting with '}', which closes a block");
    if (text.rfind("&Arr", 0) == 0 || text.rfind("&Tbl", 0) == 0) refuse(path, "a value that opens a block");
    return text;
}

// The top-level key whose value writing replaces by the time of writing.
const std::string kRevisionKey = "pf_revision_time";

struct Frame {
    const Json *container;
    Json::const_iterator next;
    std::string path;
    size_t position = 0;  // of `next` in the container
};

// The parameter-file text of `json`, one line per member, nested blocks
// indented by two blanks; walked with a stack, not recursion.
std::string parameterText(const Json &json) {
    if (!json.is_object()) refuse("", "the JSON must be an object (the top-level keys)");
    std::string text;
    std::vector<Frame> stack{{&json, json.begin(), ""}};
    while (!stack.empty()) {
        Frame &frame = stack.back();
        const std::string indent(2 * (stack.size() - 1), ' ');
        if (frame.next == frame.container->end()) {
            stack.pop_back();
            if (!stack.empty()) text += std::string(2 * (stack.size() - 1), ' ') + "}\n";
            continue;
        }
        const bool in_list = frame.container->is_array();
        const size_t position = frame.position++;
        const std::string path =
            in_list ? frame.path + "[" + std::to_string(position) + "]" : memberPath(frame.path, frame.next.key());
        std::string line = indent;
        if (!in_list) {
            checkKey(frame.next.key(), path);
            if (stack.size() == 1 && frame.next.key() == kRevisionKey && frame.next->is_structured())
                refuse(path, "a block pf_revision_time, which writing replaces by the time of writing");
            line += frame.next.key() + " ";
        }
        const Json &value = *frame.next;
        ++frame.next;
        if (value.is_object() || value.is_array()) {
            text += line + (value.is_object() ? "&Arr{\n" : "&Tbl{\n");
            stack.push_back({&value, value.begin(), path});
            continue;
        }
        const std::string written = TeskPf::escapeValue(valueText(value, path, in_list));
        if (written.empty()) line.pop_back();
        text += line + written + "\n";
    }
    return text;
}

// `json` with every scalar as its text: what exporting the written file gives.
Json asExported(const Json &json) {
    if (json.is_object()) {
        Json out = Json::object();
        // The keys are already unique: appended, not looked up.
        Json::object_t &members = out.get_ref<Json::object_t &>();
        for (const auto &[key, value] : json.items()) members.emplace_back(key, asExported(value));
        return out;
    }
    if (json.is_array()) {
        Json out = Json::array();
        for (const Json &value : json) out.push_back(asExported(value));
        return out;
    }
    return json.is_string() ? json : Json(json.dump());
}

int runImport(const CommandLine &line) {
    const std::string &file = line.positional[0];
    const Json json = parseOrderedJson(readFileOrStandardInput(file), file);
    const std::string name = line.has("-o") ? line.value("-o") : "<import>";
    const teskpf::Document document = teskpf::Document::parse(parameterText(json), name);
    // The written file must export as the JSON it came from.
    Json exported = nodeJson(document.root(), {});
    Json expected = asExported(json);
    exported.erase(kRevisionKey);
    expected.erase(kRevisionKey);
    if (exported != expected) throw ToolError("import: the JSON does not survive as a parameter file", kExitFailed);
    printOrWriteText(document.toString(), line, true);  // {} is the empty file
    return kExitOk;
}

}  // namespace

Command importCommand() {
    return {"import",
            "import FILE.json|- [-o FILE.pf]",
            "write a parameter file from a JSON object",
            "Reads one JSON object (\"-\" reads standard input) and writes it as a\n"
            "parameter file to standard output, or atomically to FILE.pf with -o:\n"
            "an object becomes an \"&Arr{\" block, an array an \"&Tbl{\" list, a\n"
            "string, number or truth value a value (numbers and truth values as\n"
            "JSON writes them). 'teskpf export' of the result gives the JSON back,\n"
            "every value a string. What a parameter file cannot hold is refused,\n"
            "naming its place as jq does (.servers[0].name), with exit status 1:\n"
            "null, a value with a line break, tab or blanks at either end, an\n"
            "empty list item, a value starting with '}' or opening a block, and an\n"
            "empty key or one holding a blank, '#' or '['. A top-level\n"
            "pf_revision_time gets the time of writing, as every write gives it.\n",
            {{{"-o", true, true}}, {"FILE"}, 1, false},
            runImport,
            "teskpf import station.json -o station.pf"};
}

}  // namespace teskpf_tool
