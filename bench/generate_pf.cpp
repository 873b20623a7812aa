#include "generate_pf.h"

#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace teskpf_bench {
namespace {

const char *const kKeyStems[] = {"gain",     "rate",    "timeout", "retries", "level",   "threshold", "path",
                                 "mode",     "window",  "filter",  "host",    "port",    "label",     "offset",
                                 "scale",    "units",   "format",  "channel", "station", "latency",   "buffer",
                                 "priority", "enabled", "name",    "model",   "serial",  "delay",     "limit"};
const char *const kBlockStems[] = {"channels", "stations", "filters", "sensors", "schedule",
                                   "network",  "defaults", "outputs", "tasks",   "limits"};
const char *const kWords[] = {"alpha", "north",  "broadband", "vertical",  "primary", "backup",  "archive",
                              "local", "remote", "sensor",    "digitizer", "relay",   "station", "summit"};
const char *const kNotes[] = {"number of retries",
                              "seconds before giving up",
                              "sample rate in Hz",
                              "see the operations manual",
                              "lower bound",
                              "upper bound",
                              "default when unset",
                              "applies to every channel",
                              "overrides the site default",
                              "kept for compatibility"};
const char *const kCommentLines[] = {"Acquisition settings for the north array",
                                     "Values below were tuned in the last field season",
                                     "Change only together with the matching filter",
                                     "Units follow the instrument response files",
                                     "Disabled entries stay for reference",
                                     "Timing defaults; overridden per station",
                                     "Keep this list sorted by priority"};

struct Enumeration {
    const char *annotation;
    const char *const words[3];
};
const Enumeration kEnumerations[] = {{"<str>(low medium high)", {"low", "medium", "high"}},
                                     {"<str>(on off auto)", {"on", "off", "auto"}},
                                     {"<str>(fast slow safe)", {"fast", "slow", "safe"}}};

constexpr int kMaxDepth = 4;             // blocks nest 1 to 4 deep
constexpr double kCommentChance = 0.25;  // comment line before a member; gives ~15% comment lines
constexpr double kBlankChance = 0.02;    // blank line before a top-level member
constexpr double kTopBlockChance = 0.3;
constexpr double kNestedBlockChance = 0.25;

class Generator {
public:
    explicit Generator(size_t lines) : remaining(lines) {}

    Node document() {
        Node root;
        root.kind = Node::Arr;
        size_t index = 0;
        while (remaining > 0) {
            addSpacing(root, kBlankChance);
            if (remaining >= 3 && chance(kTopBlockChance))
                root.members.push_back(block(1, blockKey(index++), chance(0.75) ? Node::Arr : Node::Tbl));
            else
                root.members.push_back(scalar(key(index++)));
        }
        return root;
    }

private:
    // Random numbers from the generator's raw output only: the standard fixes
    // mt19937_64's sequence but not that of its distributions.
    bool chance(double p) { return static_cast<double>(rng() >> 11) * 0x1.0p-53 < p; }
    size_t below(size_t n) { return static_cast<size_t>(rng() % n); }
    template <typename T, size_t N>
    const T &pick(const T (&items)[N]) {
        return items[below(N)];
    }

    std::string key(size_t index) { return std::string(pick(kKeyStems)) + "_" + std::to_string(index); }
    std::string blockKey(size_t index) { return std::string(pick(kBlockStems)) + "_" + std::to_string(index); }

    Node line(Node::Kind kind) {
        --remaining;
        Node node;
        node.kind = kind;
        return node;
    }

    // A comment line (and at the top level sometimes a blank line) before the
    // next member, as long as a line is left for that member.
    void addSpacing(Node &parent, double blank_chance) {
        if (remaining > 1 && chance(blank_chance)) parent.members.push_back(line(Node::Blank));
        if (remaining > 1 && chance(kCommentChance)) {
            Node comment = line(Node::Comment);
            comment.note = pick(kCommentLines);
            parent.members.push_back(std::move(comment));
        }
    }

    std::string integer() { return std::to_string(static_cast<long>(below(5000)) - 50); }
    std::string real() {
        char text[32];
        std::snprintf(text, sizeof text, "%.3f", static_cast<double>(below(1000000)) / 997.0);
        return text;
    }
    std::string words() {
        if (chance(0.3)) return std::string("/data/") + pick(kWords) + "/" + pick(kWords) + std::to_string(below(100));
        std::string text = pick(kWords);
        for (size_t extra = below(3); extra > 0; --extra) text += std::string(" ") + pick(kWords);
        return text;
    }

    // A value of every kind the library checks, most of them annotated.
    Node scalar(std::string name) {
        Node node = line(Node::Scalar);
        node.key = std::move(name);
        size_t kind = below(100);
        if (kind < 22) {
            node.type = Node::Integer;
            node.value = integer();
            if (chance(0.85)) node.annotation = "<int>";
        } else if (kind < 40) {
            node.type = Node::Real;
            node.value = real();
            node.annotation = "<float>";
        } else if (kind < 50) {
            const Enumeration &enumeration = pick(kEnumerations);
            node.value = pick(enumeration.words);
            node.annotation = enumeration.annotation;
        } else if (kind < 57) {
            node.value = integer() + " " + real();
            node.annotation = "<int> <float>";
        } else if (kind < 85) {
            node.value = words();
        } else {
            node.type = Node::Integer;
            node.value = integer();
        }
        if (chance(node.annotation.empty() ? 0.1 : 0.5)) node.note = pick(kNotes);
        return node;
    }

    // A list of numbers whose annotation sits on the block's opening line.
    void fillTypedList(Node &list) {
        bool integers = chance(0.5);
        list.annotation = integers ? "<int>" : "<float>";
        if (chance(0.5)) list.note = pick(kNotes);
        for (size_t count = 2 + below(8); count > 0 && remaining > 0; --count) {
            Node member = line(Node::Scalar);
            member.type = integers ? Node::Integer : Node::Real;
            member.value = integers ? integer() : real();
            list.members.push_back(std::move(member));
        }
    }

    // A block at `depth` (1 for a top-level block); needs 3 lines left.
    Node block(int depth, std::string name, Node::Kind kind) {
        Node node = line(kind);
        node.key = std::move(name);
        --remaining;  // the closing line
        if (kind == Node::Tbl && chance(0.4)) {
            fillTypedList(node);
            return node;
        }
        size_t count = kind == Node::Arr ? 3 + below(8) : 2 + below(7);
        for (size_t index = 0; index < count && remaining > 0; ++index) {
            addSpacing(node, 0.0);
            std::string member_key = kind == Node::Arr ? key(index) : std::string();
            if (depth < kMaxDepth && remaining >= 3 && chance(kNestedBlockChance)) {
                // Lists mostly hold records, records mostly hold lists.
                Node::Kind nested = chance(0.7) ? (kind == Node::Arr ? Node::Tbl : Node::Arr) : kind;
                if (kind == Node::Arr) member_key = blockKey(index);
                node.members.push_back(block(depth + 1, member_key, nested));
            } else {
                node.members.push_back(scalar(member_key));
            }
        }
        return node;
    }

    std::mt19937_64 rng{20240611};
    size_t remaining;
};

void appendComment(const Node &node, std::string &out) {
    if (!node.annotation.empty())
        out += " #" + node.annotation + (node.note.empty() ? "" : " " + node.note);
    else if (!node.note.empty())
        out += " # " + node.note;
}

void appendPf(const Node &node, int depth, std::string &out) {
    out.append(static_cast<size_t>(depth), '\t');
    switch (node.kind) {
    case Node::Blank: break;
    case Node::Comment: out += "# " + node.note; break;
    case Node::Scalar:
        out += node.key.empty() ? node.value : node.key + " " + node.value;
        appendComment(node, out);
        break;
    case Node::Arr:
    case Node::Tbl:
        if (!node.key.empty()) out += node.key + " ";
        out += node.kind == Node::Arr ? "&Arr{" : "&Tbl{";
        appendComment(node, out);
        out += '\n';
        for (const Node &member : node.members) appendPf(member, depth + 1, out);
        out.append(static_cast<size_t>(depth), '\t');
        out += '}';
        break;
    }
    out += '\n';
}

}  // namespace

Node generateDocument(size_t lines) { return Generator(lines).document(); }

std::string remark(const Node &node) {
    if (node.annotation.empty() || node.note.empty()) return node.annotation + node.note;
    return node.annotation + " " + node.note;
}

std::string toPfText(const Node &root) {
    std::string out;
    for (const Node &member : root.members) appendPf(member, 0, out);
    return out;
}

void writeTextFile(const std::string &path, const std::string &text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path);
}

std::string readTextFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) throw std::runtime_error("cannot read " + path);
    return text.str();
}

}  // namespace teskpf_bench
