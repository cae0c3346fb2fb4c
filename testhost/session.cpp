// The reference host's IHostSession: every operation the extension may call, checked against
// the host's rules (misuses are recorded, never thrown) and counted by name.
#include <cstdlib>
#include <cstring>

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

// The handle a stored value of that kind must name, checked before it is stored.
bool HandleKnown(const Runtime::Model& model, int kind, uint32_t handle) {
  switch (kind) {
    case kHostString:
      return model.strings.count(handle) != 0;
    case kHostDecimal:
      return model.decimals.count(handle) != 0;
    case kHostBlob:
      return model.blobs.count(handle) != 0;
    case kHostDate:
      return model.dates.count(handle) != 0;
    case kHostTime:
      return model.times.count(handle) != 0;
    case kHostDateTime:
      return model.datetimes.count(handle) != 0;
    case kObjectSlot:
      return handle == 0 || model.objects.count(handle) != 0;
    case kArraySlot:
      return handle == 0 || model.arrays.count(handle) != 0;
    default:
      return true;
  }
}

Runtime::Stored Integer(int64_t value) { return Runtime::Stored{false, value, 0, 0}; }
Runtime::Stored Real(double value) { return Runtime::Stored{false, 0, value, 0}; }
Runtime::Stored Handle(uint32_t handle) { return Runtime::Stored{handle == 0, 0, 0, handle}; }

}  // namespace

// ---- Typed slots ------------------------------------------------------------------------------

Runtime::Stored Runtime::ReadFieldSlot(const char* operation, HostObject object, HostFieldId field,
                                       int kind, HostBool* isNull) {
  Note(operation);
  Stored none{true, 0, 0, 0};
  if (isNull == nullptr) Misuse(std::string(operation) + ": no null flag to fill");
  ObjectData* data = model_->FindObject(object, operation);
  ClassDef* cls = data != nullptr ? model_->FindClassDef(data->cls, operation) : nullptr;
  if (cls == nullptr) return none;
  if (field >= cls->fields.size()) {
    Misuse(Where(operation, object) + " has no field " + std::to_string(field));
    return none;
  }
  const FieldSpec& spec = cls->fields[field];
  if (!SlotMatches(spec.isArray, spec.isObject, spec.kind, kind)) {
    Misuse(std::string(operation) + " on field " + spec.name + " of another kind");
    return none;
  }
  Stored stored = data->fields[field];
  if (isNull != nullptr) *isNull = Answer(stored.isNull);
  return stored;
}

void Runtime::WriteFieldSlot(const char* operation, HostObject object, HostFieldId field, int kind,
                             const Stored& value) {
  Note(operation);
  ObjectData* data = model_->FindObject(object, operation);
  ClassDef* cls = data != nullptr ? model_->FindClassDef(data->cls, operation) : nullptr;
  if (cls == nullptr) return;
  if (field >= cls->fields.size()) {
    Misuse(Where(operation, object) + " has no field " + std::to_string(field));
    return;
  }
  const FieldSpec& spec = cls->fields[field];
  if (!SlotMatches(spec.isArray, spec.isObject, spec.kind, kind)) {
    Misuse(std::string(operation) + " on field " + spec.name + " of another kind");
    return;
  }
  if (!value.isNull && !HandleKnown(*model_, kind, value.handle)) {
    Misuse(std::string(operation) + " with unknown handle " + std::to_string(value.handle));
    return;
  }
  data->fields[field] = value;
}

Runtime::Stored Runtime::ReadItemSlot(const char* operation, HostArray array, const int32_t* item,
                                      int kind, HostBool* isNull) {
  Note(operation);
  Stored none{true, 0, 0, 0};
  if (isNull == nullptr) Misuse(std::string(operation) + ": no null flag to fill");
  ArrayData* data = model_->FindArray(array, operation);
  if (data == nullptr) return none;
  if (item == nullptr || *item < 1 || static_cast<size_t>(*item) > data->items.size()) {
    Misuse(Where(operation, array) + ": item " + (item ? std::to_string(*item) : "null") + " of " +
           std::to_string(data->items.size()));
    return none;
  }
  if (!SlotMatches(false, data->objects, data->itemKind, kind)) {
    Misuse(std::string(operation) + " on an array of another kind");
    return none;
  }
  Stored stored = data->items[static_cast<size_t>(*item - 1)];
  if (isNull != nullptr) *isNull = Answer(stored.isNull);
  return stored;
}

void Runtime::WriteItemSlot(const char* operation, HostArray array, const int32_t* item, int kind,
                            const Stored& value) {
  Note(operation);
  ArrayData* data = model_->FindArray(array, operation);
  if (data == nullptr) return;
  if (item == nullptr || *item < 1 ||
      (data->bounded && static_cast<size_t>(*item) > data->items.size())) {
    Misuse(Where(operation, array) + ": item " + (item ? std::to_string(*item) : "null") + " of " +
           std::to_string(data->items.size()));
    return;
  }
  if (!SlotMatches(false, data->objects, data->itemKind, kind)) {
    Misuse(std::string(operation) + " on an array of another kind");
    return;
  }
  if (!value.isNull && !HandleKnown(*model_, kind, value.handle)) {
    Misuse(std::string(operation) + " with unknown handle " + std::to_string(value.handle));
    return;
  }
  // An unbounded array grows as items are written; items never written are null.
  if (static_cast<size_t>(*item) > data->items.size()) {
    data->items.resize(static_cast<size_t>(*item), Stored{true, 0, 0, 0});
  }
  data->items[static_cast<size_t>(*item - 1)] = value;
}

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
  model_->fieldIdRequests.emplace_back(name);
  ClassDef* def = model_->FindClassDef(cls, __func__);
  if (def == nullptr) return kNoField;
  // Byte for byte: the extension lower-cases what it asks for.
  for (size_t i = 0; i < def->fields.size(); ++i) {
    if (def->fields[i].name == name) return static_cast<HostFieldId>(i);
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
  WriteFieldSlot(__func__, object, field, kAnySlot, Stored{true, 0, 0, 0});
}

HostBool Runtime::IsFieldArray(HostClass cls, HostFieldId field) {
  Note(__func__);
  ClassDef* def = model_->FindClassDef(cls, __func__);
  if (def == nullptr || field >= def->fields.size()) {
    Misuse(Where(__func__, cls) + " has no field " + std::to_string(field));
    return 0;
  }
  return Answer(def->fields[field].isArray);
}

HostBool Runtime::IsFieldObject(HostClass cls, HostFieldId field) {
  Note(__func__);
  ClassDef* def = model_->FindClassDef(cls, __func__);
  if (def == nullptr || field >= def->fields.size()) {
    Misuse(Where(__func__, cls) + " has no field " + std::to_string(field));
    return 0;
  }
  return Answer(def->fields[field].isObject);
}

int16_t Runtime::GetIntField(HostObject object, HostFieldId field, HostBool* isNull) {
  return static_cast<int16_t>(ReadFieldSlot(__func__, object, field, kHostInt, isNull).integer);
}
int32_t Runtime::GetLongField(HostObject object, HostFieldId field, HostBool* isNull) {
  return static_cast<int32_t>(ReadFieldSlot(__func__, object, field, kHostLong, isNull).integer);
}
float Runtime::GetRealField(HostObject object, HostFieldId field, HostBool* isNull) {
  return static_cast<float>(ReadFieldSlot(__func__, object, field, kHostReal, isNull).real);
}
double Runtime::GetDoubleField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostDouble, isNull).real;
}
HostDecimal Runtime::GetDecimalField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostDecimal, isNull).handle;
}
HostString Runtime::GetStringField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostString, isNull).handle;
}
HostBool Runtime::GetBooleanField(HostObject object, HostFieldId field, HostBool* isNull) {
  return Answer(ReadFieldSlot(__func__, object, field, kHostBoolean, isNull).integer != 0);
}
uint16_t Runtime::GetUintField(HostObject object, HostFieldId field, HostBool* isNull) {
  return static_cast<uint16_t>(ReadFieldSlot(__func__, object, field, kHostUint, isNull).integer);
}
uint32_t Runtime::GetUlongField(HostObject object, HostFieldId field, HostBool* isNull) {
  return static_cast<uint32_t>(ReadFieldSlot(__func__, object, field, kHostUlong, isNull).integer);
}
HostBlob Runtime::GetBlobField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostBlob, isNull).handle;
}
HostDate Runtime::GetDateField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostDate, isNull).handle;
}
HostTime Runtime::GetTimeField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostTime, isNull).handle;
}
HostDateTime Runtime::GetDateTimeField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostDateTime, isNull).handle;
}
int64_t Runtime::GetLongLongField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kHostLongLong, isNull).integer;
}
HostObject Runtime::GetObjectField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kObjectSlot, isNull).handle;
}
HostArray Runtime::GetArrayField(HostObject object, HostFieldId field, HostBool* isNull) {
  return ReadFieldSlot(__func__, object, field, kArraySlot, isNull).handle;
}

void Runtime::SetIntField(HostObject object, HostFieldId field, int16_t value) {
  WriteFieldSlot(__func__, object, field, kHostInt, Integer(value));
}
void Runtime::SetLongField(HostObject object, HostFieldId field, int32_t value) {
  WriteFieldSlot(__func__, object, field, kHostLong, Integer(value));
}
void Runtime::SetRealField(HostObject object, HostFieldId field, float value) {
  WriteFieldSlot(__func__, object, field, kHostReal, Real(value));
}
void Runtime::SetDoubleField(HostObject object, HostFieldId field, double value) {
  WriteFieldSlot(__func__, object, field, kHostDouble, Real(value));
}
void Runtime::SetDecimalField(HostObject object, HostFieldId field, HostDecimal value) {
  WriteFieldSlot(__func__, object, field, kHostDecimal, Handle(value));
}
void Runtime::SetStringField(HostObject object, HostFieldId field, HostString value) {
  WriteFieldSlot(__func__, object, field, kHostString, Handle(value));
}
void Runtime::SetStringFieldText(HostObject object, HostFieldId field, const char* text) {
  if (text == nullptr) Misuse("SetStringFieldText: null text");
  WriteFieldSlot(__func__, object, field, kHostString,
                 Handle(model_->AddString(text != nullptr ? text : "")));
}
void Runtime::SetBooleanField(HostObject object, HostFieldId field, HostBool value) {
  WriteFieldSlot(__func__, object, field, kHostBoolean, Integer(value != 0 ? 1 : 0));
}
void Runtime::SetUintField(HostObject object, HostFieldId field, uint16_t value) {
  WriteFieldSlot(__func__, object, field, kHostUint, Integer(value));
}
void Runtime::SetUlongField(HostObject object, HostFieldId field, uint32_t value) {
  WriteFieldSlot(__func__, object, field, kHostUlong, Integer(value));
}
void Runtime::SetBlobField(HostObject object, HostFieldId field, HostBlob value) {
  WriteFieldSlot(__func__, object, field, kHostBlob, Handle(value));
}
void Runtime::SetDateField(HostObject object, HostFieldId field, HostDate value) {
  WriteFieldSlot(__func__, object, field, kHostDate, Handle(value));
}
void Runtime::SetTimeField(HostObject object, HostFieldId field, HostTime value) {
  WriteFieldSlot(__func__, object, field, kHostTime, Handle(value));
}
void Runtime::SetDateTimeField(HostObject object, HostFieldId field, HostDateTime value) {
  WriteFieldSlot(__func__, object, field, kHostDateTime, Handle(value));
}
void Runtime::SetLongLongField(HostObject object, HostFieldId field, int64_t value) {
  WriteFieldSlot(__func__, object, field, kHostLongLong, Integer(value));
}
void Runtime::SetObjectField(HostObject object, HostFieldId field, HostObject value) {
  WriteFieldSlot(__func__, object, field, kObjectSlot, Handle(value));
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
  WriteItemSlot(__func__, array, item, kAnySlot, Stored{true, 0, 0, 0});
}

int16_t Runtime::GetIntArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return static_cast<int16_t>(ReadItemSlot(__func__, array, item, kHostInt, isNull).integer);
}
int32_t Runtime::GetLongArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return static_cast<int32_t>(ReadItemSlot(__func__, array, item, kHostLong, isNull).integer);
}
float Runtime::GetRealArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return static_cast<float>(ReadItemSlot(__func__, array, item, kHostReal, isNull).real);
}
double Runtime::GetDoubleArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostDouble, isNull).real;
}
HostDecimal Runtime::GetDecimalArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostDecimal, isNull).handle;
}
HostString Runtime::GetStringArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostString, isNull).handle;
}
HostBool Runtime::GetBooleanArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return Answer(ReadItemSlot(__func__, array, item, kHostBoolean, isNull).integer != 0);
}
uint16_t Runtime::GetUintArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return static_cast<uint16_t>(ReadItemSlot(__func__, array, item, kHostUint, isNull).integer);
}
uint32_t Runtime::GetUlongArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return static_cast<uint32_t>(ReadItemSlot(__func__, array, item, kHostUlong, isNull).integer);
}
HostBlob Runtime::GetBlobArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostBlob, isNull).handle;
}
HostDate Runtime::GetDateArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostDate, isNull).handle;
}
HostTime Runtime::GetTimeArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostTime, isNull).handle;
}
HostDateTime Runtime::GetDateTimeArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostDateTime, isNull).handle;
}
int64_t Runtime::GetLongLongArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kHostLongLong, isNull).integer;
}
HostObject Runtime::GetObjectArrayItem(HostArray array, int32_t* item, HostBool* isNull) {
  return ReadItemSlot(__func__, array, item, kObjectSlot, isNull).handle;
}

void Runtime::SetIntArrayItem(HostArray array, int32_t* item, int16_t value) {
  WriteItemSlot(__func__, array, item, kHostInt, Integer(value));
}
void Runtime::SetLongArrayItem(HostArray array, int32_t* item, int32_t value) {
  WriteItemSlot(__func__, array, item, kHostLong, Integer(value));
}
void Runtime::SetRealArrayItem(HostArray array, int32_t* item, float value) {
  WriteItemSlot(__func__, array, item, kHostReal, Real(value));
}
void Runtime::SetDoubleArrayItem(HostArray array, int32_t* item, double value) {
  WriteItemSlot(__func__, array, item, kHostDouble, Real(value));
}
void Runtime::SetDecimalArrayItem(HostArray array, int32_t* item, HostDecimal value) {
  WriteItemSlot(__func__, array, item, kHostDecimal, Handle(value));
}
void Runtime::SetStringArrayItem(HostArray array, int32_t* item, HostString value) {
  WriteItemSlot(__func__, array, item, kHostString, Handle(value));
}
void Runtime::SetBooleanArrayItem(HostArray array, int32_t* item, HostBool value) {
  WriteItemSlot(__func__, array, item, kHostBoolean, Integer(value != 0 ? 1 : 0));
}
void Runtime::SetUintArrayItem(HostArray array, int32_t* item, uint16_t value) {
  WriteItemSlot(__func__, array, item, kHostUint, Integer(value));
}
void Runtime::SetUlongArrayItem(HostArray array, int32_t* item, uint32_t value) {
  WriteItemSlot(__func__, array, item, kHostUlong, Integer(value));
}
void Runtime::SetBlobArrayItem(HostArray array, int32_t* item, HostBlob value) {
  WriteItemSlot(__func__, array, item, kHostBlob, Handle(value));
}
void Runtime::SetDateArrayItem(HostArray array, int32_t* item, HostDate value) {
  WriteItemSlot(__func__, array, item, kHostDate, Handle(value));
}
void Runtime::SetTimeArrayItem(HostArray array, int32_t* item, HostTime value) {
  WriteItemSlot(__func__, array, item, kHostTime, Handle(value));
}
void Runtime::SetDateTimeArrayItem(HostArray array, int32_t* item, HostDateTime value) {
  WriteItemSlot(__func__, array, item, kHostDateTime, Handle(value));
}
void Runtime::SetLongLongArrayItem(HostArray array, int32_t* item, int64_t value) {
  WriteItemSlot(__func__, array, item, kHostLongLong, Integer(value));
}
void Runtime::SetObjectArrayItem(HostArray array, int32_t* item, HostObject value) {
  WriteItemSlot(__func__, array, item, kObjectSlot, Handle(value));
}

// ---- Strings and blobs ------------------------------------------------------------------------

HostString Runtime::NewString(const char* text) {
  Note(__func__);
  if (text == nullptr) Misuse("NewString: null text");
  return model_->AddString(text != nullptr ? text : "");
}

const char* Runtime::GetStringText(HostString string) {
  Note(__func__);
  auto found = model_->strings.find(string);
  if (found == model_->strings.end()) {
    Misuse(Where(__func__, string) + " is no string");
    return nullptr;
  }
  return found->second.c_str();
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
  auto found = model_->blobs.find(blob);
  if (found == model_->blobs.end()) {
    Misuse(Where(__func__, blob) + " is no blob");
    return 0;
  }
  return static_cast<uint32_t>(found->second.size());
}

const void* Runtime::GetBlobData(HostBlob blob) {
  Note(__func__);
  static const uint8_t kNoBytes = 0;
  auto found = model_->blobs.find(blob);
  if (found == model_->blobs.end()) {
    Misuse(Where(__func__, blob) + " is no blob");
    return nullptr;
  }
  return found->second.empty() ? &kNoBytes : found->second.data();
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
  auto found = model_->dates.find(date);
  if (found == model_->dates.end()) return Misuse(Where(__func__, date) + " is no date");
  found->second = DateParts{year, month, day};
}

void Runtime::SetTimeParts(HostTime time, int16_t hour, int16_t minute, double second) {
  Note(__func__);
  auto found = model_->times.find(time);
  if (found == model_->times.end()) return Misuse(Where(__func__, time) + " is no time");
  found->second = TimeParts{hour, minute, second};
}

void Runtime::SetDateTimeParts(HostDateTime datetime, int16_t year, int16_t month, int16_t day,
                               int16_t hour, int16_t minute, double second) {
  Note(__func__);
  auto found = model_->datetimes.find(datetime);
  if (found == model_->datetimes.end()) {
    return Misuse(Where(__func__, datetime) + " is no datetime");
  }
  found->second = DateTimeParts{{year, month, day}, {hour, minute, second}};
}

void Runtime::SplitDate(HostDate date, int16_t* year, int16_t* month, int16_t* day) {
  Note(__func__);
  auto found = model_->dates.find(date);
  if (found == model_->dates.end()) return Misuse(Where(__func__, date) + " is no date");
  if (year == nullptr || month == nullptr || day == nullptr) {
    return Misuse("SplitDate: null out pointer");
  }
  *year = found->second.year;
  *month = found->second.month;
  *day = found->second.day;
}

void Runtime::SplitTime(HostTime time, int16_t* hour, int16_t* minute, double* second) {
  Note(__func__);
  auto found = model_->times.find(time);
  if (found == model_->times.end()) return Misuse(Where(__func__, time) + " is no time");
  if (hour == nullptr || minute == nullptr || second == nullptr) {
    return Misuse("SplitTime: null out pointer");
  }
  *hour = found->second.hour;
  *minute = found->second.minute;
  *second = found->second.second;
}

void Runtime::SplitDateTime(HostDateTime datetime, int16_t* year, int16_t* month, int16_t* day,
                            int16_t* hour, int16_t* minute, double* second) {
  Note(__func__);
  auto found = model_->datetimes.find(datetime);
  if (found == model_->datetimes.end()) {
    return Misuse(Where(__func__, datetime) + " is no datetime");
  }
  if (year == nullptr || month == nullptr || day == nullptr || hour == nullptr ||
      minute == nullptr || second == nullptr) {
    return Misuse("SplitDateTime: null out pointer");
  }
  *year = found->second.date.year;
  *month = found->second.date.month;
  *day = found->second.date.day;
  *hour = found->second.time.hour;
  *minute = found->second.time.minute;
  *second = found->second.time.second;
}

// ---- Decimals ---------------------------------------------------------------------------------

HostDecimal Runtime::NewDecimal() {
  Note(__func__);
  return model_->AddDecimal("0");
}

void Runtime::SetDecimalText(HostDecimal decimal, const char* text) {
  Note(__func__);
  auto found = model_->decimals.find(decimal);
  if (found == model_->decimals.end()) return Misuse(Where(__func__, decimal) + " is no decimal");
  if (text == nullptr) return Misuse("SetDecimalText: null text");
  found->second = text;
}

char* Runtime::GetDecimalText(HostDecimal decimal) {
  Note(__func__);
  auto found = model_->decimals.find(decimal);
  if (found == model_->decimals.end()) {
    Misuse(Where(__func__, decimal) + " is no decimal");
    return nullptr;
  }
  auto* text = static_cast<char*>(std::malloc(found->second.size() + 1));
  if (text == nullptr) return nullptr;
  std::memcpy(text, found->second.c_str(), found->second.size() + 1);
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
