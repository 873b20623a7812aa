// The files a check or an explanation reads: each file's parse (for exact
// lines and columns) and classic handle, and the merged classic handle that
// decides which definition is in effect and which annotation applies (see
// AnnotationInEffect.h).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <teskpf/node.h>

#include "TeskPf.h"
#include "detail/ParsedFile.h"

namespace teskpf {

struct Layer {
    std::string path;                    // as reported: as given, or as found along PFPATH
    std::string source;                  // the file part of the classic handle's sources
    std::optional<ParsedFile> parsed;    // none when the text does not parse
    std::string parse_error;             // why it does not
    std::vector<int32_t> entry_at_line;  // 0-based line -> index of its entry in `parsed`, or -1
};

struct Layers {
    std::vector<Layer> files;      // lowest precedence first
    std::optional<TeskPf> merged;  // none when a file does not load
    std::string merged_error;

    // The file at `path` alone. Throws IoError when it cannot be read.
    static Layers ofFile(const std::string &path);
    // Every file of `name` along PFPATH. Throws IoError when there is none or
    // one cannot be read.
    static Layers ofName(const std::string &name);

    // The index of the file whose sources read `source`; -1 when none.
    int layerOf(const std::string &source) const;
    // "PATH:LINE" of a place its sources name, with the path as reported.
    std::string reported(const Source &where) const;
};

// A "file:line" source of a classic handle split in its parts (line 0-based).
struct SourceLine {
    std::string file;
    long line = -1;
};
SourceLine splitSource(const std::string &source);

}  // namespace teskpf
