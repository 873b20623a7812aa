// Node::get<T>() and valueOr() for every integer and floating type, lists as
// std::vector<std::string>; iteration with references; operator<<.
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <teskpf/teskpf.h>

namespace {

using teskpf::Document;
using teskpf::Node;

// One value line "v TEXT" read as T.
template <class T>
std::optional<T> read(const std::string &text) {
    return Document::parse("v\t" + text + "\n")["v"].get<T>();
}

template <class T>
struct Row {
    const char *text;
    std::optional<T> expected;
};

template <class T>
void expectRows(const std::vector<Row<T>> &rows) {
    for (const Row<T> &row : rows) EXPECT_EQ(read<T>(row.text), row.expected) << row.text;
}

// ---- Integers: the <int> reading, then the range of T -----------------------

TEST(TypedGet, IntegersAreRangeChecked) {
    // Forms every integer type shares: base 0, the rest of the field ignored.
    const char *const not_numbers[] = {"abc", "-", ".5", "INF", "1 2"};
    expectRows<signed char>({{"127", 127}, {"-128", -128}, {"128", {}}, {"-129", {}}, {"0x7f", 127}});
    expectRows<unsigned char>({{"255", 255}, {"256", {}}, {"-1", {}}, {"017", 15}});
    expectRows<short>({{"32767", 32767}, {"-32768", -32768}, {"32768", {}}, {"-32769", {}}});
    expectRows<unsigned short>({{"65535", 65535}, {"65536", {}}, {"-1", {}}});
    expectRows<int>({{"2147483647", 2147483647},
                     {"-2147483648", std::numeric_limits<int>::min()},
                     {"2147483648", {}},
                     {"-2147483649", {}},
                     {"12abc", 12},
                     {"1e3", 1}});
    expectRows<unsigned>({{"4294967295", 4294967295u}, {"4294967296", {}}, {"-1", {}}, {"08", 0u}});
    expectRows<long long>({{"9223372036854775807", std::numeric_limits<long long>::max()},
                           {"-9223372036854775808", std::numeric_limits<long long>::min()},
                           {"9223372036854775808", {}}});
    expectRows<std::int64_t>({{"0x1F3A", 0x1F3A}, {"-9223372036854775809", {}}});
    // Beyond 64-bit signed the <int> check fails too, so unsigned 64 bits stop there.
    expectRows<unsigned long long>(
        {{"9223372036854775807", 9223372036854775807ull}, {"18446744073709551615", {}}, {"-1", {}}});
    expectRows<std::uint8_t>({{"0", 0}, {"0x100", {}}});
    for (const char *text : not_numbers) {
        EXPECT_EQ(read<signed char>(text), std::nullopt) << text;
        EXPECT_EQ(read<int>(text), std::nullopt) << text;
        EXPECT_EQ(read<unsigned long>(text), std::nullopt) << text;
        EXPECT_EQ(read<long>(text), std::nullopt) << text;
    }
}

// ---- Floats: the <float> reading (a double), then the range of T -------------

TEST(TypedGet, FloatsAreRangeChecked) {
    expectRows<float>({{"1.5", 1.5f},
                       {".5", 0.5f},
                       {"0x1p3", 8.0f},
                       {"-2e3", -2000.0f},
                       {"3e38", 3e38f},
                       {"1e39", {}},   // beyond float
                       {"1e-50", {}},  // non-zero, but 0 as a float
                       {"0", 0.0f},
                       {"-0", -0.0f},
                       {"1e-40", 1e-40f},  // subnormal, still not 0
                       {"12abc", 12.0f},
                       {"abc", {}},
                       {"1 2", {}}});
    expectRows<double>({{"1e308", 1e308}, {"1e309", {}}, {"1e-50", 1e-50}, {"017", 17.0}, {"-", {}}});
    expectRows<long double>({{"0.1", static_cast<long double>(0.1)}, {"1e400", {}}, {"abc", {}}});
    EXPECT_EQ(read<float>("-inf"), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(read<long double>("INF"), std::numeric_limits<long double>::infinity());
    EXPECT_TRUE(std::isnan(*read<float>("nan")));
    EXPECT_TRUE(std::isnan(*read<double>("NAN")));
}

TEST(TypedGet, ValueOrDeducesTheTypeFromTheFallback) {
    Document doc = Document::parse("small\t300\nbig\t3000000000\nrate\t2.5\nword\tyes\nname\tx y\n");
    EXPECT_EQ(doc["small"].valueOr(1), 300);
    EXPECT_EQ(doc["big"].valueOr(1), 1);  // does not fit int
    EXPECT_EQ(doc["big"].valueOr(1LL), 3000000000LL);
    EXPECT_EQ(doc["small"].valueOr(std::uint8_t{7}), 7);
    EXPECT_EQ(doc["rate"].valueOr(0.0f), 2.5f);
    EXPECT_EQ(doc["rate"].valueOr(0), 2);  // the leading integer, as <int> reads it
    EXPECT_EQ(doc["word"].valueOr(false), true);
    EXPECT_EQ(doc["name"].valueOr("none"), "x y");
    EXPECT_EQ(doc["missing"].valueOr(std::vector<std::string>{"d"}), std::vector<std::string>{"d"});
    EXPECT_EQ(doc["name"].valueOr(1.0), 1.0);  // two fields are no number
}

TEST(TypedGet, ListsAsStrings) {
    Document doc = Document::parse(
        "hosts &Tbl{\n\ta\n\tb c\n}\nempty &Tbl{\n}\nmixed &Tbl{\n\ta\n\t&Arr{\n\t\tk\tv\n\t}\n}\n"
        "net &Arr{\n\tport\t1\n}\nvalue\ta b\n");
    using Strings = std::vector<std::string>;
    EXPECT_EQ(doc["hosts"].get<Strings>(), (Strings{"a", "b c"}));
    EXPECT_EQ(doc["empty"].get<Strings>(), Strings{});
    EXPECT_EQ(doc["mixed"].get<Strings>(), std::nullopt);  // an item is a block
    EXPECT_EQ(doc["net"].get<Strings>(), std::nullopt);    // a block is no list
    EXPECT_EQ(doc["value"].get<Strings>(), std::nullopt);  // fields() splits a value
    EXPECT_EQ(doc["missing"].get<Strings>(), std::nullopt);
    EXPECT_EQ(doc["hosts"].get<int>(), std::nullopt);
}

// ---- Iteration ---------------------------------------------------------------

TEST(TypedIteration, DocumentIteratesLikeItsRootByReference) {
    Document doc = Document::parse("a\t1\nb &Arr{\n\tc\t2\n\td\t3\n}\nl &Tbl{\n\tx\n}\n");
    std::vector<std::string> seen;
    for (auto &m : doc) seen.push_back(std::string(m.name) + "=" + std::string(m.node.text()));
    for (const auto &[name, node] : doc["b"]) seen.push_back(std::string(name) + "=" + std::string(node.text()));
    for (auto &item : doc["l"]) seen.push_back("[" + std::string(item.name) + "]" + std::string(item.node.text()));
    EXPECT_EQ(seen, (std::vector<std::string>{"a=1", "b=&Arr", "l=&Tbl", "c=2", "d=3", "[]x"}));

    std::vector<std::string> from_root;
    for (auto it = doc.root().begin(); it != doc.root().end(); ++it) from_root.emplace_back(it->name);
    EXPECT_EQ(from_root, (std::vector<std::string>{"a", "b", "l"}));
    // Copies keep what they were given after the iterator moves on.
    std::vector<teskpf::Member> members(doc.begin(), doc.end());
    ASSERT_EQ(members.size(), 3u);
    EXPECT_EQ(members[0].name, "a");
    EXPECT_EQ(members[2].node.keyPath(), R"(["l"])");
    EXPECT_EQ(Document::parse("").begin(), Document::parse("").end());
}

// ---- operator<< --------------------------------------------------------------

TEST(TypedPrinting, NodesPrintAsValuesOrParameterText) {
    Document doc = Document::parse(
        "# head\n"
        "gain\t2.5\t#<float> volts\n"
        "net &Arr{\t#<int>\n"
        "\tport\t8080\n"
        "\t# a note inside\n"
        "\tinner &Tbl{\n"
        "\t\ta\tb\n"
        "\t\t&Arr{\n"
        "\t\t\tk\tv\n"
        "\t\t}\n"
        "\t}\n"
        "}\n"
        "hash\tx\\#y\n"
        "after\t1\n");
    doc.set(R"(["net"]["port"])", "9090");
    struct Case {
        Node node;
        const char *printed;
    };
    const Case cases[] = {
        {doc["gain"], "2.5"},
        {doc["hash"], "x#y"},  // a value prints its text, escapes removed
        {doc["net"]["port"], "9090"},
        {doc["net"]["inner"], "inner &Tbl{\n\ta b\n\t&Arr{\n\t\tk\tv\n\t}\n}\n"},
        {doc["net"]["inner"][1], "&Arr{\n\tk\tv\n}\n"},
        {doc["net"],
         "net &Arr{\t#<int> \n\tport\t9090\n\tinner &Tbl{\n\t\ta b\n\t\t&Arr{\n\t\t\tk\tv\n\t\t}\n\t}\n}\n"},
        {doc["missing"], ""},
    };
    for (const Case &c : cases) {
        std::ostringstream out;
        out << c.node;
        EXPECT_EQ(out.str(), c.printed) << c.node.keyPath();
    }
    std::ostringstream whole;
    whole << doc.root();
    EXPECT_EQ(whole.str(), doc.toString());
}

}  // namespace

namespace {

using teskpf::TypedField;

// The fields of a value typed by the annotation in effect: each a number for
// <int> and <float>, the text otherwise; nothing when the value fails it.
TEST(TypedFields, EachFieldByItsTypeOrNothing) {
    struct Case {
        const char *line;
        std::optional<std::vector<TypedField>> expected;
    };
    using Fields = std::vector<TypedField>;
    const std::vector<Case> cases = {
        {"v\t0x1F\t#<int>", Fields{std::int64_t{31}}},
        {"v\t2.5\t#<float>", Fields{2.5}},
        {"v\t12 0.5 red\t#<int> <float> <color>", Fields{std::int64_t{12}, 0.5, std::string("red")}},
        {"v\thigh\t#<str>(low high)", Fields{std::string("high")}},
        {"v\tlouder\t#<str>(low high)", std::nullopt},
        {"v\t12 13\t#<int>", std::nullopt},
        {"v\t12", std::nullopt},
        {"v\t12\t#<Int>", std::nullopt},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(Document::parse(std::string(c.line) + "\n")["v"].typedFields(), c.expected);
    }
    // A block's member takes the block's annotation.
    EXPECT_EQ(Document::parse("b &Arr{\t#<int>\n\tv\t7\n}\n")["b"]["v"].typedFields(), Fields{std::int64_t{7}});
}

}  // namespace
