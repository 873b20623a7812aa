// A view of one place in a loaded document: the document itself, a block, a
// list or a value. Cheap to copy; valid while its Document lives (moving the
// Document keeps it valid). A missing member is an empty node, never an error
// unless asked for with at().
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/export.h>
#include <teskpf/value_type.h>

namespace teskpf {

namespace detail {
struct DocumentData;
enum class EntryField : int;
}  // namespace detail

// Where an entry was read from.
struct Source {
    std::string file;  // the file as found on the search path
    long line = 0;     // 1-based
};

// Where the annotation that applies to a value comes from.
enum class AnnotationOrigin {
    None,        // no annotation applies
    Own,         // the entry's own comment
    Enclosing,   // the comment of the block that directly contains it
    Overridden,  // the annotation of the definition this one overrides, in a lower file
};

// The verdict on a value against the annotation in effect.
struct Verdict {
    bool ok = false;                                   // whether the value satisfies the annotation
    std::string annotation;                            // the annotation text in effect; "" when none
    AnnotationOrigin origin = AnnotationOrigin::None;  // where that text comes from
    Source from;                                       // the entry that carries it; {"", 0} when none
    std::vector<ValueType> types;                      // one per annotation; empty when none parses
    std::string message;                               // why not; "" when ok

    explicit operator bool() const { return ok; }
};

class MemberIterator;

class TESKPF_API Node {
public:
    // An empty node: operator bool false, every query answers "nothing".
    Node() = default;

    // Whether the node exists.
    explicit operator bool() const { return data_ != nullptr; }
    // The document itself or an "&Arr{" block; false for an empty node.
    bool isBlock() const;
    // An "&Tbl{" block; false for an empty node.
    bool isList() const;
    // A member that holds a value; false for an empty node.
    bool isValue() const;

    // The member called `name` of a block (the last one when the name
    // repeats); an empty node when there is none or this is not a block.
    Node operator[](std::string_view name) const;
    // Item `position` of a list, or of a block in file order; an empty node
    // when out of range or this is a value.
    Node operator[](std::size_t position) const;
    // As operator[], but throws Error naming the key path when missing.
    Node at(std::string_view name) const;
    Node at(std::size_t position) const;
    // Whether operator[](name) finds a member.
    bool contains(std::string_view name) const;
    // Number of members or items; 0 for values and empty nodes.
    std::size_t size() const;
    // Iteration over members (name + node) or items (empty name), in file order.
    MemberIterator begin() const;
    MemberIterator end() const;

    // The full key path, e.g. ["digitizer"]["channels"][0]; "" for the
    // document and for an empty node.
    std::string keyPath() const;
    // The key as written on the entry's line; "" for list items, the document
    // and empty nodes.
    std::string_view name() const;
    // Nesting depth, 0 at the top level; -1 for the document and empty nodes.
    int level() const;
    // The file and 1-based line of the entry; {"", 0} for the document and
    // empty nodes.
    Source source() const;
    // The comment, "" or text starting with "#" (annotation cut out); "" when
    // there is none.
    std::string_view comment() const;
    // The entry's own annotation text, e.g. "<int>"; "" when it has none.
    std::string_view annotation() const;
    // The value text (escapes removed); "&Arr"/"&Tbl" for a block; "" for the
    // document and empty nodes.
    std::string_view text() const;
    // The value's fields: the runs of text between blanks and tabs; empty
    // when this is not a value.
    std::vector<std::string> fields() const;

    // The value converted as the checks read it (see convert.h): T is
    // std::int64_t, double, bool or std::string. Nothing when this is not a
    // value or the text does not convert.
    template <class T>
    std::optional<T> get() const;
    // get<T>(), or `fallback` when that gives nothing.
    template <class T>
    T valueOr(T fallback) const {
        return get<T>().value_or(std::move(fallback));
    }
    std::string valueOr(const char *fallback) const { return valueOr(std::string(fallback)); }

    // The value against the annotation in effect: its own, else its enclosing
    // block's, else the one that applies to the same key path in the nearest
    // lower file (see docs/format.md). A block passes unless that annotation
    // does not parse: an annotation that reaches a block is for its members.
    // An empty node fails with the message "no such key".
    Verdict check() const;

private:
    friend class Document;
    friend class MemberIterator;
    Node(const detail::DocumentData *data, std::int32_t entry) : data_(data), entry_(entry) {}
    // Field `which` of the entry; "" for the document and empty nodes.
    TESKPF_LOCAL std::string_view fieldOrEmpty(detail::EntryField which) const;

    const detail::DocumentData *data_ = nullptr;
    std::int32_t entry_ = -1;  // index of the entry; -1 for the document itself
};

template <>
std::optional<std::int64_t> Node::get<std::int64_t>() const;
template <>
std::optional<double> Node::get<double>() const;
template <>
std::optional<bool> Node::get<bool>() const;
template <>
std::optional<std::string> Node::get<std::string>() const;

// A member of a block (its name and node) or an item of a list (empty name).
struct Member {
    std::string_view name;
    Node node;

    operator Node() const { return node; }
};

// Walks the members of a block or the items of a list.
class TESKPF_API MemberIterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Member;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = Member;

    MemberIterator() = default;
    Member operator*() const;
    MemberIterator &operator++() {
        ++at_;
        return *this;
    }
    MemberIterator operator++(int) {
        MemberIterator before = *this;
        ++at_;
        return before;
    }
    bool operator==(const MemberIterator &other) const { return at_ == other.at_; }
    bool operator!=(const MemberIterator &other) const { return at_ != other.at_; }

private:
    friend class Node;
    MemberIterator(const detail::DocumentData *data, const std::int32_t *at) : data_(data), at_(at) {}

    const detail::DocumentData *data_ = nullptr;
    const std::int32_t *at_ = nullptr;  // into the parent's list of child entries
};

}  // namespace teskpf
