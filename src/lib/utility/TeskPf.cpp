#include "TeskPf.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "checks/ValueCheck.h"
#include "files/FileSearch.h"
#include "files/HomeDirectory.h"
#include "generating/TextGenerator.h"
#include "store/EntryStore.h"
#include "syntax/KeyPath.h"
#include "syntax/LineLexer.h"
#include "teskpf/error.h"
#include "teskpf/save.h"

using std::string;

// The classic type codes are the values of the core's ValueType.
static_assert(CONSTRAINT_STR == static_cast<int>(teskpf::ValueType::Str) &&
              CONSTRAINT_INT == static_cast<int>(teskpf::ValueType::Int) &&
              CONSTRAINT_FLOAT == static_cast<int>(teskpf::ValueType::Float) &&
              CONSTRAINT_COLOR == static_cast<int>(teskpf::ValueType::Color) &&
              CONSTRAINT_FONT == static_cast<int>(teskpf::ValueType::Font) &&
              CONSTRAINT_REGEX == static_cast<int>(teskpf::ValueType::Regex));

namespace {

int typeCode(teskpf::ValueType type) { return static_cast<int>(type); }

}  // namespace

// ---- Construction and loading -----------------------------------------------

// The core reports errors as teskpf::Error; the classic class throws their
// messages as std::string, here and in write.
TeskPf::TeskPf(string name, int type) {
    if (type != 0) throw std::string("Unknown type");
    try {
        teskpf::expandHome(name);
        store = std::make_shared<const teskpf::detail::Store>(teskpf::openParameterFiles(name));
    } catch (const teskpf::Error &error) {
        throw std::string(error.what());
    }
    pffile = name;
}

// ---- Queries ----------------------------------------------------------------

bool TeskPf::validIndex(int index) const { return index >= 0 && index < size(); }

int TeskPf::size() const { return store ? static_cast<int>(store->size()) : 0; }

std::string_view TeskPf::storedValue(int index, string &buffer) const {
    return teskpf::detail::editedOr(edited_values, index,
                                    [&] { return store->value(static_cast<size_t>(index), buffer); });
}

std::string_view TeskPf::storedComment(int index, string &buffer) const {
    return teskpf::detail::editedOr(edited_comments, index,
                                    [&] { return store->comment(static_cast<size_t>(index), buffer); });
}

Table<Table<string>> TeskPf::getList() const {
    Table<Table<string>> list;
    if (!store) return list;
    list.reserve(store->size());
    store->forEachWithPath(
        [&](size_t i, std::string_view path) { list.push_back(entryRecord(static_cast<int>(i), string(path))); });
    return list;
}

int TeskPf::getEntryIndex(string key) const { return store ? store->find(key) : -1; }

Table<string> TeskPf::getEntry(string key) const { return getEntry(getEntryIndex(key)); }

Table<string> TeskPf::getEntry(int index) const {
    if (!validIndex(index)) return {};
    return entryRecord(index, store->keyPath(static_cast<size_t>(index)));
}

// The record of entry `index`, whose key path is `path`; each field is built
// once at its size.
Table<string> TeskPf::entryRecord(int index, string path) const {
    const size_t at = static_cast<size_t>(index);
    string buffer;
    Table<string> entry;
    entry.reserve(6);
    entry.push_back(store->source(at));
    entry.push_back(std::to_string(store->entryOf(at).level));
    entry.push_back(std::move(path));
    entry.push_back(string(storedValue(index, buffer)));
    entry.push_back(string(storedComment(index, buffer)));
    entry.push_back(string(store->constraints(at)));
    return entry;
}

string TeskPf::getKey(int index) const { return validIndex(index) ? store->keyPath(static_cast<size_t>(index)) : ""; }

int TeskPf::getLevel(string key) const { return getLevel(getEntryIndex(key)); }

int TeskPf::getLevel(int index) const {
    return validIndex(index) ? store->entryOf(static_cast<size_t>(index)).level : -1;
}

string TeskPf::getComment(string key) const { return getComment(getEntryIndex(key)); }

string TeskPf::getComment(int index) const {
    if (!validIndex(index)) return "";
    string buffer;
    return string(storedComment(index, buffer));
}

string TeskPf::getSource(string key) const { return getSource(getEntryIndex(key)); }

string TeskPf::getSource(int index) const { return validIndex(index) ? store->source(static_cast<size_t>(index)) : ""; }

void TeskPf::display() const {
    for (int i = 0; i < size(); ++i) display(i);
}

void TeskPf::display(int index) const {
    if (!validIndex(index)) return;
    const Table<string> entry = getEntry(index);
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
    std::string_view constraints = store->constraints(static_cast<size_t>(index));
    if (checkOk) *checkOk = store->annotationCheck(constraints) != nullptr;
    return string(constraints);
}

string TeskPf::getValue(string key, bool *checkOk, Table<int> *types) const {
    return getValue(getEntryIndex(key), checkOk, types);
}

string TeskPf::getValue(int index, bool *checkOk, Table<int> *types) const {
    if (!validIndex(index)) return "";
    bool ok = checkValue(index, nullptr, types);
    if (checkOk) *checkOk = ok;
    string buffer;
    return string(storedValue(index, buffer));
}

bool TeskPf::checkValue(string key, string *invalue, Table<int> *types) const {
    return checkValue(getEntryIndex(key), invalue, types);
}

bool TeskPf::checkValue(int index, string *invalue, Table<int> *types) const {
    if (!validIndex(index)) return false;
    const int annotated = store->annotatedEntry(static_cast<size_t>(index));
    const teskpf::AnnotationCheck *check =
        annotated < 0 ? nullptr : store->annotationCheck(store->constraints(static_cast<size_t>(annotated)));
    if (types) {
        types->clear();
        if (check)
            for (const teskpf::Constraint &constraint : check->constraints()) types->set(-1, typeCode(constraint.type));
    }
    if (!check) return true;
    string buffer;
    return check->satisfies(invalue ? std::string_view(*invalue) : storedValue(index, buffer));
}

// ---- Editing ----------------------------------------------------------------

void TeskPf::setValue(string key, string value, int callback_flag) {
    setValue(getEntryIndex(key), std::move(value), callback_flag);
}

void TeskPf::setValue(int index, string value, int callback_flag) {
    if (!validIndex(index)) return;
    string buffer;
    string old_value(storedValue(index, buffer));
    if (callback_flag) valueChangedCallback(getKey(index), index, old_value, value);
    if (old_value == value) return;
    edited_values[index] = std::move(value);
}

void TeskPf::setComment(string key, string comment) { setComment(getEntryIndex(key), std::move(comment)); }

void TeskPf::setComment(int index, string comment) {
    if (!validIndex(index)) return;
    string buffer;
    if (storedComment(index, buffer) != comment) edited_comments[index] = std::move(comment);
}

// ---- Output -----------------------------------------------------------------

string TeskPf::getPfString() const {
    return store ? teskpf::generateText(*store, edited_values, edited_comments) : string();
}

void TeskPf::write(string &file) const {
    if (size() == 0) return;
    string name = file;
    try {
        teskpf::expandHome(name);
        if (name.size() > 3 && name.compare(name.size() - 3, 3, ".pf") != 0) name += ".pf";
        teskpf::saveFile(name, getPfString());
    } catch (const teskpf::IoError &error) {
        throw "TeskPf::write: " + string(error.what());  // "cannot write 'NAME': REASON"
    } catch (const teskpf::Error &error) {
        throw string(error.what());
    }
    file = name;
}

void TeskPf::getPf(Pf **pf) const {
    std::unique_ptr<char, decltype(&std::free)> text(strdup(getPfString().c_str()), &std::free);
    if (!text) throw std::string("TeskPf::getPf: out of memory.");
    if (pfcompile(text.get(), pf) < 0) throw std::string("TeskPf::getPf: pfcompile() error.");
}

// ---- Text operations --------------------------------------------------------

void TeskPf::replace(std::string &text, std::string from, std::string to) { text = teskpf::replaceAll(text, from, to); }

string TeskPf::unescapeValue(string value) { return teskpf::unescape(value); }

string TeskPf::escapeValue(string value) {
    string out;
    out.reserve(value.size());
    teskpf::appendEscaped(out, value);
    return out;
}

string TeskPf::key2Pfkey(string key) { return string(teskpf::writtenKey(key)); }

// The classic conversions are text operations on any text, written with the
// key-path syntax's spelling of the components.
string TeskPf::key2Perl(string key) {
    replace(key, string(teskpf::syntax::kNameOpen), "{");
    replace(key, string(teskpf::syntax::kNameClose), "}");
    return key;
}

Table<string> TeskPf::key2Table(string key) {
    Table<string> components;
    std::string_view rest = key;
    constexpr char kClose = teskpf::syntax::kPositionClose;
    for (size_t close = rest.find(kClose); close != std::string_view::npos; close = rest.find(kClose)) {
        std::string_view component = close == 0 ? rest.substr(1) : rest.substr(1, close - 1);
        components.set(-1, string(component));
        rest = rest.substr(close + 1);
    }
    return components;
}
