// teskpf::Document and Node: loading, navigation, sources, verdicts, errors
// and in-memory edits.
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <teskpf/teskpf.h>

#include "test_support.h"

namespace {

using teskpf::Document;
using teskpf::Node;

const char *const kStation = TESKPF_EXAMPLES_DIR "/station.pf";

const char *const kNested =
    "# settings\n"
    "gain\t2.5\t#<float>\n"
    "net &Arr{\t#<int>\n"
    "\tport\t8080\n"
    "\thost\tlocalhost\t#<str> own annotation wins\n"
    "}\n"
    "chans &Tbl{\n"
    "\tHHZ\n"
    "\t&Arr{\n"
    "\t\tname\tx\n"
    "\t}\n"
    "}\n";

// ---- Navigation --------------------------------------------------------------

TEST(DocumentNavigation, WalksBlocksListsAndValues) {
    Document doc = Document::parse(kNested, "mem.pf");
    EXPECT_EQ(doc.size(), 3u);
    EXPECT_TRUE(doc.root().isBlock());
    EXPECT_TRUE(doc["net"].isBlock());
    EXPECT_TRUE(doc["chans"].isList());
    EXPECT_TRUE(doc["gain"].isValue());
    EXPECT_EQ(doc["chans"][0].text(), "HHZ");
    EXPECT_EQ(doc["chans"][1]["name"].text(), "x");
    EXPECT_EQ(doc["chans"][1]["name"].keyPath(), R"(["chans"][1]["name"])");
    EXPECT_EQ(doc["net"]["port"].level(), 1);
    EXPECT_TRUE(doc["net"].contains("host"));
    EXPECT_FALSE(doc["net"].contains("nope"));
}

TEST(DocumentNavigation, MissingMembersAreEmptyNodes) {
    Document doc = Document::parse(kNested);
    const Node missing = doc["nope"]["deeper"][3];
    EXPECT_FALSE(missing);
    EXPECT_EQ(missing.size(), 0u);
    EXPECT_EQ(missing.text(), "");
    EXPECT_EQ(missing.get<std::string>(), std::nullopt);
    EXPECT_FALSE(doc["chans"]["name"]);  // a list has no named members
    EXPECT_FALSE(doc["gain"][0]);        // a value has no items
    EXPECT_FALSE(doc["chans"][2]);
    EXPECT_FALSE(missing.check().ok);
}

TEST(DocumentNavigation, AtThrowsErrorNamingTheKeyPath) {
    Document doc = Document::parse(kNested);
    try {
        doc["net"].at("nope");
        FAIL() << "no exception";
    } catch (const std::exception &error) {
        EXPECT_STREQ(error.what(), R"(no key ["net"]["nope"])");
    }
    EXPECT_THROW(doc["chans"].at(5), teskpf::Error);
    EXPECT_EQ(doc.at("gain").text(), "2.5");
}

TEST(DocumentNavigation, IteratesMembersInFileOrderSkippingComments) {
    Document doc = Document::parse(kNested);
    std::vector<std::string> names;
    for (auto [name, node] : doc) names.push_back(std::string(name) + "=" + std::string(node.text()));
    EXPECT_EQ(names, (std::vector<std::string>{"gain=2.5", "net=&Arr", "chans=&Tbl"}));
    std::vector<std::string> items;
    for (Node item : doc["chans"]) items.push_back(item.keyPath());
    EXPECT_EQ(items, (std::vector<std::string>{R"(["chans"][0])", R"(["chans"][1])"}));
    int values = 0;
    for (Node value : doc["gain"]) values += value ? 1 : 0;
    EXPECT_EQ(values, 0);
}

TEST(DocumentNavigation, RepeatedKeyAnswersTheLastDefinition) {
    Document doc = Document::parse("a &Arr{\n\tx\t1\n}\na &Arr{\n\ty\t2\n}\n");
    EXPECT_EQ(doc["a"]["y"].text(), "2");
    // The member is looked up in the block found, not in an earlier namesake.
    EXPECT_FALSE(doc["a"]["x"]);
    EXPECT_EQ(doc.find(R"(["a"]["x"])").text(), "1");
}

// A block repeated with the same members: the path names the last one, as
// for the classic class, and each block answers for its own members.
TEST(DocumentNavigation, RepeatedBlockAnswersForItsOwnMembers) {
    test_support::TempDir dir;
    const std::string file = dir.write("r.pf", "b &Arr{\n\tx 1\n}\nb &Arr{\n\tx 2\n}\n");
    Document doc = Document::loadFile(file);
    TeskPf classic(file, 0);
    EXPECT_EQ(doc["b"]["x"].text(), classic.getValue(R"(["b"]["x"])", nullptr, nullptr));
    EXPECT_EQ(doc["b"]["x"].source().line, 5);
    // The first block, reached by position, finds its own member, not the
    // namesake of the last block that the key path names.
    EXPECT_EQ(doc.root()[std::size_t{0}]["x"].text(), "1");
    EXPECT_EQ(doc.root()[std::size_t{0}]["x"].source().line, 2);
}

// A name is the key the file holds, whatever characters it has; a member
// looked up by that name is the entry it came from.
TEST(DocumentNavigation, NamesAreTheKeysAsWritten) {
    Document doc = Document::parse("q[0] 3\nr\"] 4\nb &Arr{\n\tx[\"y\"] 5\n}\nl &Tbl{\n\tv\n}\n");
    std::vector<std::string> seen;
    for (auto [name, node] : doc) seen.push_back(std::string(name) + "=" + std::string(node.name()));
    for (auto [name, node] : doc["b"]) seen.push_back(std::string(name) + "=" + std::string(doc["b"][name].text()));
    EXPECT_EQ(seen, (std::vector<std::string>{"q[0]=q[0]", "r\"]=r\"]", "b=b", "l=l", "x[\"y\"]=5"}));
    EXPECT_EQ(doc["q[0]"].text(), "3");
    EXPECT_EQ(doc["l"][0].name(), "");
    EXPECT_EQ(doc.root().name(), "");
}

// ---- Loading -----------------------------------------------------------------

TEST(DocumentLoading, LayersFilesAlongTheSearchPathLikeTheClassicClass) {
    test_support::ScopedEnv path("PFPATH", TESKPF_EXAMPLES_DIR ":" TESKPF_EXAMPLES_DIR "/site-override");
    Document doc = Document::load("station");
    ASSERT_EQ(doc.files().size(), 2u);
    EXPECT_EQ(doc.files()[1], TESKPF_EXAMPLES_DIR "/site-override/station.pf");
    EXPECT_EQ(doc["status"].text(), "maintenance");
    EXPECT_EQ(doc["telemetry"]["port"].get<std::int64_t>(), 18001);
    EXPECT_FALSE(doc["telemetry"].contains("stream_pattern"));  // the block is replaced whole
    EXPECT_EQ(doc["latitude"].source().file, TESKPF_EXAMPLES_DIR "/station.pf");
    TeskPf classic("station", 0);
    EXPECT_EQ(doc.toString(), classic.getPfString());
}

TEST(DocumentLoading, ReportsOneBasedSources) {
    Document doc = Document::loadFile(kStation);
    teskpf::Source source = doc["sensor"]["serial"].source();
    EXPECT_EQ(source.file, kStation);
    EXPECT_EQ(source.line, 16);
    EXPECT_EQ(doc["sensor"]["serial"].get<std::int64_t>(), 0x1F3A);
}

TEST(DocumentLoading, UnreadableFilesThrowIoError) {
    test_support::TempDir dir;
    const std::string absent = dir.path() + "/absent.pf";
    try {
        Document::loadFile(absent);
        FAIL() << "no exception";
    } catch (const std::exception &error) {  // a std::exception, unlike the classic std::string
        const auto *io = dynamic_cast<const teskpf::IoError *>(&error);
        ASSERT_NE(io, nullptr);
        EXPECT_EQ(io->file(), absent);
        EXPECT_EQ(io->code(), std::errc::no_such_file_or_directory);
    }
    EXPECT_THROW(Document::loadFile(dir.path()), teskpf::IoError);  // a directory
    test_support::ScopedEnv path("PFPATH", dir.path().c_str());
    EXPECT_THROW(Document::load("absent"), teskpf::IoError);
}

TEST(DocumentLoading, ParsesTextWithoutFiles) {
    Document doc = Document::parse("a\t1\n", "given.pf");
    EXPECT_TRUE(doc.files().empty());
    EXPECT_EQ(doc["a"].source().file, "given.pf");
    EXPECT_EQ(doc["a"].source().line, 1);
    EXPECT_EQ(Document::parse("").size(), 0u);
}

// ---- Verdicts ----------------------------------------------------------------

TEST(DocumentVerdicts, SayWhichAnnotationAppliesAndWhy) {
    Document doc =
        Document::parse(kNested + std::string("bad\tx\t#<int>\nodd\t1\t#<nope>\nlist &Tbl{\t#<int>\n\t1\n}\n"));
    teskpf::Verdict own = doc["gain"].check();
    EXPECT_TRUE(own.ok);
    EXPECT_EQ(own.origin, teskpf::AnnotationOrigin::Own);
    EXPECT_EQ(own.types, std::vector<teskpf::ValueType>{teskpf::ValueType::Float});

    teskpf::Verdict inherited = doc["net"]["port"].check();
    EXPECT_TRUE(inherited);
    EXPECT_EQ(inherited.annotation, "<int>");
    EXPECT_EQ(inherited.origin, teskpf::AnnotationOrigin::Enclosing);

    EXPECT_EQ(doc["net"]["host"].check().origin, teskpf::AnnotationOrigin::Own);
    EXPECT_EQ(doc["chans"][0].check().origin, teskpf::AnnotationOrigin::None);
    EXPECT_TRUE(doc["net"].check().ok);  // a block's annotation is for its members
    EXPECT_EQ(doc["list"][0].check().origin, teskpf::AnnotationOrigin::Enclosing);

    teskpf::Verdict bad = doc["bad"].check();
    EXPECT_FALSE(bad.ok);
    EXPECT_EQ(bad.message, R"(["bad"]: x does not satisfy <int>)");
    teskpf::Verdict odd = doc["odd"].check();
    EXPECT_FALSE(odd.ok);
    EXPECT_EQ(odd.message, R"(["odd"]: cannot parse constraints '<nope>')");
    EXPECT_TRUE(odd.types.empty());
}

TEST(DocumentVerdicts, AgreeWithTheClassicCheckOnEveryEntry) {
    Document doc = Document::loadFile(kStation);
    TeskPf classic(kStation, 0);
    for (int i = 0; i < classic.size(); ++i) {
        const std::string key = classic.getKey(i);
        if (key.empty()) continue;
        Node node = doc.find(key);
        ASSERT_TRUE(node) << key;
        if (node.isValue()) {
            EXPECT_EQ(node.check().ok, classic.checkValue(i, nullptr, nullptr)) << key;
        }
    }
}

// ---- Typed access ------------------------------------------------------------

TEST(DocumentTypedAccess, ConvertsValuesOnly) {
    Document doc = Document::parse("n\t0x10\nf\t2.5\nb\tyes\ns\tsome text\nblk &Arr{\n}\n");
    EXPECT_EQ(doc["n"].get<std::int64_t>(), 16);
    EXPECT_EQ(doc["f"].get<double>(), 2.5);
    EXPECT_EQ(doc["b"].get<bool>(), true);
    EXPECT_EQ(doc["s"].get<std::string>(), "some text");
    EXPECT_EQ(doc["s"].get<std::int64_t>(), std::nullopt);
    EXPECT_EQ(doc["s"].fields(), (std::vector<std::string>{"some", "text"}));
    EXPECT_EQ(doc["blk"].get<std::string>(), std::nullopt);
    EXPECT_EQ(doc["missing"].valueOr(std::int64_t{7}), 7);
    EXPECT_EQ(doc["missing"].valueOr("dflt"), "dflt");
    EXPECT_EQ(doc["n"].valueOr(std::int64_t{7}), 16);
}

// A key with an empty value is there and holds ""; a missing key holds nothing.
TEST(DocumentTypedAccess, TellsAnEmptyValueFromAMissingKey) {
    Document doc = Document::parse("empty\nblk &Arr{\n\tinner\n}\n");
    for (const Node &node : {doc["empty"], doc["blk"]["inner"]}) {
        EXPECT_TRUE(node);
        EXPECT_TRUE(node.isValue());
        EXPECT_EQ(node.get<std::string>(), "");
        EXPECT_EQ(node.valueOr("dflt"), "");
        EXPECT_EQ(node.get<std::int64_t>(), std::nullopt);
    }
    EXPECT_TRUE(doc.contains("empty"));
    EXPECT_TRUE(doc["blk"].contains("inner"));
    EXPECT_FALSE(doc.contains("gone"));
    EXPECT_EQ(doc["gone"].get<std::string>(), std::nullopt);
    EXPECT_EQ(doc["gone"].valueOr("dflt"), "dflt");
}

// ---- Edits -------------------------------------------------------------------

TEST(DocumentEdits, RunTheHookThenStoreAndSave) {
    test_support::TempDir dir;
    Document doc = Document::parse(kNested, "mem.pf");
    std::vector<std::string> seen;
    doc.onChange([&](std::string_view key, std::string_view from, std::string &to) {
        seen.push_back(std::string(key) + ":" + std::string(from) + "->" + to);
        to += "0";
    });
    doc.set(R"(["net"]["port"])", "808");
    EXPECT_EQ(seen, std::vector<std::string>{R"(["net"]["port"]:8080->808)"});
    EXPECT_EQ(doc["net"]["port"].text(), "8080");
    std::string out = dir.path() + "/out.pf";
    doc.save(out);
    EXPECT_EQ(Document::loadFile(out)["net"]["port"].text(), "8080");
}

// The document and the classic handle make the same edit and write the same
// text, which reads back with the new value.
TEST(DocumentEdits, WriteWhatTheClassicHandleWritesAfterTheSameEdit) {
    const std::tuple<const char *, const char *, const char *> cases[] = {
        // text, key path, value
        {kNested, R"(["net"]["port"])", "80 81"},
        {kNested, R"(["chans"][0])", "a#b\\#c"},  // escaped when written
        {"a\t1\t#<int> one\nb\tx\\#y\tz\n", R"(["a"])", "2"},
        {"a &Arr{\n\tb[1\t1\n}\na\t2\n", R"(["a"])", "3"},  // a repeated key: the last one
    };
    test_support::TempDir dir;
    for (const auto &[text, key, value] : cases) {
        SCOPED_TRACE(key);
        Document doc = Document::parse(text, "e.pf");
        doc.set(key, value);
        TeskPf classic(dir.write("e.pf", text), 0);
        classic.setValue(key, value, 0);
        EXPECT_EQ(doc.toString(), classic.getPfString());
        EXPECT_EQ(Document::parse(doc.toString()).find(key).text(), value);
    }
}

TEST(DocumentEdits, RefuseValuesThatWouldNotReadBack) {
    Document doc = Document::parse(kNested, "mem.pf");
    EXPECT_THROW(doc.set(R"(["gain"])", "1\n2"), teskpf::EditError);
    EXPECT_THROW(doc.set(R"(["gain"])", "&Arr{"), teskpf::EditError);
    EXPECT_THROW(doc.set(R"(["chans"][0])", ""), teskpf::EditError);
    EXPECT_THROW(doc.set(R"(["net"])", "x"), teskpf::Error);
    EXPECT_THROW(doc.set(R"(["nope"])", "x"), teskpf::Error);
    EXPECT_EQ(doc["gain"].text(), "2.5");
}

// ---- Fields built from the text ------------------------------------------------

// A value with a tab or "\#", a comment with an annotation cut out and a name
// read from a key path holding "[" are built rather than viewed in the text:
// their views stay valid while the document lives, however many fields are
// built after them and whatever is set elsewhere.
TEST(DocumentFields, ViewsOfBuiltFieldsOutliveLaterLookupsAndEdits) {
    const int count = 300;
    std::string text = "plain\t1\n";
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        text += "k" + n + "[\"m" + n + "\tv" + n + "\\#\tw\t#<int> note " + n + "\n";
    }
    Document doc = Document::parse(text);
    std::vector<std::string_view> names, values, comments;
    for (auto [name, node] : doc) {
        names.push_back(name);
        values.push_back(node.text());
        comments.push_back(node.comment());
    }
    doc.set(R"(["plain"])", "2");
    EXPECT_FALSE(doc.toString().empty());
    ASSERT_EQ(names.size(), static_cast<size_t>(count + 1));
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        const size_t at = static_cast<size_t>(i + 1);
        EXPECT_EQ(names[at], "k" + n + "[\"m" + n);  // the key as the file holds it
        EXPECT_EQ(values[at], "v" + n + "# w");
        EXPECT_EQ(comments[at], "#  note " + n);  // "#", then what followed the annotation
        EXPECT_EQ(doc.find("[\"k" + n + "[\"m" + n + "\"]").text().data(), values[at].data());  // built once
    }
    EXPECT_EQ(doc["plain"].text(), "2");
}

}  // namespace
