// Key paths converted to brace notation and split into components.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TeskPf.h"

namespace {

TEST(KeyConversion, BraceNotation) {
    const std::pair<const char *, const char *> cases[] = {
        {"[\"a\"]", "{a}"}, {"[\"pars\"][\"count\"]", "{pars}{count}"},
        {"[\"pars\"][\"list\"][1][\"k\"]", "{pars}{list}[1]{k}"}, {"[\"t\"][0]", "{t}[0]"},
        {"[0][12]", "[0][12]"}, {"", ""}, {"name", "name"}, {"[\"\"]", "{}"},
        {"[\"a\"", "{a\""},         // an unfinished closing pair stays
        {"[\"]", "{]"},             // the opening pair is replaced first
        {"[\"x[\"y\"]", "{x{y}"},   // quoting inside names is not looked at
        {"[\"a\"]]", "{a}]"},
    };
    for (const auto &[key, perl] : cases) EXPECT_EQ(TeskPf::key2Perl(key), perl) << key;
}

TEST(KeyConversion, Components) {
    struct Case {
        const char *key;
        std::vector<std::string> parts;
    };
    const Case cases[] = {
        {"[\"a\"]", {"\"a\""}}, {"[\"pars\"][\"count\"]", {"\"pars\"", "\"count\""}},
        {"[\"pars\"][\"list\"][1][\"k\"]", {"\"pars\"", "\"list\"", "1", "\"k\""}},
        {"[\"t\"][0]", {"\"t\"", "0"}},
        {"", {}}, {"name", {}},
        {"[\"a\"]tail", {"\"a\""}},           // text after the last "]" is lost
        {"x12]", {"12"}},                     // the first character is dropped unseen
        {"[\"a]b\"]", {"\"a", "\""}},         // a "]" in a name ends the component
        {"]ab]", {"ab]", "b"}},               // "]" first: the rest of the key
    };
    for (const Case &c : cases) {
        const Table<std::string> parts = TeskPf::key2Table(c.key);
        EXPECT_EQ(std::vector<std::string>(parts.begin(), parts.end()), c.parts) << c.key;
    }
}

}  // namespace
