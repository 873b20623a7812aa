// The teskpf tool end to end: each test runs the built program in a temporary
// directory and checks its exit status, output and the files written. Exit
// status 1 means a missing key or a failed check, 2 bad usage or a file that
// cannot be read or written.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <teskpf/classic.h>
#include <teskpf/diagnostics.h>
#include <teskpf/document.h>
#include <teskpf/error.h>
#include <teskpf/search.h>

#include <cstring>

#include "run_tool.h"
#include "test_support.h"

using namespace test_support;

// Every value passes its constraints; ["chan"][1] opens a block inside a list
// annotated <str>(...), which must not be checked against that list.
const char kGood[] =
    "# station\nname KBS1 #<str> code\nnote a\\#b\nchan &Tbl{ #<str>(HHZ HHN)\n  HHZ\n  &Arr{\n"
    "    gain 1 2.5 #<int> <float>\n  }\n}\n";
const char kBrokenReport[] =
    "./broken.pf:1:6: error: value 'fast' does not satisfy '<float>'; change the value or the annotation "
    "[value-mismatch]\n./broken.pf:2:8: error: annotation '<bogus>' does not parse, so the value is not checked: the "
    "types are <str>, <int>, <float>, <color>, <font> and <regex> in lower case, with every '<' and '(' closed "
    "[bad-annotation]\n./broken.pf:4:3: error: value 'BHZ' does not satisfy '<str>(HHZ HHN)' of its block "
    "(./broken.pf:3); change the value or the annotation [value-mismatch]\n./broken.pf:6:6: error: value '1' does not "
    "satisfy '<int> <float>'; change the value or the annotation [value-mismatch]\n";
const std::string kNoFile = "teskpf: no parameter file named 'nope' along PFPATH=.\n";

class Tool : public ::testing::Test {
protected:
    void SetUp() override {
        dir.write("good.pf", kGood);
        dir.write("broken.pf",
                  "rate fast #<float>\nodd 7 #<bogus>\nchan &Tbl{ #<str>(HHZ HHN)\n  BHZ\n}\npair 1 #<int> <float>\n");
    }
    std::string get(const std::string &name) { return readText(dir.path() + "/" + name); }
    std::string at(const std::string &name) const { return dir.path() + "/" + name; }

    // Runs the tool in the temporary directory with PFPATH set (unset when
    // empty); answers "STATUS|STDOUT|STDERR".
    std::string run(const std::vector<std::string> &args, const std::string &pfpath = ".") {
        const tool_run::ToolRun result = tool_run::runTool(args, dir.path(), pfpath);
        return std::to_string(result.status) + "|" + result.out + "|" + result.err;
    }

    TempDir dir;  // the files the tool sees
};

// Commands that change no file, bad usage included; each row gives the
// arguments and "STATUS|STDOUT|STDERR".
TEST_F(Tool, CommandsReadingFiles) {
    EXPECT_EQ(run({"--version"}), "0|teskpf " TESKPF_VERSION "\n|");
    EXPECT_EQ(run({"set", "good", "--help"}).rfind("0|usage: teskpf set ", 0), 0u);
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "2||teskpf: missing command (see 'teskpf --help')\n"},
        {{"frobnicate", "good"}, "2||teskpf: unknown command 'frobnicate' (see 'teskpf --help')\n"},
        {{"get", "good"}, "2||teskpf: get: missing argument KEY (see 'teskpf get --help')\n"},
        {{"get", "good", "name", "extra"}, "2||teskpf: get: unexpected argument 'extra' (see 'teskpf get --help')\n"},
        {{"set", "good", "name"}, "2||teskpf: set: missing argument VALUE (see 'teskpf set --help')\n"},
        {{"show", "good", "--frob"}, "2||teskpf: show: unknown option '--frob' (see 'teskpf show --help')\n"},
        {{"fmt", "good", "-o"}, "2||teskpf: fmt: option '-o' needs a value (see 'teskpf fmt --help')\n"},
        {{"get", "good", "name", "--check", "--check"},
         "2||teskpf: get: option '--check' given twice (see 'teskpf get --help')\n"},
        {{"keys", "good", "--perl", "--table"},
         "2||teskpf: keys: choose one of --perl, --table and --json (see 'teskpf keys --help')\n"},
        {{"set", "good", "name", "two\nlines"}, "2||teskpf: set: VALUE must be one line (see 'teskpf set --help')\n"},
        {{"show", "good", "[\"chan\"][0]"}, "0|./good.pf:4; 1; [\"chan\"][0]; HHZ; ; \n|"},
        {{"show", "good", "nokey"}, "1||teskpf: no key [\"nokey\"] in 'good' (did you mean [\"note\"]?)\n"},
        {{"get", "good", "note"}, "0|a#b\n|"},
        {{"get", "good", "[\"chan\"][1][\"gain\"]", "--check"}, "0|1 2.5\n|"},
        {{"get", "broken", "rate", "--check"}, "1|fast\n|teskpf: [\"rate\"]: fast does not satisfy <float>\n"},
        {{"get", "broken", "[\"chan\"][0]", "--check"},
         "1|BHZ\n|teskpf: [\"chan\"][0]: BHZ does not satisfy <str>(HHZ HHN)\n"},
        // check reports the annotation that does not parse, and so does get --check.
        {{"get", "broken", "odd", "--check"}, "1|7\n|teskpf: [\"odd\"]: cannot parse constraints '<bogus>'\n"},
        {{"get", "good", "[\"chan\"][9]"},
         "1||teskpf: no key [\"chan\"][9] in 'good' (did you mean [\"chan\"][0], [\"chan\"][1], [\"chan\"]?)\n"},
        {{"check", "good"}, "0||ok: 1 file, no problems\n"},
        {{"check", "good", "broken"}, std::string("1|") + kBrokenReport + "|4 errors, 0 warnings in 2 files\n"},
        {{"check", "nope", "broken"},  // goes on after an error
         std::string("2|") + kBrokenReport + "|" + kNoFile + "4 errors, 0 warnings in 1 file\n"},
        {{"keys", "good"},
         "0|[\"name\"]\n[\"note\"]\n[\"chan\"]\n[\"chan\"][0]\n[\"chan\"][1]\n[\"chan\"][1][\"gain\"]\n|"},
        {{"keys", "good", "--perl"}, "0|{name}\n{note}\n{chan}\n{chan}[0]\n{chan}[1]\n{chan}[1]{gain}\n|"},
        {{"keys", "good", "--table"},
         "0|\"name\"\n\"note\"\n\"chan\"\n\"chan\"\t0\n\"chan\"\t1\n\"chan\"\t1\t\"gain\"\n|"},
        {{"set", "good", "nokey", "1", "-o", "out.pf"},
         "1||teskpf: no key [\"nokey\"] in 'good' (did you mean [\"note\"]?)\n"},
        // Key paths people type: the brace form keys --perl prints, the dotted
        // shorthand, options with "=", malformed paths and near misses.
        {{"get", "good", "{chan}[1]{gain}"}, "0|1 2.5\n|"},
        {{"get", "good", "chan[1].gain"}, "0|1 2.5\n|"},
        {{"get", "good", "chan[0]"}, "0|HHZ\n|"},
        {{"get", "good", "[chan][0]"},
         "2||teskpf: KEY '[chan][0]' is not a key path: expected a list position (decimal digits) or a quoted name at "
         "column 2 (see 'teskpf --help')\n"},
        {{"get", "good", "chan..gain"},
         "2||teskpf: KEY 'chan..gain' is not a key path: expected a name (without '.', '[', '{', ']' or blanks) at "
         "column 6 (see 'teskpf --help')\n"},
        {{"get", "good", "{chan"},
         "2||teskpf: KEY '{chan' is not a key path: expected \"}\" closing the name at column 6 (see 'teskpf "
         "--help')\n"},
        {{"get", "good", "nane"}, "1||teskpf: no key [\"nane\"] in 'good' (did you mean [\"name\"], [\"note\"]?)\n"},
        {{"get", "good", "chan[1].gian"},
         "1||teskpf: no key [\"chan\"][1][\"gian\"] in 'good' (did you mean [\"chan\"][1][\"gain\"]?)\n"},
        {{"check", "--format=json", "-q", "good"}, "0|[]\n|"},
        {{"keys", "good", "--perl=yes"},
         "2||teskpf: keys: option '--perl' takes no value (see 'teskpf keys --help')\n"},
        {{"show", "good", "--frob=1"}, "2||teskpf: show: unknown option '--frob' (see 'teskpf show --help')\n"},
        {{"set", "good", "chan", "1"}, "2||teskpf: set: [\"chan\"] is a block; only plain values can be set\n"},
    };
    for (const auto &[args, expected] : cases) EXPECT_EQ(run(args), expected) << args.size();
    for (const char *command : {"show", "fmt", "keys", "files"}) EXPECT_EQ(run({command, "nope"}), "2||" + kNoFile);
    EXPECT_EQ(run({"get", "nope", "k"}, "a:b"), "2||teskpf: no parameter file named 'nope' along PFPATH=a:b\n");
    EXPECT_EQ(get("good.pf"), kGood);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 2);  // no file written
}

TEST_F(Tool, CommandsWritingFiles) {
    const std::string formatted = run({"fmt", "good"});
    EXPECT_EQ(formatted.rfind("0|# station\nname\tKBS1\t#<str> code\n", 0), 0u) << formatted;  // regenerated
    EXPECT_EQ(run({"fmt", "good", "-o", "out.conf"}), "0||");  // exactly "out.conf", no suffix added
    EXPECT_EQ("0|" + get("out.conf") + "|", formatted);
    EXPECT_FALSE(fs::exists(dir.path() + "/out.conf.pf"));
    EXPECT_EQ(run({"set", "good", "name", "KBS9", "-o", "copy"}), "0||");  // exactly "copy", no suffix added
    EXPECT_EQ(run({"get", "copy", "name"}), "0|KBS9\n|");
    EXPECT_EQ(get("good.pf"), kGood);  // -o leaves the source alone
    // Without -o only the value's bytes change, escaped.
    EXPECT_EQ(run({"set", "good", "note", "x#y"}), "0||");
    EXPECT_EQ(run({"get", "good", "note"}), "0|x#y\n|");
    std::string edited = kGood;
    edited.replace(edited.find("note a\\#b"), 9, "note x\\#y");
    EXPECT_EQ(get("good.pf"), edited);
    EXPECT_EQ(run({"set", "good", "[\"chan\"][1][\"gain\"]", "-3 1"}), "0||");  // a value, not an option
    EXPECT_EQ(run({"get", "good", "[\"chan\"][1][\"gain\"]"}), "0|-3 1\n|");
    EXPECT_EQ(run({"set", "good", "name", "X", "-o", "no/such/dir/out.pf"}),
              "2||teskpf: cannot write 'no/such/dir/out.pf': No such file or directory\n");
    dir.write("empty.pf", "");
    EXPECT_EQ(run({"fmt", "empty", "-o", "out.pf"}), "2||teskpf: nothing to write to 'out.pf': there are no entries\n");
    // With layered files, set rewrites the one that supplied the key.
    dir.write("base/stn.pf", "a 1\nb 2\n# base comment\n");
    dir.write("site/stn.pf", "b 3\n");
    EXPECT_EQ(run({"files", "stn"}, "base:site"),
              "0|# 'stn' is a name (no \"/\"): every file of that name along PFPATH=base:site, lowest precedence "
              "first; the last one wins each top-level key\nbase/stn.pf\nsite/stn.pf\n# top-level keys and the file "
              "that supplied each\n[\"b\"]\tsite/stn.pf\n"
              "[\"a\"]\tbase/stn.pf\n|");
    EXPECT_EQ(run({"set", "stn", "a", "10"}, "base:site"), "0||");
    EXPECT_EQ(run({"set", "stn", "b", "30"}, "base:site"), "0||");
    EXPECT_EQ(get("base/stn.pf") + get("site/stn.pf"), "a 10\nb 2\n# base comment\nb 30\n");
    // A readable file off the path is read and edited as itself.
    dir.write("conf/station.conf", "k v\n");
    EXPECT_EQ(run({"get", "conf/station.conf", "k"}, ""), "0|v\n|");
    EXPECT_EQ(run({"set", "conf/station.conf", "k", "w"}, ""), "0||");
    EXPECT_EQ(get("conf/station.conf"), "k w\n");
    EXPECT_FALSE(fs::exists(dir.path() + "/conf/station.conf.pf"));
}

// A file reached several times along PFPATH (a repeated directory, another
// spelling of it, a link to it) is read once, where it last appears: what the
// library, check and the tool report is what the search path without the
// repeats gives, even for a file that defines a key twice.
TEST_F(Tool, RepeatedSearchPathEntriesReadEachFileOnce) {
    dir.write("low/st.pf", "# low\nrate 5 #<int>\nonly_low x\ngain &Arr{\n  a 1\n}\n");
    dir.write("high/st.pf", "# high\nrate fast #<int>\ngain &Arr{\n  b 2\n}\nrate 7 #<float>\nextra &Tbl{\n  1\n}\n");
    fs::create_directory_symlink("high", dir.path() + "/link");
    const auto seen = [&](const std::string &pfpath) {
        ScopedEnv env("PFPATH", pfpath);
        ScopedCwd cwd(dir.path());
        std::string all;
        const teskpf::Document document = teskpf::Document::load("st");
        all += document.toString() + "|";
        for (const auto &[name, node] : document)
            all += node.source().file + ":" + std::to_string(node.source().line) + " ";
        const TeskPf pf("st", 0);
        for (const std::string &row : rows(pf.getList())) all += row + "\n";
        for (const teskpf::Diagnostic &found : teskpf::checkName("st"))
            all += found.file + ":" + std::to_string(found.line) + " " + found.message + "\n";
        all += run({"show", "st"}, pfpath) + run({"check", "st"}, pfpath) + run({"get", "st", "rate"}, pfpath);
        return all;
    };
    for (const auto &[once, repeated] : std::vector<std::pair<std::string, std::string>>{
             {"low:high", "low:high:low:high:high"},
             {"low:high", "high:low:high"},
             {"low:link", "low:./high/:low//:link"},
             {"high:low", "high:low:high:low"},
         })
        EXPECT_EQ(seen(repeated), seen(once)) << repeated;
}

// A name that is something other than a parameter file is reported as what
// it is, without opening it (a FIFO would block), by the tool and
// Document::load; the classic handle stays empty as before.
TEST_F(Tool, NamesThatAreNotParameterFiles) {
    fs::create_directory(at("adir"));
    ASSERT_EQ(mkfifo(at("fifo").c_str(), 0644), 0);
    fs::create_symlink("nowhere", at("dangling"));
    const int sock = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(at("sock").size(), sizeof address.sun_path);
    std::strcpy(address.sun_path, at("sock").c_str());
    ASSERT_EQ(bind(sock, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    const std::tuple<std::string, std::string, int> cases[] = {
        {"adir", "'adir' is a directory, not a parameter file", EISDIR},
        {"fifo", "'fifo' is a FIFO, not a parameter file", EINVAL},
        {"/dev/null", "'/dev/null' is a character device, not a parameter file", EINVAL},
        {"sock", "'sock' is a socket, not a parameter file", EINVAL},
        {"dangling", "'dangling' is a symbolic link to 'nowhere', which does not exist", ENOENT},
    };
    ScopedCwd cwd(dir.path());
    for (const auto &[name, reason, code] : cases) {
        for (const std::vector<std::string> &args : std::vector<std::vector<std::string>>{
                 {"show", name}, {"get", name, "k"}, {"set", name, "k", "1"}, {"check", name}}) {
            if (name == "adir" && args[0] == "check") continue;  // check reads a directory's *.pf files
            EXPECT_EQ(run(args), "2||teskpf: " + reason + "\n") << args[0] << " " << name;
        }
        try {
            teskpf::Document::load(name);
            ADD_FAILURE() << name << " loaded";
        } catch (const teskpf::IoError &error) {
            EXPECT_EQ(std::string(error.what()) + " " + std::to_string(error.code().value()),
                      reason + " " + std::to_string(code));
        }
        EXPECT_EQ(teskpf::notAParameterFile(name), reason);
        EXPECT_EQ(TeskPf(name, 0).size(), 0) << name;
    }
    EXPECT_EQ(teskpf::notAParameterFile("good"), "");  // a name along PFPATH
    EXPECT_EQ(teskpf::notAParameterFile("good.pf"), "");
    EXPECT_EQ(teskpf::notAParameterFile("nope"), "");
    close(sock);
}

// Every option naming a file expands a leading "~" as NAME does. Run as a
// user without a database entry, whose home is then $HOME.
TEST_F(Tool, FileOptionsExpandTheHomeDirectory) {
    if (geteuid() != 0 || getpwuid(54321)) GTEST_SKIP() << "needs root and a uid without an entry";
    const std::string home = at("home");
    fs::create_directory(home);
    ASSERT_EQ(chown(home.c_str(), 54321, 54321), 0);
    ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(at("good.pf").c_str(), 0644), 0);
    const auto asUser = [&](const std::vector<std::string> &args) {
        const pid_t pid = fork();
        if (pid == 0) {
            std::vector<char *> argv{const_cast<char *>(TESKPF_TOOL)};
            for (const std::string &arg : args) argv.push_back(const_cast<char *>(arg.c_str()));
            argv.push_back(nullptr);
            setenv("HOME", home.c_str(), 1);
            setenv("PFPATH", ".", 1);
            const int quiet = open("/dev/null", O_WRONLY);
            if (chdir(dir.path().c_str()) != 0 || setgid(54321) != 0 || setuid(54321) != 0 || quiet < 0) _exit(127);
            dup2(quiet, 1);
            dup2(quiet, 2);
            execv(TESKPF_TOOL, argv.data());
            _exit(127);
        }
        return tool_run::waitFor(pid);
    };
    EXPECT_EQ(asUser({"fmt", "good", "-o", "~/formatted.pf"}), 0);
    EXPECT_EQ(readText(home + "/formatted.pf").substr(0, 9), "# station");
    EXPECT_EQ(asUser({"set", "good", "name", "X", "-o", "~/set.pf"}), 0);
    EXPECT_NE(readText(home + "/set.pf").find("name\tX"), std::string::npos);
    EXPECT_EQ(asUser({"set", "good", "name", "Y", "--file", "~/set.pf"}), 0);
    EXPECT_NE(readText(home + "/set.pf").find("name\tY"), std::string::npos);
    EXPECT_EQ(asUser({"unset", "good", "note", "--file", "~/set.pf"}), 0);
    EXPECT_EQ(readText(home + "/set.pf").find("note"), std::string::npos);
    EXPECT_EQ(get("good.pf"), kGood);
}

// "-" reads standard input for check and import.
TEST(StandardInput, CheckFmtAndImportReadIt) {
    const auto piped = [](const std::string &input, const std::string &args) {
        const std::string command = "printf '" + input + "' | '" TESKPF_TOOL "' " + args + " 2>&1";
        FILE *pipe = popen(command.c_str(), "r");
        std::string out;
        char buffer[256];
        for (size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, got);
        const int status = pclose(pipe);
        return std::to_string(WEXITSTATUS(status)) + "|" + out;
    };
    EXPECT_EQ(piped("rate x #<int>\\n", "check -q -"),
              "1|<stdin>:1:6: error: value 'x' does not satisfy '<int>'; change the value or the annotation "
              "[value-mismatch]\n");
    EXPECT_EQ(piped("{\"a\": [\"b\"]}", "import -"), "0|a &Tbl{\n\tb\n}\n");
    EXPECT_EQ(piped("a   1 #<int>\nb &Arr{\n c  2\n}\n", "fmt -"), "0|a\t1\t#<int> \nb &Arr{\n\tc\t2\n}\n");
}
