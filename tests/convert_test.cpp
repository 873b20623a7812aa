// The typed conversions of the modern API, row by row: a value converts to an
// integer or float exactly when the <int>/<float> check accepts it.
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <teskpf/teskpf.h>

namespace {

struct IntegerRow {
    const char *text;
    std::optional<std::int64_t> expected;
};

class IntegerConversion : public testing::TestWithParam<IntegerRow> {};

TEST_P(IntegerConversion, MatchesTheCheck) {
    const IntegerRow &row = GetParam();
    EXPECT_EQ(teskpf::toInteger(row.text), row.expected) << row.text;
    // The same text as a value under <int>: converts exactly when it passes.
    teskpf::Document doc = teskpf::Document::parse(std::string("v\t") + row.text + "\t#<int>\n");
    EXPECT_EQ(doc["v"].check().ok, row.expected.has_value()) << row.text;
    EXPECT_EQ(doc["v"].get<std::int64_t>(), row.expected) << row.text;
}

INSTANTIATE_TEST_SUITE_P(Rows, IntegerConversion,
                         testing::Values(IntegerRow{"42", 42}, IntegerRow{"-17", -17}, IntegerRow{"+5", 5},
                                         IntegerRow{"0x1F", 31}, IntegerRow{"0X1f", 31}, IntegerRow{"017", 15},
                                         IntegerRow{"08", 0}, IntegerRow{"12abc", 12}, IntegerRow{"0x", 0},
                                         IntegerRow{"-", std::nullopt}, IntegerRow{"abc", std::nullopt},
                                         IntegerRow{"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
                                         IntegerRow{"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
                                         IntegerRow{"9223372036854775808", std::nullopt}, IntegerRow{"1e3", 1}));

TEST(IntegerConversion, NeedsExactlyOneField) {
    EXPECT_EQ(teskpf::toInteger(""), std::nullopt);
    EXPECT_EQ(teskpf::toInteger("1 2"), std::nullopt);
    EXPECT_EQ(teskpf::toInteger(" 1"), std::nullopt);
}

struct FloatRow {
    const char *text;
    std::optional<double> expected;  // NaN stands for "converts to NaN"
};

class FloatConversion : public testing::TestWithParam<FloatRow> {};

TEST_P(FloatConversion, MatchesTheCheck) {
    const FloatRow &row = GetParam();
    std::optional<double> got = teskpf::toFloat(row.text);
    ASSERT_EQ(got.has_value(), row.expected.has_value()) << row.text;
    if (got && std::isnan(*row.expected)) {
        EXPECT_TRUE(std::isnan(*got)) << row.text;
    } else if (got) {
        EXPECT_EQ(*got, *row.expected) << row.text;
    }
    teskpf::Document doc = teskpf::Document::parse(std::string("v\t") + row.text + "\t#<float>\n");
    EXPECT_EQ(doc["v"].check().ok, row.expected.has_value()) << row.text;
}

const double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(Rows, FloatConversion,
                         testing::Values(FloatRow{"1.5", 1.5}, FloatRow{".5", 0.5}, FloatRow{"-2e3", -2000.0},
                                         FloatRow{"0x1p3", 8.0}, FloatRow{"12abc", 12.0}, FloatRow{"INF", kInf},
                                         FloatRow{"-inf", -kInf}, FloatRow{"nan", kNaN},
                                         FloatRow{"1e999", std::nullopt}, FloatRow{"1e-999", std::nullopt},
                                         FloatRow{"-", std::nullopt}, FloatRow{"abc", std::nullopt},
                                         FloatRow{"1,5", 1.0}));

struct BoolRow {
    const char *text;
    std::optional<bool> expected;
};

class BoolConversion : public testing::TestWithParam<BoolRow> {};

TEST_P(BoolConversion, KnowsTheDocumentedWords) {
    EXPECT_EQ(teskpf::toBool(GetParam().text), GetParam().expected) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(Rows, BoolConversion,
                         testing::Values(BoolRow{"true", true}, BoolRow{"TRUE", true}, BoolRow{"Yes", true},
                                         BoolRow{"on", true}, BoolRow{"1", true}, BoolRow{"false", false},
                                         BoolRow{"no", false}, BoolRow{"OFF", false}, BoolRow{"0", false},
                                         BoolRow{"", std::nullopt}, BoolRow{"y", std::nullopt},
                                         BoolRow{"2", std::nullopt}, BoolRow{"truex", std::nullopt},
                                         BoolRow{"01", std::nullopt}));

}  // namespace
