// The files a check or an explanation reads: each file's parse (for exact
// lines and columns), and the store of them merged, which decides which
// definition is in effect and which annotation applies (see
// AnnotationInEffect.h).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <teskpf/layer_text.h>
#include <teskpf/node.h>

#include "parsing/ParsedFile.h"
#include "store/EntryStore.h"

namespace teskpf {

struct Layer {
    std::string path;                    // as reported: as given, or as found along PFPATH
    std::string source;                  // the name the merged store gives the file
    std::optional<ParsedFile> parsed;    // none when the text does not parse
    std::string parse_error;             // why it does not
    std::vector<int32_t> entry_at_line;  // 0-based line -> index of its entry in `parsed`, or -1
};

struct Layers {
    std::vector<Layer> files;                     // lowest precedence first
    std::unique_ptr<const detail::Store> merged;  // null when a file does not parse or they do not read together

    // The file at `path` alone. Throws IoError when it cannot be read.
    static Layers ofFile(const std::string &path);
    // The text `text` alone, reported as the file `name`.
    static Layers ofText(std::string_view text, const std::string &name);
    // Every file of `name` along PFPATH. Throws IoError when there is none or
    // one cannot be read.
    static Layers ofName(const std::string &name);
    // The files of `texts`, lowest precedence first: each text as given, or
    // read from its path. Throws IoError when one cannot be read.
    static Layers ofTexts(const std::vector<LayerText> &texts);

    // The index of the file the merged store calls `source`; -1 when none.
    int layerOf(const std::string &source) const;
    // "PATH:LINE" of a place the merged store names, with the path as reported.
    std::string reported(const Source &where) const;
};

}  // namespace teskpf
