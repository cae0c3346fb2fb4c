#include "support/lower_case_text.h"

#include <cctype>

namespace tssoap {

std::string LowerCaseText(std::string_view text) {
  std::string lowered(text);
  // The host's names are folded by the C runtime in the current locale, so that a name with
  // code-page letters finds the same class as the host's own lower-casing gives it.
  for (char& c : lowered) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lowered;
}

}  // namespace tssoap
