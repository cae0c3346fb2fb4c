// HostValueRecord: the one plain record in which a host value travels through the extension, and
// the four functions that fill and empty it. They are the only place that switches over value
// kinds for single values and fields; array items have their own access (host_kind_access.h).
//
// The record owns nothing: a handle in `value` stays the host's. A caller zeroes it before use.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/host_interfaces.h"

namespace tssoap {

// Eight bytes, overlaid; the kind says which member is in force.
union HostValueData {
  int16_t int16;    // kinds int (1)
  uint16_t uint16;  // kinds boolean (7), uint (9)
  int32_t int32;    // kind long (2)
  uint32_t uint32;  // kind ulong (10)
  float real;       // kind real (3)
  double dbl;       // kind double (4)
  int64_t int64;    // kind longlong (20)
  uint32_t handle;  // decimal, string, blob, date, time, datetime; objects; arrays
  uint8_t bytes[8];
};
static_assert(sizeof(HostValueData) == 8);

struct HostValueRecord {
  uint8_t isNull;      // the value is null
  uint8_t isObject;    // the value is an object (also set for an array of objects)
  uint8_t isArray;     // the value is an array
  HostValueKind kind;  // kind of the value; of the items for an array
  HostValueData value;
};

// Fills record from value in the order IsNull, IsObject, IsArray, GetKind, then the value by its
// kind (array before object). With no value only kind becomes 0. flagsOnly stops after the kind.
void ReadHostValue(HostValueRecord& record, IHostValue* value, bool flagsOnly);
// Writes record back: null, array, object, or the value by its kind (string by handle).
void WriteHostValue(IHostValue* value, const HostValueRecord& record);
// Where a field lives in a class: its id (kNoField when the class has none of that name), and
// the flags and kind that the class declares for it, the same for every instance.
struct HostFieldPlace {
  HostClass cls = 0;
  HostFieldId field = kNoField;
  uint8_t isObject = 0;
  uint8_t isArray = 0;
  HostValueKind kind = kHostUnknown;
};

// The instance variable name that an XML field name maps to: reserved words get "ws_" in front,
// and the host is asked in lower case. Made once per field of a structure's description, which
// lives for one call on one thread. An ASCII name keeps its place in the last class it was asked
// of, so that the items of an array of structures ask the host for it once, not once per item. A
// name beyond ASCII is lower-cased at each use, in the locale of that moment, and looked up anew.
class HostFieldName {
 public:
  explicit HostFieldName(std::string_view xmlName);
  // The field of cls that this name maps to.
  const HostFieldPlace& PlaceIn(IHostSession& session, HostClass cls) const;

 private:
  std::string mapped_;  // lower-cased already when ascii_
  bool ascii_ = true;
  mutable HostFieldPlace place_;
};

// Reads the instance variable of object (of class cls) that the XML field name maps to; a field
// the class lacks leaves the record as the caller zeroed it. A field of a kind with a reader is
// read with that reader alone, whose null flag is the field's.
void ReadHostField(IHostSession& session, HostValueRecord& record, HostObject object, HostClass cls,
                   const HostFieldName& name);
// Fills in the flags and kind that cls declares for the field name maps to, without asking the
// instance for its value. True for a plain value of a kind with a reader: a conversion replaces
// such a value whole, so its old value is never needed. False for a field the class lacks.
bool ShapeHostField(IHostSession& session, HostValueRecord& record, HostClass cls,
                    const HostFieldName& name);
// Writes record to the instance variable that name maps to; a missing variable drops the value.
void WriteHostField(IHostSession& session, HostObject object, HostClass cls,
                    const HostValueRecord& record, const HostFieldName& name);
// The same by the XML field name, the class asked of the host.
void ReadHostField(IHostSession& session, HostValueRecord& record, HostObject object,
                   std::string_view name);
void WriteHostField(IHostSession& session, HostObject object, const HostValueRecord& record,
                    std::string_view name);
// The field id of name (lower-cased) in object's class; kNoField when there is none.
HostFieldId LookUpField(IHostSession& session, HostObject object, std::string_view name);

}  // namespace tssoap
