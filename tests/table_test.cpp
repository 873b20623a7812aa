#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Table.h"

using Strings = std::vector<std::string>;

template <class T>
static std::vector<T> items(const Table<T> &t) {
    return std::vector<T>(t.begin(), t.end());
}

static Table<std::string> table(const Strings &elements, std::string null = "") {
    Table<std::string> t(null);
    for (const std::string &e : elements) t.push_back(e);
    return t;
}

TEST(Table, SetAppendsGrowsOrReplaces) {
    Table<std::string> t = table({"a", "b", "c"});
    EXPECT_EQ(t.set(-1, "d"), 3);
    EXPECT_EQ(t.set(-7, "e"), 4);  // any negative index appends
    EXPECT_EQ(t.set(5, "f"), 5);   // index equal to the count appends
    EXPECT_EQ(t.set(2, "C"), 2);
    EXPECT_EQ(items(t), (Strings{"a", "b", "C", "d", "e", "f"}));

    Table<std::string> empty;
    EXPECT_EQ(empty.set(5, "x"), 5);
    EXPECT_EQ(items(empty), (Strings{"", "", "", "", "", "x"}));
    Table<std::string> custom("N");
    custom.set(2, "x");
    EXPECT_EQ(items(custom), (Strings{"N", "N", "x"}));
}

TEST(Table, DelAndShiftRemoveOrAnswerNull) {
    Table<std::string> t = table({"a", "b", "c"}, "N");
    EXPECT_EQ(t.del(-1), "N");
    EXPECT_EQ(t.del(3), "N");
    EXPECT_EQ(items(t), (Strings{"a", "b", "c"}));
    EXPECT_EQ(t.del(1), "b");
    EXPECT_EQ(items(t), (Strings{"a", "c"}));
    EXPECT_EQ(t.shift(), "a");
    EXPECT_EQ(items(t), (Strings{"c"}));
    Table<std::string> empty;
    EXPECT_EQ(empty.shift(), "");
    EXPECT_TRUE(empty.empty());
}

TEST(Table, AssignmentCopiesElementsOnlyAndCopiesCarryNull) {
    Table<std::string> target = table({"old"}, "T");
    Table<std::string> source = table({"x", "y"}, "S");
    target = source;
    source.set(0, "changed");
    EXPECT_EQ(items(target), (Strings{"x", "y"}));
    EXPECT_EQ(target.get(9), "T");
    EXPECT_EQ(Table<std::string>(source).get(9), "S");

    // A table stored into an existing slot keeps that slot's own null.
    Table<Table<int>> outer;
    outer.set(-1, Table<int>(-5));
    Table<int> replacement(7);
    replacement.push(1);
    outer.set(0, replacement);
    EXPECT_EQ(items(outer[0]), (std::vector<int>{1}));
    EXPECT_EQ(outer[0].get(3), -5);
}

TEST(Table, SequenceOperations) {
    Table<int> t(-1);
    EXPECT_EQ(t.pop(), -1);
    EXPECT_EQ(t.push(2), 0);
    EXPECT_EQ(t.unshift(1), 0);
    EXPECT_EQ(t.ins(1, 9), 1);
    EXPECT_EQ(t.ins(-3, 4), 3);  // out of range: appended
    EXPECT_EQ(items(t), (std::vector<int>{1, 9, 2, 4}));
    EXPECT_EQ(t.max(), 3);
    EXPECT_EQ(t.get(4), -1);
    EXPECT_EQ(t.pop(), 4);
    EXPECT_EQ(t.cat(t), 6);
    EXPECT_EQ(items(t), (std::vector<int>{1, 9, 2, 1, 9, 2}));
    EXPECT_EQ(items(t.search(9)), (std::vector<long>{1, 4}));
    auto atMost = [](const int &e, const int &limit, void *) { return e <= limit ? 0 : 1; };
    EXPECT_EQ(items(t.search(2, atMost, nullptr)), (std::vector<long>{0, 2, 3, 5}));

    int visits = 0;
    auto stopAtNine = [](const int &e, void *count) { return ++*static_cast<int *>(count), e == 9 ? 42 : 0; };
    EXPECT_EQ(t.apply(stopAtNine, &visits), 42);
    EXPECT_EQ(visits, 2);
}

TEST(Table, SortsAreStable) {
    using Pair = std::pair<int, char>;
    Table<Pair> t;
    for (Pair p : {Pair{2, 'a'}, Pair{1, 'b'}, Pair{2, 'c'}, Pair{1, 'd'}}) t.push(p);
    t.sort([](const Pair &x, const Pair &y, void *) { return x.first - y.first; }, nullptr);
    EXPECT_EQ(items(t), (std::vector<Pair>{{1, 'b'}, {1, 'd'}, {2, 'a'}, {2, 'c'}}));
    t.sortb([](const Pair &x, const Pair &y, void *) { return x.first > y.first; }, nullptr);
    EXPECT_EQ(items(t), (std::vector<Pair>{{2, 'a'}, {2, 'c'}, {1, 'b'}, {1, 'd'}}));
    t.sortb([](const Pair &x, const Pair &y) { return x.second > y.second; });
    EXPECT_EQ(items(t), (std::vector<Pair>{{1, 'd'}, {2, 'c'}, {1, 'b'}, {2, 'a'}}));
}

TEST(Table, ReleaseHookRunsOncePerElementInIndexOrder) {
    std::vector<int> released;
    auto record = [&](void *p) { released.push_back(*static_cast<int *>(p)); };
    int values[3] = {10, 20, 30};
    {
        Table<int *> pointers(record);
        for (int &v : values) pointers.push(&v);
        pointers.del(1);  // removal does not release
        Table<int> byAddress(0, record);
        byAddress.push(5);
        byAddress.push(6);
        Table<int> noHook;
        noHook.push(7);
        EXPECT_TRUE(released.empty());
    }
    // Destroyed in reverse order of construction.
    EXPECT_EQ(released, (std::vector<int>{5, 6, 10, 30}));
}
