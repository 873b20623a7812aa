// Conversions of value text to numbers and truth values. They follow the
// checks exactly: a value converts to an integer when it satisfies <int> and
// to a float when it satisfies <float>.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include <teskpf/export.h>

namespace teskpf {

// The integer a one-field text stands for, read like strtol with base 0:
// decimal, "0x" hexadecimal or "0" octal, optional sign; text after the
// number is ignored ("12abc" is 12, "08" is 0), as the <int> check ignores it.
// Nothing when the text is not one field, has no leading integer ("-", "abc")
// or the number does not fit 64 bits.
TESKPF_API std::optional<std::int64_t> toInteger(std::string_view text);

// The floating-point number a one-field text stands for, read like strtod in
// the C locale whatever the application's locale ("1.5", ".5", "1e3",
// "0x1p3", "inf", "nan"); text after the number is ignored. Nothing when the
// text is not one field, has no leading number or it is out of range
// ("1e999", "1e-999").
TESKPF_API std::optional<double> toFloat(std::string_view text);

// The truth value of a word, compared without regard to ASCII case:
// true/yes/on/1 and false/no/off/0. Nothing for any other text.
TESKPF_API std::optional<bool> toBool(std::string_view text);

}  // namespace teskpf
