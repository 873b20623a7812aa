// The reference model's text generator and key path conversions.
#include <cstdio>

#include "support/Reference.h"

namespace reference {

std::string enclosingKey(const std::string &key) {
    const size_t bracket = key.rfind('[');
    return bracket == std::string::npos ? std::string() : key.substr(0, bracket);
}

std::string key2Pfkey(const std::string &key) {
    const size_t bracket = key.rfind('[');
    if (bracket == std::string::npos || bracket + 1 >= key.size() || key[bracket + 1] != '"') return "";
    const long length = static_cast<long>(key.size()) - static_cast<long>(bracket) - 4;
    return length < 0 ? key.substr(bracket + 2) : key.substr(bracket + 2, static_cast<size_t>(length));
}

std::string key2Perl(const std::string &key) { return replace(replace(key, "[\"", "{"), "\"]", "}"); }

std::vector<std::string> key2Table(const std::string &key) {
    std::vector<std::string> components;
    std::string rest = key;
    for (size_t close = rest.find(']'); close != std::string::npos; close = rest.find(']')) {
        components.push_back(close == 0 ? rest.substr(1) : rest.substr(1, close - 1));
        rest = rest.substr(close + 1);
    }
    return components;
}

std::string generate(const EntryList &list, int now) {
    std::string text;
    std::string revision;
    int depth = 0;  // the depth of the text written so far
    const auto close_to = [&](int level) {
        while (depth > level) {
            --depth;
            text += std::string(static_cast<size_t>(depth), '\t') + "}\n";
        }
    };
    for (const Entry &entry : list) {
        int level = 0;
        std::sscanf(entry[kLevel].c_str(), "%d", &level);
        if (entry[kKey] == "[\"pf_revision_time\"]") {
            revision = "pf_revision_time\t" + std::to_string(now) + "\n";
            continue;
        }
        const std::string key = key2Pfkey(entry[kKey]);
        const std::string value = escapeValue(entry[kValue]);
        std::string comment = entry[kComment];
        if (!entry[kConstraints].empty())
            comment = "#" + entry[kConstraints] + " " + trim(comment.empty() ? comment : comment.substr(1));
        close_to(level);
        depth = level;
        if (key.empty() && value.empty()) {
            text += comment + "\n";
            continue;
        }
        text += std::string(static_cast<size_t>(level), '\t') + key;
        if (value == "&Arr" || value == "&Tbl") {
            text += (key.empty() ? "" : " ") + value + "{" + (comment.empty() ? "" : "\t" + comment) + "\n";
            ++depth;
        } else {
            text += (key.empty() ? "" : "\t") + value + (comment.empty() ? "" : "\t" + comment) + "\n";
        }
    }
    close_to(0);
    return text + revision;
}

}  // namespace reference
