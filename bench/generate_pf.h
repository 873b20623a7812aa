// Realistic, deterministic parameter-file content for the benchmarks: a tree
// of values, nested blocks and comments that can be written as parameter-file
// text (here) or in other libraries' formats (peers/).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace teskpf_bench {

// One line of content and, for a block, everything inside it.
struct Node {
    enum Kind { Scalar, Arr, Tbl, Comment, Blank };
    enum Type { Text, Integer, Real };  // how a scalar's value reads in typed formats

    Kind kind = Scalar;
    Type type = Text;
    std::string key;            // empty for list members, comment lines and blank lines
    std::string value;          // a scalar's value
    std::string annotation;     // e.g. "<int>" or "<str>(low high)"; on a block it covers the members
    std::string note;           // words after the annotation, or a comment line's text
    std::vector<Node> members;  // a block's content, in order
};

// Exactly `lines` lines of content, closing lines included, as the members of
// an associative root. The same count always gives the same content.
Node generateDocument(size_t lines);

// The comment of a scalar or block opening without its comment marker:
// the annotation, then the note; empty when there is neither.
std::string remark(const Node &node);

// The parameter-file text of a document.
std::string toPfText(const Node &root);

// Writes `text` to `path`; throws std::runtime_error naming the path on failure.
void writeTextFile(const std::string &path, const std::string &text);

// Reads the whole file. The timed loads call it first: the page cache of a
// busy machine may have dropped a file since it was written, and a load
// should not be charged for reading from disk.
std::string readTextFile(const std::string &path);

}  // namespace teskpf_bench
