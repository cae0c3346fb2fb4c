// LowerCaseText: a copy of a name with each character turned to lower case by the C runtime's
// per-character conversion in the current locale. Every group, class and instance variable name
// goes through it before it is asked for at the host (but "BindingStyle").
#pragma once

#include <string>
#include <string_view>

namespace tssoap {

std::string LowerCaseText(std::string_view text);

}  // namespace tssoap
