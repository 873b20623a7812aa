#include "cli_args.h"

#include <cctype>

#include <teskpf/search.h>

#include "tool_error.h"

namespace teskpf_tool {

namespace {

// "-3" and "-.5" are values (a negative gain, say), not options.
bool looksLikeOption(const std::string &arg) {
    if (arg.size() < 2 || arg[0] != '-') return false;
    return !(std::isdigit(static_cast<unsigned char>(arg[1])) || arg[1] == '.');
}

const OptionSyntax *findOption(const CommandSyntax &syntax, const std::string &name) {
    for (const OptionSyntax &option : syntax.options)
        if (option.name == name) return &option;
    return nullptr;
}

}  // namespace

std::string CommandLine::value(const std::string &option) const {
    auto found = options.find(option);
    return found == options.end() ? "" : found->second;
}

std::string CommandLine::positionalOr(size_t index, const std::string &fallback) const {
    return index < positional.size() ? positional[index] : fallback;
}

bool wantsHelp(const std::vector<std::string> &args) {
    for (const std::string &arg : args) {
        if (arg == "--") return false;
        if (arg == "-h" || arg == "--help") return true;
    }
    return false;
}

CommandLine parseCommandLine(const std::vector<std::string> &args, const CommandSyntax &syntax,
                             const std::string &command) {
    CommandLine line;
    bool options_ended = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string &arg = args[i];
        if (!options_ended && arg == "--") {
            options_ended = true;
            continue;
        }
        if (options_ended || !looksLikeOption(arg)) {
            line.positional.push_back(arg);
            continue;
        }
        // "--opt=value" is "--opt value".
        const size_t equals = arg.rfind("--", 0) == 0 ? arg.find('=') : std::string::npos;
        const std::string name = arg.substr(0, equals);
        const OptionSyntax *option = findOption(syntax, name);
        if (!option) throw UsageError(command + ": unknown option '" + name + "'", command);
        if (line.has(name)) throw UsageError(command + ": option '" + name + "' given twice", command);
        std::string value;
        if (option->takes_value) {
            if (equals != std::string::npos)
                value = arg.substr(equals + 1);
            else if (i + 1 >= args.size())
                throw UsageError(command + ": option '" + name + "' needs a value", command);
            else
                value = args[++i];
            if (option->names_file) value = teskpf::homeExpanded(value);
        } else if (equals != std::string::npos) {
            throw UsageError(command + ": option '" + name + "' takes no value", command);
        }
        line.options[name] = value;
    }

    const size_t count = line.positional.size();
    if (count < syntax.min_positional)
        throw UsageError(command + ": missing argument " + syntax.positional_names[count], command);
    if (!syntax.unbounded && count > syntax.positional_names.size())
        throw UsageError(command + ": unexpected argument '" + line.positional[syntax.positional_names.size()] + "'",
                         command);
    return line;
}

}  // namespace teskpf_tool
