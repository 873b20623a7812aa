// Table: the operations the system relies on. The other declared operations
// are only required to exist, and no table in the system has a release hook,
// so they are not pinned down here; Array is exercised through the constraint
// tables of the handle.
#include <gtest/gtest.h>

#include "test_support.h"

using Strings = std::vector<std::string>;

template <class T>
static std::vector<T> items(const Table<T> &t) {
    return {t.begin(), t.end()};
}

TEST(Table, IndexOperationsAnswerMissingElementsWithNull) {
    Table<std::string> t("N");
    for (const char *e : {"a", "b", "c"}) t.push(e);
    // Any negative index appends; an index past the end grows the table with copies of null.
    EXPECT_EQ((std::vector<long>{t.set(-1, "d"), t.set(-7, "e"), t.set(7, "h"), t.set(2, "C")}),
              (std::vector<long>{3, 4, 7, 2}));
    EXPECT_EQ(items(t), (Strings{"a", "b", "C", "d", "e", "N", "N", "h"}));
    EXPECT_EQ((Strings{t.del(-1), t.del(8), t.get(8), t.del(1), t.shift()}), (Strings{"N", "N", "N", "b", "a"}));
    EXPECT_EQ(items(t), (Strings{"C", "d", "e", "N", "N", "h"}));
    Table<std::string> empty;
    EXPECT_EQ(empty.shift(), "");
    EXPECT_EQ(empty.set(1, "x"), 1);
    EXPECT_EQ(items(empty), (Strings{"", "x"}));
    // Assignment copies the elements only: the target keeps its own null, also
    // as a slot of an outer table. A copy carries the source's null.
    Table<std::string> target("T");
    target = t;
    EXPECT_EQ(items(target), items(t));
    EXPECT_EQ((Strings{target.get(99), Table<std::string>(t).get(99)}), (Strings{"T", "N"}));
    Table<Table<int>> outer;
    outer.set(-1, Table<int>(-5));
    outer.set(0, Table<int>(7));
    EXPECT_EQ(outer[0].get(3), -5);
}
