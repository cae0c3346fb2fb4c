#include "tools/tssoap/code_page.h"

#include <langinfo.h>
#include <locale.h>

#include <cerrno>
#include <stdexcept>

namespace tssoap::cli {
namespace {

const iconv_t kNoConversion = reinterpret_cast<iconv_t>(-1);
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD in UTF-8

// The character set of the environment's locale, without changing the process's locale; "C"'s
// when the environment names a locale this machine doesn't have, as setlocale then keeps "C".
std::string EnvironmentCharacterSet() {
  locale_t environment = newlocale(LC_ALL_MASK, "", static_cast<locale_t>(0));
  if (environment == static_cast<locale_t>(0)) {
    environment = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
  }
  std::string name = nl_langinfo_l(CODESET, environment);
  freelocale(environment);
  return name;
}

// The length of the UTF-8 sequence that begins with lead (1 for a byte that begins none).
size_t SequenceLength(unsigned char lead) {
  if (lead >= 0xF0) return 4;
  if (lead >= 0xE0) return 3;
  if (lead >= 0xC0) return 2;
  return 1;
}

// Runs iconv over text; onInvalid(rest, out) decides what an invalid sequence at the start of rest
// becomes and answers how many bytes it takes, or 0 to give up.
template <typename OnInvalid>
bool Convert(iconv_t conversion, std::string_view text, std::string& out, OnInvalid onInvalid) {
  iconv(conversion, nullptr, nullptr, nullptr, nullptr);
  out.clear();
  char buffer[4096];
  char* in = const_cast<char*>(text.data());
  size_t inLeft = text.size();
  while (inLeft > 0) {
    char* outAt = buffer;
    size_t outLeft = sizeof buffer;
    size_t done = iconv(conversion, &in, &inLeft, &outAt, &outLeft);
    out.append(buffer, static_cast<size_t>(outAt - buffer));
    if (done != static_cast<size_t>(-1) || errno == E2BIG) continue;
    size_t taken = onInvalid(std::string_view(in, inLeft), out);
    if (taken == 0) return false;
    in += taken;
    inLeft -= taken;
  }
  char* outAt = buffer;
  size_t outLeft = sizeof buffer;
  iconv(conversion, nullptr, nullptr, &outAt, &outLeft);  // a stateful code page's closing shift
  out.append(buffer, static_cast<size_t>(outAt - buffer));
  return true;
}

}  // namespace

CodePage::CodePage() : name_(EnvironmentCharacterSet()) {
  fromUtf8_ = iconv_open(name_.c_str(), "UTF-8");
  toUtf8_ = iconv_open("UTF-8", name_.c_str());
  if (fromUtf8_ == kNoConversion || toUtf8_ == kNoConversion) {
    if (fromUtf8_ != kNoConversion) iconv_close(fromUtf8_);
    if (toUtf8_ != kNoConversion) iconv_close(toUtf8_);
    throw std::runtime_error("can't convert between UTF-8 and the code page " + name_ +
                             " of the locale");
  }
}

CodePage::~CodePage() {
  iconv_close(fromUtf8_);
  iconv_close(toUtf8_);
}

std::optional<std::string> CodePage::FromUtf8(std::string_view utf8, std::string* unfit) {
  std::string out;
  bool converted = Convert(fromUtf8_, utf8, out, [unfit](std::string_view rest, std::string&) {
    *unfit = rest.substr(0, SequenceLength(static_cast<unsigned char>(rest[0])));
    return size_t{0};
  });
  if (!converted) return std::nullopt;
  return out;
}

std::string CodePage::ToUtf8(std::string_view text) {
  std::string out;
  Convert(toUtf8_, text, out, [](std::string_view, std::string& converted) {
    converted += kReplacement;
    return size_t{1};
  });
  return out;
}

}  // namespace tssoap::cli
