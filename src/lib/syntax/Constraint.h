// One parsed annotation ("<int>", "<str>(low high)"): the type it asks for
// and, for <str>(...), the words it permits.
#pragma once

#include <string>
#include <vector>

#include <teskpf/value_type.h>

namespace teskpf {

struct Constraint {
    ValueType type = ValueType::Str;
    std::vector<std::string> words;  // the words of a <str>(...) list; empty: any word
};

// The annotations of one annotation text, in order.
using ConstraintTable = std::vector<Constraint>;

}  // namespace teskpf
