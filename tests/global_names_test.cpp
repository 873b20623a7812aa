// An application's own global names that the classic API also uses (Array,
// Table, TeskPf, Pf, Tbl, PfArr, FIELD_*, CONSTRAINT_*) compile beside the
// modern headers: no <teskpf/...> header but classic.h brings the classic
// declarations into the global namespace.
struct Array {
    int size;
};
struct Table {
    int rows;
};
struct TeskPf {};
struct Pf {};
struct Tbl {};
struct PfArr {};
enum ApplicationFields { FIELD_VALUE = 100, CONSTRAINT_INT = 101 };

#include <cstdint>

#include <gtest/gtest.h>
#include <teskpf/explain.h>
#include <teskpf/teskpf.h>

namespace {

TEST(GlobalNames, ApplicationTypesLiveBesideTheModernApi) {
    const Array array{2};
    const Table table{3};
    teskpf::Document doc = teskpf::Document::parse("a\t1\n");
    EXPECT_EQ(doc["a"].valueOr(std::int64_t{0}) + array.size + table.rows + FIELD_VALUE + CONSTRAINT_INT, 207);
}

}  // namespace
