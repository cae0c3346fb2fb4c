// The Tessaro runtime as the extension sees it: handles, value kinds, call records and the five
// interfaces that cross the border between the runtime and the extension.
//
// Ownership: every handle belongs to the host. The extension never frees one and keeps none
// beyond the call that brought it; the IHostSession pointer, too, arrives anew with every call.
// Texts the host hands out stay the host's (copy them before the next host call that could
// change them); texts handed to the host are copied by it.
//
// Booleans the host returns are 16-bit numbers and every test of them is for non-zero, never for 1.
// The operations of each interface stand in the order of the host's table of operations.
#pragma once

#include <cstdint>

// ---------------------------------------------------------------------------------------------
// Handles and ids. Opaque 32-bit values; 0 means none.
using HostObject = uint32_t;
using HostClass = uint32_t;
using HostGroup = uint32_t;
using HostArray = uint32_t;
using HostString = uint32_t;
using HostBlob = uint32_t;
using HostDate = uint32_t;
using HostTime = uint32_t;
using HostDateTime = uint32_t;
using HostDecimal = uint32_t;
// Number of an instance variable of a class; kNoField when the class has no such variable.
using HostFieldId = uint16_t;
inline constexpr HostFieldId kNoField = 0xFFFF;
// Number of a function of a class; never tested.
using HostMethodId = int32_t;
// A host boolean: 0 is false, anything else is true.
using HostBool = uint16_t;
// The extension's own library handle, as recorded at load.
using HostModuleHandle = void*;

// Kind of a host value. These numbers are the column of the XML data type table and of every
// switch over kinds. 15 to 19 are not served: such a value is neither read nor written.
enum HostValueKind : int16_t {
  kHostUnknown = 0,    // no kind known: an absent value, or the one table row that serves none
  kHostInt = 1,        // signed 16 bits
  kHostLong = 2,       // signed 32 bits
  kHostReal = 3,       // 32-bit float
  kHostDouble = 4,     // 64-bit float
  kHostDecimal = 5,    // decimal handle; the host keeps the number, we pass text
  kHostString = 6,     // string handle
  kHostBoolean = 7,    // 16 bits, non-zero is true
  kHostAny = 8,        // declared as any: the host gives no fixed kind
  kHostUint = 9,       // unsigned 16 bits
  kHostUlong = 10,     // unsigned 32 bits
  kHostBlob = 11,      // blob handle
  kHostDate = 12,      // date handle
  kHostTime = 13,      // time handle
  kHostDateTime = 14,  // datetime handle
  kHostLongLong = 20,  // signed 64 bits
};

// Second argument of FindGroup: what kind of class the extension is looking for.
enum HostGroupKind : int16_t {
  kGroupProxy = 4,      // a generated proxy class
  kGroupStructure = 5,  // a structure class made for an XML complex type
  kGroupException = 6,  // the class soapexception
};

class IHostArguments;
class IHostValue;

// The host's record of one call. The extension reads the first two fields; the rest is the host's.
struct HostCallInfo {
  IHostArguments* arguments;  // the arguments of the call
  IHostValue* returnValue;    // the place of the call's result
  void* hostState;            // the host's own bookkeeping; never touched by the extension
};

// Returned by GetArrayInfo and given back with ReleaseArrayInfo.
struct HostArrayInfo {
  int32_t arrayForm;       // 0: bounded; anything else: unbounded
  HostValueKind itemKind;  // kind of the items
};

// The argument list of a call.
class IHostArguments {
 public:
  // Number of arguments.
  virtual int16_t GetCount() = 0;
  // Argument at index, from 0; valid for the call. Only asked for as far as the method lists.
  virtual IHostValue* GetAt(int16_t index) = 0;

 protected:
  ~IHostArguments() = default;
};

// One argument or result. A reference argument is written back through the same value.
class IHostValue {
 public:
  virtual HostValueKind GetKind() = 0;
  virtual HostBool IsArray() = 0;
  virtual HostBool IsObject() = 0;
  virtual HostBool IsNull() = 0;
  virtual void SetToNull() = 0;

  virtual int16_t GetInt() = 0;
  virtual uint16_t GetUint() = 0;
  virtual HostBool GetBoolean() = 0;
  virtual int32_t GetLong() = 0;
  virtual uint32_t GetUlong() = 0;
  virtual float GetReal() = 0;
  virtual double GetDouble() = 0;
  virtual HostDecimal GetDecimal() = 0;
  // 0 for a value that has no string.
  virtual HostString GetString() = 0;
  virtual HostObject GetObject() = 0;
  virtual HostArray GetArray() = 0;
  virtual HostTime GetTime() = 0;
  virtual HostDate GetDate() = 0;
  virtual HostDateTime GetDateTime() = 0;
  virtual int64_t GetLongLong() = 0;
  virtual HostBlob GetBlob() = 0;

  virtual void SetInt(int16_t value) = 0;
  virtual void SetUint(uint16_t value) = 0;
  virtual void SetBoolean(HostBool value) = 0;
  virtual void SetLong(int32_t value) = 0;
  virtual void SetUlong(uint32_t value) = 0;
  virtual void SetReal(float value) = 0;
  virtual void SetDouble(double value) = 0;
  virtual void SetDecimal(HostDecimal value) = 0;
  virtual void SetStringHandle(HostString value) = 0;
  // Copies the zero-terminated text.
  virtual void SetStringText(const char* text) = 0;
  virtual void SetArray(HostArray value) = 0;
  virtual void SetTime(HostTime value) = 0;
  virtual void SetDate(HostDate value) = 0;
  virtual void SetDateTime(HostDateTime value) = 0;
  virtual void SetLongLong(int64_t value) = 0;
  virtual void SetBlob(HostBlob value) = 0;
  virtual void SetObject(HostObject value) = 0;

 protected:
  ~IHostValue() = default;
};

class IHostMarshaler;

// The runtime as seen from one session; its pointer arrives with every entry into the extension
// and is only used inside that call.
class IHostSession {
 public:
  virtual HostClass GetClass(HostObject object) = 0;
  // name in lower case; the extension passes 0, "" and 0 for the other three.
  virtual HostMethodId GetMethodId(HostClass cls, const char* name, int32_t reserved1,
                                   const char* signature, int32_t reserved2) = 0;
  // Prepares a call: afterwards info->arguments holds one value per parameter.
  virtual void InitCallInfo(HostClass cls, HostMethodId method, HostCallInfo* info) = 0;
  virtual void FreeCallInfo(HostCallInfo* info) = 0;
  virtual void InvokeObjectFunction(HostObject object, HostMethodId method, HostCallInfo* info) = 0;
  // Makes the object the pending exception of the running script; control comes back.
  virtual void ThrowException(HostObject object) = 0;
  // 0 if none. name in lower case.
  virtual HostGroup FindGroup(const char* name, HostGroupKind kind) = 0;
  // 0 if none. name in lower case.
  virtual HostClass FindClass(HostGroup group, const char* name) = 0;
  virtual HostObject NewObject(HostClass cls) = 0;
  // kNoField if the class has no such instance variable.
  virtual HostFieldId GetFieldId(HostClass cls, const char* name) = 0;
  virtual HostValueKind GetFieldKind(HostClass cls, HostFieldId field) = 0;
  virtual HostBool IsFieldNull(HostObject object, HostFieldId field) = 0;
  virtual void SetFieldToNull(HostObject object, HostFieldId field) = 0;
  virtual HostBool IsFieldArray(HostClass cls, HostFieldId field) = 0;
  virtual HostBool IsFieldObject(HostClass cls, HostFieldId field) = 0;

  // Field readers: the out flag is non-zero when the field is null.
  virtual int16_t GetIntField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual int32_t GetLongField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual float GetRealField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual double GetDoubleField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostDecimal GetDecimalField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostString GetStringField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostBool GetBooleanField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual uint16_t GetUintField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual uint32_t GetUlongField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostBlob GetBlobField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostDate GetDateField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostTime GetTimeField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostDateTime GetDateTimeField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual int64_t GetLongLongField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostObject GetObjectField(HostObject object, HostFieldId field, HostBool* isNull) = 0;
  virtual HostArray GetArrayField(HostObject object, HostFieldId field, HostBool* isNull) = 0;

  // Field writers.
  virtual void SetIntField(HostObject object, HostFieldId field, int16_t value) = 0;
  virtual void SetLongField(HostObject object, HostFieldId field, int32_t value) = 0;
  virtual void SetRealField(HostObject object, HostFieldId field, float value) = 0;
  virtual void SetDoubleField(HostObject object, HostFieldId field, double value) = 0;
  virtual void SetDecimalField(HostObject object, HostFieldId field, HostDecimal value) = 0;
  virtual void SetStringField(HostObject object, HostFieldId field, HostString value) = 0;
  // Copies the zero-terminated text.
  virtual void SetStringFieldText(HostObject object, HostFieldId field, const char* text) = 0;
  virtual void SetBooleanField(HostObject object, HostFieldId field, HostBool value) = 0;
  virtual void SetUintField(HostObject object, HostFieldId field, uint16_t value) = 0;
  virtual void SetUlongField(HostObject object, HostFieldId field, uint32_t value) = 0;
  virtual void SetBlobField(HostObject object, HostFieldId field, HostBlob value) = 0;
  virtual void SetDateField(HostObject object, HostFieldId field, HostDate value) = 0;
  virtual void SetTimeField(HostObject object, HostFieldId field, HostTime value) = 0;
  virtual void SetDateTimeField(HostObject object, HostFieldId field, HostDateTime value) = 0;
  virtual void SetLongLongField(HostObject object, HostFieldId field, int64_t value) = 0;
  virtual void SetObjectField(HostObject object, HostFieldId field, HostObject value) = 0;
  virtual void SetArrayField(HostObject object, HostFieldId field, HostArray value) = 0;

  // Arrays. Items are numbered from 1 to GetArrayLength.
  virtual HostArray NewUnboundedSimpleArray(HostValueKind kind) = 0;
  virtual HostArray NewUnboundedObjectArray(HostClass cls) = 0;
  virtual int32_t GetArrayLength(HostArray array) = 0;
  // Never null for a live array; give it back with ReleaseArrayInfo.
  virtual HostArrayInfo* GetArrayInfo(HostArray array) = 0;
  virtual void ReleaseArrayInfo(HostArrayInfo* info) = 0;
  virtual void SetArrayItemToNull(HostArray array, int32_t* item) = 0;

  // Item readers: the out flag is non-zero when the item is null.
  virtual int16_t GetIntArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual int32_t GetLongArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual float GetRealArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual double GetDoubleArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostDecimal GetDecimalArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostString GetStringArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostBool GetBooleanArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual uint16_t GetUintArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual uint32_t GetUlongArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostBlob GetBlobArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostDate GetDateArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostTime GetTimeArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostDateTime GetDateTimeArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual int64_t GetLongLongArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;
  virtual HostObject GetObjectArrayItem(HostArray array, int32_t* item, HostBool* isNull) = 0;

  // Item writers; an unbounded array grows as items are written.
  virtual void SetIntArrayItem(HostArray array, int32_t* item, int16_t value) = 0;
  virtual void SetLongArrayItem(HostArray array, int32_t* item, int32_t value) = 0;
  virtual void SetRealArrayItem(HostArray array, int32_t* item, float value) = 0;
  virtual void SetDoubleArrayItem(HostArray array, int32_t* item, double value) = 0;
  virtual void SetDecimalArrayItem(HostArray array, int32_t* item, HostDecimal value) = 0;
  virtual void SetStringArrayItem(HostArray array, int32_t* item, HostString value) = 0;
  virtual void SetBooleanArrayItem(HostArray array, int32_t* item, HostBool value) = 0;
  virtual void SetUintArrayItem(HostArray array, int32_t* item, uint16_t value) = 0;
  virtual void SetUlongArrayItem(HostArray array, int32_t* item, uint32_t value) = 0;
  virtual void SetBlobArrayItem(HostArray array, int32_t* item, HostBlob value) = 0;
  virtual void SetDateArrayItem(HostArray array, int32_t* item, HostDate value) = 0;
  virtual void SetTimeArrayItem(HostArray array, int32_t* item, HostTime value) = 0;
  virtual void SetDateTimeArrayItem(HostArray array, int32_t* item, HostDateTime value) = 0;
  virtual void SetLongLongArrayItem(HostArray array, int32_t* item, int64_t value) = 0;
  virtual void SetObjectArrayItem(HostArray array, int32_t* item, HostObject value) = 0;

  // Strings: NewString copies the text; GetStringText's text stays the host's.
  virtual HostString NewString(const char* text) = 0;
  virtual const char* GetStringText(HostString string) = 0;
  // Blobs: NewBlob copies the bytes; GetBlobData's bytes stay the host's.
  virtual HostBlob NewBlob(const void* data, uint32_t length) = 0;
  virtual uint32_t GetBlobLength(HostBlob blob) = 0;
  virtual const void* GetBlobData(HostBlob blob) = 0;

  // Dates and times: new empty values, filled by the Set*Parts operations.
  virtual HostDate NewDate() = 0;
  virtual HostTime NewTime() = 0;
  virtual HostDateTime NewDateTime() = 0;
  virtual void SetDateParts(HostDate date, int16_t year, int16_t month, int16_t day) = 0;
  virtual void SetTimeParts(HostTime time, int16_t hour, int16_t minute, double second) = 0;
  virtual void SetDateTimeParts(HostDateTime datetime, int16_t year, int16_t month, int16_t day,
                                int16_t hour, int16_t minute, double second) = 0;
  virtual void SplitDate(HostDate date, int16_t* year, int16_t* month, int16_t* day) = 0;
  virtual void SplitTime(HostTime time, int16_t* hour, int16_t* minute, double* second) = 0;
  virtual void SplitDateTime(HostDateTime datetime, int16_t* year, int16_t* month, int16_t* day,
                             int16_t* hour, int16_t* minute, double* second) = 0;

  // Decimals: the host keeps the number; text is in plain notation.
  virtual HostDecimal NewDecimal() = 0;
  virtual void SetDecimalText(HostDecimal decimal, const char* text) = 0;
  // Owned by the caller until ReleaseDecimalText.
  virtual char* GetDecimalText(HostDecimal decimal) = 0;
  virtual void ReleaseDecimalText(char* text) = 0;

  // A new instance of a proxy class; 0 on failure.
  virtual HostObject NewProxyObject(HostClass cls) = 0;
  // From now on every function call on the proxy goes to the marshaler; the host owns it and
  // ends it with Destroy.
  virtual void AttachMarshaler(HostObject proxy, IHostMarshaler* marshaler) = 0;

 protected:
  ~IHostSession() = default;
};

// Implemented by the extension (soapconnection, soapexception) and called by the host.
class IHostNonVisualObject {
 public:
  // Runs the method whose place in the class description is methodNumber; always answers 0.
  virtual int32_t Invoke(IHostSession* session, HostObject object, uint16_t methodNumber,
                         HostCallInfo* info) = 0;
  // The host is done with the instance: it deletes itself.
  virtual void Destroy() = 0;
  // Reached only through Destroy.
  virtual ~IHostNonVisualObject() = default;
};

// Implemented by the extension's marshaler and called by the host for each proxy function call.
class IHostMarshaler {
 public:
  // Performs one proxy call; always answers 0. Failures reach the script through ThrowException.
  virtual int32_t InvokeRemoteMethod(IHostSession* session, HostObject proxy,
                                     const char* methodDescription, HostCallInfo* info) = 0;
  // The handle of the extension's own library, as recorded at load.
  virtual HostModuleHandle GetModuleHandle() = 0;
  // The host is done with the marshaler: it deletes itself.
  virtual void Destroy() = 0;
  // Reached only through Destroy.
  virtual ~IHostMarshaler() = default;
};

// The two exported entry points, with C linkage.
extern "C" {
// The class description: constant, zero-terminated, valid while the library stays loaded.
typedef const char* (*TSX_GetDescriptionFn)();
// Makes an instance of "soapexception" or "soapconnection" (exact names); any other name leaves
// *result untouched. Always answers 0.
typedef int32_t (*TSX_CreateNonVisualObjectFn)(IHostSession* session, HostObject object,
                                               const char* className,
                                               IHostNonVisualObject** result);
}
