// Which files a parameter-file name stands for, as every reader resolves it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/export.h>

namespace teskpf {

// What an argument names, by the one rule every reader follows (the tool's
// commands, Document::load, teskpf.load/check/edit in Python; the classic
// constructor reads the same files):
// - a leading "~" is expanded;
// - a name without "/" (`station`, `station.pf`) is looked up in every
//   directory of PFPATH as DIR/NAME, ".pf" appended unless NAME ends in it:
//   every file found, lowest precedence first;
// - a name with "/" (`./station.pf`, `dir/x`, `/abs/x.pf`) is a path: that
//   file alone, ".pf" appended unless it ends in it;
// - when neither finds a file, the argument itself if it is a readable
//   regular file (`notes.conf`), alone.
struct TESKPF_API NamedFiles {
    enum class Form { Name, Path };
    Form form = Form::Name;          // Name: looked up along PFPATH; Path: has a "/"
    bool itself = false;             // found that way nowhere: the argument itself, a readable file
    std::vector<std::string> files;  // lowest precedence first; empty when there is none
    std::string why;                 // one sentence: how the files were found, or why there is none
};

// The files `argument` names and why. Throws teskpf::Error when "~" cannot
// be expanded (no home directory).
TESKPF_API NamedFiles namedFiles(std::string_view argument);

// The one file `argument` names, for an editor: throws teskpf::IoError when
// it names none (saying why, as Document::load does) or several (listing
// them: a path such as "./station.pf" names one).
TESKPF_API std::string namedFile(std::string_view argument);

// The files read for `name`: namedFiles(name).files.
TESKPF_API std::vector<std::string> parameterFiles(std::string_view name);

// `path` with a leading "~" replaced by the home directory, as every reader
// and writer of the library does it (only the "~" itself: "~bob/x" becomes
// HOME + "bob/x"). Throws teskpf::Error when there is no home directory.
TESKPF_API std::string homeExpanded(std::string_view path);

// Why `name` stands for no parameter file although something of that name
// exists (a leading "~" expanded): "'NAME' is a directory, not a parameter
// file", likewise "is a FIFO", "is a character device", "is a block device",
// "is a socket", or "'NAME' is a symbolic link to 'TARGET', which does not
// exist". "" when nothing of that name exists or it is a regular file.
// Nothing is opened, so a FIFO never blocks. Throws teskpf::Error when "~"
// cannot be expanded.
TESKPF_API std::string notAParameterFile(std::string_view name);

// The search path as the lookup uses it: PFPATH, or "." when unset or empty.
TESKPF_API std::string searchPath();

// The layers a file belongs to, for an editor that opened it.
struct TESKPF_API LayerStack {
    std::vector<std::string> files;  // lowest precedence first
    std::size_t index = 0;           // the place of the file itself in `files`
};

// The files named as `path` is (its base name, NAME.pf) along `search_path`
// (":"-separated, as PFPATH; "" is the current directory), found as the
// lookup of NAME finds them, with `path` itself, as given, in the place of
// its directory, even when it does not exist yet. Only `path` when its name
// does not end in ".pf" or its directory is not on the search path.
// Directories are compared by identity, so any spelling of one matches.
TESKPF_API LayerStack layerStack(const std::string &path, std::string_view search_path);

}  // namespace teskpf
