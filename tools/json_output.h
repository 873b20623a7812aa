// Documents, blocks and values as JSON, for the --json options and export.
#pragma once

#include <ostream>

#include <teskpf/node.h>
#include <nlohmann/json.hpp>

#include "cli_args.h"

namespace teskpf_tool {

// Objects keep their keys in file order.
using Json = nlohmann::ordered_json;

struct JsonOptions {
    bool typed = false;        // values converted by the annotation in effect
    bool with_origin = false;  // each value as {"value", "file", "line"}
};

// The options --typed and --with-origin of `line`.
JsonOptions jsonOptions(const CommandLine &line);

// A block as an object, a list as an array, a value as a string (or, typed,
// as the number or array of fields its annotation reads). Built without
// recursion, so any nesting that reading accepts converts.
Json nodeJson(const teskpf::Node &node, const JsonOptions &options);

// `json` indented by two, invalid UTF-8 replaced by U+FFFD, and a line end.
void printJson(const Json &json, std::ostream &out);

// `json` on one line, invalid UTF-8 replaced by U+FFFD, a line end, flushed:
// one record of a stream that a reader takes in line by line.
void printJsonLine(const Json &json, std::ostream &out);

}  // namespace teskpf_tool
