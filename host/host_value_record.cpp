#include "host/host_value_record.h"

#include <cstring>
#include <string>

#include "host/host_kind_access.h"
#include "support/lower_case_text.h"
#include "support/name_mapping.h"

namespace tssoap {
namespace {

// The host answers booleans as any non-zero number; the record keeps them as 0 or 1.
uint8_t Flag(HostBool answer) { return answer != 0 ? 1 : 0; }

struct FieldPlace {
  HostClass cls;
  HostFieldId field;
};

// The field of object's class whose name is lowered (already in lower case).
FieldPlace FindField(IHostSession& session, HostObject object, const std::string& lowered) {
  const HostClass cls = session.GetClass(object);
  return {cls, session.GetFieldId(cls, lowered.c_str())};
}

FieldPlace FindStructField(IHostSession& session, HostObject object, const HostFieldName& name) {
  return FindField(session, object, name.LowerCase());
}

}  // namespace

void ReadHostValue(HostValueRecord& record, IHostValue* value, bool flagsOnly) {
  if (value == nullptr) {
    record.kind = kHostUnknown;
    return;
  }
  record.isNull = Flag(value->IsNull());
  record.isObject = Flag(value->IsObject());
  record.isArray = Flag(value->IsArray());
  record.kind = value->GetKind();
  if (flagsOnly) return;
  if (record.isNull) {
    std::memset(record.value.bytes, 0, sizeof record.value.bytes);
    return;
  }
  // An array of objects has both flags and is read as the array it is.
  if (record.isArray) {
    record.value.handle = value->GetArray();
    return;
  }
  if (record.isObject) {
    record.value.handle = value->GetObject();
    return;
  }
  ReadValueByKind(*value, record.kind, record.value);
}

void WriteHostValue(IHostValue* value, const HostValueRecord& record) {
  if (value == nullptr) return;
  if (record.isNull) {
    value->SetToNull();
  } else if (record.isArray) {
    value->SetArray(record.value.handle);
  } else if (record.isObject) {
    value->SetObject(record.value.handle);
  } else {
    WriteValueByKind(*value, record.kind, record.value);
  }
}

HostFieldName::HostFieldName(std::string_view xmlName)
    // Structure fields are found by their XML names, which may collide with the host's reserved
    // words.
    : mapped_(ReservedWordSet().MapFieldName(xmlName)) {
  for (const char c : mapped_) {
    if (static_cast<unsigned char>(c) >= 0x80) ascii_ = false;
  }
  if (ascii_) mapped_ = LowerCaseText(mapped_);
}

std::string HostFieldName::LowerCase() const { return ascii_ ? mapped_ : LowerCaseText(mapped_); }

void ReadHostField(IHostSession& session, HostValueRecord& record, HostObject object,
                   std::string_view name) {
  ReadHostField(session, record, object, HostFieldName(name));
}

void WriteHostField(IHostSession& session, HostObject object, const HostValueRecord& record,
                    std::string_view name) {
  WriteHostField(session, object, record, HostFieldName(name));
}

void ReadHostField(IHostSession& session, HostValueRecord& record, HostObject object,
                   const HostFieldName& name) {
  FieldPlace place = FindStructField(session, object, name);
  if (place.field == kNoField) return;
  record.isNull = Flag(session.IsFieldNull(object, place.field));
  record.isObject = Flag(session.IsFieldObject(place.cls, place.field));
  record.isArray = Flag(session.IsFieldArray(place.cls, place.field));
  record.kind = session.GetFieldKind(place.cls, place.field);
  if (record.isNull) return;
  // For arrays and objects the null flag stays as IsFieldNull gave it.
  HostBool ignored = 0;
  if (record.isArray) {
    record.value.handle = session.GetArrayField(object, place.field, &ignored);
    return;
  }
  if (record.isObject) {
    record.value.handle = session.GetObjectField(object, place.field, &ignored);
    return;
  }
  record.isNull = Flag(ReadFieldByKind(session, object, place.field, record.kind, record.value));
}

void WriteHostField(IHostSession& session, HostObject object, const HostValueRecord& record,
                    const HostFieldName& name) {
  FieldPlace place = FindStructField(session, object, name);
  // A value with no instance variable to go to is dropped on purpose: the host class decides
  // which parts of a structure the script sees.
  if (place.field == kNoField) return;
  if (record.isNull) {
    session.SetFieldToNull(object, place.field);
  } else if (record.isArray) {
    session.SetArrayField(object, place.field, record.value.handle);
  } else if (record.isObject) {
    session.SetObjectField(object, place.field, record.value.handle);
  } else {
    WriteFieldByKind(session, object, place.field, record.kind, record.value);
  }
}

HostFieldId LookUpField(IHostSession& session, HostObject object, std::string_view name) {
  return FindField(session, object, LowerCaseText(name)).field;
}

}  // namespace tssoap
