#include "host/host_kind_access.h"

#include <array>

namespace tssoap {
namespace {

// The readers and writers of one served kind, on a value, a field and an array item. Every kind
// differs only in its slot of the record and its six host operations, so one template serves all.
template <typename T, T HostValueData::*Slot, T (IHostValue::*GetValue)(),
          void (IHostValue::*SetValue)(T),
          T (IHostSession::*GetField)(HostObject, HostFieldId, HostBool*),
          void (IHostSession::*SetField)(HostObject, HostFieldId, T),
          T (IHostSession::*GetItem)(HostArray, int32_t*, HostBool*),
          void (IHostSession::*SetItem)(HostArray, int32_t*, T)>
struct KindTraits {
  static void ReadValue(IHostValue& value, HostValueData& data) {
    data.*Slot = (value.*GetValue)();
  }
  static void WriteValue(IHostValue& value, const HostValueData& data) {
    (value.*SetValue)(data.*Slot);
  }
  static HostBool ReadField(IHostSession& session, HostObject object, HostFieldId field,
                            HostValueData& data) {
    HostBool isNull = 0;
    data.*Slot = (session.*GetField)(object, field, &isNull);
    return isNull;
  }
  static void WriteField(IHostSession& session, HostObject object, HostFieldId field,
                         const HostValueData& data) {
    (session.*SetField)(object, field, data.*Slot);
  }
  static HostBool ReadItem(IHostSession& session, HostArray array, int32_t item,
                           HostValueData& data) {
    HostBool isNull = 0;
    data.*Slot = (session.*GetItem)(array, &item, &isNull);
    return isNull;
  }
  static void WriteItem(IHostSession& session, HostArray array, int32_t item,
                        const HostValueData& data) {
    (session.*SetItem)(array, &item, data.*Slot);
  }
};

using IntTraits =
    KindTraits<int16_t, &HostValueData::int16, &IHostValue::GetInt, &IHostValue::SetInt,
               &IHostSession::GetIntField, &IHostSession::SetIntField,
               &IHostSession::GetIntArrayItem, &IHostSession::SetIntArrayItem>;
using LongTraits =
    KindTraits<int32_t, &HostValueData::int32, &IHostValue::GetLong, &IHostValue::SetLong,
               &IHostSession::GetLongField, &IHostSession::SetLongField,
               &IHostSession::GetLongArrayItem, &IHostSession::SetLongArrayItem>;
using RealTraits =
    KindTraits<float, &HostValueData::real, &IHostValue::GetReal, &IHostValue::SetReal,
               &IHostSession::GetRealField, &IHostSession::SetRealField,
               &IHostSession::GetRealArrayItem, &IHostSession::SetRealArrayItem>;
using DoubleTraits =
    KindTraits<double, &HostValueData::dbl, &IHostValue::GetDouble, &IHostValue::SetDouble,
               &IHostSession::GetDoubleField, &IHostSession::SetDoubleField,
               &IHostSession::GetDoubleArrayItem, &IHostSession::SetDoubleArrayItem>;
using DecimalTraits = KindTraits<HostDecimal, &HostValueData::handle, &IHostValue::GetDecimal,
                                 &IHostValue::SetDecimal, &IHostSession::GetDecimalField,
                                 &IHostSession::SetDecimalField, &IHostSession::GetDecimalArrayItem,
                                 &IHostSession::SetDecimalArrayItem>;
using StringTraits = KindTraits<HostString, &HostValueData::handle, &IHostValue::GetString,
                                &IHostValue::SetStringHandle, &IHostSession::GetStringField,
                                &IHostSession::SetStringField, &IHostSession::GetStringArrayItem,
                                &IHostSession::SetStringArrayItem>;
using BooleanTraits =
    KindTraits<HostBool, &HostValueData::uint16, &IHostValue::GetBoolean, &IHostValue::SetBoolean,
               &IHostSession::GetBooleanField, &IHostSession::SetBooleanField,
               &IHostSession::GetBooleanArrayItem, &IHostSession::SetBooleanArrayItem>;
using UintTraits =
    KindTraits<uint16_t, &HostValueData::uint16, &IHostValue::GetUint, &IHostValue::SetUint,
               &IHostSession::GetUintField, &IHostSession::SetUintField,
               &IHostSession::GetUintArrayItem, &IHostSession::SetUintArrayItem>;
using UlongTraits =
    KindTraits<uint32_t, &HostValueData::uint32, &IHostValue::GetUlong, &IHostValue::SetUlong,
               &IHostSession::GetUlongField, &IHostSession::SetUlongField,
               &IHostSession::GetUlongArrayItem, &IHostSession::SetUlongArrayItem>;
using BlobTraits =
    KindTraits<HostBlob, &HostValueData::handle, &IHostValue::GetBlob, &IHostValue::SetBlob,
               &IHostSession::GetBlobField, &IHostSession::SetBlobField,
               &IHostSession::GetBlobArrayItem, &IHostSession::SetBlobArrayItem>;
using DateTraits =
    KindTraits<HostDate, &HostValueData::handle, &IHostValue::GetDate, &IHostValue::SetDate,
               &IHostSession::GetDateField, &IHostSession::SetDateField,
               &IHostSession::GetDateArrayItem, &IHostSession::SetDateArrayItem>;
using TimeTraits =
    KindTraits<HostTime, &HostValueData::handle, &IHostValue::GetTime, &IHostValue::SetTime,
               &IHostSession::GetTimeField, &IHostSession::SetTimeField,
               &IHostSession::GetTimeArrayItem, &IHostSession::SetTimeArrayItem>;
using DateTimeTraits =
    KindTraits<HostDateTime, &HostValueData::handle, &IHostValue::GetDateTime,
               &IHostValue::SetDateTime, &IHostSession::GetDateTimeField,
               &IHostSession::SetDateTimeField, &IHostSession::GetDateTimeArrayItem,
               &IHostSession::SetDateTimeArrayItem>;
using LongLongTraits =
    KindTraits<int64_t, &HostValueData::int64, &IHostValue::GetLongLong, &IHostValue::SetLongLong,
               &IHostSession::GetLongLongField, &IHostSession::SetLongLongField,
               &IHostSession::GetLongLongArrayItem, &IHostSession::SetLongLongArrayItem>;

struct KindAccess {
  void (*readValue)(IHostValue&, HostValueData&);
  void (*writeValue)(IHostValue&, const HostValueData&);
  HostBool (*readField)(IHostSession&, HostObject, HostFieldId, HostValueData&);
  void (*writeField)(IHostSession&, HostObject, HostFieldId, const HostValueData&);
  HostBool (*readItem)(IHostSession&, HostArray, int32_t, HostValueData&);
  void (*writeItem)(IHostSession&, HostArray, int32_t, const HostValueData&);
};

template <typename Traits>
constexpr KindAccess kAccess{&Traits::ReadValue,  &Traits::WriteValue, &Traits::ReadField,
                             &Traits::WriteField, &Traits::ReadItem,   &Traits::WriteItem};

// Indexed by HostValueKind; null for the kinds the host doesn't serve (0, 8, 15 to 19).
constexpr std::array<const KindAccess*, 21> kKindTable{
    nullptr,                   // 0 unknown
    &kAccess<IntTraits>,       // 1
    &kAccess<LongTraits>,      // 2
    &kAccess<RealTraits>,      // 3
    &kAccess<DoubleTraits>,    // 4
    &kAccess<DecimalTraits>,   // 5
    &kAccess<StringTraits>,    // 6
    &kAccess<BooleanTraits>,   // 7
    nullptr,                   // 8 any
    &kAccess<UintTraits>,      // 9
    &kAccess<UlongTraits>,     // 10
    &kAccess<BlobTraits>,      // 11
    &kAccess<DateTraits>,      // 12
    &kAccess<TimeTraits>,      // 13
    &kAccess<DateTimeTraits>,  // 14
    nullptr,                   // 15
    nullptr,                   // 16
    nullptr,                   // 17
    nullptr,                   // 18
    nullptr,                   // 19
    &kAccess<LongLongTraits>,  // 20
};

const KindAccess* AccessOf(HostValueKind kind) {
  if (kind < 0 || static_cast<size_t>(kind) >= kKindTable.size()) return nullptr;
  return kKindTable[static_cast<size_t>(kind)];
}

}  // namespace

bool IsServedKind(HostValueKind kind) { return AccessOf(kind) != nullptr; }

void ReadValueByKind(IHostValue& value, HostValueKind kind, HostValueData& data) {
  if (const KindAccess* access = AccessOf(kind)) access->readValue(value, data);
}

void WriteValueByKind(IHostValue& value, HostValueKind kind, const HostValueData& data) {
  if (const KindAccess* access = AccessOf(kind)) access->writeValue(value, data);
}

HostBool ReadFieldByKind(IHostSession& session, HostObject object, HostFieldId field,
                         HostValueKind kind, HostValueData& data) {
  const KindAccess* access = AccessOf(kind);
  return access != nullptr ? access->readField(session, object, field, data) : HostBool{0};
}

void WriteFieldByKind(IHostSession& session, HostObject object, HostFieldId field,
                      HostValueKind kind, const HostValueData& data) {
  if (const KindAccess* access = AccessOf(kind)) access->writeField(session, object, field, data);
}

HostBool ReadItemByKind(IHostSession& session, HostArray array, int32_t item, HostValueKind kind,
                        HostValueData& data) {
  const KindAccess* access = AccessOf(kind);
  return access != nullptr ? access->readItem(session, array, item, data) : HostBool{0};
}

void WriteItemByKind(IHostSession& session, HostArray array, int32_t item, HostValueKind kind,
                     const HostValueData& data) {
  if (const KindAccess* access = AccessOf(kind)) access->writeItem(session, array, item, data);
}

}  // namespace tssoap
