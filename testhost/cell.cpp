// Runtime::Cell: one host value as the extension reads and writes it.
#include "testhost/model.h"

namespace testhost {

Runtime::Cell::Cell(Runtime& runtime, HostValueKind kind, bool isArray, bool isObject,
                    std::string className)
    : runtime_(runtime),
      kind_(kind),
      isArray_(isArray),
      isObject_(isObject),
      declaredAny_(kind == kHostAny && !isArray && !isObject),
      className_(std::move(className)) {}

bool Runtime::Cell::Readable(const char* operation, HostValueKind wanted) {
  runtime_.Note(operation);
  if (isArray_ || isObject_ || kind_ != wanted) {
    runtime_.Misuse(std::string(operation) + " on a value of another kind");
    return false;
  }
  return !isNull_;
}

void Runtime::Cell::StoreInteger(const char* operation, HostValueKind kind, int64_t value) {
  StoreHandle(operation, kind, 0);
  integer_ = value;
}

void Runtime::Cell::StoreReal(const char* operation, HostValueKind kind, double value) {
  StoreHandle(operation, kind, 0);
  real_ = value;
}

void Runtime::Cell::StoreHandle(const char* operation, HostValueKind kind, uint32_t handle) {
  runtime_.Note(operation);
  touched_ = true;
  if (declaredAny_) {
    // A value declared as any takes the kind of what is written to it.
    kind_ = kind;
    isArray_ = false;
    isObject_ = false;
  } else if (isArray_ || isObject_ || kind_ != kind) {
    runtime_.Misuse(std::string(operation) + " on a value of another kind");
  }
  isNull_ = false;
  integer_ = 0;
  real_ = 0;
  handle_ = handle;
}

void Runtime::Cell::StoreNamedHandle(const char* operation, HostValueKind kind, uint32_t handle,
                                     const char* what) {
  if (!runtime_.model_->HandleKnown(kind, handle)) {
    runtime_.Misuse(std::string(operation) + ": no " + what);
  }
  StoreHandle(operation, kind, handle);
}

HostValueKind Runtime::Cell::GetKind() {
  runtime_.Note(__func__);
  return kind_;
}
HostBool Runtime::Cell::IsArray() {
  runtime_.Note(__func__);
  return runtime_.Answer(isArray_);
}
HostBool Runtime::Cell::IsObject() {
  runtime_.Note(__func__);
  return runtime_.Answer(isObject_);
}
HostBool Runtime::Cell::IsNull() {
  runtime_.Note(__func__);
  return runtime_.Answer(isNull_);
}
void Runtime::Cell::SetToNull() {
  runtime_.Note(__func__);
  touched_ = true;
  isNull_ = true;
}

int16_t Runtime::Cell::GetInt() {
  return Readable(__func__, kHostInt) ? static_cast<int16_t>(integer_) : 0;
}
uint16_t Runtime::Cell::GetUint() {
  return Readable(__func__, kHostUint) ? static_cast<uint16_t>(integer_) : 0;
}
HostBool Runtime::Cell::GetBoolean() {
  return Readable(__func__, kHostBoolean) ? runtime_.Answer(integer_ != 0) : HostBool{0};
}
int32_t Runtime::Cell::GetLong() {
  return Readable(__func__, kHostLong) ? static_cast<int32_t>(integer_) : 0;
}
uint32_t Runtime::Cell::GetUlong() {
  return Readable(__func__, kHostUlong) ? static_cast<uint32_t>(integer_) : 0;
}
float Runtime::Cell::GetReal() {
  return Readable(__func__, kHostReal) ? static_cast<float>(real_) : 0.0f;
}
double Runtime::Cell::GetDouble() { return Readable(__func__, kHostDouble) ? real_ : 0.0; }
HostDecimal Runtime::Cell::GetDecimal() { return Readable(__func__, kHostDecimal) ? handle_ : 0; }
HostString Runtime::Cell::GetString() {
  // Answers 0 for a value that has no string, without complaint: callers rely on it.
  runtime_.Note(__func__);
  return !isArray_ && !isObject_ && kind_ == kHostString && !isNull_ ? handle_ : 0;
}
HostObject Runtime::Cell::GetObject() {
  runtime_.Note(__func__);
  if (!isObject_ || isArray_) {
    runtime_.Misuse("GetObject on a value that is no object");
    return 0;
  }
  return isNull_ ? 0 : handle_;
}
HostArray Runtime::Cell::GetArray() {
  runtime_.Note(__func__);
  if (!isArray_) {
    runtime_.Misuse("GetArray on a value that is no array");
    return 0;
  }
  return isNull_ ? 0 : handle_;
}
HostTime Runtime::Cell::GetTime() { return Readable(__func__, kHostTime) ? handle_ : 0; }
HostDate Runtime::Cell::GetDate() { return Readable(__func__, kHostDate) ? handle_ : 0; }
HostDateTime Runtime::Cell::GetDateTime() {
  return Readable(__func__, kHostDateTime) ? handle_ : 0;
}
int64_t Runtime::Cell::GetLongLong() { return Readable(__func__, kHostLongLong) ? integer_ : 0; }
HostBlob Runtime::Cell::GetBlob() { return Readable(__func__, kHostBlob) ? handle_ : 0; }

void Runtime::Cell::SetInt(int16_t value) { StoreInteger(__func__, kHostInt, value); }
void Runtime::Cell::SetUint(uint16_t value) { StoreInteger(__func__, kHostUint, value); }
void Runtime::Cell::SetBoolean(HostBool value) {
  StoreInteger(__func__, kHostBoolean, value != 0 ? 1 : 0);
}
void Runtime::Cell::SetLong(int32_t value) { StoreInteger(__func__, kHostLong, value); }
void Runtime::Cell::SetUlong(uint32_t value) { StoreInteger(__func__, kHostUlong, value); }
void Runtime::Cell::SetReal(float value) { StoreReal(__func__, kHostReal, value); }
void Runtime::Cell::SetDouble(double value) { StoreReal(__func__, kHostDouble, value); }

void Runtime::Cell::SetDecimal(HostDecimal value) {
  StoreNamedHandle(__func__, kHostDecimal, value, "decimal");
}
void Runtime::Cell::SetStringHandle(HostString value) {
  StoreNamedHandle(__func__, kHostString, value, "string");
}
void Runtime::Cell::SetStringText(const char* text) {
  if (text == nullptr) runtime_.Misuse("SetStringText: null text");
  StoreHandle(__func__, kHostString, runtime_.model_->AddString(text != nullptr ? text : ""));
}
void Runtime::Cell::SetTime(HostTime value) {
  StoreNamedHandle(__func__, kHostTime, value, "time");
}
void Runtime::Cell::SetDate(HostDate value) {
  StoreNamedHandle(__func__, kHostDate, value, "date");
}
void Runtime::Cell::SetDateTime(HostDateTime value) {
  StoreNamedHandle(__func__, kHostDateTime, value, "datetime");
}
void Runtime::Cell::SetLongLong(int64_t value) { StoreInteger(__func__, kHostLongLong, value); }
void Runtime::Cell::SetBlob(HostBlob value) {
  StoreNamedHandle(__func__, kHostBlob, value, "blob");
}

void Runtime::Cell::SetArray(HostArray value) {
  runtime_.Note(__func__);
  touched_ = true;
  auto found = runtime_.model_->arrays.find(value);
  if (found == runtime_.model_->arrays.end()) {
    runtime_.Misuse("SetArray: no array");
    return;
  }
  if (declaredAny_) {
    // An array arriving for a value declared as any gives it the array's kind or class.
    kind_ = found->second.itemKind;
    isArray_ = true;
    isObject_ = found->second.objects;
    className_ = runtime_.model_->ClassName(found->second.itemClass);
  } else if (!isArray_) {
    runtime_.Misuse("SetArray on a value that is no array");
  }
  isNull_ = false;
  handle_ = value;
}

void Runtime::Cell::SetObject(HostObject value) {
  runtime_.Note(__func__);
  touched_ = true;
  if (runtime_.model_->objects.count(value) == 0) {
    runtime_.Misuse("SetObject: no object");
    return;
  }
  if (declaredAny_) {
    isArray_ = false;
    isObject_ = true;
  } else if (!isObject_ || isArray_) {
    runtime_.Misuse("SetObject on a value that is no object");
  }
  isNull_ = false;
  handle_ = value;
}

}  // namespace testhost
