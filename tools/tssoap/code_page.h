// CodePage: the host's text encoding as the tool sees it. The host (the reference host the tool
// runs the extension in) keeps its text in the process's code page, which on Linux is the
// character set of the environment's locale; the command line's JSON is UTF-8. CodePage converts
// between the two with iconv. The character set is read from the environment when the CodePage is
// made, the way the extension selects it (setlocale(LC_ALL, "")).
#pragma once

#include <iconv.h>

#include <optional>
#include <string>
#include <string_view>

namespace tssoap::cli {

class CodePage {
 public:
  // Throws std::runtime_error when iconv knows no conversion for the locale's character set.
  CodePage();
  ~CodePage();
  CodePage(const CodePage&) = delete;
  CodePage& operator=(const CodePage&) = delete;

  // The character set's name, as the C library gives it ("ISO-8859-1", "UTF-8").
  const std::string& Name() const { return name_; }

  // UTF-8 into the code page. A character the code page can't hold gives nothing, with that
  // character (as UTF-8) in *unfit.
  std::optional<std::string> FromUtf8(std::string_view utf8, std::string* unfit);
  // The code page into UTF-8; a byte sequence that is no character becomes U+FFFD.
  std::string ToUtf8(std::string_view text);

 private:
  std::string name_;
  iconv_t fromUtf8_;
  iconv_t toUtf8_;
};

}  // namespace tssoap::cli
