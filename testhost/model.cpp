#include "testhost/model.h"

namespace testhost {
namespace {

bool IsIntegerKind(HostValueKind kind) {
  switch (kind) {
    case kHostInt:
    case kHostLong:
    case kHostBoolean:
    case kHostUint:
    case kHostUlong:
    case kHostLongLong:
      return true;
    default:
      return false;
  }
}

}  // namespace

HostString Runtime::Model::AddString(std::string text) {
  HostString handle = NewHandle();
  strings.emplace(handle, std::move(text));
  return handle;
}

HostBlob Runtime::Model::AddBlob(std::vector<uint8_t> bytes) {
  HostBlob handle = NewHandle();
  blobs.emplace(handle, std::move(bytes));
  return handle;
}

HostDecimal Runtime::Model::AddDecimal(std::string text) {
  HostDecimal handle = NewHandle();
  decimals.emplace(handle, std::move(text));
  return handle;
}

HostDate Runtime::Model::AddDate(DateParts parts) {
  HostDate handle = NewHandle();
  dates.emplace(handle, parts);
  return handle;
}

HostTime Runtime::Model::AddTime(TimeParts parts) {
  HostTime handle = NewHandle();
  times.emplace(handle, parts);
  return handle;
}

HostDateTime Runtime::Model::AddDateTime(DateTimeParts parts) {
  HostDateTime handle = NewHandle();
  datetimes.emplace(handle, parts);
  return handle;
}

HostArray Runtime::Model::AddArray(HostValueKind itemKind, bool objectItems, HostClass itemClass,
                                   bool bounded, int32_t length) {
  HostArray handle = NewHandle();
  ArrayData array{itemKind, objectItems, itemClass, bounded, {}};
  for (int32_t i = 0; i < length; ++i) {
    array.items.push_back(objectItems ? Stored{true, 0, 0, 0} : ZeroOf(itemKind));
  }
  arrays.emplace(handle, std::move(array));
  return handle;
}

ClassDef* Runtime::Model::FindClassDef(HostClass cls, const char* operation) {
  auto found = classes.find(cls);
  if (found != classes.end()) return &found->second;
  Misuse(std::string(operation) + ": unknown class " + std::to_string(cls));
  return nullptr;
}

ObjectData* Runtime::Model::FindObject(HostObject object, const char* operation) {
  auto found = objects.find(object);
  if (found != objects.end()) return &found->second;
  Misuse(std::string(operation) + ": unknown object " + std::to_string(object));
  return nullptr;
}

ArrayData* Runtime::Model::FindArray(HostArray array, const char* operation) {
  auto found = arrays.find(array);
  if (found != arrays.end()) return &found->second;
  Misuse(std::string(operation) + ": unknown array " + std::to_string(array));
  return nullptr;
}

HostClass Runtime::Model::ClassByName(std::string_view name) const {
  for (const auto& [handle, cls] : classes) {
    if (cls.name == name) return handle;
  }
  return 0;
}

std::string Runtime::Model::ClassName(HostClass cls) const {
  auto found = classes.find(cls);
  return found != classes.end() ? found->second.name : std::string();
}

Runtime::Stored Runtime::Model::ZeroOf(HostValueKind kind) {
  Stored zero;
  switch (kind) {
    case kHostString:
      zero.handle = AddString("");
      break;
    case kHostDecimal:
      zero.handle = AddDecimal("0");
      break;
    case kHostBlob:
      zero.handle = AddBlob({});
      break;
    case kHostDate:
      zero.handle = AddDate({});
      break;
    case kHostTime:
      zero.handle = AddTime({});
      break;
    case kHostDateTime:
      zero.handle = AddDateTime({});
      break;
    case kHostAny:
      zero.isNull = true;
      break;
    default:
      break;
  }
  return zero;
}

Runtime::Stored Runtime::Model::InitialField(const FieldSpec& spec) {
  if (spec.initial) return Store(*spec.initial);
  if (spec.isArray) {
    HostClass itemClass = spec.isObject ? ClassByName(spec.className) : 0;
    return Stored{false, 0, 0,
                  AddArray(spec.kind, spec.isObject, itemClass, spec.bounded,
                           spec.bounded ? spec.boundedLength : 0)};
  }
  if (spec.isObject) return Stored{true, 0, 0, 0};
  return ZeroOf(spec.kind);
}

Runtime::Stored Runtime::Model::Store(const Value& value) {
  Stored stored;
  if (value.isNull) {
    stored.isNull = true;
    return stored;
  }
  if (value.isArray) {
    stored.handle = StoreArray(value);
    return stored;
  }
  if (value.isObject) {
    stored.handle = value.AsObject();
    return stored;
  }
  switch (value.kind) {
    case kHostReal:
    case kHostDouble:
      stored.real = value.AsDouble();
      break;
    case kHostString:
      stored.handle = AddString(value.AsString());
      break;
    case kHostDecimal:
      stored.handle = AddDecimal(value.AsString());
      break;
    case kHostBlob:
      stored.handle = AddBlob(value.AsBytes());
      break;
    case kHostDate:
      stored.handle = AddDate(std::get<DateParts>(value.data));
      break;
    case kHostTime:
      stored.handle = AddTime(std::get<TimeParts>(value.data));
      break;
    case kHostDateTime:
      stored.handle = AddDateTime(std::get<DateTimeParts>(value.data));
      break;
    default:
      // Kind any, or a kind the host doesn't serve: a value with nothing in it.
      if (IsIntegerKind(value.kind)) stored.integer = value.AsInt();
      break;
  }
  return stored;
}

HostArray Runtime::Model::StoreArray(const Value& array) {
  HostClass itemClass = array.isObject ? ClassByName(array.className) : 0;
  HostArray handle = AddArray(array.kind, array.isObject, itemClass, array.bounded, 0);
  std::vector<Stored> items;
  for (const Value& item : array.AsItems()) items.push_back(Store(item));
  arrays[handle].items = std::move(items);
  return handle;
}

Value Runtime::Model::Load(HostValueKind kind, bool isArray, bool isObject,
                           const std::string& className, const Stored& stored) {
  Value value;
  value.kind = kind;
  value.isArray = isArray;
  value.isObject = isObject;
  value.className = className;
  if (stored.isNull || ((isArray || isObject) && stored.handle == 0)) {
    value.isNull = true;
    return value;
  }
  if (isArray) return LoadArray(stored.handle);
  if (isObject) {
    value.data = HostObject{stored.handle};
    return value;
  }
  switch (kind) {
    case kHostReal:
    case kHostDouble:
      value.data = stored.real;
      break;
    case kHostString:
    case kHostDecimal: {
      auto& texts = kind == kHostString ? strings : decimals;
      auto found = texts.find(stored.handle);
      if (found != texts.end()) value.data = found->second;
      break;
    }
    case kHostBlob:
      if (auto found = blobs.find(stored.handle); found != blobs.end()) value.data = found->second;
      break;
    case kHostDate:
      if (auto found = dates.find(stored.handle); found != dates.end()) value.data = found->second;
      break;
    case kHostTime:
      if (auto found = times.find(stored.handle); found != times.end()) value.data = found->second;
      break;
    case kHostDateTime:
      if (auto found = datetimes.find(stored.handle); found != datetimes.end()) {
        value.data = found->second;
      }
      break;
    default:
      if (IsIntegerKind(kind)) value.data = stored.integer;
      break;
  }
  return value;
}

Value Runtime::Model::LoadArray(HostArray handle) {
  auto found = arrays.find(handle);
  if (found == arrays.end()) return Value::Null(kHostUnknown);
  const ArrayData& array = found->second;
  std::string itemClass = array.objects ? ClassName(array.itemClass) : std::string();
  Value::Items items;
  items.reserve(array.items.size());
  for (const Stored& item : array.items) {
    items.push_back(Load(array.itemKind, false, array.objects, itemClass, item));
  }
  return array.objects ? Value::ObjectArray(itemClass, std::move(items), array.bounded)
                       : Value::Array(array.itemKind, std::move(items), array.bounded);
}

}  // namespace testhost
