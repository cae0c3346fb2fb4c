#include "support/text_conversions.h"

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <mutex>
#include <string_view>

extern char** environ;

namespace tssoap {

namespace {

// The environment variables that decide what setlocale(LC_ALL, "") selects.
constexpr std::string_view kLocaleVariables[] = {
    "LC_ALL",       "LC_CTYPE",       "LC_NUMERIC",        "LC_TIME", "LC_COLLATE",
    "LC_MONETARY",  "LC_MESSAGES",    "LC_PAPER",          "LC_NAME", "LC_ADDRESS",
    "LC_TELEPHONE", "LC_MEASUREMENT", "LC_IDENTIFICATION", "LANG",    "LOCPATH"};
constexpr size_t kLocaleVariableCount = sizeof kLocaleVariables / sizeof kLocaleVariables[0];

// What a selection depends on: the process locale's name and the environment's locale variables,
// packed into one block (a flag byte and the text for each, NUL-ended). Plain bytes, so that the
// thread's copy needs no destructor: the library can be unloaded while threads live on.
struct SelectionKey {
  static constexpr size_t kCapacity = 1024;
  size_t length = 0;  // 0: no key (none made yet, or one that didn't fit)
  char bytes[kCapacity];

  // False when the key doesn't fit, which leaves it empty.
  bool Build() {
    length = 0;
    if (ForEachPart([this](const char* text) { return Add(text); })) return true;
    length = 0;
    return false;
  }

  // Whether Build would make this very key now, found without making it: this runs before every
  // text conversion.
  bool Matches() const {
    size_t at = 0;
    return length != 0 && ForEachPart([&](const char* text) { return Match(text, at); }) &&
           at == length;
  }

 private:
  bool Add(const char* text) {
    const size_t size = text != nullptr ? std::strlen(text) + 1 : 0;
    if (length + 1 + size > kCapacity) return false;
    bytes[length++] = text != nullptr ? 1 : 0;
    if (size != 0) std::memcpy(bytes + length, text, size);
    length += size;
    return true;
  }

  // Whether the key holds text (or its absence) at at; moves at behind it.
  bool Match(const char* text, size_t& at) const {
    if (at >= length || bytes[at] != (text != nullptr ? 1 : 0)) return false;
    ++at;
    if (text == nullptr) return true;
    const size_t size = std::strlen(text) + 1;
    if (size > length - at || std::memcmp(bytes + at, text, size) != 0) return false;
    at += size;
    return true;
  }

  // Calls part with each part of a key in order, the process locale's name, then each locale
  // variable's value (null when unset), while it answers true.
  template <typename Part>
  static bool ForEachPart(Part part) {
    const char* values[kLocaleVariableCount] = {};
    FindLocaleVariables(values);
    if (!part(setlocale(LC_ALL, nullptr))) return false;
    for (const char* value : values) {
      if (!part(value)) return false;
    }
    return true;
  }

  // What getenv would answer for each locale variable, in one walk over the environment instead
  // of one a variable.
  static void FindLocaleVariables(const char* (&values)[kLocaleVariableCount]) {
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
      const char* text = *entry;
      if (text[0] != 'L' || (text[1] != 'C' && text[1] != 'A' && text[1] != 'O')) continue;
      const char* equals = std::strchr(text, '=');
      if (equals == nullptr) continue;
      const std::string_view name(text, static_cast<size_t>(equals - text));
      for (size_t i = 0; i < kLocaleVariableCount; ++i) {
        if (values[i] == nullptr && name == kLocaleVariables[i]) {
          values[i] = equals + 1;  // the first entry of a name wins, as with getenv
          break;
        }
      }
    }
  }
};

// The host's strings are in the code page of the environment's locale. It is selected for the
// whole process before every conversion, which keeps us in step with a host that changes its
// environment and leaves the C runtime's per-character conversions (name lower-casing) on the same
// page. Selecting costs microseconds a call, so a selection that would change nothing -- the
// environment's variables and the process locale are as the calling thread's last selection left
// them -- is skipped.
//
// setlocale(LC_ALL, "") frees the name that setlocale(LC_ALL, nullptr) handed out before, so a
// thread reading the name while another selects would read freed text: the selections and the
// reads of the name take one lock. (A host that calls setlocale itself on another thread at the
// same moment is beyond what the extension can guard.)
void SelectIfChanged() {
  static std::mutex selecting;
  thread_local SelectionKey last;
  std::lock_guard<std::mutex> guard(selecting);
  if (last.Matches()) return;
  setlocale(LC_ALL, "");
  last.Build();
}

// The calling thread's HostCodePageHeld scopes: how many are open, and whether a conversion
// selected the code page (or found it selected) since the outermost opened.
struct HeldSelection {
  int depth = 0;
  bool selected = false;
};
thread_local HeldSelection held;

void SelectHostCodePage() {
  if (held.selected) return;
  SelectIfChanged();
  held.selected = held.depth > 0;
}

constexpr char16_t kReplacementUnit = 0xFFFD;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Walks a code-page text character by character. Returns false when a byte sequence is no
// character of the code page. A character beyond the 16-bit range gives the two units of its
// surrogate pair, as a 16-bit wide conversion does: the way in writes such a pair to the host as
// its one character, so the host can send back what it received.
template <typename OnUnit>
bool WalkHostText(const char* text, size_t length, OnUnit onUnit) {
  std::mbstate_t state{};
  size_t at = 0;
  while (at < length) {
    unsigned char byte = static_cast<unsigned char>(text[at]);
    // Every code page the C runtime offers is a superset of ASCII; skip the library call for it.
    if (byte < 0x80 && std::mbsinit(&state)) {
      onUnit(static_cast<char16_t>(byte));
      ++at;
      continue;
    }
    wchar_t character = 0;
    size_t used = std::mbrtowc(&character, text + at, length - at, &state);
    if (used == static_cast<size_t>(-1) || used == static_cast<size_t>(-2)) return false;
    if (used == 0) used = 1;  // an embedded NUL cannot occur before length; be safe anyway
    const auto codePoint = static_cast<char32_t>(character);
    if (codePoint > 0x10FFFF) return false;
    if (codePoint > 0xFFFF) {
      onUnit(static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
      onUnit(static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF)));
    } else {
      onUnit(static_cast<char16_t>(codePoint));
    }
    at += used;
  }
  return true;
}

// Calls onBytes for the code-page form of each character of a UCS-2 text; a surrogate pair is
// one character. Returns false when a character has no form in the code page.
template <typename OnBytes>
bool WalkUcs2Text(const char16_t* text, OnBytes onBytes) {
  std::mbstate_t state{};
  char bytes[MB_LEN_MAX];
  for (const char16_t* unit = text; *unit != 0; ++unit) {
    char32_t character = *unit;
    if (character < 0x80) {
      char ascii = static_cast<char>(character);
      onBytes(&ascii, 1);
      continue;
    }
    if (IsHighSurrogate(character) && IsLowSurrogate(unit[1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (unit[1] - 0xDC00);
      ++unit;
    }
    size_t written = std::wcrtomb(bytes, static_cast<wchar_t>(character), &state);
    if (written == static_cast<size_t>(-1)) return false;
    onBytes(bytes, written);
  }
  return true;
}

// Bytes of the UTF-8 sequence that begins with lead; 1 for a byte that begins none.
int Utf8SequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead < 0xC0) return 1;  // a continuation byte out of place
  if (lead < 0xE0) return 2;
  if (lead < 0xF0) return 3;
  if (lead < 0xF8) return 4;
  if (lead < 0xFC) return 5;
  if (lead < 0xFE) return 6;
  return 1;  // 0xFE, 0xFF
}

// Decodes the sequence at text into one unit (the low 16 bits of its code point). Returns the
// bytes used, 0 when the terminator cuts the sequence short.
size_t DecodeUtf8Sequence(const unsigned char* text, char16_t& unit) {
  unsigned char lead = text[0];
  int length = Utf8SequenceLength(lead);
  if (length == 1) {
    unit = lead < 0x80 ? lead : kReplacementUnit;
    return 1;
  }
  static constexpr unsigned char kLeadMask[7] = {0, 0, 0x1F, 0x0F, 0x07, 0x03, 0x01};
  uint32_t codePoint = lead & kLeadMask[length];
  for (int i = 1; i < length; ++i) {
    if (text[i] == 0) return 0;
    codePoint = (codePoint << 6) | (text[i] & 0x3F);
  }
  unit = static_cast<char16_t>(codePoint & 0xFFFF);
  return static_cast<size_t>(length);
}

// The code page's text as UCS-2, the code page selected already.
std::optional<std::u16string> CodePageToUcs2(const char* text, size_t length) {
  size_t units = 0;
  if (!WalkHostText(text, length, [&](char16_t) { ++units; })) return std::nullopt;
  std::u16string result(units, u'\0');
  size_t at = 0;
  WalkHostText(text, length, [&](char16_t unit) { result[at++] = unit; });
  return result;
}

// The UCS-2 text in the code page, the code page selected already.
std::optional<std::string> Ucs2ToCodePage(const char16_t* text) {
  size_t bytes = 0;
  if (!WalkUcs2Text(text, [&](const char*, size_t n) { bytes += n; })) return std::nullopt;
  std::string result(bytes, '\0');
  size_t at = 0;
  WalkUcs2Text(text, [&](const char* data, size_t n) {
    std::memcpy(result.data() + at, data, n);
    at += n;
  });
  return result;
}

// The length of a text, and whether it holds ASCII alone, which every code page the C runtime
// offers writes as UTF-8 does: such a text is its own conversion both ways, in one copy.
struct MeasuredText {
  size_t length;
  bool ascii;
};
MeasuredText Measure(const char* text) {
  unsigned char seen = 0;
  size_t length = 0;
  for (; text[length] != '\0'; ++length) seen |= static_cast<unsigned char>(text[length]);
  return {length, seen < 0x80};
}

}  // namespace

HostCodePageHeld::HostCodePageHeld(bool hold) : hold_(hold) {
  if (hold_) ++held.depth;
}

HostCodePageHeld::~HostCodePageHeld() {
  if (hold_ && --held.depth == 0) held.selected = false;
}

std::optional<std::u16string> HostTextToUcs2(const char* text) {
  if (text == nullptr) return std::nullopt;
  SelectHostCodePage();
  return CodePageToUcs2(text, std::strlen(text));
}

std::optional<std::string> Ucs2ToHostText(const char16_t* text) {
  if (text == nullptr) return std::nullopt;
  SelectHostCodePage();
  return Ucs2ToCodePage(text);
}

std::optional<std::string> Ucs2ToUtf8(const char16_t* text) {
  if (text == nullptr) return std::nullopt;
  size_t bytes = 0;
  for (const char16_t* unit = text; *unit != 0; ++unit) {
    bytes += *unit < 0x80 ? 1 : *unit < 0x800 ? 2 : 3;
  }
  std::string result(bytes, '\0');
  char* out = result.data();
  for (const char16_t* unit = text; *unit != 0; ++unit) {
    uint32_t value = *unit;
    if (value < 0x80) {
      *out++ = static_cast<char>(value);
    } else if (value < 0x800) {
      *out++ = static_cast<char>(0xC0 | (value >> 6));
      *out++ = static_cast<char>(0x80 | (value & 0x3F));
    } else {
      *out++ = static_cast<char>(0xE0 | (value >> 12));
      *out++ = static_cast<char>(0x80 | ((value >> 6) & 0x3F));
      *out++ = static_cast<char>(0x80 | (value & 0x3F));
    }
  }
  return result;
}

std::optional<std::u16string> Utf8ToUcs2(const char* text) {
  if (text == nullptr) return std::nullopt;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  size_t units = 0;
  char16_t unit = 0;
  for (size_t at = 0; bytes[at] != 0;) {
    size_t used = DecodeUtf8Sequence(bytes + at, unit);
    if (used == 0) break;
    ++units;
    at += used;
  }
  std::u16string result(units, u'\0');
  size_t written = 0;
  for (size_t at = 0; written < units;) {
    at += DecodeUtf8Sequence(bytes + at, result[written++]);
  }
  return result;
}

std::optional<std::string> HostTextToUtf8(const char* text) {
  if (text == nullptr) return std::nullopt;
  SelectHostCodePage();
  const MeasuredText measured = Measure(text);
  if (measured.ascii) return std::string(text, measured.length);
  std::optional<std::u16string> units = CodePageToUcs2(text, measured.length);
  if (!units) return std::nullopt;
  return Ucs2ToUtf8(units->c_str());
}

std::optional<std::string> Utf8ToHostText(const char* text) {
  std::string room;
  const char* converted = Utf8ToHostText(text, room);
  if (converted == nullptr) return std::nullopt;
  if (converted == text) return std::string(text);
  return room;
}

const char* Utf8ToHostText(const char* text, std::string& room) {
  if (text == nullptr) return nullptr;
  SelectHostCodePage();
  if (Measure(text).ascii) return text;
  std::optional<std::u16string> units = Utf8ToUcs2(text);
  if (!units) return nullptr;
  std::optional<std::string> converted = Ucs2ToCodePage(units->c_str());
  if (!converted) return nullptr;
  room = std::move(*converted);
  return room.c_str();
}

}  // namespace tssoap
