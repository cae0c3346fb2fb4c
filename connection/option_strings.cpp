#include "connection/option_strings.h"

#include <array>
#include <cctype>
#include <limits>
#include <optional>
#include <string>

#include "call/call_log.h"
#include "support/lower_case_text.h"

namespace tssoap {
namespace {

// The character classes are the C runtime's in the current locale.
bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }
bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool IsKeyCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }
char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// An option's effect; false ends the method with kOptionsInvalid. A dry run checks the value and
// changes nothing outside settings.
using OptionEffect = bool (*)(const std::string& value, ConnectionSettings& settings, bool dryRun);

struct OptionKey {
  std::string_view name;
  OptionValueKind kind;
  OptionEffect effect;
  const char* refusal;  // why the effect said no
};

bool OpenLog(const std::string& value, ConnectionSettings&, bool dryRun) {
  // The log belongs to the process; whether the file opened doesn't change the result.
  if (!dryRun) SetLogFile(value.c_str());
  return true;
}

// The options whose quoted text is the setting itself.
template <std::string ConnectionSettings::*setting>
bool SetText(const std::string& value, ConnectionSettings& settings, bool) {
  settings.*setting = value;
  return true;
}

bool SetTimeout(const std::string& digits, ConnectionSettings& settings, bool) {
  // A number beyond the signed 32-bit range is refused rather than wrapped.
  int64_t timeout = 0;
  for (char digit : digits) {
    timeout = timeout * 10 + (digit - '0');
    if (timeout > std::numeric_limits<int32_t>::max()) return false;
  }
  settings.timeout = static_cast<int32_t>(timeout);
  return true;
}

bool SetConnectionCache(const std::string& word, ConnectionSettings& settings, bool) {
  std::string lowered = LowerCaseText(word);
  if (lowered == "true") {
    settings.connectionCache = true;
  } else if (lowered == "false") {
    settings.connectionCache = false;
  } else {
    return false;
  }
  return true;
}

bool SetProxyAddress(const std::string& value, ConnectionSettings& settings, bool) {
  return SetProxyServerAddress(value, settings);
}

constexpr std::array<OptionKey, 5> kServiceKeys{{
    {"soaplog", kQuotedValue, &OpenLog, ""},
    {"userid", kQuotedValue, &SetText<&ConnectionSettings::userId>, ""},
    {"password", kQuotedValue, &SetText<&ConnectionSettings::password>, ""},
    {"timeout", kNumberValue, &SetTimeout, "beyond 2147483647 seconds"},
    {"connectioncache", kWordValue, &SetConnectionCache, "neither true nor false"},
}};

constexpr std::array<OptionKey, 3> kProxyServerKeys{{
    {"address", kQuotedValue, &SetProxyAddress, "a scheme other than http, https and ftp"},
    {"userid", kQuotedValue, &SetText<&ConnectionSettings::proxyUserId>, ""},
    {"password", kQuotedValue, &SetText<&ConnectionSettings::proxyPassword>, ""},
}};

const char* KindName(OptionValueKind kind) {
  switch (kind) {
    case kQuotedValue:
      return "a quoted text";
    case kNumberValue:
      return "a number";
    case kWordValue:
      return "a word";
    case kValueSyntaxError:
      break;
  }
  return "";
}

// What ends the walk over an option string: nothing, or where and why it stopped.
using OptionsOutcome = std::optional<OptionsFailure>;

OptionsOutcome Refuse(const char* at, std::string_view options, std::string reason) {
  return OptionsFailure{static_cast<size_t>(at - options.data()), std::move(reason)};
}

const char* SkipBlanks(const char* cursor, const char* end) {
  while (cursor != end && IsSpace(*cursor)) ++cursor;
  return cursor;
}

template <size_t N>
OptionsOutcome Apply(std::string_view options, ConnectionSettings& settings,
                     const std::array<OptionKey, N>& keys, bool dryRun) {
  const char* cursor = options.data();
  const char* end = options.data() + options.size();
  std::string key;
  std::string value;
  for (;;) {
    const char* keyStart = SkipBlanks(cursor, end);
    OptionKeyResult keyResult = ScanOptionKey(cursor, end, key);
    if (keyResult == kEndOfOptions) return std::nullopt;
    if (keyResult == kKeySyntaxError) {
      return Refuse(
          cursor, options,
          cursor == end ? "the text ends inside the option" : "a key is letters, digits and '_'");
    }
    const char* valueStart = SkipBlanks(cursor, end);
    OptionValueKind kind = ScanOptionValue(cursor, end, value);
    if (kind == kValueSyntaxError) {
      return Refuse(cursor == end ? valueStart : cursor, options,
                    cursor == end ? "the value is missing or its quote isn't closed"
                                  : "a value is a quoted text, a number or a word");
    }
    const OptionKey* known = nullptr;
    for (const OptionKey& candidate : keys) {
      if (candidate.name == key) known = &candidate;
    }
    if (known == nullptr) return Refuse(keyStart, options, "unknown key '" + key + "'");
    if (known->kind != kind) {
      return Refuse(valueStart, options, "'" + key + "' takes " + KindName(known->kind));
    }
    if (!known->effect(value, settings, dryRun)) {
      return Refuse(valueStart, options, "'" + key + "' is " + known->refusal);
    }
  }
}

template <size_t N>
int32_t ApplyAndReport(const char* method, std::string_view options, ConnectionSettings& settings,
                       const std::array<OptionKey, N>& keys, OptionsFailure* failure) {
  OptionsOutcome outcome = Apply(options, settings, keys, false);
  if (!outcome) return kOptionsValid;
  // Written after the option that opened a log, if one did: the refusal is its first line.
  WriteCallLogLine((std::string(method) + ": " + DescribeOptionsFailure(*outcome) + "\n").c_str());
  if (failure != nullptr) *failure = std::move(*outcome);
  return kOptionsInvalid;
}

struct Scheme {
  std::string_view name;
  std::string_view defaultPort;
};
constexpr std::array<Scheme, 3> kSchemes{{{"http", "80"}, {"ftp", "21"}, {"https", "443"}}};

}  // namespace

OptionKeyResult ScanOptionKey(const char*& cursor, const char* end, std::string& key) {
  enum { kBeforeKey, kInKey, kAfterKey, kKeyDone } state = kBeforeKey;
  key.clear();
  for (;;) {
    if (cursor == end) return state == kBeforeKey ? kEndOfOptions : kKeySyntaxError;
    if (state == kKeyDone) return kKeyRead;
    // A refused character stays under the cursor, so that a refusal can say where it is.
    char c = *cursor;
    switch (state) {
      case kBeforeKey:
        if (IsSpace(c)) break;
        if (!IsKeyCharacter(c)) return kKeySyntaxError;
        key.push_back(Lower(c));
        state = kInKey;
        break;
      case kInKey:
        if (IsKeyCharacter(c)) {
          key.push_back(Lower(c));
        } else if (c == '=') {
          state = kKeyDone;
        } else if (IsSpace(c)) {
          state = kAfterKey;
        } else {
          return kKeySyntaxError;
        }
        break;
      case kAfterKey:
        if (c == '=') {
          state = kKeyDone;
        } else if (!IsSpace(c)) {
          return kKeySyntaxError;
        }
        break;
      case kKeyDone:
        break;
    }
    ++cursor;
  }
}

OptionValueKind ScanOptionValue(const char*& cursor, const char* end, std::string& value) {
  // A bare value -- a number or a word -- runs while its characters are of the class of its
  // first one. A quoted and a bare value end alike: white space up to a ",".
  enum { kBeforeValue, kInQuotes, kInBare, kAfterValue, kValueDone } state = kBeforeValue;
  OptionValueKind kind = kValueSyntaxError;
  bool (*inBareClass)(char) = nullptr;
  char closingQuote = '\0';
  value.clear();
  for (;;) {
    if (cursor == end) {
      // An unclosed quote, or a "," as the very last character, is refused.
      return state == kInBare || state == kAfterValue ? kind : kValueSyntaxError;
    }
    // The done state is left only with a character still to come.
    if (state == kValueDone) return kind;
    // A refused character stays under the cursor, so that a refusal can say where it is.
    char c = *cursor;
    switch (state) {
      case kBeforeValue:
        if (IsSpace(c)) break;
        if (c == '"' || c == '\'') {
          closingQuote = c;
          kind = kQuotedValue;
          state = kInQuotes;
        } else if (IsDigit(c) || IsLetter(c)) {
          const bool number = IsDigit(c);
          kind = number ? kNumberValue : kWordValue;
          inBareClass = number ? &IsDigit : &IsLetter;
          value.push_back(c);
          state = kInBare;
        } else {
          return kValueSyntaxError;
        }
        break;
      case kInQuotes:
        if (c == closingQuote) {
          state = kAfterValue;
        } else {
          value.push_back(c);
        }
        break;
      case kInBare:
        if (inBareClass(c)) {
          value.push_back(c);
        } else if (c == ',') {
          state = kValueDone;
        } else if (IsSpace(c)) {
          state = kAfterValue;
        } else {
          return kValueSyntaxError;
        }
        break;
      case kAfterValue:
        if (c == ',') {
          state = kValueDone;
        } else if (!IsSpace(c)) {
          return kValueSyntaxError;
        }
        break;
      case kValueDone:
        break;
    }
    ++cursor;
  }
}

std::string DescribeOptionsFailure(const OptionsFailure& failure) {
  return "at " + std::to_string(failure.offset) + ": " + failure.reason;
}

int32_t ApplyOptions(std::string_view options, ConnectionSettings& settings,
                     OptionsFailure* failure) {
  return ApplyAndReport("setoptions", options, settings, kServiceKeys, failure);
}

int32_t ApplyProxyServerOptions(std::string_view options, ConnectionSettings& settings,
                                OptionsFailure* failure) {
  return ApplyAndReport("setproxyserveroptions", options, settings, kProxyServerKeys, failure);
}

std::optional<OptionsFailure> CheckOptions(std::string_view options, bool proxyServer) {
  ConnectionSettings scratch;
  return proxyServer ? Apply(options, scratch, kProxyServerKeys, true)
                     : Apply(options, scratch, kServiceKeys, true);
}

bool SetProxyServerAddress(std::string_view address, ConnectionSettings& settings) {
  settings.proxyScheme = "http";
  settings.proxyPort = "80";
  settings.proxyHost.clear();
  settings.proxyPath.clear();
  std::string_view rest = address;

  size_t colon = rest.find(':');
  if (colon != std::string_view::npos && rest.substr(colon + 1, 2) == "//") {
    std::string_view scheme = rest.substr(0, colon);
    const Scheme* known = nullptr;
    for (const Scheme& candidate : kSchemes) {
      if (candidate.name == scheme) known = &candidate;
    }
    if (known == nullptr) return false;
    settings.proxyScheme = known->name;
    settings.proxyPort = known->defaultPort;
    rest = rest.substr(colon + 3);
  }

  colon = rest.find(':');
  if (colon != std::string_view::npos) {
    settings.proxyHost = rest.substr(0, colon);
    rest = rest.substr(colon + 1);
    size_t slash = rest.find('/');
    if (slash != std::string_view::npos) {
      settings.proxyPort = rest.substr(0, slash);
      settings.proxyPath = rest.substr(slash + 1);
    } else {
      settings.proxyPort = rest;
    }
    return true;
  }
  size_t slash = rest.find('/');
  if (slash != std::string_view::npos) {
    settings.proxyHost = rest.substr(0, slash);
    settings.proxyPath = rest.substr(slash + 1);
  } else {
    settings.proxyHost = rest;
  }
  return true;
}

}  // namespace tssoap
