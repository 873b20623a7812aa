#include "param_files.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <teskpf/save.h>
#include <teskpf/search.h>

#include "tool_error.h"

namespace teskpf_tool {

std::string readStandardInput() { return std::string(std::istreambuf_iterator<char>(std::cin), {}); }

std::string readFileOrStandardInput(const std::string &file) {
    if (file == kStandardInput) return readStandardInput();
    std::ifstream in(file, std::ios::binary);
    if (!in) throw ToolError("cannot read '" + file + "'", kExitError);
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) throw ToolError("cannot read '" + file + "'", kExitError);
    return text.str();
}

void throwNoParameterFile(const std::string &name) { throw ToolError(teskpf::namedFiles(name).why, kExitError); }

TeskPf loadParameterFile(const std::string &name) {
    if (teskpf::parameterFiles(name).empty()) throwNoParameterFile(name);
    return TeskPf(name, 0);
}

teskpf::Document loadDocument(const std::string &name) {
    if (teskpf::parameterFiles(name).empty()) throwNoParameterFile(name);
    return teskpf::Document::load(name);
}

std::string sourceFile(const std::string &source) { return source.substr(0, source.rfind(':')); }

namespace {

// The library writes nothing for a handle without entries; say so instead.
[[noreturn]] void throwNothingToWrite(const std::string &file) {
    throw ToolError("nothing to write to '" + file + "': there are no entries", kExitError);
}

void requireEntries(const TeskPf &pf, const std::string &file) {
    if (pf.size() == 0) throwNothingToWrite(file);
}

}  // namespace

std::string writeParameterFile(const TeskPf &pf, const std::string &file) {
    requireEntries(pf, file);
    std::string written = file;
    pf.write(written);
    return written;
}

void writeToOutput(const TeskPf &pf, const std::string &file) {
    requireEntries(pf, file);
    teskpf::saveFile(file, pf.getPfString());
}

void writeTextToOutput(const std::string &text, const std::string &file) {
    if (text.empty()) throwNothingToWrite(file);
    teskpf::saveFile(file, text);
}

void printOrWriteText(const std::string &text, const CommandLine &line, bool empty_ok) {
    if (line.has("-o") && empty_ok)
        teskpf::saveFile(line.value("-o"), text);
    else if (line.has("-o"))
        writeTextToOutput(text, line.value("-o"));
    else
        std::cout << text;
}

}  // namespace teskpf_tool
