#include "tools/tssoap/json_values.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <nlohmann/json.hpp>

#include "tools/tssoap/message_text.h"

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;
using testhost::Value;

// Deeper nesting than this can only come from objects that refer back to each other.
constexpr int kMaxDepth = 64;

std::string Describe(const Json& json) {
  std::string text = DumpJson(json);
  if (text.size() > 40) text = text.substr(0, 37) + "...";
  return text;
}

// "an int", "a long": the article of a host type name in a message.
std::string WithArticle(std::string_view typeName) {
  bool vowel =
      !typeName.empty() && std::string_view("aeio").find(typeName[0]) != std::string_view::npos;
  return (vowel ? "an " : "a ") + std::string(typeName);
}

[[noreturn]] void Fail(const std::string& where, const std::string& path, const std::string& what) {
  throw ArgumentError(where + (path.empty() ? "" : " at " + path) + ": " + what);
}

// "U+00E9": the code point of one UTF-8 sequence.
std::string CodePoint(std::string_view utf8) {
  static constexpr unsigned char kLeadMask[] = {0x7F, 0x1F, 0x0F, 0x07};
  uint32_t point = static_cast<unsigned char>(utf8[0]) & kLeadMask[utf8.size() - 1];
  for (size_t i = 1; i < utf8.size(); ++i) point = (point << 6) | (utf8[i] & 0x3F);
  char text[16];
  std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(point));
  return text;
}

struct WholeRange {
  const char* name;
  int64_t min;
  int64_t max;
};

int64_t ReadWhole(const Json& json, const WholeRange& range, const std::string& where,
                  const std::string& path) {
  auto outOfRange = [&] {
    Fail(where, path,
         Describe(json) + " doesn't fit " + WithArticle(range.name) + " (" +
             std::to_string(range.min) + " to " + std::to_string(range.max) + ")");
  };
  if (json.is_number_unsigned()) {
    uint64_t value = json.get<uint64_t>();
    if (value > static_cast<uint64_t>(range.max)) outOfRange();
    return static_cast<int64_t>(value);
  }
  if (json.is_number_integer()) {
    int64_t value = json.get<int64_t>();
    if (value < range.min || value > range.max) outOfRange();
    return value;
  }
  Fail(where, path, WithArticle(range.name) + " takes a whole number, not " + Describe(json));
}

int64_t ReadLongLong(const Json& json, const std::string& where, const std::string& path) {
  static constexpr WholeRange kRange{"longlong", std::numeric_limits<int64_t>::min(),
                                     std::numeric_limits<int64_t>::max()};
  if (!json.is_string()) return ReadWhole(json, kRange, where, path);
  const std::string& text = json.get_ref<const std::string&>();
  const char* begin = text.data() + (text.size() > 1 && text[0] == '+' ? 1 : 0);
  int64_t value = 0;
  auto [end, error] = std::from_chars(begin, text.data() + text.size(), value);
  if (error == std::errc::result_out_of_range) {
    Fail(where, path,
         "\"" + text + "\" doesn't fit a longlong (-9223372036854775808 to " +
             "9223372036854775807)");
  }
  if (error != std::errc() || end != text.data() + text.size()) {
    Fail(where, path,
         "\"" + text +
             "\" is no whole number: a longlong is written as a number or "
             "as a string of digits such as \"-42\"");
  }
  return value;
}

double ReadFloating(const Json& json, const char* typeName, const std::string& where,
                    const std::string& path) {
  if (json.is_number()) return json.get<double>();
  if (json.is_string()) {
    const std::string& text = json.get_ref<const std::string&>();
    if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
    if (text == "INF") return std::numeric_limits<double>::infinity();
    if (text == "-INF") return -std::numeric_limits<double>::infinity();
  }
  Fail(where, path,
       WithArticle(typeName) + " takes a number, or \"NaN\", \"INF\" or \"-INF\", not " +
           Describe(json));
}

bool IsDecimalText(std::string_view text) {
  size_t i = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t digits = 0;
  bool point = false;
  for (; i < text.size(); ++i) {
    if (text[i] >= '0' && text[i] <= '9') {
      ++digits;
    } else if (text[i] == '.' && !point) {
      point = true;
    } else {
      return false;
    }
  }
  return digits > 0;
}

// Reads exactly width digits at text[at]; false when they aren't there.
bool Digits(std::string_view text, size_t at, size_t width, int* value) {
  if (at + width > text.size()) return false;
  *value = 0;
  for (size_t i = at; i < at + width; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    *value = *value * 10 + (text[i] - '0');
  }
  return true;
}

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[month - 1];
}

// "YYYY-MM-DD", years 1 to 9999.
bool ReadDate(std::string_view text, testhost::DateParts* date) {
  int year, month, day;
  if (text.size() != 10 || !Digits(text, 0, 4, &year) || text[4] != '-' ||
      !Digits(text, 5, 2, &month) || text[7] != '-' || !Digits(text, 8, 2, &day)) {
    return false;
  }
  if (year < 1 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) {
    return false;
  }
  *date = {static_cast<int16_t>(year), static_cast<int16_t>(month), static_cast<int16_t>(day)};
  return true;
}

// "HH:MM:SS" with an optional fraction of the second, "13:05:09.5".
bool ReadTime(std::string_view text, testhost::TimeParts* time) {
  int hour, minute, second;
  if (text.size() < 8 || !Digits(text, 0, 2, &hour) || text[2] != ':' ||
      !Digits(text, 3, 2, &minute) || text[5] != ':' || !Digits(text, 6, 2, &second)) {
    return false;
  }
  if (hour > 23 || minute > 59 || second > 59) return false;
  double seconds = second;
  if (text.size() > 8) {
    if (text[8] != '.' || text.size() == 9) return false;
    for (size_t i = 9; i < text.size(); ++i) {
      if (text[i] < '0' || text[i] > '9') return false;
    }
    // from_chars, not strtod: the extension may have switched the C locale's decimal point.
    std::from_chars(text.data() + 6, text.data() + text.size(), seconds);
  }
  *time = {static_cast<int16_t>(hour), static_cast<int16_t>(minute), seconds};
  return true;
}

std::string DateText(const testhost::DateParts& date) {
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
  return text;
}

std::string TimeText(const testhost::TimeParts& time) {
  // The shortest text that reads back as the same second, with two digits before the point.
  char second[64];
  auto [end, error] =
      std::to_chars(second, second + sizeof second, time.second, std::chars_format::fixed);
  std::string secondText = error == std::errc() ? std::string(second, end) : std::string("0");
  // Not insert(0, ...): GCC 12 warns about it at -O3 (-Wrestrict, a false positive).
  if (secondText.find('.') == 1 || secondText.size() == 1) secondText = '0' + secondText;
  char text[96];
  std::snprintf(text, sizeof text, "%02d:%02d:%s", time.hour, time.minute, secondText.c_str());
  return text;
}

Json FloatingJson(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "INF" : "-INF";
  return value;
}

// A real travels as a double; its shortest float text keeps 1.1f from printing as 1.100000023...
double ShortestReal(double value) {
  char text[64];
  auto [end, error] = std::to_chars(text, text + sizeof text, static_cast<float>(value));
  double shortest = value;
  if (error == std::errc()) std::from_chars(text, end, shortest);
  return shortest;
}

constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string EncodeBase64(const std::vector<uint8_t>& bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    uint32_t group = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6) text += kBase64Alphabet[(group >> shift) & 63];
  }
  if (size_t rest = bytes.size() - i; rest > 0) {
    uint32_t group = bytes[i] << 16;
    if (rest == 2) group |= bytes[i + 1] << 8;
    text += kBase64Alphabet[(group >> 18) & 63];
    text += kBase64Alphabet[(group >> 12) & 63];
    text += rest == 2 ? kBase64Alphabet[(group >> 6) & 63] : '=';
    text += '=';
  }
  return text;
}

bool DecodeBase64(std::string_view text, std::vector<uint8_t>* bytes) {
  static const auto kValues = [] {
    std::array<int8_t, 256> values{};
    values.fill(-1);
    for (int i = 0; i < 64; ++i) values[static_cast<unsigned char>(kBase64Alphabet[i])] = int8_t(i);
    return values;
  }();
  size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') {
    ++padding;
  }
  std::string_view data = text.substr(0, text.size() - padding);
  // Padding, when written, completes the last group of four; without it, a group of one is no
  // whole byte.
  if (data.size() % 4 == 1 || (padding > 0 && (data.size() + padding) % 4 != 0)) return false;
  bytes->clear();
  bytes->reserve(data.size() * 3 / 4);
  uint32_t group = 0;
  int bits = 0;
  for (char c : data) {
    int8_t value = kValues[static_cast<unsigned char>(c)];
    if (value < 0) return false;
    group = (group << 6) | static_cast<uint32_t>(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      bytes->push_back(static_cast<uint8_t>((group >> bits) & 0xFF));
    }
  }
  return true;
}

Json ParseJsonText(std::string_view text, const std::string& where) {
  try {
    return Json::parse(text.begin(), text.end());
  } catch (const Json::parse_error&) {
    bool bareWord = !text.empty() && text.front() != '"' && text.front() != '{' &&
                    text.front() != '[' && text.front() != '-' &&
                    !(text.front() >= '0' && text.front() <= '9');
    throw ArgumentError(where + ": " + std::string(text) + " is not JSON" +
                        (bareWord ? ": a string is written in double quotes, as '\"" +
                                        std::string(text) + "\"' on the command line"
                                  : std::string()));
  }
}

Value JsonValues::ToHost(const Json& json, const HostType& type, const std::string& where) {
  return Convert(json, type, where, "");
}

Value JsonValues::Convert(const Json& json, const HostType& type, const std::string& where,
                          const std::string& path) {
  if (type.isArray) {
    HostType item = type.Item();
    if (json.is_null()) {
      Value array = EmptyValueOf(type);
      array.isNull = true;
      array.data = std::monostate{};
      return array;
    }
    if (!json.is_array()) {
      Fail(where, path, WithArticle(type.Name()) + " takes a JSON array, not " + JsonKind(json));
    }
    if (type.bounded && json.size() != static_cast<size_t>(type.boundedLength)) {
      Fail(where, path,
           "the bounded array " + type.Name() + " takes exactly " +
               std::to_string(type.boundedLength) + " items, not " + std::to_string(json.size()));
    }
    Value::Items items;
    items.reserve(json.size());
    for (size_t i = 0; i < json.size(); ++i) {
      items.push_back(Convert(json[i], item, where, path + "/" + std::to_string(i)));
    }
    return ArrayValueOf(type, std::move(items));
  }
  if (type.IsStructure()) {
    if (json.is_null()) return Value::NullObject(type.structure);
    const Structure* structure = proxy_.FindStructure(type.structure);
    if (structure == nullptr) Fail(where, path, "no structure " + type.structure + " in the file");
    return ConvertStructure(json, *structure, where, path);
  }
  if (json.is_null()) return type.kind == kHostAny ? Value::Any() : Value::Null(type.kind);
  return ConvertSimple(json, type.kind, where, path);
}

Value JsonValues::ConvertStructure(const Json& json, const Structure& structure,
                                   const std::string& where, const std::string& path) {
  if (!json.is_object()) {
    Fail(where, path,
         WithArticle(structure.name) + " takes a JSON object keyed by its fields, not " +
             JsonKind(json));
  }
  // Every field is converted before the instance is made, so a bad field leaves nothing behind.
  std::vector<std::pair<const StructureField*, Value>> fields;
  for (const auto& [key, item] : json.items()) {
    const StructureField* field = nullptr;
    for (const StructureField& candidate : structure.fields) {
      if (candidate.name == key) field = &candidate;
    }
    if (field == nullptr) {
      std::string names =
          JoinedNames(structure.fields, [](const StructureField& f) { return f.name; });
      Fail(where, path,
           structure.name + " has no field \"" + key + "\" (its fields: " + names + ")");
    }
    fields.emplace_back(field, Convert(item, field->type, where, path + "/" + key));
  }
  HostObject object = runtime_.NewInstance(structure.name);
  for (const auto& [field, value] : fields) runtime_.SetField(object, field->name, value);
  Value value = Value::Object(object);
  value.className = structure.name;
  return value;
}

Value JsonValues::ConvertSimple(const Json& json, HostValueKind kind, const std::string& where,
                                const std::string& path) {
  switch (kind) {
    case kHostInt:
      return Value::Int(static_cast<int16_t>(ReadWhole(json, {"int", -32768, 32767}, where, path)));
    case kHostUint:
      return Value::Uint(static_cast<uint16_t>(ReadWhole(json, {"uint", 0, 65535}, where, path)));
    case kHostLong:
      return Value::Long(static_cast<int32_t>(ReadWhole(
          json, {"long", std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()},
          where, path)));
    case kHostUlong:
      return Value::Ulong(static_cast<uint32_t>(
          ReadWhole(json, {"ulong", 0, std::numeric_limits<uint32_t>::max()}, where, path)));
    case kHostLongLong:
      return Value::LongLong(ReadLongLong(json, where, path));
    case kHostBoolean:
      if (!json.is_boolean())
        Fail(where, path, "a boolean takes true or false, not " + Describe(json));
      return Value::Boolean(json.get<bool>());
    case kHostReal: {
      // Numbers short of halfway from the largest float to the next power of two round to the
      // largest float, so its shortest text, 3.4028235e+38, reads back.
      constexpr double kBeyondReal = 0x1.ffffffp+127;
      double value = ReadFloating(json, "real", where, path);
      if (std::isfinite(value) && std::fabs(value) >= kBeyondReal) {
        Fail(where, path, Describe(json) + " doesn't fit a real (up to 3.4028235e+38)");
      }
      return Value::Real(static_cast<float>(value));
    }
    case kHostDouble:
      return Value::Double(ReadFloating(json, "double", where, path));
    case kHostDecimal:
      if (!json.is_string() || !IsDecimalText(json.get_ref<const std::string&>())) {
        Fail(where, path,
             "a decimal is written as a string of digits with an optional sign and "
             "point, such as \"123.45\", not " +
                 Describe(json));
      }
      return Value::Decimal(json.get<std::string>());
    case kHostString:
      if (!json.is_string()) {
        Fail(where, path, "a string takes a JSON string in double quotes, not " + Describe(json));
      }
      return Value::String(TextFromUtf8(json.get_ref<const std::string&>(),
                                        where + (path.empty() ? "" : " at " + path)));
    case kHostBlob: {
      std::vector<uint8_t> bytes;
      if (!json.is_object() || json.size() != 1 || !json.contains("base64") ||
          !json["base64"].is_string()) {
        Fail(where, path, "a blob is written as {\"base64\": \"...\"}, not " + Describe(json));
      }
      if (!DecodeBase64(json["base64"].get_ref<const std::string&>(), &bytes)) {
        Fail(where, path + "/base64", Describe(json["base64"]) + " is not base64");
      }
      return Value::Blob(std::move(bytes));
    }
    case kHostDate: {
      testhost::DateParts date;
      if (!json.is_string() || !ReadDate(json.get_ref<const std::string&>(), &date)) {
        Fail(where, path, "a date is a string such as \"2003-07-14\", not " + Describe(json));
      }
      return Value::Date(date.year, date.month, date.day);
    }
    case kHostTime: {
      testhost::TimeParts time;
      if (!json.is_string() || !ReadTime(json.get_ref<const std::string&>(), &time)) {
        Fail(where, path, "a time is a string such as \"13:05:09.5\", not " + Describe(json));
      }
      return Value::Time(time.hour, time.minute, time.second);
    }
    case kHostDateTime: {
      testhost::DateParts date;
      testhost::TimeParts time;
      const std::string* text = json.is_string() ? &json.get_ref<const std::string&>() : nullptr;
      if (text == nullptr || text->size() < 11 || (*text)[10] != 'T' ||
          !ReadDate(std::string_view(*text).substr(0, 10), &date) ||
          !ReadTime(std::string_view(*text).substr(11), &time)) {
        Fail(where, path,
             "a datetime is a string such as \"2003-07-14T13:05:09\", not " + Describe(json));
      }
      return Value::DateTime(date.year, date.month, date.day, time.hour, time.minute, time.second);
    }
    case kHostAny:
      Fail(where, path, "an any value takes null: the host passes no value of its own for it");
    default:
      break;
  }
  Fail(where, path, "the host has no values of kind " + std::to_string(kind));
}

std::string JsonValues::TextFromUtf8(std::string_view utf8, const std::string& where) {
  std::string unfit;
  std::optional<std::string> text = codePage_.FromUtf8(utf8, &unfit);
  if (!text) {
    throw ArgumentError(where + ": " + Describe(Json(utf8)) + " holds " + Quoted(unfit) + " (" +
                        CodePoint(unfit) + "), which the host's code page " + codePage_.Name() +
                        " can't hold (the code page is the locale's: LC_ALL, LC_CTYPE, LANG)");
  }
  return std::move(*text);
}

Json JsonValues::ToJson(const Value& value, const HostType& declared) {
  return ToJsonAt(value, declared, 0);
}

Json JsonValues::ToJsonAt(const Value& value, const HostType& declared, int depth) {
  if (value.isNull) return nullptr;
  if (value.isArray) {
    Json items = Json::array();
    HostType item = declared.Item();
    for (const Value& entry : value.AsItems()) items.push_back(ToJsonAt(entry, item, depth));
    return items;
  }
  if (value.isObject) {
    if (!std::holds_alternative<HostObject>(value.data) || value.AsObject() == 0) return nullptr;
    return ObjectToJson(value.AsObject(),
                        value.className.empty() ? declared.structure : value.className, depth);
  }
  switch (value.kind) {
    case kHostInt:
    case kHostUint:
    case kHostLong:
    case kHostUlong:
    case kHostLongLong:
      return value.AsInt();
    case kHostBoolean:
      return value.AsInt() != 0;
    case kHostReal:
      return FloatingJson(ShortestReal(value.AsDouble()));
    case kHostDouble:
      return FloatingJson(value.AsDouble());
    case kHostDecimal:
    case kHostString:
      return codePage_.ToUtf8(value.AsString());
    case kHostBlob:
      return Json{{"base64", EncodeBase64(value.AsBytes())}};
    case kHostDate:
      return DateText(std::get<testhost::DateParts>(value.data));
    case kHostTime:
      return TimeText(std::get<testhost::TimeParts>(value.data));
    case kHostDateTime: {
      const auto& parts = std::get<testhost::DateTimeParts>(value.data);
      return DateText(parts.date) + "T" + TimeText(parts.time);
    }
    default:
      return nullptr;  // kind any with nothing written to it
  }
}

Json JsonValues::ObjectToJson(HostObject object, const std::string& className, int depth) {
  const Structure* structure = proxy_.FindStructure(className);
  if (structure == nullptr || depth >= kMaxDepth) return Json{{"object", object}};
  Json fields = Json::object();
  for (const StructureField& field : structure->fields) {
    fields[field.name] = ToJsonAt(runtime_.GetField(object, field.name), field.type, depth + 1);
  }
  return fields;
}

}  // namespace tssoap::cli
