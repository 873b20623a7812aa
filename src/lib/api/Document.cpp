#include <teskpf/document.h>

#include <cerrno>
#include <system_error>

#include <teskpf/error.h>
#include <teskpf/save.h>
#include <teskpf/search.h>

#include "api/DocumentAccess.h"
#include "api/DocumentData.h"
#include "editing/EditRules.h"
#include "files/FileSearch.h"
#include "generating/TextGenerator.h"
#include "parsing/ReadFile.h"

namespace teskpf {

namespace {

// Parses the files and builds the document.
std::unique_ptr<detail::DocumentData> build(std::vector<std::string> names, std::vector<FileText> texts) {
    std::vector<ParsedFile> files;
    files.reserve(names.size());
    for (size_t i = 0; i < names.size(); ++i) files.emplace_back(names[i], std::move(texts[i]));
    auto data = std::make_unique<detail::DocumentData>(std::move(files));
    data->files = std::move(names);
    return data;
}

}  // namespace

Document::Document(std::unique_ptr<detail::DocumentData> data) : data_(std::move(data)) {}
Document::Document(Document &&) noexcept = default;
Document &Document::operator=(Document &&) noexcept = default;
Document::~Document() = default;

Document Document::load(std::string_view name) {
    NamedFiles named = namedFiles(name);
    if (named.files.empty()) throwNoParameterFile(name, named.why);
    std::vector<std::string> names = std::move(named.files);
    std::vector<FileText> texts;
    texts.reserve(names.size());
    for (const std::string &file : names) texts.push_back(readFileOrThrow(file));
    return Document(build(std::move(names), std::move(texts)));
}

Document Document::loadFile(const std::string &path) { return Document(build({path}, {readFileOrThrow(path)})); }

Document Document::parse(std::string_view text, std::string_view name) {
    Document document(build({std::string(name)}, {FileText(text)}));
    document.data_->files.clear();
    return document;
}

Document detail::DocumentAccess::ofLayers(const Layers &layers) {
    std::vector<std::string> names;
    std::vector<ParsedFile> parsed;
    names.reserve(layers.files.size());
    parsed.reserve(layers.files.size());
    for (const Layer &layer : layers.files) {
        if (!layer.parsed) throw Error(layer.parse_error, layer.path);
        names.push_back(layer.path);
        parsed.push_back(*layer.parsed);
    }
    auto data = std::make_unique<DocumentData>(std::move(parsed));
    data->files = std::move(names);
    return Document(std::move(data));
}

const std::vector<std::string> &Document::files() const { return data_->files; }

Node Document::root() const { return Node(data_.get(), -1); }

Node Document::operator[](std::string_view name) const { return root()[name]; }

Node Document::at(std::string_view name) const { return root().at(name); }

bool Document::contains(std::string_view name) const { return root().contains(name); }

std::size_t Document::size() const { return root().size(); }

MemberIterator Document::begin() const { return root().begin(); }

MemberIterator Document::end() const { return root().end(); }

Node Document::find(std::string_view key_path) const {
    int found = data_->store.find(key_path);
    return found < 0 ? Node() : Node(data_.get(), found);
}

void Document::onChange(ChangeHook hook) { data_->on_change = std::move(hook); }

void Document::set(std::string_view key_path, std::string value) {
    Node node = find(key_path);
    if (!node.isValue()) throw Error("no value at " + std::string(key_path));
    if (data_->on_change) data_->on_change(key_path, node.text(), value);
    const int32_t parent = data_->parents[static_cast<size_t>(node.entry_)];
    const bool list_member = parent >= 0 && Node(data_.get(), parent).isList();
    std::string problem = valueProblem(value, list_member);
    if (!problem.empty()) {
        Source source = node.source();
        throw EditError("cannot set " + std::string(key_path) + ": " + problem, source.file, source.line);
    }
    data_->edited_values[node.entry_] = std::move(value);
}

std::string Document::toString() const {
    return generateText(data_->store, data_->edited_values, detail::EditedTexts());
}

void Document::save(const std::string &path) const { saveFile(path, toString()); }

}  // namespace teskpf
