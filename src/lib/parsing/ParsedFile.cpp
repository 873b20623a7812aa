#include "parsing/ParsedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "syntax/KeyPath.h"
#include "teskpf/error.h"

namespace teskpf {

namespace {

// A block being read: its opening entry and the next list position.
struct OpenBlock {
    int32_t entry;  // -1 for the file's top level
    int32_t level;
    bool is_list;
    int32_t next_position;
};

uint32_t offsetIn(std::string_view text, std::string_view part) {
    return static_cast<uint32_t>(part.data() - text.data());
}

// The number of line feeds in `text`, each found by memchr, which scans many
// bytes at a step: lines of usual length cost far less than a loop over bytes.
size_t countLineFeeds(std::string_view text) {
    size_t count = 0;
    const char *end = text.data() + text.size();
    for (const char *at = text.data(); at != end; ++count, ++at) {
        at = static_cast<const char *>(std::memchr(at, '\n', static_cast<size_t>(end - at)));
        if (at == nullptr) break;
    }
    return count;
}

Span spanIn(std::string_view text, std::string_view part) {
    return part.empty() ? Span{} : Span{offsetIn(text, part), static_cast<uint32_t>(part.size())};
}

}  // namespace

FileText::Buffer::~Buffer() { std::free(bytes); }

FileText::FileText(std::string_view bytes) : FileText(withCapacity(bytes.size())) {
    if (!bytes.empty()) std::memcpy(bytes_, bytes.data(), bytes.size());
    resize(bytes.size());
}

FileText FileText::withCapacity(size_t capacity) {
    FileText text;
    text.buffer_ = std::make_shared<Buffer>();
    // malloc leaves the bytes uninitialised: a reader fills them.
    text.buffer_->bytes = static_cast<char *>(std::malloc(capacity + kPadding));
    if (text.buffer_->bytes == nullptr) throw std::bad_alloc();
    text.bytes_ = text.buffer_->bytes;
    text.capacity_ = capacity;
    text.resize(0);
    return text;
}

void FileText::resize(size_t size) {
    size_ = size;
    std::memset(bytes_ + size, 0, kPadding);
}

void FileText::splice(size_t begin, size_t end, std::string_view replacement) {
    const size_t size = size_ - (end - begin) + replacement.size();
    if (size > capacity_) {
        char *grown = static_cast<char *>(std::realloc(bytes_, size + kPadding));
        if (grown == nullptr) throw std::bad_alloc();
        buffer_->bytes = bytes_ = grown;
        capacity_ = size;
    }
    if (end < size_) std::memmove(bytes_ + begin + replacement.size(), bytes_ + end, size_ - end);
    if (!replacement.empty()) std::memcpy(bytes_ + begin, replacement.data(), replacement.size());
    resize(size);
}

ParsedFile::ParsedFile(std::string name, FileText text) : name_(std::move(name)), text_(std::move(text)) {
    if (text_.view().size() >= UINT32_MAX)
        throw Error(name_ + ": the file is 4 GiB or larger; parameter files must be smaller", name_);
    parse();
}

void ParsedFile::parse() {
    const std::string_view text = text_.view();
    std::vector<OpenBlock> open{{-1, 0, false, 0}};
    // Most files hold no NUL byte: one look at the whole text spares one per line.
    const bool has_nul = text.find('\0') != std::string_view::npos;
    // At most one entry per line: reserved at once, so that the entries are
    // never copied to grow. The slots of closing lines stay unused; large
    // reservations are pages never touched.
    const size_t lines = countLineFeeds(text) + (!text.empty() && text.back() != '\n' ? 1 : 0);
    entries_.reserve(lines);
    size_t pos = 0;
    uint32_t line = 0;
    // Only a text of INT_MAX bytes or more can hold more lines than an int counts.
    const bool count_lines = text.size() >= static_cast<size_t>(INT_MAX);
    while (pos < text.size()) {
        if (count_lines && line == static_cast<uint32_t>(INT_MAX))
            throw Error(name_ + ": more than " + std::to_string(INT_MAX) + " lines; the line counter cannot go on",
                        name_);
        size_t eol = text.find('\n', pos);
        if (eol == std::string_view::npos) eol = text.size();
        const uint32_t line_begin = static_cast<uint32_t>(pos);
        std::string_view raw = text.substr(pos, eol - pos);
        pos = eol + 1;
        const uint32_t this_line = line++;

        // A NUL byte ends the line's text.
        size_t nul = has_nul ? raw.find('\0') : std::string_view::npos;
        if (nul != std::string_view::npos) {
            notes_.push_back({LayoutNoteKind::NulByte, this_line, line_begin, spanIn(text, raw.substr(nul)), -1});
            raw = raw.substr(0, nul);
        }
        std::string_view trimmed = trimmedWhiteSpace(raw);

        if (closesBlock(trimmed)) {
            std::string_view after = trimmedWhiteSpace(trimmed.substr(1));
            if (open.size() == 1) {
                // A closing line at the top level ends the reading of the file.
                notes_.push_back({LayoutNoteKind::StrayClose, this_line, line_begin, spanIn(text, trimmed), -1});
                stray_close_line_ = this_line;
                if (pos < text.size()) {
                    std::string_view rest = text.substr(pos);
                    line += static_cast<uint32_t>(countLineFeeds(rest));
                    if (rest.back() != '\n') ++line;
                }
                break;
            }
            if (!after.empty())
                notes_.push_back(
                    {LayoutNoteKind::TextAfterClose, this_line, line_begin, spanIn(text, after), open.back().entry});
            open.pop_back();
            continue;
        }

        const OpenBlock &block = open.back();
        LineSpans spans = splitLine(trimmed, block.is_list);
        FileEntry entry;
        entry.line = this_line;
        entry.line_begin = line_begin;
        entry.parent = block.entry;
        entry.level = block.level;
        entry.comment = spanIn(text, spans.comment);
        entry.constraints_size = static_cast<uint32_t>(spans.constraints.size());
        if (spans.key.empty() && spans.value.empty()) {
            entries_.push_back(entry);
            continue;
        }
        if (!block.is_list && spans.key.empty())
            throw Error("Cannot parse line '" + std::string(trimmed) + "' in pf string - Arr must have a key", name_,
                        static_cast<long>(this_line) + 1);

        entry.key = spanIn(text, spans.key);
        entry.value = spanIn(text, spans.value);
        entry.value_verbatim = spans.value_verbatim;
        if (block.is_list) entry.position = open.back().next_position++;
        BlockKind opened = blockOpenedBy(spans.value);
        entry.kind = opened == BlockKind::Arr   ? EntryKind::ArrOpen
                     : opened == BlockKind::Tbl ? EntryKind::TblOpen
                                                : EntryKind::Value;
        const int32_t index = static_cast<int32_t>(entries_.size());
        entries_.push_back(entry);
        if (opened == BlockKind::None) continue;

        std::string_view after = trimmedWhiteSpace(textAfterOpening(spans.value));
        if (!after.empty())
            notes_.push_back({LayoutNoteKind::TextAfterOpen, this_line, line_begin, spanIn(text, after), index});
        open.push_back({index, entry.level + 1, opened == BlockKind::Tbl, 0});
    }
    line_count_ = line;
    // Giving the unused slots back copies the entries: worth it only when
    // many lines were closing or stray ones (a copy doubles the peak).
    if (entries_.capacity() > entries_.size() + entries_.size() / 4) entries_.shrink_to_fit();
    for (size_t i = open.size(); i-- > 1;) {
        const FileEntry &opening = entries_[static_cast<size_t>(open[i].entry)];
        notes_.push_back(
            {LayoutNoteKind::UnclosedBlock, opening.line, opening.line_begin, opening.value, open[i].entry});
    }
}

// Reading is line by line. What a line gives depends only on its own bytes
// (up to a NUL byte) and on the block it stands in, list or not; the blocks
// open change only at a line that opens or closes one (or a top-level "}",
// which stops reading), and list positions only at a line that is a member.
// An edit within one line that adds no line break or NUL, on a line without
// a NUL, that leaves it neither opening nor closing a block and a member
// exactly when it was one, therefore leaves the lines, the blocks open after
// the line and every other line's bytes and context as they were: the other
// entries and layout notes read the same, only moved by the difference in
// size, and the line's own entry keeps its place, level, parent, position and
// kind. Reading the line again alone gives its new spans.
bool ParsedFile::replaceInLine(size_t index, size_t begin, size_t end, std::string_view replacement) {
    FileEntry &entry = entries_[index];
    if (entry.kind != EntryKind::Value && entry.kind != EntryKind::Note) return false;
    const std::string_view old_line = lineText(entry);
    const size_t line_end = entry.line_begin + old_line.size();
    if (begin < entry.line_begin || begin > end || end > line_end || !text_.unique()) return false;
    if (replacement.find_first_of(std::string_view("\n\0", 2)) != std::string_view::npos ||
        old_line.find('\0') != std::string_view::npos)
        return false;
    const size_t size = text().size() - (end - begin) + replacement.size();
    if (size >= UINT32_MAX) return false;

    std::string line(old_line.substr(0, begin - entry.line_begin));
    line.append(replacement).append(old_line.substr(end - entry.line_begin));
    const std::string_view trimmed = trimmedWhiteSpace(line);
    if (closesBlock(trimmed)) return false;
    const bool in_list = entry.parent >= 0 && entries_[static_cast<size_t>(entry.parent)].kind == EntryKind::TblOpen;
    const LineSpans spans = splitLine(trimmed, in_list);
    const bool member = !spans.key.empty() || !spans.value.empty();
    if (member != (entry.kind == EntryKind::Value) || (member && !in_list && spans.key.empty()) ||
        blockOpenedBy(spans.value) != BlockKind::None)
        return false;

    text_.splice(begin, end, replacement);
    const auto inText = [&](std::string_view part) {
        return part.empty() ? Span{}
                            : Span{entry.line_begin + static_cast<uint32_t>(part.data() - line.data()),
                                   static_cast<uint32_t>(part.size())};
    };
    entry.key = inText(spans.key);
    entry.value = inText(spans.value);
    entry.comment = inText(spans.comment);
    entry.constraints_size = static_cast<uint32_t>(spans.constraints.size());
    entry.value_verbatim = !member || spans.value_verbatim;

    // Unsigned arithmetic: adding the difference modulo 2^32 moves an offset
    // down as well as up.
    const uint32_t moved = static_cast<uint32_t>(replacement.size() - (end - begin));
    const uint32_t edited_line = entry.line_begin;
    const auto move = [moved](Span &span) {
        if (span.size != 0) span.begin += moved;
    };
    for (size_t i = index + 1; i < entries_.size(); ++i) {
        FileEntry &later = entries_[i];
        later.line_begin += moved;
        move(later.key);
        move(later.value);
        move(later.comment);
    }
    for (LayoutNote &note : notes_) {
        if (note.line_begin <= edited_line) continue;
        note.line_begin += moved;
        move(note.span);
    }
    return true;
}

std::string_view ParsedFile::lineText(const FileEntry &entry) const {
    std::string_view rest = text().substr(entry.line_begin);
    return rest.substr(0, rest.find('\n'));
}

LineSpans ParsedFile::spansOf(const FileEntry &entry) const {
    LineSpans spans;
    spans.key = at(entry.key);
    spans.value = at(entry.value);
    spans.comment = at(entry.comment);
    spans.constraints = spans.comment.substr(std::min<size_t>(1, spans.comment.size()), entry.constraints_size);
    return spans;
}

std::string_view ParsedFile::value(const FileEntry &entry, std::string &buffer) const {
    if (entry.kind == EntryKind::ArrOpen) return kArrMarker;
    if (entry.kind == EntryKind::TblOpen) return kTblMarker;
    if (entry.value_verbatim) return at(entry.value);
    buffer = readValue(at(entry.value));
    return buffer;
}

std::string_view ParsedFile::comment(const FileEntry &entry, std::string &buffer) const {
    return readComment(spansOf(entry), buffer);
}

std::string_view ParsedFile::constraints(const FileEntry &entry) const {
    // The annotation starts right after the comment's "#".
    return entry.constraints_size == 0 ? std::string_view()
                                       : text().substr(entry.comment.begin + 1, entry.constraints_size);
}

void ParsedFile::appendComponent(std::string &path, size_t index) const {
    const FileEntry &entry = entries_[index];
    if (entry.position >= 0)
        appendListComponent(path, entry.position);
    else
        appendNamedComponent(path, key(entry));
}

size_t ParsedFile::componentSize(const FileEntry &entry) const {
    return entry.position >= 0 ? listComponentSize(entry.position) : namedComponentSize(key(entry));
}

std::string ParsedFile::keyPath(size_t index) const {
    if (entries_[index].kind == EntryKind::Note) return {};
    // The size first, then the components from the last one back, so that the
    // path is allocated once at its size.
    size_t size = 0;
    for (int32_t at = static_cast<int32_t>(index); at >= 0; at = entries_[static_cast<size_t>(at)].parent)
        size += componentSize(entries_[static_cast<size_t>(at)]);
    std::string path(size, '\0');
    char *end = path.data() + size;
    for (int32_t at = static_cast<int32_t>(index); at >= 0; at = entries_[static_cast<size_t>(at)].parent) {
        const FileEntry &entry = entries_[static_cast<size_t>(at)];
        end = entry.position >= 0 ? writeListComponentBefore(end, entry.position)
                                  : writeNamedComponentBefore(end, key(entry));
    }
    return path;
}

bool ParsedFile::hasKeyPath(size_t index, std::string_view path) const {
    if (entries_[index].kind == EntryKind::Note) return path.empty();
    // From the last component back, each compared with the end of the text.
    for (int32_t at = static_cast<int32_t>(index); at >= 0;) {
        const FileEntry &entry = entries_[static_cast<size_t>(at)];
        const size_t size =
            entry.position >= 0 ? listComponentAtEnd(path, entry.position) : namedComponentAtEnd(path, key(entry));
        if (size == 0) return false;
        path.remove_suffix(size);
        at = entry.parent;
    }
    return path.empty();
}

bool readFileText(const std::string &path, FileText &text, int &error, FileIdentity *identity) {
    text = FileText();
    error = 0;
    // O_NONBLOCK: opening a FIFO must not wait for a writer.
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        error = errno;
        return false;
    }
    struct stat info;
    if (fstat(fd, &info) != 0)
        error = errno;
    else if (!S_ISREG(info.st_mode))
        error = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
    if (error == 0) {
        if (identity) *identity = identityOf(info);
        readOpenFile(fd, info.st_size, text, error);
    }
    ::close(fd);
    return error == 0;
}

bool readOpenFile(int fd, off_t size, FileText &text, int &error) {
    text = FileText();
    error = 0;
    // One byte more than the file holds: a read that fills less than it asks
    // for has met the end of a regular file, and one that fills it all finds
    // the file grown and goes on.
    FileText read = FileText::withCapacity(static_cast<size_t>(size > 0 ? size : 0) + 1);
    size_t filled = 0;
    for (;;) {
        if (filled == read.capacity()) {
            // The file has grown since its size was read.
            FileText larger = FileText::withCapacity(std::max<size_t>(4096, read.capacity() * 2));
            std::memcpy(larger.data(), read.data(), filled);
            read = std::move(larger);
        }
        const size_t wanted = read.capacity() - filled;
        ssize_t got = ::read(fd, read.data() + filled, wanted);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            error = errno;
            return false;
        }
        filled += static_cast<size_t>(got);
        if (static_cast<size_t>(got) < wanted) break;
    }
    read.resize(filled);
    text = std::move(read);
    return true;
}

}  // namespace teskpf
