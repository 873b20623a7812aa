// Parsing the arguments of one subcommand: positional arguments and options.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace teskpf_tool {

struct OptionSyntax {
    std::string name;         // as typed, e.g. "-o" or "--check"
    bool takes_value;         // the next argument is its value
    bool names_file = false;  // the value is a file name: a leading "~" is expanded
};

// What a subcommand accepts.
struct CommandSyntax {
    std::vector<OptionSyntax> options;
    std::vector<std::string> positional_names;  // e.g. {"NAME", "KEY"}, for messages
    size_t min_positional;                      // at most positional_names.size()
    bool unbounded;                             // the last positional may repeat
};

struct CommandLine {
    std::vector<std::string> positional;
    std::map<std::string, std::string> options;  // name -> value ("" for a flag)

    bool has(const std::string &option) const { return options.count(option) != 0; }
    // The option's value; "" when absent.
    std::string value(const std::string &option) const;
    // The positional argument at `index`, or `fallback` when not given.
    std::string positionalOr(size_t index, const std::string &fallback) const;
};

// True when the arguments ask for help ("-h" or "--help" before any "--").
bool wantsHelp(const std::vector<std::string> &args);

// Splits `args` according to `syntax`. An argument that starts with "-" is an
// option unless it is "-" itself, looks like a negative number ("-3", "-.5")
// or follows "--". An option's value is the next argument, or follows "="
// in the same one ("--format=json"). Throws UsageError (pointing to `command`'s help) for
// unknown options, a missing option value, a repeated option and too few or
// too many positional arguments. The value of an option that names a file
// has its leading "~" expanded as the library expands NAME (teskpf::Error
// when there is no home directory).
CommandLine parseCommandLine(const std::vector<std::string> &args, const CommandSyntax &syntax,
                             const std::string &command);

}  // namespace teskpf_tool
