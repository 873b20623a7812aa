#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Array.h"
#include "TeskPf.h"

TEST(Array, SetInsertsOrReplacesAndReturnsThePreviousValue) {
    Array<std::string, Table<TeskPf_Constraint>> constraints;
    Table<TeskPf_Constraint> one;
    one.push(TeskPf_Constraint{CONSTRAINT_INT, {}});
    EXPECT_TRUE(constraints.set("<int>", one).empty());
    EXPECT_EQ(constraints.size(), 1u);

    Table<TeskPf_Constraint> two = one;
    two.push(TeskPf_Constraint{});
    Table<TeskPf_Constraint> previous = constraints.set("<int>", two);
    ASSERT_EQ(previous.size(), 1u);
    EXPECT_EQ(previous[0].type, CONSTRAINT_INT);
    EXPECT_EQ(constraints.size(), 1u);
    EXPECT_EQ(constraints["<int>"].size(), 2u);
}

TEST(Array, KeysAreComparedExactly) {
    Array<std::string, int> a;
    EXPECT_FALSE(a.contains(""));
    a.set("key", 1);
    EXPECT_TRUE(a.contains("key"));
    for (const char *key : {"", "Key", " key", "key "}) EXPECT_FALSE(a.contains(key)) << key;
}

TEST(Array, OtherOperations) {
    Array<std::string, int> a(-1);
    EXPECT_EQ(a.set("a", 1), -1);
    EXPECT_EQ(a.set("b", 5), -1);
    EXPECT_EQ(a.set("b", 2), 5);
    EXPECT_EQ(a.get("b"), 2);
    EXPECT_EQ(a.get("zz"), -1);
    EXPECT_EQ(a.del("zz"), -1);
    a.set("c", 3);
    EXPECT_EQ(a.del("c"), 3);
    EXPECT_EQ(a.cnt(), 2);

    // keys() and vals() list the entries in the same order.
    Table<std::string> keys = a.keys();
    Table<int> vals = a.vals();
    ASSERT_EQ(keys.size(), vals.size());
    std::map<std::string, int> listed, visited;
    for (size_t i = 0; i < keys.size(); ++i) listed[keys[i]] = vals[i];
    EXPECT_EQ(listed, (std::map<std::string, int>{{"a", 1}, {"b", 2}}));
    auto collect = [](const std::string &k, const int &v, void *out) {
        (*static_cast<std::map<std::string, int> *>(out))[k] = v;
    };
    EXPECT_EQ(a.apply(collect, &visited), 2);
    EXPECT_EQ(visited, listed);
}

TEST(Array, ReleaseHooksRunValueThenKeyForEachEntry) {
    std::vector<std::string> calls;
    {
        Array<std::string, int> a([&](void *v) { calls.push_back(std::to_string(*static_cast<int *>(v))); },
                                  [&](void *k) { calls.push_back(*static_cast<std::string *>(k)); });
        a.set("k1", 1);
        a.set("k2", 2);
        a.set("k3", 3);
        a.del("k2");  // removal does not release
        Array<std::string, int> noHooks;
        noHooks.set("x", 9);
        EXPECT_TRUE(calls.empty());
    }
    ASSERT_EQ(calls.size(), 4u);
    std::map<std::string, std::string> pairs{{calls[0], calls[1]}, {calls[2], calls[3]}};
    EXPECT_EQ(pairs, (std::map<std::string, std::string>{{"1", "k1"}, {"3", "k3"}}));
}
