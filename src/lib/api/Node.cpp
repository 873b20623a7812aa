#include <teskpf/node.h>

#include <ostream>

#include <teskpf/convert.h>
#include <teskpf/error.h>

#include "api/DocumentData.h"
#include "checks/ValueCheck.h"
#include "generating/TextGenerator.h"
#include "syntax/KeyPath.h"

namespace teskpf {

namespace {

EntryKind kindOf(const detail::DocumentData &data, int32_t entry) {
    return data.store.entryOf(static_cast<size_t>(entry)).kind;
}

// The last entry inside `entry`'s block, or `entry` itself when it has no members.
int32_t lastDescendant(const detail::DocumentData &data, int32_t entry) {
    for (;;) {
        const std::vector<int32_t> &members = data.childrenOf(entry);
        if (members.empty()) return entry;
        entry = members.back();
    }
}

}  // namespace

bool Node::isBlock() const { return data_ && (entry_ < 0 || kindOf(*data_, entry_) == EntryKind::ArrOpen); }

bool Node::isList() const { return data_ && entry_ >= 0 && kindOf(*data_, entry_) == EntryKind::TblOpen; }

bool Node::isValue() const { return data_ && entry_ >= 0 && !data_->opensBlock(entry_); }

Node Node::operator[](std::string_view name) const {
    if (!isBlock()) return {};
    int32_t member = data_->memberNamed(entry_, name);
    return member < 0 ? Node() : Node(data_, member);
}

Node Node::operator[](std::size_t position) const {
    if (!data_ || isValue()) return {};
    const std::vector<int32_t> &members = data_->childrenOf(entry_);
    return position < members.size() ? Node(data_, members[position]) : Node();
}

Node Node::at(std::string_view name) const {
    Node found = (*this)[name];
    if (!found) {
        std::string path = keyPath();
        appendNamedComponent(path, name);
        throw Error("no key " + path);
    }
    return found;
}

Node Node::at(std::size_t position) const {
    Node found = (*this)[position];
    if (!found) {
        std::string path = keyPath();
        appendListComponent(path, static_cast<long>(position));
        throw Error("no key " + path);
    }
    return found;
}

bool Node::contains(std::string_view name) const { return static_cast<bool>((*this)[name]); }

std::size_t Node::size() const { return data_ && !isValue() ? data_->childrenOf(entry_).size() : 0; }

MemberIterator Node::begin() const {
    if (!data_ || isValue()) return {};
    return MemberIterator(data_, data_->childrenOf(entry_).data());
}

MemberIterator Node::end() const {
    if (!data_ || isValue()) return {};
    const std::vector<int32_t> &members = data_->childrenOf(entry_);
    return MemberIterator(data_, members.data() + members.size());
}

const Member &MemberIterator::operator*() const {
    current_ = {data_->nameOf(*at_), Node(data_, *at_)};
    return current_;
}

std::string Node::keyPath() const {
    return data_ && entry_ >= 0 ? data_->store.keyPath(static_cast<size_t>(entry_)) : std::string();
}

std::string_view Node::name() const { return data_ && entry_ >= 0 ? data_->nameOf(entry_) : std::string_view(); }

int Node::level() const { return data_ && entry_ >= 0 ? data_->store.entryOf(static_cast<size_t>(entry_)).level : -1; }

Source Node::source() const {
    if (!data_ || entry_ < 0) return {};
    const size_t at = static_cast<size_t>(entry_);
    return {data_->store.fileOf(at).name(), static_cast<long>(data_->store.entryOf(at).line) + 1};
}

std::string_view Node::comment() const { return fieldOrEmpty(detail::EntryField::Comment); }

std::string_view Node::annotation() const { return fieldOrEmpty(detail::EntryField::Constraints); }

std::string_view Node::text() const { return fieldOrEmpty(detail::EntryField::Value); }

std::string_view Node::fieldOrEmpty(detail::EntryField which) const {
    if (!data_ || entry_ < 0) return {};
    return data_->field(entry_, which);
}

std::vector<std::string> Node::fields() const {
    if (!isValue()) return {};
    Table<std::string> split = splitFields(text());
    return {split.begin(), split.end()};
}

std::optional<std::int64_t> Node::readInteger() const { return isValue() ? toInteger(text()) : std::nullopt; }

std::optional<double> Node::readFloat() const { return isValue() ? toFloat(text()) : std::nullopt; }

std::optional<bool> Node::readBool() const { return isValue() ? toBool(text()) : std::nullopt; }

std::optional<std::string> Node::readText() const {
    if (!isValue()) return std::nullopt;
    return std::string(text());
}

std::optional<std::vector<std::string>> Node::readItems() const {
    if (!isList()) return std::nullopt;
    std::vector<std::string> items;
    items.reserve(size());
    for (const Member &item : *this) {
        if (!item.node.isValue()) return std::nullopt;
        items.emplace_back(item.node.text());
    }
    return items;
}

Verdict Node::check() const {
    Verdict verdict;
    if (!data_) {
        verdict.message = "no such key";
        return verdict;
    }
    if (entry_ < 0) {
        verdict.ok = true;
        return verdict;
    }
    return detail::verdictOf(data_->annotations.of(static_cast<size_t>(entry_)), keyPath(), text(), isValue());
}

std::optional<std::vector<TypedField>> Node::typedFields() const {
    const Verdict verdict = check();
    if (!verdict.ok || verdict.types.empty()) return std::nullopt;
    std::vector<std::string> texts = fields();
    std::vector<TypedField> typed;
    typed.reserve(texts.size());
    // A passing value has one field per type, and its numbers convert as
    // they were checked; the text stays should one not.
    for (size_t i = 0; i < texts.size() && i < verdict.types.size(); ++i) {
        const std::optional<std::int64_t> integer =
            verdict.types[i] == ValueType::Int ? toInteger(texts[i]) : std::nullopt;
        const std::optional<double> number = verdict.types[i] == ValueType::Float ? toFloat(texts[i]) : std::nullopt;
        if (integer)
            typed.emplace_back(*integer);
        else if (number)
            typed.emplace_back(*number);
        else
            typed.emplace_back(std::move(texts[i]));
    }
    return typed;
}

std::ostream &operator<<(std::ostream &out, const Node &node) {
    if (!node.data_) return out;
    if (node.isValue()) return out << node.text();
    const detail::DocumentData &data = *node.data_;
    if (node.entry_ < 0) return out << generateText(data.store, data.edited_values, detail::EditedTexts());
    return out << generateEntries(data.store, data.edited_values, static_cast<size_t>(node.entry_),
                                  static_cast<size_t>(lastDescendant(data, node.entry_)));
}

}  // namespace teskpf
