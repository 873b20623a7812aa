// A view of one place in a loaded document: the document itself, a block, a
// list or a value. Cheap to copy; valid while its Document lives (moving the
// Document keeps it valid). A missing member is an empty node, never an error
// unless asked for with at().
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include <teskpf/export.h>
#include <teskpf/value_type.h>

namespace teskpf {

namespace detail {
struct DocumentData;
enum class EntryField : int;

// Types that hold characters rather than numbers; get<T>() refuses them.
template <class T>
constexpr bool isCharacterType = std::is_same_v<T, char> || std::is_same_v<T, wchar_t> ||
#if defined(__cpp_char8_t)
                                 std::is_same_v<T, char8_t> ||
#endif
                                 std::is_same_v<T, char16_t> || std::is_same_v<T, char32_t>;

// False for every T, so that a static_assert on it fires only when instantiated.
template <class T>
constexpr bool kUnsupportedValueType = false;

// `number` as T; nothing when it is nothing or does not fit T.
template <class T>
std::optional<T> narrowInteger(std::optional<std::int64_t> number) {
    if (!number) return std::nullopt;
    if constexpr (std::is_signed_v<T> && sizeof(T) < sizeof(std::int64_t)) {
        constexpr auto low = static_cast<std::int64_t>(std::numeric_limits<T>::min());
        constexpr auto high = static_cast<std::int64_t>(std::numeric_limits<T>::max());
        if (*number < low || *number > high) return std::nullopt;
    } else if constexpr (std::is_unsigned_v<T>) {
        if (*number < 0) return std::nullopt;
        if constexpr (sizeof(T) < sizeof(std::int64_t)) {
            constexpr auto high = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
            if (static_cast<std::uint64_t>(*number) > high) return std::nullopt;
        }
    }
    return static_cast<T>(*number);
}

// `number` as T; nothing when it is nothing, a finite number beyond T's range
// or a non-zero number that T holds as 0 (as the double reading refuses
// overflow and underflow).
template <class T>
std::optional<T> narrowFloat(std::optional<double> number) {
    if (!number) return std::nullopt;
    const T narrowed = static_cast<T>(*number);
    if (std::isfinite(*number) && !std::isfinite(narrowed)) return std::nullopt;
    if (std::fpclassify(*number) != FP_ZERO && std::fpclassify(narrowed) == FP_ZERO) return std::nullopt;
    return narrowed;
}
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

// A field of a value as its annotation types it.
using TypedField = std::variant<std::string, std::int64_t, double>;

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

    // The value converted as the checks read it (see convert.h), as
    // std::optional<T>; nothing when this is not a value or the text does not
    // convert. T is:
    // - an integer type (short to unsigned long long, signed/unsigned char;
    //   not bool or a character type): read as <int> reads it, nothing when
    //   the number does not fit T;
    // - float, double or long double: read as <float> reads it (a double),
    //   nothing when a finite number overflows T or a non-zero one becomes 0;
    // - bool: true/yes/on/1, false/no/off/0 in any ASCII case;
    // - std::string: the text;
    // - std::vector<std::string>: the texts of a list's items; nothing when
    //   this is not a list or an item is a block.
    // Any other T fails to compile with a message naming these.
    template <class T>
    auto get() const {
        if constexpr (std::is_same_v<T, bool>) {
            return readBool();
        } else if constexpr (std::is_same_v<T, std::string>) {
            return readText();
        } else if constexpr (std::is_same_v<T, std::vector<std::string>>) {
            return readItems();
        } else if constexpr (std::is_integral_v<T> && !detail::isCharacterType<T>) {
            return detail::narrowInteger<T>(readInteger());
        } else if constexpr (std::is_floating_point_v<T>) {
            return detail::narrowFloat<T>(readFloat());
        } else {
            static_assert(detail::kUnsupportedValueType<T>,
                          "teskpf::Node::get<T>/valueOr: T must be an integer type (not a character type), "
                          "float, double, long double, bool, std::string or std::vector<std::string>");
        }
    }
    // get<T>(), or `fallback` when that gives nothing; T as for get<T>().
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

    // The fields of the value, each converted by its type in the annotation
    // in effect (the types of check()): an integer for <int>, a number for
    // <float>, the text for any other type. Nothing when the value fails that
    // annotation or has none that parses. Python's typed reads and `teskpf
    // export --typed` give values this way.
    std::optional<std::vector<TypedField>> typedFields() const;

private:
    friend class Document;
    friend class MemberIterator;
    friend TESKPF_API std::ostream &operator<<(std::ostream &out, const Node &node);
    Node(const detail::DocumentData *data, std::int32_t entry) : data_(data), entry_(entry) {}
    // Field `which` of the entry; "" for the document and empty nodes.
    TESKPF_LOCAL std::string_view fieldOrEmpty(detail::EntryField which) const;
    // The conversions behind get<T>(); nothing when this is not a value (a
    // list for readItems) or the text does not convert.
    std::optional<std::int64_t> readInteger() const;
    std::optional<double> readFloat() const;
    std::optional<bool> readBool() const;
    std::optional<std::string> readText() const;
    std::optional<std::vector<std::string>> readItems() const;

    const detail::DocumentData *data_ = nullptr;
    std::int32_t entry_ = -1;  // index of the entry; -1 for the document itself
};

// A member of a block (its name and node) or an item of a list (empty name).
struct Member {
    std::string_view name;
    Node node;

    operator Node() const { return node; }
};

// Walks the members of a block or the items of a list. *it is a Member kept
// inside the iterator: valid until the iterator moves or goes, so that
// `for (auto &m : node)` works; copy it to keep it longer.
class TESKPF_API MemberIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Member;
    using difference_type = std::ptrdiff_t;
    using pointer = const Member *;
    using reference = const Member &;

    MemberIterator() = default;
    const Member &operator*() const;
    const Member *operator->() const { return &**this; }
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
    mutable Member current_;            // what operator* last read
};

// Writes a value's text; a block or list as the parameter-file text of its
// entry and members (indented from level 0, closing lines included); the
// document as Document::toString; nothing for an empty node.
TESKPF_API std::ostream &operator<<(std::ostream &out, const Node &node);

}  // namespace teskpf
