// Value: how a test writes values into the reference host and reads them back.
#include <sstream>
#include <stdexcept>

#include "testhost/testhost.h"

namespace testhost {
namespace {

// The alternative is built in place: moving a whole variant holding a string trips GCC 12's
// -Wfree-nonheap-object at -O2, a false alarm.
template <typename T>
Value Simple(HostValueKind kind, T data) {
  Value value;
  value.kind = kind;
  value.data.emplace<T>(std::move(data));
  return value;
}

const char* KindName(HostValueKind kind) {
  switch (kind) {
    case kHostUnknown:
      return "unknown";
    case kHostInt:
      return "int";
    case kHostLong:
      return "long";
    case kHostReal:
      return "real";
    case kHostDouble:
      return "double";
    case kHostDecimal:
      return "decimal";
    case kHostString:
      return "string";
    case kHostBoolean:
      return "boolean";
    case kHostAny:
      return "any";
    case kHostUint:
      return "uint";
    case kHostUlong:
      return "ulong";
    case kHostBlob:
      return "blob";
    case kHostDate:
      return "date";
    case kHostTime:
      return "time";
    case kHostDateTime:
      return "datetime";
    case kHostLongLong:
      return "longlong";
  }
  return "kind?";
}

void DescribeInto(std::ostream& out, const Value& value) {
  if (value.isArray) {
    out << (value.bounded ? "bounded " : "") << "array of "
        << (value.isObject ? value.className : KindName(value.kind));
    if (value.isNull) {
      out << " null";
      return;
    }
    out << " [";
    const char* separator = "";
    for (const Value& item : value.AsItems()) {
      out << separator;
      DescribeInto(out, item);
      separator = ", ";
    }
    out << "]";
    return;
  }
  if (value.isNull) {
    out << "null " << (value.isObject ? "object " + value.className : KindName(value.kind));
    return;
  }
  if (value.isObject) {
    out << "object #" << value.AsObject();
    if (!value.className.empty()) out << " (" << value.className << ")";
    return;
  }
  out << KindName(value.kind) << " ";
  std::visit(
      [&out](const auto& data) {
        using T = std::decay_t<decltype(data)>;
        if constexpr (std::is_same_v<T, std::monostate>) {
          out << "(no data)";
        } else if constexpr (std::is_same_v<T, std::string>) {
          out << '"' << data << '"';
        } else if constexpr (std::is_same_v<T, std::vector<uint8_t>>) {
          out << data.size() << " bytes";
        } else if constexpr (std::is_same_v<T, DateParts>) {
          out << data.year << "-" << data.month << "-" << data.day;
        } else if constexpr (std::is_same_v<T, TimeParts>) {
          out << data.hour << ":" << data.minute << ":" << data.second;
        } else if constexpr (std::is_same_v<T, DateTimeParts>) {
          out << data.date.year << "-" << data.date.month << "-" << data.date.day << " "
              << data.time.hour << ":" << data.time.minute << ":" << data.time.second;
        } else if constexpr (std::is_same_v<T, Value::Items>) {
          out << data.size() << " items";
        } else {
          out << data;
        }
      },
      value.data);
}

}  // namespace

Value Value::Int(int16_t v) { return Simple(kHostInt, int64_t{v}); }
Value Value::Uint(uint16_t v) { return Simple(kHostUint, int64_t{v}); }
Value Value::Long(int32_t v) { return Simple(kHostLong, int64_t{v}); }
Value Value::Ulong(uint32_t v) { return Simple(kHostUlong, int64_t{v}); }
Value Value::LongLong(int64_t v) { return Simple(kHostLongLong, v); }
Value Value::Boolean(bool v) { return Simple(kHostBoolean, int64_t{v ? 1 : 0}); }
Value Value::Real(float v) { return Simple(kHostReal, double{v}); }
Value Value::Double(double v) { return Simple(kHostDouble, v); }
Value Value::Decimal(std::string text) { return Simple(kHostDecimal, std::move(text)); }
Value Value::String(std::string text) { return Simple(kHostString, std::move(text)); }
Value Value::Blob(std::vector<uint8_t> bytes) { return Simple(kHostBlob, std::move(bytes)); }
Value Value::Date(int16_t year, int16_t month, int16_t day) {
  return Simple(kHostDate, DateParts{year, month, day});
}
Value Value::Time(int16_t hour, int16_t minute, double second) {
  return Simple(kHostTime, TimeParts{hour, minute, second});
}
Value Value::DateTime(int16_t year, int16_t month, int16_t day, int16_t hour, int16_t minute,
                      double second) {
  return Simple(kHostDateTime, DateTimeParts{{year, month, day}, {hour, minute, second}});
}

Value Value::Object(HostObject object) {
  Value value;
  value.isObject = true;
  value.data = object;
  return value;
}

Value Value::Null(HostValueKind kind) {
  Value value;
  value.kind = kind;
  value.isNull = true;
  return value;
}

Value Value::NullObject(std::string className) {
  Value value;
  value.isObject = true;
  value.isNull = true;
  value.className = std::move(className);
  return value;
}

Value Value::Array(HostValueKind itemKind, Items items, bool bounded) {
  Value value;
  value.kind = itemKind;
  value.isArray = true;
  value.bounded = bounded;
  value.data = std::move(items);
  return value;
}

Value Value::ObjectArray(std::string className, Items items, bool bounded) {
  Value value;
  value.isArray = true;
  value.isObject = true;
  value.bounded = bounded;
  value.className = std::move(className);
  value.data = std::move(items);
  return value;
}

Value Value::Any() { return Null(kHostAny); }

int64_t Value::AsInt() const { return std::get<int64_t>(data); }
double Value::AsDouble() const { return std::get<double>(data); }
const std::string& Value::AsString() const { return std::get<std::string>(data); }
const std::vector<uint8_t>& Value::AsBytes() const { return std::get<std::vector<uint8_t>>(data); }
HostObject Value::AsObject() const { return std::get<HostObject>(data); }
const Value::Items& Value::AsItems() const {
  static const Items kNoItems;
  if (std::holds_alternative<std::monostate>(data)) return kNoItems;
  return std::get<Items>(data);
}

FieldSpec FieldSpec::Like(std::string name, const Value& value) {
  FieldSpec field;
  field.name = std::move(name);
  field.kind = value.kind;
  field.isArray = value.isArray;
  field.isObject = value.isObject;
  field.className = value.className;
  field.bounded = value.bounded;
  field.boundedLength = value.bounded ? static_cast<int32_t>(value.AsItems().size()) : 0;
  return field;
}

std::string Describe(const Value& value) {
  std::ostringstream out;
  DescribeInto(out, value);
  return out.str();
}

}  // namespace testhost
