// The teskpf library in one include: documents and their nodes, conversions,
// diagnostics, the format-preserving editor, errors, the search for files, where
// a key's value comes from, the safe save and live reloading.
#pragma once

#include <teskpf/convert.h>
#include <teskpf/diagnostics.h>
#include <teskpf/document.h>
#include <teskpf/editor.h>
#include <teskpf/error.h>
#include <teskpf/flatten.h>
#include <teskpf/key_path.h>
#include <teskpf/key_source.h>
#include <teskpf/node.h>
#include <teskpf/outline.h>
#include <teskpf/save.h>
#include <teskpf/search.h>
#include <teskpf/watch.h>
#include <teskpf/words.h>
