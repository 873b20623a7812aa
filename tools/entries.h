// Entry lookups and constraint texts shared by the subcommands.
#pragma once

#include <string>

#include <TeskPf.h>
#include <teskpf/key_path.h>

namespace teskpf_tool {

// A KEY argument as a key path, in any form teskpf::parseKeyArgument reads
// (["a"]["b"][0], {a}{b}[0], a.b[0], or a top-level name). Throws
// UsageError (exit 2) for a malformed one, naming the argument, the 1-based
// column where it goes wrong and what was expected there.
std::string keyPathArgument(const std::string &key);

// The index of the entry with key path `key` in `pf`, read from `name`.
// Throws ToolError (exit 1) when there is none, naming up to three existing
// key paths nearest to it ("did you mean").
int requireEntry(const TeskPf &pf, const std::string &key, const std::string &name);

// Comment and blank lines are the entries without a key.
bool isCommentEntry(const TeskPf &pf, int index);

// " (did you mean A, B?)" for the key paths of `pf` nearest to `key`; ""
// when none is near.
std::string nearestKeys(const TeskPf &pf, const std::string &key);

// Whether the entry opens an "&Arr{" or "&Tbl{" block.
bool isBlockOpening(const TeskPf &pf, int index);

}  // namespace teskpf_tool
