// Finding, loading and writing parameter files the way the library does.
#pragma once

#include <string>
#include <vector>

#include <TeskPf.h>
#include <teskpf/document.h>

#include "cli_args.h"

namespace teskpf_tool {

// Throws ToolError (exit 2) saying that `name` resolves to no file: what it
// is when it names a directory, FIFO, device, socket or dangling link.
[[noreturn]] void throwNoParameterFile(const std::string &name);

// Loads `name` with the library. Throws ToolError (exit 2) when the name
// resolves to no file; the library's own errors (std::string) pass through.
TeskPf loadParameterFile(const std::string &name);

// Loads `name` as a teskpf::Document, with the same errors as
// loadParameterFile.
teskpf::Document loadDocument(const std::string &name);

// The name that stands for standard input wherever a file is read.
inline constexpr const char *kStandardInput = "-";

// All of standard input, byte for byte.
std::string readStandardInput();

// All of the file `file`, or of standard input for "-". Throws ToolError
// (exit 2) when it cannot be read.
std::string readFileOrStandardInput(const std::string &file);

// The file part of an entry's source "file:line".
std::string sourceFile(const std::string &source);

// Writes the handle's text to `file` with the library's atomic write and
// returns the name written, to which the library adds ".pf" when missing.
// Throws ToolError (exit 2) when the handle has no entries, since the library
// would then write nothing.
std::string writeParameterFile(const TeskPf &pf, const std::string &file);

// Saves the handle's text to exactly the file named by the user with -o
// (whose "~" the command line expanded) with teskpf::saveFile, which throws teskpf::IoError
// when it cannot. Throws ToolError (exit 2) when the handle has no entries.
void writeToOutput(const TeskPf &pf, const std::string &file);
// The same for `text`, the text of some entries ("" for none).
void writeTextToOutput(const std::string &text, const std::string &file);
// `text` saved with writeTextToOutput to the file of `line`'s -o (an empty
// text too when `empty_ok`), or printed on standard output without one.
void printOrWriteText(const std::string &text, const CommandLine &line, bool empty_ok = false);

}  // namespace teskpf_tool
