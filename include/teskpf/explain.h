// Where a key of a layered parameter file comes from: every file's
// definition, the one in effect and why, and the annotation it is checked
// against. Locations are 1-based.
#pragma once

#include <string>
#include <vector>

#include <teskpf/export.h>
#include <teskpf/layer_text.h>

namespace teskpf {

// One definition of a key in one file.
struct KeyDefinition {
    std::string file;
    long line = 0;           // 1-based
    std::string value;       // as read: escapes removed; "&Arr"/"&Tbl" for a block
    std::string annotation;  // its own annotation text; "" when it has none
    bool in_effect = false;  // whether a lookup of the layered name finds this one
};

struct KeyExplanation {
    std::string key;                         // the key path explained
    std::vector<std::string> files;          // the files read, lowest precedence first
    std::vector<KeyDefinition> definitions;  // every definition, lowest precedence first
    std::string reason;                      // why the one in effect is, or why none is
    std::string annotation;                  // what the value in effect is checked against; "" when nothing
    std::string annotation_origin;           // "file:line" of that annotation; "" when none
};

// Explains `key_path` (e.g. ["digitizer"]["sample_rate"]) of the name `name`
// along PFPATH. A key defined nowhere gives no definitions. Throws IoError
// when the name resolves to no file or a file cannot be read.
TESKPF_API KeyExplanation explain(const std::string &name, const std::string &key_path);

// Explains `key_path` across the layers `layers` (lowest precedence first),
// each text given or read from its path. Throws IoError when a file to read
// cannot be read.
TESKPF_API KeyExplanation explain(const std::vector<LayerText> &layers, const std::string &key_path);

}  // namespace teskpf
