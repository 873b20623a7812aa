// Rules about annotations: ones that do not parse, and "<type>" text that
// reading takes for plain comment.
#include "diagnostics/DiagnosticRules.h"
#include "syntax/ConstraintParser.h"

namespace teskpf {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// Whether `text` begins with annotations that parse: "<int> ..." yes, "<x" no.
bool startsWithAnnotation(std::string_view text) {
    if (text.empty() || text[0] != '<') return false;
    std::optional<ConstraintTable> table = parseConstraintText(text);
    return table && !table->empty();
}

}  // namespace

void checkAnnotations(const ParsedFile &parsed, FileReport &report) {
    const std::vector<FileEntry> &entries = parsed.entries();
    for (size_t i = 0; i < entries.size(); ++i) {
        const FileEntry &entry = entries[i];
        const std::string_view comment = parsed.at(entry.comment);
        if (comment.size() < 2 || entry.kind == EntryKind::Note) continue;
        const std::string_view annotation = parsed.constraints(entry);
        const uint32_t after_hash = entry.comment.begin + 1;
        if (comment[1] == '<' && (annotation.empty() || !parseConstraintText(annotation))) {
            const std::string_view written = annotation.empty() ? comment.substr(1) : annotation;
            report.add(Severity::Error, "bad-annotation", entry.line, entry.line_begin, after_hash,
                       "annotation " + quoted(written) +
                           " does not parse, so the value is not checked: the types are <str>, <int>, <float>, "
                           "<color>, <font> and <regex> in lower case, with every '<' and '(' closed",
                       parsed.keyPath(i));
            continue;
        }
        if (annotation.empty()) {
            // "# <int>": a blank after "#" makes the annotation plain text.
            size_t start = comment.find_first_not_of(" \t", 1);
            if (start != std::string_view::npos && start > 1 && startsWithAnnotation(comment.substr(start)))
                report.add(Severity::Warning, "annotation-after-blank", entry.line, entry.line_begin,
                           entry.comment.begin + static_cast<uint32_t>(start),
                           "this annotation follows '# ' and is therefore plain comment text, not checked; write it "
                           "right after the '#' (\"#<type>\")",
                           parsed.keyPath(i));
            continue;
        }
        // "#<int>  <float>": annotations are separated by exactly one character.
        const std::string_view rest = comment.substr(1 + annotation.size());
        size_t gap = 0;
        while (gap < rest.size() && isBlank(rest[gap])) ++gap;
        if (gap >= 2 && startsWithAnnotation(rest.substr(gap)))
            report.add(Severity::Warning, "ignored-annotation", entry.line, entry.line_begin,
                       after_hash + static_cast<uint32_t>(annotation.size() + gap),
                       "this annotation is comment text, not checked: it is separated from " + quoted(annotation) +
                           " by more than one blank; separate annotations by exactly one blank",
                       parsed.keyPath(i));
    }
}

}  // namespace teskpf
