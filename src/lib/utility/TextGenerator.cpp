#include "TextGenerator.h"

#include <climits>
#include <cmath>

#include "KeyPath.h"
#include "LevelText.h"
#include "LineLexer.h"
#include "TeskPf.h"
#include "pf_clock.h"

namespace teskpf {

namespace {

const char revision_key[] = "[\"pf_revision_time\"]";

// The revision line, with the integer part of the current time.
std::string revisionLine() {
    double now = std::trunc(std_now());
    int seconds = now >= INT_MAX ? INT_MAX : now <= INT_MIN ? INT_MIN : static_cast<int>(now);
    return "pf_revision_time\t" + std::to_string(seconds) + "\n";
}

// The comment as written: an annotation goes back in front of the comment
// words. An empty comment field is treated like "#" (the lexer leaves "#"
// when nothing follows the annotation).
std::string writtenComment(const std::string &comment, const std::string &constraints) {
    if (constraints.empty()) return comment;
    std::string rest = comment.empty() ? std::string() : comment.substr(1);
    trimInPlace(rest);
    return "#" + constraints + " " + rest;
}

void closeBlocks(std::string &out, int &depth, int level) {
    while (depth > level) {
        --depth;
        out.append(static_cast<size_t>(depth), '\t');
        out.append("}\n");
    }
}

}  // namespace

std::string generateText(const EntryList &list) {
    std::string out;
    std::string revision;
    int depth = 0;

    for (const Entry &entry : list) {
        // A level that is not a non-negative number is written at the top level.
        int level = std::max(parseLevel(entry[FIELD_LEVEL]), 0);
        if (entry[FIELD_KEY] == revision_key) {
            revision = revisionLine();
            continue;
        }
        // Escaping only adds backslashes, so the tests below read the stored value.
        std::string_view key = writtenKey(entry[FIELD_KEY]);
        const std::string &value = entry[FIELD_VALUE];
        std::string comment = writtenComment(entry[FIELD_COMMENT], entry[FIELD_CONSTRAINTS]);

        closeBlocks(out, depth, level);
        depth = level;

        if (key.empty() && value.empty()) {
            out.append(comment).append("\n");
            continue;
        }
        out.append(static_cast<size_t>(level), '\t');
        out.append(key);
        if (value == "&Arr" || value == "&Tbl") {
            if (!key.empty()) out.append(" ");
            out.append(value).append("{");
            ++depth;
        } else {
            if (!key.empty()) out.append("\t");
            appendEscaped(out, value);
        }
        if (!comment.empty()) out.append("\t").append(comment);
        out.append("\n");
    }
    closeBlocks(out, depth, 0);
    out.append(revision);
    return out;
}

}  // namespace teskpf
