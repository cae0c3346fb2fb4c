// Access to host values by kind: one table row per served HostValueKind with its readers and
// writers for a value, a field and an array item. Kinds 8, 15 to 19, 0 and anything outside 1 to
// 20 are not served: reads leave the data alone and writes do nothing.
#pragma once

#include "host/host_interfaces.h"
#include "host/host_value_record.h"

namespace tssoap {

// True when kind has host readers and writers.
bool IsServedKind(HostValueKind kind);

void ReadValueByKind(IHostValue& value, HostValueKind kind, HostValueData& data);
void WriteValueByKind(IHostValue& value, HostValueKind kind, const HostValueData& data);
// Returns the host's null flag (non-zero is null).
HostBool ReadFieldByKind(IHostSession& session, HostObject object, HostFieldId field,
                         HostValueKind kind, HostValueData& data);
void WriteFieldByKind(IHostSession& session, HostObject object, HostFieldId field,
                      HostValueKind kind, const HostValueData& data);
// Item numbers run from 1. Returns the host's null flag (non-zero is null).
HostBool ReadItemByKind(IHostSession& session, HostArray array, int32_t item, HostValueKind kind,
                        HostValueData& data);
void WriteItemByKind(IHostSession& session, HostArray array, int32_t item, HostValueKind kind,
                     const HostValueData& data);

}  // namespace tssoap
