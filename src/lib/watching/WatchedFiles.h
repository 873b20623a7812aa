// The paths a watched name may read, the directories whose notifications
// cover them, and the identity of each path: what tells a watcher that a
// layer appeared, went, or changed.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "files/FileIdentity.h"

namespace teskpf {

class WatchedFiles {
public:
    // Every path the argument `name` (a leading "~" already expanded) may
    // stand for: the candidates along PFPATH, or the path itself, and the
    // name itself, which reading falls back to. PFPATH is read once, here.
    explicit WatchedFiles(const std::string &name);

    const std::vector<std::string> &candidates() const { return candidates_; }
    // Whether `file` is the last component of a candidate.
    bool isCandidateName(std::string_view file) const { return names_.count(std::string(file)) > 0; }

    // The identity of each candidate, links followed: none when it does not
    // exist (or is no readable file). A link swapped anywhere on the way to
    // the file changes the device and inode.
    std::vector<std::optional<FileIdentity>> identities() const;

    // The directories to watch, each once: every candidate's directory, or
    // its nearest existing ancestor while it does not exist, and the
    // directory holding the file a candidate resolves to through links.
    std::vector<std::string> directories() const;

private:
    std::vector<std::string> candidates_;
    std::unordered_set<std::string> names_;
};

}  // namespace teskpf
