// The text of an errno value, safe to ask for from several threads at once.
#pragma once

#include <string>

namespace teskpf {

// What strerror says about `code`, but through strerror_r: strerror may hand
// back a buffer that another thread is overwriting.
std::string errorText(int code);

}  // namespace teskpf
