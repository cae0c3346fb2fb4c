// JsonValues: the command line's notation for host values, both ways. An argument is a JSON text
// read against its parameter's host type and made into a testhost::Value (structures become new
// instances at the Runtime, filled field by field); a value the host holds after a call becomes
// JSON in the same notation. The notation:
//   integers, real, double  JSON numbers; real and double also "NaN", "INF", "-INF"; longlong
//                           also as a string of digits
//   boolean                 true, false
//   string                  a JSON string (UTF-8; the host holds it in its code page)
//   decimal                 a string such as "123.45"
//   blob                    {"base64": "..."}
//   date, time, datetime    "2003-07-14", "13:05:09.5", "2003-07-14T13:05:09"
//   structure               an object keyed by its fields (fields left out keep their defaults)
//   arrays                  JSON arrays; a bounded array takes exactly its number of items
//   null                    the null value of any type; an out-only parameter takes null
// The Runtime and the ProxyFile are borrowed and must outlive the JsonValues.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

#include "testhost/testhost.h"
#include "tools/tssoap/code_page.h"
#include "tools/tssoap/host_types.h"
#include "tools/tssoap/proxy_file.h"

namespace tssoap::cli {

// A value that doesn't fit its type; the text names the value, the place inside it and why.
class ArgumentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads one JSON text; throws ArgumentError "WHERE: not JSON: ..." with a hint for bare words.
nlohmann::ordered_json ParseJsonText(std::string_view text, const std::string& where);

class JsonValues {
 public:
  JsonValues(testhost::Runtime& runtime, const ProxyFile& proxy)
      : runtime_(runtime), proxy_(proxy) {}

  // JSON to host; throws ArgumentError whose text begins with where ("argument 2 (count)").
  testhost::Value ToHost(const nlohmann::ordered_json& json, const HostType& type,
                         const std::string& where);
  // Host to JSON. The value's own kind decides (a value declared any has the kind that was
  // written to it); declared supplies the structure class of objects that don't carry one.
  nlohmann::ordered_json ToJson(const testhost::Value& value, const HostType& declared);
  // UTF-8 text as the host holds it, in the code page; throws ArgumentError, beginning with
  // where, for a character the code page lacks.
  std::string TextFromUtf8(std::string_view utf8, const std::string& where);
  // A host text (in the code page) as UTF-8, for JSON.
  std::string TextToUtf8(std::string_view hostText) { return codePage_.ToUtf8(hostText); }

 private:
  testhost::Value Convert(const nlohmann::ordered_json& json, const HostType& type,
                          const std::string& where, const std::string& path);
  testhost::Value ConvertStructure(const nlohmann::ordered_json& json, const Structure& structure,
                                   const std::string& where, const std::string& path);
  testhost::Value ConvertSimple(const nlohmann::ordered_json& json, HostValueKind kind,
                                const std::string& where, const std::string& path);
  nlohmann::ordered_json ObjectToJson(HostObject object, const std::string& className, int depth);
  nlohmann::ordered_json ToJsonAt(const testhost::Value& value, const HostType& declared,
                                  int depth);

  testhost::Runtime& runtime_;
  const ProxyFile& proxy_;
  CodePage codePage_;
};

// Base64 as a blob is written; Decode answers false for a text that isn't base64.
std::string EncodeBase64(const std::vector<uint8_t>& bytes);
bool DecodeBase64(std::string_view text, std::vector<uint8_t>* bytes);

}  // namespace tssoap::cli
