// The files a check or an explanation reads: each file's parse (for exact
// lines and columns) and classic handle, and the merged classic handle that
// decides which definition is in effect and which annotation applies.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TeskPf.h"
#include "detail/ParsedFile.h"

namespace teskpf {

struct Layer {
    std::string path;                    // as reported: as given, or as found along PFPATH
    std::string source;                  // the file part of the classic handle's sources
    std::optional<ParsedFile> parsed;    // none when the text does not parse
    std::string parse_error;             // why it does not
    std::optional<TeskPf> alone;         // the file read on its own; none when it does not load
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
};

// A "file:line" source of a classic handle split in its parts (line 0-based).
struct SourceLine {
    std::string file;
    long line = -1;
};
SourceLine splitSource(const std::string &source);

// The annotation a value is checked against and where it was written.
struct AnnotationInEffect {
    std::string text;        // "" when none applies
    SourceLine origin;       // the entry that carries it
    bool inherited = false;  // from the definition in a lower layer that this one overrides
};

// Finds the annotation of merged entries: its own, else its enclosing block's
// (the classic rule), else that of the same key in the nearest lower layer
// that defines it with one (an override keeps the rule it replaced), or, for
// a member that layer lacks, the annotation of the block it replaced there.
// A block's annotation is made once, however many members it has.
class AnnotationResolver {
public:
    explicit AnnotationResolver(const Layers &layers) : layers_(layers) {}
    // The annotation of merged entry `index`; never null, its text "" when none applies.
    std::shared_ptr<const AnnotationInEffect> of(int index);

private:
    // The annotation written on entry `annotated` of `pf`; `inherited` when
    // `pf` is a lower layer; made once when `shared` (a block's).
    std::shared_ptr<const AnnotationInEffect> made(const TeskPf &pf, int annotated, bool inherited, bool shared);

    const Layers &layers_;
    // Block annotations made so far, by handle and entry.
    std::map<std::pair<const TeskPf *, int>, std::shared_ptr<const AnnotationInEffect>> blocks_;
};

}  // namespace teskpf
