// Which layers an editor's file belongs to: the files of its name along a
// given search path, the file itself in the place of its directory.
#include <gtest/gtest.h>

#include <teskpf/search.h>

#include <filesystem>

#include "test_support.h"

namespace {

namespace fs = std::filesystem;
using test_support::TempDir;

struct Case {
    const char *label;
    const char *file;                    // relative to the temporary directory
    const char *search_path;             // directories relative to it, ":"-separated
    std::vector<const char *> expected;  // relative to it, lowest precedence first
    size_t index;
};

TEST(LayerStack, FilesOfTheNameAlongTheGivenPathWithTheFileInItsPlace) {
    TempDir dir;
    for (const char *layer : {"a/x.pf", "b/x.pf", "c/x.pf", "b/notes.conf"}) dir.write(layer, "k 1\n");
    fs::create_directories(dir.path() + "/empty");
    fs::create_directory_symlink(dir.path() + "/b", dir.path() + "/b-link");
    const std::vector<Case> cases = {
        {"middle layer", "b/x.pf", "a:b:c", {"a/x.pf", "b/x.pf", "c/x.pf"}, 1},
        {"top layer", "c/x.pf", "a:b:c", {"a/x.pf", "b/x.pf", "c/x.pf"}, 2},
        {"not yet on disk", "empty/x.pf", "a:empty:c", {"a/x.pf", "empty/x.pf", "c/x.pf"}, 1},
        {"new top layer", "empty/x.pf", "a:c:empty", {"a/x.pf", "c/x.pf", "empty/x.pf"}, 2},
        {"directory not on the path", "b/x.pf", "a:c", {"b/x.pf"}, 0},
        {"not a .pf name", "b/notes.conf", "a:b:c", {"b/notes.conf"}, 0},
        {"another spelling of its directory", "b-link/x.pf", "a:b:c", {"a/x.pf", "b-link/x.pf", "c/x.pf"}, 1},
        {"repeated directory: its last place", "b/x.pf", "b:a:b", {"a/x.pf", "b/x.pf"}, 1},
        {"empty parts skipped", "a/x.pf", "::a::c:", {"a/x.pf", "c/x.pf"}, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        std::string search_path;
        for (size_t at = 0;;) {
            const std::string part(c.search_path, at, std::string(c.search_path).find(':', at) - at);
            search_path += part.empty() ? "" : dir.path() + "/" + part;
            at += part.size();
            if (c.search_path[at] == '\0') break;
            search_path += ':';
            ++at;
        }
        const teskpf::LayerStack stack = teskpf::layerStack(dir.path() + "/" + c.file, search_path);
        std::vector<std::string> expected;
        for (const char *file : c.expected) expected.push_back(dir.path() + "/" + file);
        EXPECT_EQ(stack.files, expected);
        EXPECT_EQ(stack.index, c.index);
    }
}

}  // namespace
