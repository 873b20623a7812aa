// Entry lookups and constraint texts shared by the subcommands.
#pragma once

#include <string>

#include <TeskPf.h>
#include <teskpf/key_path.h>

namespace teskpf_tool {

// A KEY argument as a key path. Text starting with "[" is a full key path as
// `teskpf keys` prints it (["chan"]["list"][1]["x"]); any other text names a
// top-level key, so "gain" means ["gain"].
using teskpf::keyPathArgument;

// The index of the entry with key path `key` in `pf`, read from `name`.
// Throws ToolError (exit 1) when there is none.
int requireEntry(const TeskPf &pf, const std::string &key, const std::string &name);

// Comment and blank lines are the entries without a key.
bool isCommentEntry(const TeskPf &pf, int index);

// Whether the entry opens an "&Arr{" or "&Tbl{" block.
bool isBlockOpening(const TeskPf &pf, int index);

}  // namespace teskpf_tool
