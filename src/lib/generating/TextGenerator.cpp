#include "generating/TextGenerator.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "parsing/Revision.h"
#include "store/AnnotationInEffect.h"
#include "store/EntryStore.h"
#include "syntax/BlockSyntax.h"
#include "syntax/LineLexer.h"

namespace teskpf {

namespace {

// The revision line, with the integer part of the current time.
std::string revisionLine() { return std::string(kRevisionName) + "\t" + revisionTime() + "\n"; }

// The comment as written: an annotation goes back in front of the comment
// words. An empty comment field is treated like "#" (the lexer leaves "#"
// when nothing follows the annotation).
std::string_view writtenComment(std::string_view comment, std::string_view constraints, std::string &buffer) {
    if (constraints.empty()) return comment;
    std::string_view rest = comment.empty() ? std::string_view() : trimmed(comment.substr(1));
    buffer.assign("#").append(constraints).append(" ").append(rest);
    return buffer;
}

}  // namespace

void TextWriter::closeBlocks(int level) {
    while (depth > level) {
        --depth;
        out.append(static_cast<size_t>(depth), '\t');
        out.append("}\n");
    }
}

void TextWriter::add(const TextLine &line) {
    // A level that is not a non-negative number is written at the top level.
    const int level = std::max(line.level, 0);
    if (line.revision) {
        revision = revisionLine();
        return;
    }
    // Escaping only adds backslashes, so the tests below read the stored value.
    std::string_view comment = writtenComment(line.comment, line.constraints, comment_buffer);
    closeBlocks(level);
    depth = level;

    if (line.key.empty() && line.value.empty()) {
        out.append(comment).append("\n");
        return;
    }
    out.append(static_cast<size_t>(level), '\t');
    out.append(line.key);
    if (isMarker(line.value)) {
        if (!line.key.empty()) out.append(" ");
        out.append(line.value).append(1, kOpenBrace);
        ++depth;
    } else {
        if (!line.key.empty()) out.append("\t");
        appendEscaped(out, line.value);
    }
    if (!comment.empty()) out.append("\t").append(comment);
    out.append("\n");
}

std::string TextWriter::finish() {
    closeBlocks(0);
    out.append(revision);
    revision.clear();
    return std::move(out);
}

namespace {

// Entry `at` as the writer takes it, `shift` levels further out.
TextLine lineOf(const detail::Store &store, size_t at, const detail::EditedTexts &values,
                const detail::EditedTexts &comments, int shift, std::string (&buffers)[3]) {
    const int index = static_cast<int>(at);
    TextLine line;
    line.level = store.entryOf(at).level - shift;
    line.revision = store.isRevisionEntry(at);
    if (line.revision) return line;
    line.key = store.writtenKey(at, buffers[0]);
    line.value = detail::editedOr(values, index, [&] { return store.value(at, buffers[1]); });
    line.comment = detail::editedOr(comments, index, [&] { return store.comment(at, buffers[2]); });
    line.constraints = store.constraints(at);
    return line;
}

}  // namespace

std::string generateText(const detail::Store &store, const detail::EditedTexts &values,
                         const detail::EditedTexts &comments, detail::AnnotationInEffect *in_effect) {
    TextWriter writer;
    std::string buffers[3];
    for (size_t at = 0; at < store.size(); ++at) {
        TextLine line = lineOf(store, at, values, comments, 0, buffers);
        // A value whose annotation comes from the lower definition it
        // overrides gets that annotation on its line.
        if (in_effect && !line.revision && line.constraints.empty() && !store.entryOf(at).opensBlock()) {
            const detail::FoundAnnotation found = in_effect->of(at);
            if (found.origin == AnnotationOrigin::Overridden) line.constraints = found.text();
        }
        writer.add(line);
    }
    return writer.finish();
}

std::string generateEntries(const detail::Store &store, const detail::EditedTexts &values, size_t first, size_t last) {
    TextWriter writer;
    std::string buffers[3];
    const int shift = store.entryOf(first).level;
    for (size_t at = first; at <= last; ++at) {
        if (!store.isNote(at)) writer.add(lineOf(store, at, values, detail::EditedTexts(), shift, buffers));
    }
    return writer.finish();
}

}  // namespace teskpf
