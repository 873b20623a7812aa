// Where a save lands and whether it may replace what is there.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "files/FileIdentity.h"
#include "files/UniqueFd.h"

namespace teskpf {

// The file a save replaces (or creates), found without following any link an
// untrusted user could have planted.
struct SaveTarget {
    UniqueFd dir;         // the directory that holds it
    std::string name;     // its name in `dir`
    bool exists = false;  // whether there is a file of that name now
    UniqueFd file;        // the existing file, open for reading its attributes
    struct stat info {};  // the existing file's status
};

// Follows `path` through its symbolic links to the file a save replaces and
// checks that replacing it keeps what it must. Throws IoError "cannot write
// 'PATH': REASON" when the path cannot be followed or the file must not be
// replaced: a planted or dangling link, a file that is not regular, is
// read-only or has several hard links.
SaveTarget findSaveTarget(const std::string &path);

// Whether the target's name still names the file found (or still nothing).
bool stillNamesSameFile(const SaveTarget &target);

// Whether the target's name names a file that is still `expected`: the same
// file, unchanged in size and modification time.
bool stillNamesFile(const SaveTarget &target, const FileIdentity &expected);

// saveFile, refusing with IoError "it changed since it was read" when
// `expected` is given and the file is no longer that (checked right before
// the rename); `written`, when given, receives what the new file is.
void saveFileChecked(const std::string &path, std::string_view content, const FileIdentity *expected,
                     FileIdentity *written);

}  // namespace teskpf
