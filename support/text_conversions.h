// Conversions between the host's code page (the environment's locale, selected for the whole
// process with setlocale(LC_ALL, "") before each code-page conversion, unless neither the
// environment nor the process locale changed since the calling thread's last selection, or a
// HostCodePageHeld scope holds the selection), UCS-2
// (16-bit units) and UTF-8.
// Each gives nothing for nothing; the two code-page conversions also give nothing when a text
// can't be converted, and the caller chooses the message.
#pragma once

#include <optional>
#include <string>

namespace tssoap {

// While one is open on the calling thread, the code page that the first conversion selects (or
// finds selected) holds for the conversions behind it, unchecked. Nothing the extension does
// between the texts of one value -- a parameter with all its items and fields -- changes the
// environment or the process locale, so checking them before each text of the value would only
// cost. Scopes nest; the outermost one's end lets the next conversion check again. One made with
// false holds nothing.
class HostCodePageHeld {
 public:
  explicit HostCodePageHeld(bool hold = true);
  ~HostCodePageHeld();
  HostCodePageHeld(const HostCodePageHeld&) = delete;
  HostCodePageHeld& operator=(const HostCodePageHeld&) = delete;

 private:
  bool hold_;
};

// Nothing when a byte sequence is no character of the code page; a character beyond the 16-bit
// range becomes a surrogate pair.
std::optional<std::u16string> HostTextToUcs2(const char* text);
// Nothing when a unit has no form in the code page (a lone surrogate included); a surrogate pair is
// converted as the one character it stands for.
std::optional<std::string> Ucs2ToHostText(const char16_t* text);
// One sequence per unit; a surrogate unit is encoded by itself as three bytes.
std::optional<std::string> Ucs2ToUtf8(const char16_t* text);
// One unit per sequence of 1 to 6 bytes: the low 16 bits of its code point. Stops at the
// terminator, also inside a sequence (the cut sequence gives no unit). A byte that begins no
// sequence (128 to 191, 254, 255) gives U+FFFD.
std::optional<std::u16string> Utf8ToUcs2(const char* text);

// The two pipelines: code page -> UCS-2 -> UTF-8 and UTF-8 -> UCS-2 -> code page. Nothing when
// the code-page step fails. A text of ASCII alone comes out as it went in, copied once; the code
// page is selected for it all the same.
std::optional<std::string> HostTextToUtf8(const char* text);
std::optional<std::string> Utf8ToHostText(const char* text);
// The same for a caller that uses the text at once: ASCII text, the same in every code page, is
// handed back as it is, any other converted into room. Null when the code-page step fails.
const char* Utf8ToHostText(const char* text, std::string& room);

}  // namespace tssoap
