#include <string>

#include <gtest/gtest.h>

#include "pf_strtrim.h"

TEST(PlatformStrtrim, TrimsBothEndsAndMovesTextToBufferStart) {
    struct Case {
        const char *text, *trimmed;
    } cases[] = {
        {"", ""},
        {" \t\n\v\f\r", ""},
        {"  a  b\tc  ", "a  b\tc"},
        {"value\r\n", "value"},
        {"\r\nvalue", "value"},
        {"plain", "plain"},
        {"\xa0x\xa0", "\xa0x\xa0"},  // only the ASCII set, whatever the locale
    };
    for (const Case &c : cases) {
        std::string buffer = c.text;
        EXPECT_EQ(strtrim(buffer.data()), buffer.data());
        EXPECT_STREQ(buffer.c_str(), c.trimmed) << "input \"" << c.text << '"';
    }
    EXPECT_EQ(strtrim(nullptr), nullptr);
}

TEST(PlatformStrtrim, SpaceSetIsExactlySixCharacters) {
    const std::string expected = " \t\n\v\f\r";
    for (int c = -1; c < 256; ++c)
        EXPECT_EQ(pf_isspace(c) != 0, c >= 0 && expected.find(static_cast<char>(c)) != std::string::npos)
            << "character " << c;
}
