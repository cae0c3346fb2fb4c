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

// The field of cls whose name is lowered (already in lower case), with the flags and kind the
// class declares for it.
HostFieldPlace FindField(IHostSession& session, HostClass cls, const std::string& lowered) {
  HostFieldPlace place;
  place.cls = cls;
  place.field = session.GetFieldId(cls, lowered.c_str());
  if (place.field == kNoField) return place;
  place.isObject = Flag(session.IsFieldObject(cls, place.field));
  place.isArray = Flag(session.IsFieldArray(cls, place.field));
  place.kind = session.GetFieldKind(cls, place.field);
  return place;
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

const HostFieldPlace& HostFieldName::PlaceIn(IHostSession& session, HostClass cls) const {
  if (!ascii_) {
    place_ = FindField(session, cls, LowerCaseText(mapped_));
  } else if (cls == 0 || place_.cls != cls) {
    place_ = FindField(session, cls, mapped_);
  }
  return place_;
}

void ReadHostField(IHostSession& session, HostValueRecord& record, HostObject object,
                   std::string_view name) {
  ReadHostField(session, record, object, session.GetClass(object), HostFieldName(name));
}

void WriteHostField(IHostSession& session, HostObject object, const HostValueRecord& record,
                    std::string_view name) {
  WriteHostField(session, object, session.GetClass(object), record, HostFieldName(name));
}

namespace {

// Copies the field's declared flags and kind into record; true for a plain value of a kind with
// a reader.
bool TakeShape(HostValueRecord& record, const HostFieldPlace& place) {
  record.isObject = place.isObject;
  record.isArray = place.isArray;
  record.kind = place.kind;
  return record.isArray == 0 && record.isObject == 0 && IsServedKind(record.kind);
}

}  // namespace

bool ShapeHostField(IHostSession& session, HostValueRecord& record, HostClass cls,
                    const HostFieldName& name) {
  const HostFieldPlace& place = name.PlaceIn(session, cls);
  return place.field != kNoField && TakeShape(record, place);
}

void ReadHostField(IHostSession& session, HostValueRecord& record, HostObject object, HostClass cls,
                   const HostFieldName& name) {
  const HostFieldPlace& place = name.PlaceIn(session, cls);
  if (place.field == kNoField) return;
  const HostFieldId field = place.field;
  const bool plain = TakeShape(record, place);
  if (plain) {
    // The kind's reader answers the null flag with the value: one host call for the field. A null
    // field keeps the value as the caller zeroed it.
    HostValueData data{};
    record.isNull = Flag(ReadFieldByKind(session, object, field, record.kind, data));
    if (record.isNull == 0) record.value = data;
    return;
  }
  record.isNull = Flag(session.IsFieldNull(object, field));
  if (record.isNull) return;
  // For arrays and objects the null flag stays as IsFieldNull gave it; a kind without a reader
  // has nothing more to read.
  HostBool ignored = 0;
  if (record.isArray) {
    record.value.handle = session.GetArrayField(object, field, &ignored);
  } else if (record.isObject) {
    record.value.handle = session.GetObjectField(object, field, &ignored);
  }
}

void WriteHostField(IHostSession& session, HostObject object, HostClass cls,
                    const HostValueRecord& record, const HostFieldName& name) {
  const HostFieldPlace& place = name.PlaceIn(session, cls);
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
  return session.GetFieldId(session.GetClass(object), LowerCaseText(name).c_str());
}

}  // namespace tssoap
