// The two small languages in which a script configures a soapconnection: the argument of
// setoptions and of setproxyserveroptions. One grammar, "key = value" pairs separated by ",",
// white space around every element; keys are folded to lower case, values are quoted texts,
// numbers or words. Pairs take effect one by one; an error doesn't undo the pairs before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "call/connection_settings.h"

namespace tssoap {

// Results of the two methods.
inline constexpr int32_t kOptionsValid = 0;
inline constexpr int32_t kOptionsInvalid = 50;

enum OptionKeyResult : int {
  kKeySyntaxError = 0,
  kEndOfOptions = 1,  // nothing but white space was left
  kKeyRead = 2,       // a key and its "=" were read; the cursor stands behind the "="
};

enum OptionValueKind : int {
  kValueSyntaxError = 0,
  kQuotedValue = 1,  // '...' or "...": the characters between the quotes, no escapes
  kNumberValue = 2,  // decimal digits, no sign
  kWordValue = 3,    // letters only
};

// Reads a key and its "=", lower-cased into key, moving cursor on; on a syntax error the cursor
// stands on the refused character (or at the end).
OptionKeyResult ScanOptionKey(const char*& cursor, const char* end, std::string& key);
// Reads a value and the "," behind it, moving cursor on, the same way.
OptionValueKind ScanOptionValue(const char*& cursor, const char* end, std::string& value);

// Where and why a string was refused: the offset (from 0) of the character or key at fault.
struct OptionsFailure {
  size_t offset = 0;
  std::string reason;
};
// "at 17: unknown key 'timout'"
std::string DescribeOptionsFailure(const OptionsFailure& failure);

// setoptions: soaplog, userid, password, timeout, connectioncache. kOptionsValid or
// kOptionsInvalid; a refusal is described in *failure when given, and in the call log when one is
// open ("setoptions: at 17: unknown key 'timout'").
int32_t ApplyOptions(std::string_view options, ConnectionSettings& settings,
                     OptionsFailure* failure = nullptr);
// setproxyserveroptions: address, userid, password.
int32_t ApplyProxyServerOptions(std::string_view options, ConnectionSettings& settings,
                                OptionsFailure* failure = nullptr);
// Why options would be refused, without applying anything (no log is opened): for a tool that has
// the extension's answer 50 and wants to tell its user. Nothing when they would be accepted.
std::optional<OptionsFailure> CheckOptions(std::string_view options, bool proxyServer);
// The address rule: "[scheme://]host[:port][/path]" into the four proxy server fields. False for
// a scheme other than "http", "https" and "ftp" (case respected), which leaves "http", "80" and
// an empty host and path.
bool SetProxyServerAddress(std::string_view address, ConnectionSettings& settings);

}  // namespace tssoap
