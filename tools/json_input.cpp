#include "json_input.h"

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "tool_error.h"

namespace teskpf_tool {

namespace {

// Builds the document from parse events. nlohmann's own builder looks every
// key up in the ordered object, which is linear per key; this one keeps an
// index of each open object's keys instead.
class OrderedBuilder {
public:
    explicit OrderedBuilder(Json &root) : root_(root) {}

    bool null() { return add(Json()); }
    bool boolean(bool value) { return add(Json(value)); }
    bool number_integer(Json::number_integer_t value) { return add(Json(value)); }
    bool number_unsigned(Json::number_unsigned_t value) { return add(Json(value)); }
    bool number_float(Json::number_float_t value, const Json::string_t &) { return add(Json(value)); }
    bool string(Json::string_t &value) { return add(Json(std::move(value))); }
    bool binary(Json::binary_t &value) { return add(Json::binary(std::move(value))); }
    bool start_object(std::size_t) { return open(Json::object()); }
    bool start_array(std::size_t) { return open(Json::array()); }
    bool key(Json::string_t &name) {
        key_ = std::move(name);
        return true;
    }
    bool end_object() { return close(); }
    bool end_array() { return close(); }
    bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &error) {
        error_ = std::string("is not JSON: ") + error.what();
        return false;
    }

    const std::string &error() const { return error_; }

private:
    struct Open {
        Json *container;
        std::unordered_map<std::string, size_t> keys;  // an object's keys and their places
    };

    // Puts `value` into the innermost open container; returns where it is.
    Json *place(Json value) {
        if (open_.empty()) {
            root_ = std::move(value);
            return &root_;
        }
        Open &top = open_.back();
        if (top.container->is_array()) {
            top.container->get_ref<Json::array_t &>().push_back(std::move(value));
            return &top.container->back();
        }
        Json::object_t &members = top.container->get_ref<Json::object_t &>();
        auto [found, added] = top.keys.emplace(key_, members.size());
        if (!added) return &((members.begin() + static_cast<std::ptrdiff_t>(found->second))->second = std::move(value));
        members.emplace_back(std::move(key_), std::move(value));
        return &members.back().second;
    }

    bool add(Json value) {
        place(std::move(value));
        return true;
    }

    bool open(Json empty) {
        if (open_.size() >= kMaxJsonDepth) {
            error_ = "nests deeper than " + std::to_string(kMaxJsonDepth) + " levels, more than import reads";
            return false;
        }
        Json *container = place(std::move(empty));
        open_.push_back({container, {}});
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    Json &root_;
    std::vector<Open> open_;
    std::string key_;
    std::string error_;
};

}  // namespace

Json parseOrderedJson(const std::string &text, const std::string &file) {
    Json root;
    OrderedBuilder builder(root);
    if (!Json::sax_parse(text, &builder)) throw ToolError("import: '" + file + "' " + builder.error(), kExitFailed);
    return root;
}

}  // namespace teskpf_tool
