// The teskpf library in one include: documents and their nodes, conversions,
// errors, the search for files and the safe save.
#pragma once

#include <teskpf/convert.h>
#include <teskpf/document.h>
#include <teskpf/error.h>
#include <teskpf/node.h>
#include <teskpf/save.h>
#include <teskpf/search.h>
