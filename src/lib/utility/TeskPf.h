// TeskPf: read, check, edit and write parameter files.
//
// A handle is built from a parameter-file name: every file of that name along
// the search path (PFPATH) is parsed into a flat list of entries and the lists
// are merged, the file last on the path winning each top-level key as a whole.
// All later operations work on that in-memory list.
//
// Errors are thrown as std::string. A missing key or an index outside
// 0..size()-1 is not an error: queries answer "" for texts, -1 for numbers and
// indices, false for verdicts and an empty table for records; edits do nothing.
// Optional out-arguments are pointers that may be null; they are left untouched
// when the key or index is missing.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "Array.h"
#include "Table.h"
#include "pf_compile.h"

#include <teskpf/export.h>

namespace teskpf::detail {
class Store;
struct ClassicStore;
}  // namespace teskpf::detail

// Positions of the six fields of an entry record.
enum {
    FIELD_SOURCE = 0,      // "file:line", the line counted from 0
    FIELD_LEVEL = 1,       // nesting depth as decimal text, "0" at the top level
    FIELD_KEY = 2,         // full key path, e.g. ["chan"]["list"][1]["x"]; "" for comments
    FIELD_VALUE = 3,       // value without escapes; "&Arr" / "&Tbl" for a block opening
    FIELD_COMMENT = 4,     // "" or text starting with "#"
    FIELD_CONSTRAINTS = 5  // the annotation text cut from the comment, e.g. "<int>"
};

// Type codes of constraint annotations ("<int>", "<str>(a b)", ...).
enum {
    CONSTRAINT_STR = 0,
    CONSTRAINT_INT = 1,
    CONSTRAINT_FLOAT = 2,
    CONSTRAINT_COLOR = 3,
    CONSTRAINT_FONT = 4,
    CONSTRAINT_REGEX = 5
};

// One parsed annotation.
struct TeskPf_Constraint {
    int type = CONSTRAINT_STR;       // one of the CONSTRAINT_ codes
    Table<std::string> string_enum;  // permitted words of a <str>(...) annotation
};

class TESKPF_API TeskPf {
public:
    // Reads every file called `string` along the search path ("~" expands to
    // the home directory). `type` must be 0; anything else throws
    // "Unknown type". A line without a key throws
    // "Cannot parse line '<line>' in pf string - Arr must have a key".
    // No file of that name gives an empty handle, not an error.
    TeskPf(std::string string, int type);

    // Prints every entry, one line each, fields separated by "; ".
    void display() const;
    // Prints one entry; nothing for a missing index or key.
    void display(int index) const;
    void display(std::string key) const;

    // Number of entries.
    int size() const;
    // A copy of the whole entry list.
    Table<Table<std::string>> getList() const;
    // A copy of the entry record; an empty table (no fields) when missing.
    Table<std::string> getEntry(std::string key) const;
    Table<std::string> getEntry(int index) const;
    // "file:line" the entry was read from; "" when missing.
    std::string getSource(std::string key) const;
    std::string getSource(int index) const;
    // Nesting level; -1 when missing.
    int getLevel(std::string key) const;
    int getLevel(int index) const;
    // Key path of entry `index`; "" when missing.
    std::string getKey(int index) const;

    // The stored value; "" when missing. *checkOk receives the verdict of
    // checkValue and *types the constraint type codes (both optional).
    std::string getValue(std::string key, bool *checkOk, Table<int> *types) const;
    std::string getValue(int index, bool *checkOk, Table<int> *types) const;
    // Checks *invalue (or the stored value when invalue is null) against the
    // entry's constraints, field by field; false when missing.
    bool checkValue(std::string key, std::string *invalue, Table<int> *types) const;
    bool checkValue(int index, std::string *invalue, Table<int> *types) const;

    // The comment ("" or text starting with "#"); "" when missing.
    std::string getComment(std::string key) const;
    std::string getComment(int index) const;

    // The entry's own constraint text; "" when missing. *checkOk receives
    // whether that text parsed.
    std::string getConstraints(std::string key, bool *checkOk) const;
    std::string getConstraints(int index, bool *checkOk) const;

    // Index of the last entry whose key path equals `key`; -1 when none.
    int getEntryIndex(std::string key) const;

    // The parameter-file text of the entry list; "" for an empty list.
    std::string getPfString() const;

    // Compiles the text into a Pf tree stored in *pf, owned by the caller
    // (release with pffree). Throws "TeskPf::getPf: pfcompile() error.".
    void getPf(Pf **pf) const;

    // Change a value or comment in memory; missing keys and indices are ignored.
    // With callback_flag non-zero, valueChangedCallback runs first and may
    // change the value to be stored.
    void setValue(std::string key, std::string value, int callback_flag);
    void setValue(int index, std::string value, int callback_flag);
    void setComment(std::string key, std::string comment);
    void setComment(int index, std::string comment);

    // Writes the text to `pffile` ("~" expanded, ".pf" appended to names longer
    // than three characters that lack it); `pffile` receives the name used.
    // Does nothing for an empty list. The file is replaced atomically; on
    // failure it keeps its old content and a std::string naming it is thrown.
    void write(std::string &pffile) const;

    // ["a"]["b"][0] -> {a}{b}[0]
    static std::string key2Perl(std::string key);
    // The key as written on its line: the last name of the path; "" for a
    // list member.
    static std::string key2Pfkey(std::string key);
    // ["a"]["b"][0] -> "\"a\"", "\"b\"", "0"
    static Table<std::string> key2Table(std::string key);
    // Puts a backslash in front of every "#".
    static std::string escapeValue(std::string value);
    // Drops every backslash that stands right before a "#".
    static std::string unescapeValue(std::string value);

protected:
    // Called by setValue (when asked to) before the new value is compared and
    // stored; whatever is left in `to` is what gets stored.
    virtual void valueChangedCallback(std::string key, int index, std::string from, std::string &to) {
        (void)key;
        (void)index;
        (void)from;
        (void)to;
    }

private:
    // The helpers of teskpf/classic.h read the entries behind a handle.
    friend struct teskpf::detail::ClassicStore;

    // The value and comment as they stand, edits included; `buffer` holds
    // texts that are not stored as they are.
    std::string_view storedValue(int index, std::string &buffer) const;
    std::string_view storedComment(int index, std::string &buffer) const;
    Table<std::string> entryRecord(int index, std::string key_path) const;
    bool validIndex(int index) const;
    static void replace(std::string &string, std::string from, std::string to);

    std::string pffile;
    std::string pfstring;
    // The files read and the merged entry list, shared by copies of the handle.
    std::shared_ptr<const teskpf::detail::Store> store;
    // Values and comments changed by setValue and setComment, by entry index.
    std::unordered_map<int, std::string> edited_values;
    std::unordered_map<int, std::string> edited_comments;
};
