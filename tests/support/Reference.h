// The reference model the differential tests and the differential fuzzer hold
// the library against. It is written straight from the format's classic rules
// and shares no code with the library beyond the header-only containers: its
// own trimming, line lexer, block parser, merge, lookup, annotation parser,
// value checks, text generator and key path conversions. It is meant to be
// plainly right, not fast; it serves small inputs.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/EntryList.h"

namespace reference {

// The white space trimming removes: blank, tab, line feed, vertical tab, form
// feed, carriage return. These are the characters isspace() accepts in the C
// locale, which is what the platform's trimming removes; the lexer and the
// block parser need at least blanks and tabs.
bool isWhiteSpace(char c);

// `text` cut at its first NUL character, then white space removed at both ends.
std::string trim(const std::string &text);

// Every occurrence of `from` (non-empty) replaced by `to`, left to right,
// without overlaps.
std::string replace(const std::string &text, const std::string &from, const std::string &to);

// Drops every backslash right before a "#".
std::string unescapeValue(const std::string &value);

// A backslash put in front of every "#".
std::string escapeValue(const std::string &value);

// The four fields of one line.
struct LineFields {
    std::string key, value, comment, constraints;
};

// Splits one trimmed line; `in_list` for a line inside a list block.
LineFields lexLine(const std::string &line, bool in_list);

// The annotation texts of every member line read (block openings included),
// kept even when a merge drops the entry: what the handle's table of parsed
// annotations is built from.
using Annotations = std::set<std::string>;

// The entry records of one file's lines (without line ends); blank and
// comment-only lines give records only with `keep_notes`. Throws the
// key-less line's message as a std::string.
EntryList parseLines(const std::string &file_name, const std::vector<std::string> &lines, bool keep_notes,
                     Annotations &annotations);

// The lines of a file, cut at each line feed; a file that does not open has none.
std::vector<std::string> readLines(const std::string &path);

// `loser` without the runs that `winner`'s top-level keys replace, appended
// to `winner`.
EntryList merge(const EntryList &winner, const EntryList &loser);

// The entry list of `files`, given in search-path order (the last one wins).
EntryList load(const std::vector<std::string> &files, Annotations &annotations);

// Index of the last entry of `list` whose key field equals `key`, or -1.
class Lookup {
public:
    explicit Lookup(const EntryList &list);
    int find(const std::string &key) const;

private:
    std::map<std::string, int> last_;
};

// One annotation: its type code (str 0, int 1, float 2, color 3, font 4,
// regex 5) and, for str, the words its list permits.
struct Constraint {
    int type = 0;
    std::vector<std::string> words;
};
using Constraints = std::vector<Constraint>;

// The annotations of a constraint text; false when it is malformed.
bool parseConstraints(const std::string &text, Constraints &out);

// Whether `value`, split into fields at blanks and tabs, satisfies
// `constraints` field by field (always when there are none).
bool satisfies(const std::string &value, const Constraints &constraints);

// The key path of the block holding the entry `key`: the key up to its last
// "[" ("" for a top-level key or text without "[").
std::string enclosingKey(const std::string &key);

// The key as written on its line: the name after the last "[\"", or "".
std::string key2Pfkey(const std::string &key);

// Every "[\"" turned into "{", then every "\"]" into "}".
std::string key2Perl(const std::string &key);

// The components of a key path, each the text between a "[" and its "]".
std::vector<std::string> key2Table(const std::string &key);

// The text of an entry list; a top-level revision entry becomes the line
// "pf_revision_time", a tab and `now`, at the end.
std::string generate(const EntryList &list, int now);

}  // namespace reference
