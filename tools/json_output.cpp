#include "json_output.h"

#include <cmath>
#include <ostream>
#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace teskpf_tool {

namespace {

// The value as Python's typed reading gives it: the text unless it passes
// the annotation in effect; one field as a scalar, several as an array. A
// number JSON cannot hold (inf, nan) stays the field's text.
Json typedValue(const teskpf::Node &node) {
    std::optional<std::vector<teskpf::TypedField>> typed = node.typedFields();
    if (!typed) return std::string(node.text());
    const std::vector<std::string> texts = node.fields();
    Json converted = Json::array();
    for (size_t i = 0; i < typed->size(); ++i) {
        const double *number = std::get_if<double>(&(*typed)[i]);
        if (number && !std::isfinite(*number))
            converted.push_back(texts[i]);
        else
            std::visit([&](auto &field) { converted.push_back(std::move(field)); }, (*typed)[i]);
    }
    if (converted.size() == 1) return converted[0];
    return converted;
}

// A value, or the empty object or array that its members fill.
Json start(const teskpf::Node &node, const JsonOptions &options) {
    if (node.isBlock()) return Json::object();
    if (node.isList()) return Json::array();
    Json value = options.typed ? typedValue(node) : Json(std::string(node.text()));
    if (!options.with_origin) return value;
    const teskpf::Source source = node.source();
    return Json{{"value", std::move(value)}, {"file", source.file}, {"line", source.line}};
}

}  // namespace

JsonOptions jsonOptions(const CommandLine &line) { return {line.has("--typed"), line.has("--with-origin")}; }

Json nodeJson(const teskpf::Node &node, const JsonOptions &options) {
    Json result = start(node, options);
    // Each container gets all its slots before any is descended into, so the
    // pointers taken into it stay valid.
    std::vector<std::pair<teskpf::Node, Json *>> pending{{node, &result}};
    while (!pending.empty()) {
        auto [parent, filled] = pending.back();
        pending.pop_back();
        if (!filled->is_object() && !filled->is_array()) continue;
        // Objects are filled through their vector of members, with an index
        // of the names: looking a name up in an ordered_json is linear.
        std::vector<teskpf::Node> children;
        std::vector<Json *> slots;
        if (filled->is_object()) {
            Json::object_t &members = filled->get_ref<Json::object_t &>();
            std::unordered_map<std::string_view, size_t> at;
            for (const teskpf::Member &member : parent) {
                auto [place, added] = at.emplace(member.name, members.size());
                if (added)
                    members.emplace_back(std::string(member.name), start(member.node, options));
                else  // a repeated name: the last member's value, in the first one's place
                    std::next(members.begin(), static_cast<std::ptrdiff_t>(place->second))->second =
                        start(member.node, options);
                children.push_back(member.node);
            }
            for (const teskpf::Node &child : children)
                slots.push_back(&std::next(members.begin(), static_cast<std::ptrdiff_t>(at[child.name()]))->second);
        } else {
            for (const teskpf::Member &member : parent) {
                filled->push_back(start(member.node, options));
                children.push_back(member.node);
            }
            for (Json &item : *filled) slots.push_back(&item);
        }
        // A repeated name keeps the last member's value: only that one is
        // descended into.
        std::set<Json *> seen;
        for (size_t i = children.size(); i-- > 0;) {
            if (!seen.insert(slots[i]).second) continue;
            if (children[i].isBlock() || children[i].isList()) pending.emplace_back(children[i], slots[i]);
        }
    }
    return result;
}

void printJson(const Json &json, std::ostream &out) {
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void printJsonLine(const Json &json, std::ostream &out) {
    out << json.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n' << std::flush;
}

}  // namespace teskpf_tool
