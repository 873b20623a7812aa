#include "TeskPf.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "AtomicFile.h"
#include "BlockParser.h"
#include "ConstraintParser.h"
#include "FileSearch.h"
#include "HomeDirectory.h"
#include "KeyPath.h"
#include "LevelText.h"
#include "LineLexer.h"
#include "Merge.h"
#include "TextGenerator.h"
#include "ValueCheck.h"

using std::string;

// ---- Construction, loading and merging -------------------------------------

TeskPf::TeskPf(string string, int type) {
    if (type != 0) throw std::string("Unknown type");
    pflist = readPf(string);
    pffile = string;
    key_index.build(pflist);
}

Table<Table<string>> TeskPf::readPf(string &string) {
    teskpf::expandHome(string);
    std::vector<std::string> files = teskpf::findParameterFiles(string);

    // The last file of the search list comes first and wins; only its blank
    // and comment lines are kept.
    int process_nokeys = 1;
    Table<Table<std::string>> merged;
    for (auto fname = files.rbegin(); fname != files.rend(); ++fname) {
        // A file that cannot be read contributes nothing.
        std::string text;
        int error = 0;
        teskpf::readFileText(*fname, text, error);
        teskpf::ParsedFile file(*fname, std::move(text));
        Table<Table<std::string>> entries = teskpf::entryRecords(file, process_nokeys != 0, constraints_array);
        if (merged.empty())
            merged = std::move(entries);
        else if (!entries.empty())
            merged = mergePf(merged, entries);
        process_nokeys = 0;
    }
    return merged;
}

Table<Table<string>> TeskPf::mergePf(Table<Table<string>> &pflistin, Table<Table<string>> &pfl) {
    return teskpf::mergeEntryLists(pflistin, pfl);
}

int TeskPf::parseConstraints(string constraints) {
    return teskpf::registerConstraints(constraints_array, constraints);
}

// ---- Queries ----------------------------------------------------------------

bool TeskPf::validIndex(int index) const { return index >= 0 && index < size(); }

int TeskPf::size() const { return static_cast<int>(pflist.size()); }

Table<Table<string>> TeskPf::getList() const { return pflist; }

int TeskPf::getEntryIndex(string key) const { return key_index.find(pflist, key); }

Table<string> TeskPf::getEntry(string key) const { return getEntry(getEntryIndex(key)); }

Table<string> TeskPf::getEntry(int index) const {
    if (!validIndex(index)) return {};
    return pflist[static_cast<size_t>(index)];
}

string TeskPf::getKey(int index) const { return validIndex(index) ? pflist[index][FIELD_KEY] : ""; }

int TeskPf::getLevel(string key) const { return getLevel(getEntryIndex(key)); }

int TeskPf::getLevel(int index) const {
    return validIndex(index) ? teskpf::parseLevel(pflist[index][FIELD_LEVEL]) : -1;
}

string TeskPf::getComment(string key) const { return getComment(getEntryIndex(key)); }

string TeskPf::getComment(int index) const { return validIndex(index) ? pflist[index][FIELD_COMMENT] : ""; }

string TeskPf::getSource(string key) const { return getSource(getEntryIndex(key)); }

string TeskPf::getSource(int index) const { return validIndex(index) ? pflist[index][FIELD_SOURCE] : ""; }

void TeskPf::display() const {
    for (int i = 0; i < size(); ++i) display(i);
}

void TeskPf::display(int index) const {
    if (!validIndex(index)) return;
    const Table<string> &entry = pflist[index];
    std::printf("%s", entry[0].c_str());
    for (size_t field = 1; field < entry.size(); ++field) std::printf("; %s", entry[field].c_str());
    std::printf("\n");
}

void TeskPf::display(string key) const {
    int index = getEntryIndex(key);
    if (index != -1) display(index);
}

// ---- Constraints and value checks -------------------------------------------

string TeskPf::getConstraints(string key, bool *checkOk) const { return getConstraints(getEntryIndex(key), checkOk); }

string TeskPf::getConstraints(int index, bool *checkOk) const {
    if (!validIndex(index)) return "";
    const string &constraints = pflist[index][FIELD_CONSTRAINTS];
    if (checkOk) *checkOk = constraints_array.contains(constraints);
    return constraints;
}

const Table<TeskPf_Constraint> &TeskPf::getConstraintsTable(int index) const {
    static const Table<TeskPf_Constraint> none;
    if (!validIndex(index)) return none;
    const string *constraints = &pflist[index][FIELD_CONSTRAINTS];
    if (constraints->empty()) {
        // Fall back to the enclosing block's annotation, one level up. A
        // top-level entry has no enclosing block and falls back to nothing.
        std::string_view parent_key = teskpf::enclosingKey(pflist[index][FIELD_KEY]);
        if (parent_key.empty()) return none;
        int parent = key_index.find(pflist, parent_key);
        if (parent < 0) return none;
        constraints = &pflist[parent][FIELD_CONSTRAINTS];
    }
    auto found = constraints_array.find(*constraints);
    return found == constraints_array.end() ? none : found->second;
}

string TeskPf::getValue(string key, bool *checkOk, Table<int> *types) const {
    return getValue(getEntryIndex(key), checkOk, types);
}

string TeskPf::getValue(int index, bool *checkOk, Table<int> *types) const {
    if (!validIndex(index)) return "";
    bool ok = checkValue(index, nullptr, types);
    if (checkOk) *checkOk = ok;
    return pflist[index][FIELD_VALUE];
}

bool TeskPf::checkValue(string key, string *invalue, Table<int> *types) const {
    return checkValue(getEntryIndex(key), invalue, types);
}

bool TeskPf::checkValue(int index, string *invalue, Table<int> *types) const {
    if (!validIndex(index)) return false;
    const string &value = invalue ? *invalue : pflist[index][FIELD_VALUE];
    const Table<TeskPf_Constraint> &constraints = getConstraintsTable(index);
    if (types) {
        types->clear();
        for (const TeskPf_Constraint &constraint : constraints) types->set(-1, constraint.type);
    }
    if (constraints.empty()) return true;
    Table<string> values = fields(value);
    if (values.size() != constraints.size()) return false;
    for (size_t i = 0; i < values.size(); ++i) {
        if (!checkField(values[i], constraints[i])) return false;
    }
    return true;
}

bool TeskPf::checkField(string field, TeskPf_Constraint constraint) {
    return teskpf::fieldSatisfies(field, constraint);
}

Table<string> TeskPf::fields(string string) { return teskpf::splitFields(string); }

// ---- Editing ----------------------------------------------------------------

void TeskPf::setValue(string key, string value, int callback_flag) {
    setValue(getEntryIndex(key), std::move(value), callback_flag);
}

void TeskPf::setValue(int index, string value, int callback_flag) {
    if (!validIndex(index)) return;
    Table<string> &entry = pflist[index];
    string old_value = entry[FIELD_VALUE];
    if (callback_flag) valueChangedCallback(entry[FIELD_KEY], index, old_value, value);
    if (old_value == value) return;
    pflist[index][FIELD_VALUE] = std::move(value);
}

void TeskPf::setComment(string key, string comment) { setComment(getEntryIndex(key), std::move(comment)); }

void TeskPf::setComment(int index, string comment) {
    if (!validIndex(index)) return;
    string &stored = pflist[index][FIELD_COMMENT];
    if (stored != comment) stored = std::move(comment);
}

// ---- Output -----------------------------------------------------------------

string TeskPf::getPfString() const { return teskpf::generateText(pflist); }

void TeskPf::write(string &pffile) const {
    if (pflist.empty()) return;
    string name = pffile;
    teskpf::expandHome(name);
    if (name.size() > 3 && name.compare(name.size() - 3, 3, ".pf") != 0) name += ".pf";
    teskpf::replaceFileContent(name, getPfString());
    pffile = name;
}

void TeskPf::getPf(Pf **pf) const {
    std::unique_ptr<char, decltype(&std::free)> text(strdup(getPfString().c_str()), &std::free);
    if (!text) throw std::string("TeskPf::getPf: out of memory.");
    if (pfcompile(text.get(), pf) < 0) throw std::string("TeskPf::getPf: pfcompile() error.");
}

// ---- Text operations --------------------------------------------------------

Table<string> TeskPf::processLine(string line, int tbl) {
    teskpf::LineFields fields;
    teskpf::lexLine(line, tbl != 0, fields);
    Table<string> out;
    out.set(-1, string(fields.key));
    out.set(-1, string(fields.value));
    out.set(-1, string(fields.comment));
    out.set(-1, string(fields.constraints));
    return out;
}

void TeskPf::trim(string &string) { teskpf::trimInPlace(string); }

void TeskPf::replace(std::string &string, std::string from, std::string to) { string = teskpf::replaceAll(string, from, to); }

string TeskPf::unescapeValue(string value) { return teskpf::unescape(value); }

string TeskPf::escapeValue(string value) {
    string out;
    out.reserve(value.size());
    teskpf::appendEscaped(out, value);
    return out;
}

string TeskPf::key2Pfkey(string key) { return string(teskpf::writtenKey(key)); }

string TeskPf::key2Perl(string key) {
    replace(key, "[\"", "{");
    replace(key, "\"]", "}");
    return key;
}

Table<string> TeskPf::key2Table(string key) {
    Table<string> components;
    std::string_view rest = key;
    for (size_t close = rest.find(']'); close != std::string_view::npos; close = rest.find(']')) {
        std::string_view component = close == 0 ? rest.substr(1) : rest.substr(1, close - 1);
        components.set(-1, string(component));
        rest = rest.substr(close + 1);
    }
    return components;
}
