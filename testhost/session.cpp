// The reference host's IHostSession: every operation the extension may call, checked against
// the host's rules (misuses are recorded, never thrown) and counted by name.
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

#include "testhost/model.h"

namespace testhost {
namespace {

std::string Where(const char* operation, uint32_t handle) {
  return std::string(operation) + ": " + std::to_string(handle);
}

bool SlotMatches(bool isArray, bool isObject, HostValueKind declared, int kind) {
  switch (kind) {
    case kAnySlot:
      return true;
    case kArraySlot:
      return isArray;
    case kObjectSlot:
      return isObject && !isArray;
    default:
      return !isArray && !isObject && declared == kind;
  }
}

std::string Text(const char* text) { return text; }
std::string Text(const std::string& text) { return text; }
template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
std::string Text(Number number) {
  return std::to_string(number);
}

// Records a misuse whose message is the parts one behind the other. Out of line and cold, so that
// the checks that run on every host call stay small.
template <typename... Parts>
[[gnu::cold, gnu::noinline]] void Complain(Runtime::Model& model, const Parts&... parts) {
  std::string message;
  ((message += Text(parts)), ...);
  model.Misuse(std::move(message));
}

Runtime::Stored Integer(int64_t value) { return Runtime::Stored{false, value, 0, 0}; }
Runtime::Stored Real(double value) { return Runtime::Stored{false, 0, value, 0}; }
Runtime::Stored Handle(uint32_t handle) { return Runtime::Stored{handle == 0, 0, 0, handle}; }
const Runtime::Stored kNullSlot{true, 0, 0, 0};

// The slot of a field of an object for access of that kind; null, the misuse recorded, when the
// object, its class or the field is unknown or the field holds another kind.
Runtime::Stored* FieldSlot(Runtime::Model& model, const char* operation, HostObject object,
                           HostFieldId field, int kind) {
  ObjectData* data = model.FindObject(object, operation);
  if (data == nullptr) return nullptr;
  const ClassDef* cls = data->def;
  if (field >= cls->fields.size()) {
    Complain(model, operation, ": ", object, " has no field ", field);
    return nullptr;
  }
  const FieldSpec& fieldSpec = cls->fields[field];
  if (!SlotMatches(fieldSpec.isArray, fieldSpec.isObject, fieldSpec.kind, kind)) {
    Complain(model, operation, " on field ", fieldSpec.name, " of another kind");
    return nullptr;
  }
  return &data->fields[field];
}

// The array an item number is used on for access of that kind; null, the misuse recorded, when the
// array is unknown, the number lies outside it (an unbounded array grows as items are written),
// or the array holds another kind.
ArrayData* ItemArray(Runtime::Model& model, const char* operation, HostArray array,
                     const int32_t* item, int kind, bool writing) {
  ArrayData* data = model.FindArray(array, operation);
  if (data == nullptr) return nullptr;
  bool beyond = item != nullptr && static_cast<size_t>(*item) > data->items.size() &&
                (!writing || data->bounded);
  if (item == nullptr || *item < 1 || beyond) {
    Complain(model, operation, ": ", array, ": item ", item ? std::to_string(*item) : "null",
             " of ", data->items.size());
    return nullptr;
  }
  if (!SlotMatches(false, data->objects, data->itemKind, kind)) {
    Complain(model, operation, " on an array of another kind");
    return nullptr;
  }
  return data;
}

// A value may be stored when it is null or names a thing of its kind; else the misuse is recorded.
bool Storable(Runtime::Model& model, const char* operation, int kind,
              const Runtime::Stored& value) {
  if (value.isNull || model.HandleKnown(kind, value.handle)) return true;
  Complain(model, operation, " with unknown handle ", value.handle);
  return false;
}

// The thing a handle names in one of the model's tables; null, the misuse recorded, when there is
// none.
template <typename Table>
typename Table::mapped_type* Named(Runtime::Model& model, Table& table, const char* operation,
                                   uint32_t handle, const char* what) {
  auto found = table.find(handle);
  if (found != table.end()) return &found->second;
  model.Misuse(Where(operation, handle) + " is no " + what);
  return nullptr;
}

// The declaration of a field of a class; null, the misuse recorded, when there is none.
const FieldSpec* DeclaredField(Runtime::Model& model, const char* operation, HostClass cls,
                               HostFieldId field) {
  ClassDef* def = model.FindClassDef(cls, operation);
  if (def != nullptr && field < def->fields.size()) return &def->fields[field];
  model.Misuse(Where(operation, cls) + " has no field " + std::to_string(field));
  return nullptr;
}

// How a Stored holds the value of an accessor's kind.
enum class Held { kInteger, kBoolean, kReal, kHandle };

template <typename T, Held held>
T Take(const Runtime::Stored& stored, HostBool trueValue) {
  if constexpr (held == Held::kInteger) return static_cast<T>(stored.integer);
  if constexpr (held == Held::kBoolean) return stored.integer != 0 ? trueValue : HostBool{0};
  if constexpr (held == Held::kReal) return static_cast<T>(stored.real);
  if constexpr (held == Held::kHandle) return stored.handle;
}

template <Held held, typename T>
Runtime::Stored Keep(T value) {
  if constexpr (held == Held::kInteger) return Integer(value);
  if constexpr (held == Held::kBoolean) return Integer(value != 0 ? 1 : 0);
  if constexpr (held == Held::kReal) return Real(value);
  if constexpr (held == Held::kHandle) return Handle(value);
}

}  // namespace

// ---- Typed slots ------------------------------------------------------------------------------

Runtime::Stored Runtime::ReadFieldSlot(const char* operation, HostObject object, HostFieldId field,
                                       int kind, HostBool* isNull) {
  Note(operation);
  if (isNull == nullptr) Complain(*model_, operation, ": no null flag to fill");
  const Stored* slot = FieldSlot(*model_, operation, object, field, kind);
  if (slot == nullptr) return kNullSlot;
  if (isNull != nullptr) *isNull = Answer(slot->isNull);
  return *slot;
}

void Runtime::WriteFieldSlot(const char* operation, HostObject object, HostFieldId field, int kind,
                             const Stored& value) {
  Note(operation);
  Stored* slot = FieldSlot(*model_, operation, object, field, kind);
  if (slot != nullptr && Storable(*model_, operation, kind, value)) *slot = value;
}

Runtime::Stored Runtime::ReadItemSlot(const char* operation, HostArray array, const int32_t* item,
                                      int kind, HostBool* isNull) {
  Note(operation);
  if (isNull == nullptr) Complain(*model_, operation, ": no null flag to fill");
  const ArrayData* data = ItemArray(*model_, operation, array, item, kind, false);
  if (data == nullptr) return kNullSlot;
  const Stored& stored = data->items[static_cast<size_t>(*item - 1)];
  if (isNull != nullptr) *isNull = Answer(stored.isNull);
  return stored;
}

void Runtime::WriteItemSlot(const char* operation, HostArray array, const int32_t* item, int kind,
                            const Stored& value) {
  Note(operation);
  ArrayData* data = ItemArray(*model_, operation, array, item, kind, true);
  if (data == nullptr || !Storable(*model_, operation, kind, value)) return;
  // An unbounded array grows as items are written; items never written are null.
  if (static_cast<size_t>(*item) > data->items.size()) {
    data->items.resize(static_cast<size_t>(*item), kNullSlot);
  }
  data->items[static_cast<size_t>(*item - 1)] = value;
}

// Every kind that fields and array items hold alike: the name in its accessors, its type, its slot
// kind, and how a Stored holds it. One table, so that no accessor can pair a kind with another
// kind's slot or conversion.
#define TESTHOST_SLOT_KINDS(X)                      \
  X(Int, int16_t, kHostInt, kInteger)               \
  X(Long, int32_t, kHostLong, kInteger)             \
  X(Real, float, kHostReal, kReal)                  \
  X(Double, double, kHostDouble, kReal)             \
  X(Decimal, HostDecimal, kHostDecimal, kHandle)    \
  X(String, HostString, kHostString, kHandle)       \
  X(Boolean, HostBool, kHostBoolean, kBoolean)      \
  X(Uint, uint16_t, kHostUint, kInteger)            \
  X(Ulong, uint32_t, kHostUlong, kInteger)          \
  X(Blob, HostBlob, kHostBlob, kHandle)             \
  X(Date, HostDate, kHostDate, kHandle)             \
  X(Time, HostTime, kHostTime, kHandle)             \
  X(DateTime, HostDateTime, kHostDateTime, kHandle) \
  X(LongLong, int64_t, kHostLongLong, kInteger)     \
  X(Object, HostObject, kObjectSlot, kHandle)

#define TESTHOST_SLOT_ACCESSORS(Name, Type, kind, held)                                    \
  Type Runtime::Get##Name##Field(HostObject object, HostFieldId field, HostBool* isNull) { \
    return Take<Type, Held::held>(ReadFieldSlot(__func__, object, field, kind, isNull),    \
                                  Answer(true));                                           \
  }                                                                                        \
  void Runtime::Set##Name##Field(HostObject object, HostFieldId field, Type value) {       \
    WriteFieldSlot(__func__, object, field, kind, Keep<Held::held>(value));                \
  }                                                                                        \
  Type Runtime::Get##Name##ArrayItem(HostArray array, int32_t* item, HostBool* isNull) {   \
    return Take<Type, Held::held>(ReadItemSlot(__func__, array, item, kind, isNull),       \
                                  Answer(true));                                           \
  }                                                                                        \
  void Runtime::Set##Name##ArrayItem(HostArray array, int32_t* item, Type value) {         \
    WriteItemSlot(__func__, array, item, kind, Keep<Held::held>(value));                   \
  }

TESTHOST_SLOT_KINDS(TESTHOST_SLOT_ACCESSORS)

#undef TESTHOST_SLOT_ACCESSORS
#undef TESTHOST_SLOT_KINDS

// ---- Classes, calls and exceptions ------------------------------------------------------------

HostClass Runtime::GetClass(HostObject object) {
  Note(__func__);
  ObjectData* data = model_->FindObject(object, __func__);
  return data != nullptr ? data->cls : 0;
}

HostMethodId Runtime::GetMethodId(HostClass cls, const char* name, int32_t reserved1,
                                  const char* signature, int32_t reserved2) {
  Note(__func__);
  if (reserved1 != 0 || reserved2 != 0 || signature == nullptr || *signature != '\0') {
    Misuse("GetMethodId: expects 0, \"\" and 0 beside the name");
  }
  ClassDef* def = model_->FindClassDef(cls, __func__);
  if (def == nullptr || name == nullptr) return -1;
  // The runtime's function names are case-insensitive; the extension asks in lower case.
  for (size_t i = 0; i < def->functions.size(); ++i) {
    if (def->functions[i].lowerName == name) return static_cast<HostMethodId>(i);
  }
  Misuse(std::string("GetMethodId: class ") + def->name + " has no function " + name);
  return -1;
}

void Runtime::InitCallInfo(HostClass cls, HostMethodId method, HostCallInfo* info) {
  Note(__func__);
  ClassDef* def = model_->FindClassDef(cls, __func__);
  if (def == nullptr || info == nullptr) return;
  if (method < 0 || static_cast<size_t>(method) >= def->functions.size()) {
    Misuse("InitCallInfo: class " + def->name + " has no method " + std::to_string(method));
    return;
  }
  const FunctionDecl& function = def->functions[static_cast<size_t>(method)];
  auto frame = std::make_unique<CallFrame>(*this);
  // One non-null argument of its declared kind per parameter (objects can only start null).
  for (const ParameterDecl& parameter : function.parameters) {
    auto cell = std::make_unique<Cell>(*this, parameter.kind, false, parameter.isObject,
                                       parameter.className);
    if (!parameter.isObject) {
      Stored zero = model_->ZeroOf(parameter.kind);
      cell->isNull_ = zero.isNull;
      cell->handle_ = zero.handle;
    }
    frame->arguments.push_back(std::move(cell));
  }
  frame->SetResult(std::make_unique<Cell>(*this, function.result.kind, false,
                                          function.result.isObject, function.result.className),
                   false);
  *info = frame->info;
  model_->callFrames.insert(frame.release());
}

void Runtime::FreeCallInfo(HostCallInfo* info) {
  Note(__func__);
  if (info == nullptr) return;
  auto* frame = static_cast<CallFrame*>(info->hostState);
  if (model_->callFrames.erase(frame) == 0) {
    Misuse("FreeCallInfo: a call info the host didn't prepare, or freed twice");
    return;
  }
  delete frame;
  *info = HostCallInfo{};
}

void Runtime::InvokeObjectFunction(HostObject object, HostMethodId method, HostCallInfo* info) {
  Note(__func__);
  ObjectData* data = model_->FindObject(object, __func__);
  if (data == nullptr) return;
  ClassDef* def = model_->FindClassDef(data->cls, __func__);
  if (def == nullptr || data->instance == nullptr || info == nullptr) {
    Misuse(Where(__func__, object) + " is no extension object");
    return;
  }
  if (method < 0 || static_cast<size_t>(method) >= def->functions.size()) {
    Misuse(Where(__func__, object) + " has no method " + std::to_string(method));
    return;
  }
  data->instance->Invoke(this, object, static_cast<uint16_t>(method), info);
}

void Runtime::ThrowException(HostObject object) {
  Note(__func__);
  if (model_->FindObject(object, __func__) == nullptr) return;
  if (pendingException_ != 0) Misuse("ThrowException: an exception is pending already");
  pendingException_ = object;
}

HostGroup Runtime::FindGroup(const char* name, HostGroupKind kind) {
  Note(__func__);
  if (name == nullptr) {
    Misuse("FindGroup: null name");
    return 0;
  }
  auto found = model_->groupsByName.find({name, static_cast<int>(kind)});
  return found != model_->groupsByName.end() ? found->second : 0;
}

HostClass Runtime::FindClass(HostGroup group, const char* name) {
  Note(__func__);
  if (name == nullptr) {
    Misuse("FindClass: null name");
    return 0;
  }
  if (model_->groups.count(group) == 0) {
    Misuse(Where(__func__, group) + " is no group");
    return 0;
  }
  for (const auto& [handle, cls] : model_->classes) {
    if (cls.group == group && cls.name == name) return handle;
  }
  return 0;
}

HostObject Runtime::NewObject(HostClass cls) {
  Note(__func__);
  return CreateObject(cls);
}

// ---- Fields -----------------------------------------------------------------------------------

HostFieldId Runtime::GetFieldId(HostClass cls, const char* name) {
  Note(__func__);
  if (name == nullptr) {
    Misuse("GetFieldId: null name");
    return kNoField;
  }
  if (model_->recording) model_->fieldIdRequests.emplace_back(name);
  ClassDef* def = model_->FindClassDef(cls, __func__);
  if (def == nullptr) return kNoField;
  // Byte for byte: the extension lower-cases what it asks for.
  std::string_view wanted(name);
  for (size_t i = 0; i < def->fields.size(); ++i) {
    if (def->fields[i].name == wanted) return static_cast<HostFieldId>(i);
  }
  return kNoField;
}

HostValueKind Runtime::GetFieldKind(HostClass cls, HostFieldId field) {
  Note(__func__);
  ClassDef* def = model_->FindClassDef(cls, __func__);
  if (def == nullptr) return kHostUnknown;
  if (field >= def->fields.size()) {
    Misuse(Where(__func__, cls) + " has no field " + std::to_string(field));
    return kHostUnknown;
  }
  return def->fields[field].kind;
}

HostBool Runtime::IsFieldNull(HostObject object, HostFieldId field) {
  HostBool isNull = 0;
  ReadFieldSlot(__func__, object, field, kAnySlot, &isNull);
  return isNull;
}

void Runtime::SetFieldToNull(HostObject object, HostFieldId field) {
  WriteFieldSlot(__func__, object, field, kAnySlot, kNullSlot);
}

HostBool Runtime::IsFieldArray(HostClass cls, HostFieldId field) {
  Note(__func__);
  const FieldSpec* fieldSpec = DeclaredField(*model_, __func__, cls, field);
  return fieldSpec != nullptr ? Answer(fieldSpec->isArray) : HostBool{0};
}

HostBool Runtime::IsFieldObject(HostClass cls, HostFieldId field) {
  Note(__func__);
  const FieldSpec* fieldSpec = DeclaredField(*model_, __func__, cls, field);
  return fieldSpec != nullptr ? Answer(fieldSpec->isObject) : HostBool{0};
}

HostArray Runtime::GetArrayField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kArraySlot, isNull).handle;
}

void Runtime::SetStringFieldText(HostObject object, HostFieldId field, const char* text) {
  if (text == nullptr) Misuse("SetStringFieldText: null text");
  WriteFieldSlot(__func__, object, field, kHostString,
                 Handle(model_->AddString(text != nullptr ? text : "")));
}
void Runtime::SetArrayField(HostObject object, HostFieldId field, HostArray value) {
  WriteFieldSlot(__func__, object, field, kArraySlot, Handle(value));
}

// ---- Arrays -----------------------------------------------------------------------------------

HostArray Runtime::NewUnboundedSimpleArray(HostValueKind kind) {
  Note(__func__);
  return model_->AddArray(kind, false, 0, false, 0);
}

HostArray Runtime::NewUnboundedObjectArray(HostClass cls) {
  Note(__func__);
  if (model_->FindClassDef(cls, __func__) == nullptr) return 0;
  return model_->AddArray(kHostUnknown, true, cls, false, 0);
}

int32_t Runtime::GetArrayLength(HostArray array) {
  Note(__func__);
  ArrayData* data = model_->FindArray(array, __func__);
  return data != nullptr ? static_cast<int32_t>(data->items.size()) : 0;
}

HostArrayInfo* Runtime::GetArrayInfo(HostArray array) {
  Note(__func__);
  ArrayData* data = model_->FindArray(array, __func__);
  auto info = std::make_unique<HostArrayInfo>();
  info->arrayForm = data != nullptr && data->bounded ? 0 : 1;
  info->itemKind = data != nullptr ? data->itemKind : kHostUnknown;
  HostArrayInfo* handedOut = info.get();
  model_->arrayInfos.emplace(handedOut, std::move(info));
  return handedOut;
}

void Runtime::ReleaseArrayInfo(HostArrayInfo* info) {
  Note(__func__);
  if (model_->arrayInfos.erase(info) == 0) {
    Misuse("ReleaseArrayInfo: an info the host didn't hand out, or released twice");
  }
}

void Runtime::SetArrayItemToNull(HostArray array, int32_t* item) {
  WriteItemSlot(__func__, array, item, kAnySlot, kNullSlot);
}

// ---- Strings and blobs ------------------------------------------------------------------------

HostString Runtime::NewString(const char* text) {
  Note(__func__);
  if (text == nullptr) Misuse("NewString: null text");
  return model_->AddString(text != nullptr ? text : "");
}

const char* Runtime::GetStringText(HostString string) {
  Note(__func__);
  const std::string* text = Named(*model_, model_->strings, __func__, string, "string");
  return text != nullptr ? text->c_str() : nullptr;
}

HostBlob Runtime::NewBlob(const void* data, uint32_t length) {
  Note(__func__);
  if (data == nullptr && length != 0) {
    Misuse("NewBlob: null data of non-zero length");
    length = 0;
  }
  auto* bytes = static_cast<const uint8_t*>(data);
  return model_->AddBlob(length != 0 ? std::vector<uint8_t>(bytes, bytes + length)
                                     : std::vector<uint8_t>());
}

uint32_t Runtime::GetBlobLength(HostBlob blob) {
  Note(__func__);
  const std::vector<uint8_t>* bytes = Named(*model_, model_->blobs, __func__, blob, "blob");
  return bytes != nullptr ? static_cast<uint32_t>(bytes->size()) : 0;
}

const void* Runtime::GetBlobData(HostBlob blob) {
  Note(__func__);
  static const uint8_t kNoBytes = 0;
  const std::vector<uint8_t>* bytes = Named(*model_, model_->blobs, __func__, blob, "blob");
  if (bytes == nullptr) return nullptr;
  return bytes->empty() ? &kNoBytes : bytes->data();
}

// ---- Dates and times --------------------------------------------------------------------------

HostDate Runtime::NewDate() {
  Note(__func__);
  return model_->AddDate({});
}

HostTime Runtime::NewTime() {
  Note(__func__);
  return model_->AddTime({});
}

HostDateTime Runtime::NewDateTime() {
  Note(__func__);
  return model_->AddDateTime({});
}

void Runtime::SetDateParts(HostDate date, int16_t year, int16_t month, int16_t day) {
  Note(__func__);
  if (DateParts* parts = Named(*model_, model_->dates, __func__, date, "date")) {
    *parts = DateParts{year, month, day};
  }
}

void Runtime::SetTimeParts(HostTime time, int16_t hour, int16_t minute, double second) {
  Note(__func__);
  if (TimeParts* parts = Named(*model_, model_->times, __func__, time, "time")) {
    *parts = TimeParts{hour, minute, second};
  }
}

void Runtime::SetDateTimeParts(HostDateTime datetime, int16_t year, int16_t month, int16_t day,
                               int16_t hour, int16_t minute, double second) {
  Note(__func__);
  if (DateTimeParts* parts = Named(*model_, model_->datetimes, __func__, datetime, "datetime")) {
    *parts = DateTimeParts{{year, month, day}, {hour, minute, second}};
  }
}

void Runtime::SplitDate(HostDate date, int16_t* year, int16_t* month, int16_t* day) {
  Note(__func__);
  const DateParts* parts = Named(*model_, model_->dates, __func__, date, "date");
  if (parts == nullptr) return;
  if (year == nullptr || month == nullptr || day == nullptr) {
    return Misuse("SplitDate: null out pointer");
  }
  *year = parts->year;
  *month = parts->month;
  *day = parts->day;
}

void Runtime::SplitTime(HostTime time, int16_t* hour, int16_t* minute, double* second) {
  Note(__func__);
  const TimeParts* parts = Named(*model_, model_->times, __func__, time, "time");
  if (parts == nullptr) return;
  if (hour == nullptr || minute == nullptr || second == nullptr) {
    return Misuse("SplitTime: null out pointer");
  }
  *hour = parts->hour;
  *minute = parts->minute;
  *second = parts->second;
}

void Runtime::SplitDateTime(HostDateTime datetime, int16_t* year, int16_t* month, int16_t* day,
                            int16_t* hour, int16_t* minute, double* second) {
  Note(__func__);
  const DateTimeParts* parts = Named(*model_, model_->datetimes, __func__, datetime, "datetime");
  if (parts == nullptr) return;
  if (year == nullptr || month == nullptr || day == nullptr || hour == nullptr ||
      minute == nullptr || second == nullptr) {
    return Misuse("SplitDateTime: null out pointer");
  }
  *year = parts->date.year;
  *month = parts->date.month;
  *day = parts->date.day;
  *hour = parts->time.hour;
  *minute = parts->time.minute;
  *second = parts->time.second;
}

// ---- Decimals ---------------------------------------------------------------------------------

HostDecimal Runtime::NewDecimal() {
  Note(__func__);
  return model_->AddDecimal("0");
}

void Runtime::SetDecimalText(HostDecimal decimal, const char* text) {
  Note(__func__);
  std::string* stored = Named(*model_, model_->decimals, __func__, decimal, "decimal");
  if (stored == nullptr) return;
  if (text == nullptr) return Misuse("SetDecimalText: null text");
  *stored = text;
}

char* Runtime::GetDecimalText(HostDecimal decimal) {
  Note(__func__);
  const std::string* stored = Named(*model_, model_->decimals, __func__, decimal, "decimal");
  if (stored == nullptr) return nullptr;
  auto* text = static_cast<char*>(std::malloc(stored->size() + 1));
  if (text == nullptr) return nullptr;
  std::memcpy(text, stored->c_str(), stored->size() + 1);
  model_->decimalTexts.insert(text);
  return text;
}

void Runtime::ReleaseDecimalText(char* text) {
  Note(__func__);
  if (model_->decimalTexts.erase(text) == 0) {
    return Misuse("ReleaseDecimalText: a text the host didn't hand out, or released twice");
  }
  std::free(text);
}

// ---- Proxies ----------------------------------------------------------------------------------

HostObject Runtime::NewProxyObject(HostClass cls) {
  Note(__func__);
  if (failNewProxyObject_) return 0;
  return CreateObject(cls);
}

void Runtime::AttachMarshaler(HostObject proxy, IHostMarshaler* marshaler) {
  Note(__func__);
  ObjectData* data = model_->FindObject(proxy, __func__);
  if (data == nullptr) {
    // The host owns the marshaler from now on, even when it has nothing to attach it to.
    if (marshaler != nullptr) marshaler->Destroy();
    return;
  }
  if (data->marshaler != nullptr && data->marshaler != marshaler) data->marshaler->Destroy();
  data->marshaler = marshaler;
  data->marshalerAttached = true;
}

}  // namespace testhost
