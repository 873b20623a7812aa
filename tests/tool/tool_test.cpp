#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

struct Outcome {
    int status;
    std::string out, err;
};

// Every value passes its constraints; ["chan"][1] opens a block inside a list
// annotated <str>(...), which must not be checked against that list.
const char kGood[] =
    "# station\n"
    "name KBS1 #<str> code\n"
    "note a\\#b\n"
    "chan &Tbl{ #<str>(HHZ HHN)\n"
    "  HHZ\n"
    "  &Arr{\n"
    "    gain 1 2.5 #<int> <float>\n"
    "  }\n"
    "}\n";

// kGood as the library writes it.
const char kGoodWritten[] =
    "# station\n"
    "name\tKBS1\t#<str> code\n"
    "note\ta\\#b\n"
    "chan &Tbl{\t#<str>(HHZ HHN) \n"
    "\tHHZ\n"
    "\t&Arr{\n"
    "\t\tgain\t1 2.5\t#<int> <float> \n"
    "\t}\n"
    "}\n";

const char kBroken[] =
    "rate fast #<float>\n"
    "odd 7 #<bogus>\n"
    "chan &Tbl{ #<str>(HHZ HHN)\n"
    "  BHZ\n"
    "}\n"
    "pair 1 #<int> <float>\n";

const char kBrokenReport[] =
    "./broken.pf:0: [\"rate\"]: fast does not satisfy <float>\n"
    "./broken.pf:1: [\"odd\"]: cannot parse constraints '<bogus>'\n"
    "./broken.pf:3: [\"chan\"][0]: BHZ does not satisfy <str>(HHZ HHN)\n"
    "./broken.pf:5: [\"pair\"]: 1 does not satisfy <int> <float>\n";

class Tool : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "teskpf-tool.XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir = pattern;
        put("good.pf", kGood);
        put("broken.pf", kBroken);
    }
    void TearDown() override { fs::remove_all(dir); }

    void put(const std::string &name, const std::string &text) {
        fs::create_directories((dir / name).parent_path());
        std::ofstream(dir / name, std::ios::binary) << text;
    }
    std::string get(const std::string &name) {
        std::ifstream in(dir / name, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    // Runs the tool in the temporary directory with PFPATH set (unset when
    // empty), stdout and stderr captured in files.
    Outcome run(const std::vector<std::string> &args, const std::string &pfpath = ".") {
        const std::string out = (dir / ".out").string(), err = (dir / ".err").string();
        pid_t pid = fork();
        if (pid == 0) {
            std::vector<char *> argv{const_cast<char *>(TESKPF_TOOL)};
            for (const std::string &arg : args) argv.push_back(const_cast<char *>(arg.c_str()));
            argv.push_back(nullptr);
            pfpath.empty() ? unsetenv("PFPATH") : setenv("PFPATH", pfpath.c_str(), 1);
            if (chdir(dir.c_str()) != 0) _exit(127);
            dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
            dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
            execv(TESKPF_TOOL, argv.data());
            _exit(127);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        Outcome result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, get(".out"), get(".err")};
        fs::remove(out);
        fs::remove(err);
        return result;
    }

    fs::path dir;
};

TEST_F(Tool, VersionAndHelp) {
    Outcome version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "teskpf " TESKPF_VERSION "\n");
    Outcome help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char *command : {"show", "get", "check", "set", "fmt", "keys", "files"}) {
        EXPECT_NE(help.out.find(std::string("\n  ") + command + " "), std::string::npos) << command;
        Outcome own = run({command, "good", "--help"});
        EXPECT_EQ(own.status, 0) << command;
        EXPECT_EQ(own.out.rfind(std::string("usage: teskpf ") + command + " ", 0), 0u) << own.out;
    }
}

TEST_F(Tool, UsageErrorsExitTwoWithOneLineAndAHint) {
    const std::vector<std::vector<std::string>> cases = {
        {}, {"frobnicate", "good"}, {"get", "good"}, {"get", "good", "name", "extra"}, {"set", "good", "name"},
        {"show", "good", "--frob"}, {"fmt", "good", "-o"}, {"get", "good", "name", "--check", "--check"},
        {"keys", "good", "--perl", "--table"}, {"set", "good", "name", "two\nlines"}};
    for (const auto &args : cases) {
        Outcome r = run(args);
        std::string shown = args.empty() ? "(none)" : args[0] + " ...";
        EXPECT_EQ(r.status, 2) << shown;
        EXPECT_EQ(r.out, "") << shown;
        EXPECT_EQ(r.err.rfind("teskpf: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(" --help')\n"), std::string::npos) << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
    }
    EXPECT_EQ(get("good.pf"), kGood);  // the rejected set wrote nothing
}

TEST_F(Tool, ReadAndWriteErrorsExitTwo) {
    for (const char *command : {"show", "check", "fmt", "keys", "files"})
        EXPECT_EQ(run({command, "nope"}).err, "teskpf: no parameter file named 'nope' (searched PFPATH=.)\n");
    Outcome path = run({"get", "nope", "k"}, "a:b");
    EXPECT_EQ(path.status, 2);
    EXPECT_EQ(path.err, "teskpf: no parameter file named 'nope' (searched PFPATH=a:b)\n");
    fs::create_directory(dir / "adir");  // a directory is not a parameter file
    EXPECT_EQ(run({"show", "adir"}).status, 2);
    Outcome write = run({"set", "good", "name", "X", "-o", "no/such/dir/out.pf"});
    EXPECT_EQ(write.status, 2);
    EXPECT_EQ(write.err.rfind("teskpf: TeskPf::write: cannot write 'no/such/dir/out.pf': ", 0), 0u) << write.err;
}

TEST_F(Tool, ShowListsEntriesOrOneEntry) {
    Outcome all = run({"show", "broken"});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.out.rfind("./broken.pf:0; 0; [\"rate\"]; fast; #; <float>\n"
                            "./broken.pf:1; 0; [\"odd\"]; 7; #; <bogus>\n",
                            0),
              0u);
    EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 5);  // one line per entry
    EXPECT_EQ(run({"show", "good", "[\"chan\"][0]"}).out, "./good.pf:4; 1; [\"chan\"][0]; HHZ; ; \n");
    Outcome missing = run({"show", "good", "nokey"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_EQ(missing.err, "teskpf: no key [\"nokey\"] in 'good'\n");
}

TEST_F(Tool, GetPrintsTheValueAndChecksIt) {
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string out, err;
    };
    const std::vector<Case> cases = {
        {{"get", "good", "name"}, 0, "KBS1\n", ""},
        {{"get", "good", "note"}, 0, "a#b\n", ""},
        {{"get", "good", "[\"chan\"][1][\"gain\"]", "--check"}, 0, "1 2.5\n", ""},
        {{"get", "broken", "rate"}, 0, "fast\n", ""},
        {{"get", "broken", "rate", "--check"}, 1, "fast\n", "teskpf: [\"rate\"]: fast does not satisfy <float>\n"},
        {{"get", "broken", "[\"chan\"][0]", "--check"}, 1, "BHZ\n",
         "teskpf: [\"chan\"][0]: BHZ does not satisfy <str>(HHZ HHN)\n"},
        {{"get", "broken", "odd", "--check"}, 0, "7\n", ""},  // unparsed: nothing to check
        {{"get", "good", "[\"chan\"][9]"}, 1, "", "teskpf: no key [\"chan\"][9] in 'good'\n"},
    };
    for (const Case &c : cases) {
        Outcome r = run(c.args);
        EXPECT_EQ(r.status, c.status) << c.args[2];
        EXPECT_EQ(r.out, c.out) << c.args[2];
        EXPECT_EQ(r.err, c.err) << c.args[2];
    }
}

TEST_F(Tool, CheckReportsEveryProblem) {
    Outcome good = run({"check", "good"});
    EXPECT_EQ(good.status, 0);
    EXPECT_EQ(good.out, "");
    Outcome broken = run({"check", "good", "broken"});
    EXPECT_EQ(broken.status, 1);
    EXPECT_EQ(broken.out, kBrokenReport);
    Outcome unreadable = run({"check", "nope", "broken"});  // goes on after a read error
    EXPECT_EQ(unreadable.status, 2);
    EXPECT_EQ(unreadable.out, kBrokenReport);
}

TEST_F(Tool, CheckOnTheExamples) {
    EXPECT_EQ(run({"check", TESKPF_EXAMPLES_DIR "/station.pf"}).status, 0);
    Outcome broken = run({"check", TESKPF_EXAMPLES_DIR "/broken.pf"});
    EXPECT_EQ(broken.status, 1);
    EXPECT_GE(std::count(broken.out.begin(), broken.out.end(), '\n'), 5);
    EXPECT_NE(broken.out.find("cannot parse constraints"), std::string::npos);
}

TEST_F(Tool, SetRewritesTheFileThatSuppliedTheKey) {
    Outcome r = run({"set", "good", "note", "x#y"});
    EXPECT_EQ(r.status, 0) << r.err;
    std::string expected = kGoodWritten;
    expected.replace(expected.find("a\\#b"), 4, "x\\#y");
    EXPECT_EQ(get("good.pf"), expected);
    EXPECT_EQ(run({"get", "good", "note"}).out, "x#y\n");
    EXPECT_EQ(run({"set", "good", "[\"chan\"][1][\"gain\"]", "-3 1"}).status, 0);  // a value, not an option
    EXPECT_NE(get("good.pf").find("\tgain\t-3 1\t"), std::string::npos);
}

TEST_F(Tool, SetWithOutputLeavesTheSourceAlone) {
    Outcome r = run({"set", "good", "name", "KBS9", "-o", "copy"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.err, "teskpf: note: wrote 'copy.pf'\n");
    EXPECT_EQ(get("good.pf"), kGood);
    EXPECT_EQ(run({"get", "copy", "name"}).out, "KBS9\n");
}

TEST_F(Tool, SetRefusesMissingKeysAndBlocks) {
    Outcome missing = run({"set", "good", "nokey", "1"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "teskpf: no key [\"nokey\"] in 'good'\n");
    EXPECT_EQ(run({"set", "good", "chan", "1"}).status, 2);
    EXPECT_EQ(get("good.pf"), kGood);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir), fs::directory_iterator()), 2);  // no stray files
}

TEST_F(Tool, LayeredFilesAreEditedOneByOne) {
    put("base/stn.pf", "a 1\nb 2\n# base comment\n");
    put("site/stn.pf", "b 3\n");
    Outcome files = run({"files", "stn"}, "base:site");
    EXPECT_EQ(files.status, 0);
    EXPECT_EQ(files.out,
              "# files read for 'stn' (PFPATH=base:site), lowest precedence first; the last one wins each "
              "top-level key\nbase/stn.pf\nsite/stn.pf\n"
              "# top-level keys and the file that supplied each\n[\"b\"]\tsite/stn.pf\n[\"a\"]\tbase/stn.pf\n");
    EXPECT_EQ(run({"set", "stn", "a", "10"}, "base:site").status, 0);
    EXPECT_EQ(get("base/stn.pf"), "a\t10\nb\t2\n# base comment\n");
    EXPECT_EQ(get("site/stn.pf"), "b 3\n");
    EXPECT_EQ(run({"set", "stn", "b", "30"}, "base:site").status, 0);
    EXPECT_EQ(get("site/stn.pf"), "b\t30\n");
    EXPECT_EQ(get("base/stn.pf"), "a\t10\nb\t2\n# base comment\n");
}

TEST_F(Tool, AReadableFileOffThePathIsReadAsItself) {
    put("conf/station.conf", "k v\n");
    Outcome files = run({"files", "conf/station.conf"}, "");
    EXPECT_NE(files.out.find("(PFPATH=.)"), std::string::npos);
    EXPECT_NE(files.out.find("\nconf/station.conf\n"), std::string::npos) << files.out;
    EXPECT_EQ(run({"get", "conf/station.conf", "k"}).out, "v\n");
    // The library writes names with a .pf suffix: an in-place edit cannot land.
    Outcome set = run({"set", "conf/station.conf", "k", "w"});
    EXPECT_EQ(set.status, 2);
    EXPECT_NE(set.err.find("'conf/station.conf.pf'"), std::string::npos) << set.err;
    EXPECT_EQ(get("conf/station.conf"), "k v\n");
}

TEST_F(Tool, FmtRegeneratesTheText) {
    Outcome out = run({"fmt", "good"});
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.out, kGoodWritten);
    Outcome written = run({"fmt", "good", "-o", "formatted.pf"});
    EXPECT_EQ(written.status, 0);
    EXPECT_EQ(written.err, "");
    EXPECT_EQ(get("formatted.pf"), kGoodWritten);
    put("empty.pf", "");
    EXPECT_EQ(run({"fmt", "empty", "-o", "out.pf"}).status, 2);
    EXPECT_FALSE(fs::exists(dir / "out.pf"));
}

TEST_F(Tool, KeysInEveryNotation) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "[\"name\"]\n[\"note\"]\n[\"chan\"]\n[\"chan\"][0]\n[\"chan\"][1]\n[\"chan\"][1][\"gain\"]\n"},
        {"--perl", "{name}\n{note}\n{chan}\n{chan}[0]\n{chan}[1]\n{chan}[1]{gain}\n"},
        {"--table", "\"name\"\n\"note\"\n\"chan\"\n\"chan\"\t0\n\"chan\"\t1\n\"chan\"\t1\t\"gain\"\n"},
    };
    for (const auto &[option, expected] : cases) {
        Outcome r = option.empty() ? run({"keys", "good"}) : run({"keys", "good", option});
        EXPECT_EQ(r.status, 0) << option;
        EXPECT_EQ(r.out, expected) << option;
    }
}

}  // namespace
