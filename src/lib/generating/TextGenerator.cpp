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

std::string generateText(const detail::Store &store, const detail::EditedTexts &values,
                         const detail::EditedTexts &comments, detail::AnnotationInEffect *in_effect) {
    TextWriter writer;
    std::string key_buffer;
    std::string value_buffer;
    std::string comment_buffer;
    for (size_t at = 0; at < store.size(); ++at) {
        const int index = static_cast<int>(at);
        TextLine line;
        line.level = store.entryOf(at).level;
        line.revision = store.isRevisionEntry(at);
        if (line.revision) {
            writer.add(line);
            continue;
        }
        line.key = store.writtenKey(at, key_buffer);
        line.value = detail::editedOr(values, index, [&] { return store.value(at, value_buffer); });
        line.comment = detail::editedOr(comments, index, [&] { return store.comment(at, comment_buffer); });
        line.constraints = store.constraints(at);
        if (in_effect && line.constraints.empty() && !isMarker(line.value)) {
            const detail::FoundAnnotation found = in_effect->of(at);
            if (found.origin == AnnotationOrigin::Overridden) line.constraints = found.text();
        }
        writer.add(line);
    }
    return writer.finish();
}

}  // namespace teskpf
