// The reference host: a complete in-memory implementation of the Tessaro runtime's operations,
// used by the tests and by the command-line tool. It loads the extension like the runtime does
// (dlopen and the two exported entry points), reads the class description, and lets a test, in a
// few lines, declare a proxy class, create a soapconnection, call createinstance, call a proxy
// function and read back its result, its out arguments or the pending soapexception.
//
// Ownership: the Runtime owns every object, string, array, blob, date and decimal it hands out
// (handles stay valid until the Runtime ends), every extension instance it created through
// TSX_CreateNonVisualObject and every marshaler attached to a proxy; it ends them with Destroy
// when the object is destroyed or the Runtime ends. Not thread-safe: one thread per Runtime.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/host_interfaces.h"

namespace testhost {

// The runtime's names of its simple types, in the order of the kind numbers. The first name of a
// kind is the one it is printed under; the runtime also accepts the other spellings in
// declarations.
struct SimpleTypeName {
  std::string_view name;
  HostValueKind kind;
  bool printed;  // the kind's own name, not another spelling of it
};
std::span<const SimpleTypeName> SimpleTypeNames();

struct DateParts {
  int16_t year = 0, month = 0, day = 0;
  bool operator==(const DateParts&) const = default;
};
struct TimeParts {
  int16_t hour = 0, minute = 0;
  double second = 0;
  bool operator==(const TimeParts&) const = default;
};
struct DateTimeParts {
  DateParts date;
  TimeParts time;
  bool operator==(const DateTimeParts&) const = default;
};

// A value as a test writes it into the host and reads it back: a tree, with arrays holding their
// items and objects given by handle. Numbers of every width travel as int64_t or double.
struct Value {
  using Items = std::vector<Value>;
  using Data = std::variant<std::monostate, int64_t, double, std::string, std::vector<uint8_t>,
                            DateParts, TimeParts, DateTimeParts, HostObject, Items>;

  HostValueKind kind = kHostUnknown;  // of the value; of the items for an array
  bool isNull = false;
  bool isObject = false;  // an object, or an array of objects
  bool isArray = false;
  bool bounded = false;   // arrays: a bounded array (its length is its number of items)
  std::string className;  // objects and object arrays: the item class (optional for objects)
  // int64_t: int, uint, long, ulong, longlong, boolean (0/1); double: real, double;
  // std::string: string, decimal (its text); bytes: blob; parts: date/time/datetime;
  // HostObject: objects; Items: arrays.
  Data data;

  static Value Int(int16_t v);
  static Value Uint(uint16_t v);
  static Value Long(int32_t v);
  static Value Ulong(uint32_t v);
  static Value LongLong(int64_t v);
  static Value Boolean(bool v);
  static Value Real(float v);
  static Value Double(double v);
  static Value Decimal(std::string text);
  static Value String(std::string text);
  static Value Blob(std::vector<uint8_t> bytes);
  static Value Date(int16_t year, int16_t month, int16_t day);
  static Value Time(int16_t hour, int16_t minute, double second);
  static Value DateTime(int16_t year, int16_t month, int16_t day, int16_t hour, int16_t minute,
                        double second);
  static Value Object(HostObject object);
  // A null value of the given kind (kHostUnknown for a value with no kind).
  static Value Null(HostValueKind kind);
  static Value NullObject(std::string className);
  // An array of simple values; items must be of kind itemKind or Null.
  static Value Array(HostValueKind itemKind, Items items, bool bounded = false);
  // An array of objects of className; items are Object or NullObject.
  static Value ObjectArray(std::string className, Items items, bool bounded = false);
  // A value declared as any (kind 8), null.
  static Value Any();

  int64_t AsInt() const;                // any integer kind or boolean
  double AsDouble() const;              // real or double
  const std::string& AsString() const;  // string or decimal
  const std::vector<uint8_t>& AsBytes() const;
  HostObject AsObject() const;
  const Items& AsItems() const;

  bool operator==(const Value&) const = default;
};

// Prints a value readably (for test failure messages and the command-line tool's --wire).
std::string Describe(const Value& value);

// An instance variable of a class.
struct FieldSpec {
  std::string name;                  // as the host knows it (normally lower case)
  HostValueKind kind = kHostString;  // of the value; of the items for an array
  bool isArray = false;
  bool isObject = false;  // an object, or an array of objects
  std::string className;  // objects: the field's class
  bool bounded = false;   // arrays: a bounded array of boundedLength items
  int32_t boundedLength = 0;
  // The value a new instance starts with; by default a non-null zero, empty text, empty unbounded
  // array, or a null object.
  std::optional<Value> initial;
  // A field declared as `value` is: its kind, array and object flags, class and boundedness (a
  // bounded array's length is its number of items); it starts at the default.
  static FieldSpec Like(std::string name, const Value& value);
};

// The texts of a soapexception as the script would read them.
struct ExceptionInfo {
  std::string text;           // the instance variable "text"
  std::string faultCode;      // getFaultCode()
  std::string faultString;    // getFaultString()
  std::string detailMessage;  // getDetailMessage()
};

// What a proxy call left behind.
struct CallOutcome {
  Value result;                            // the return value after the call
  std::vector<Value> arguments;            // every argument after the call (ref args written back)
  HostObject exceptionObject = 0;          // the pending exception, 0 when none
  std::optional<ExceptionInfo> exception;  // its texts, when there is one
  int32_t status = 0;                      // what InvokeRemoteMethod answered
};

// The two entry points of an extension, from dlopen or linked in directly.
struct ExtensionEntryPoints {
  TSX_GetDescriptionFn getDescription = nullptr;
  TSX_CreateNonVisualObjectFn createNonVisualObject = nullptr;
};

// Loads the extension library with dlopen (RTLD_NOW | RTLD_LOCAL) and finds its two entry points.
// Throws std::runtime_error naming the library and the cause when either step fails.
class ExtensionLibrary {
 public:
  explicit ExtensionLibrary(const std::string& path);
  ~ExtensionLibrary();
  ExtensionLibrary(const ExtensionLibrary&) = delete;
  ExtensionLibrary& operator=(const ExtensionLibrary&) = delete;

  const ExtensionEntryPoints& EntryPoints() const { return entryPoints_; }
  void* Handle() const { return handle_; }

 private:
  void* handle_ = nullptr;
  ExtensionEntryPoints entryPoints_;
};

// The path of the built extension library (set by the build).
std::string DefaultExtensionPath();

class Runtime final : public IHostSession {
 public:
  // Reads the class description from the entry points and declares its classes (soapexception
  // from runtimeerror with its instance variable "text", soapconnection from nonvisualobject).
  explicit Runtime(ExtensionEntryPoints entryPoints);
  // Loads the extension from path (dlopen) and keeps it loaded for the Runtime's life.
  explicit Runtime(const std::string& extensionPath = DefaultExtensionPath());
  ~Runtime();
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  // ---- Declaring classes ------------------------------------------------------------------
  // A class in group `group` (of kind groupKind), with instance variables.
  HostClass DefineClass(const std::string& group, HostGroupKind groupKind, const std::string& name,
                        std::vector<FieldSpec> fields);
  // A proxy class: its group and class share its name (kind 4); every variable is a string,
  // null when its value is nullopt.
  HostClass DefineProxyClass(
      const std::string& name,
      const std::vector<std::pair<std::string, std::optional<std::string>>>& stringVariables);
  // A structure class: its group and class share its name (kind 5).
  HostClass DefineStructure(const std::string& name, std::vector<FieldSpec> fields);

  // ---- Objects and values -----------------------------------------------------------------
  HostObject NewInstance(HostClass cls);                 // fields at their initial values
  HostObject NewInstance(const std::string& className);  // by class name (any group)
  void SetField(HostObject object, const std::string& name, const Value& value);
  Value GetField(HostObject object, const std::string& name);
  // Destroys an object; an extension instance is ended with Destroy, a proxy's marshaler too.
  void DestroyObject(HostObject object);
  // The handle the next thing made gets: a mark for Release.
  uint32_t HandleMark() const;
  // Frees the objects, arrays and values made since mark that nothing made before it holds, nor
  // an extension object, nor the pending exception, nor roots: as a script runtime collects what
  // no variable holds any more. When nothing made since mark is left, the handles from mark on
  // are given out again. For a program that makes call after call and keeps only what it read
  // back (the tool's --repeat); a handle of a thing freed here names nothing any more.
  void Release(uint32_t mark, const std::vector<HostObject>& roots = {});

  HostString MakeString(const std::string& text);
  std::string StringText(HostString string) const;
  HostArray MakeArray(const Value& array);
  Value ReadArray(HostArray array);
  // Makes the host handles that a value needs and reads them back.
  class Cell;
  std::unique_ptr<Cell> MakeCell(const Value& value);
  Value ReadCell(const Cell& cell);

  // ---- The extension's classes ------------------------------------------------------------
  HostObject CreateConnection();  // a soapconnection object with its extension instance
  // setoptions / setproxyserveroptions; a null text passes a null string. Returns the long result,
  // or nullopt when the method left the result value untouched.
  std::optional<int32_t> SetOptions(HostObject connection, const char* options);
  std::optional<int32_t> SetProxyServerOptions(HostObject connection, const char* options);
  struct CreateResult {
    int32_t result = -1;   // 0, 100 or 101
    HostObject proxy = 0;  // the reference argument after the call
  };
  // createinstance with two arguments, or three when portName is given (nullptr: a null string).
  CreateResult CreateInstance(HostObject connection, const char* proxyName);
  CreateResult CreateInstance(HostObject connection, const char* proxyName, const char* portName);
  // Invokes method number `method` of an extension object with the given arguments; the result
  // value starts as `resultPrototype` and is returned after the call with the arguments.
  struct InvokeOutcome {
    int32_t status = 0;
    Value result;
    std::vector<Value> arguments;
  };
  InvokeOutcome InvokeExtensionMethod(HostObject object, uint16_t method, std::vector<Value> args,
                                      Value resultPrototype = Value::Null(kHostUnknown));
  // The texts of a soapexception object.
  ExceptionInfo ReadException(HostObject exception);
  // The native instance behind an extension object (null for other objects).
  IHostNonVisualObject* NativeInstance(HostObject object) const;
  // The marshaler attached to a proxy object (null when none).
  IHostMarshaler* MarshalerOf(HostObject proxy) const;

  // ---- Proxy calls ------------------------------------------------------------------------
  // Calls a proxy function: hands the description and the arguments to the proxy's marshaler.
  // `result` is the return value as the host prepares it (its kind is the function's result
  // kind; leave it kHostUnknown for a function without one). The pending exception, if any, is
  // read and cleared.
  CallOutcome Call(HostObject proxy, const std::string& description,
                   const std::vector<Value>& arguments, Value result = Value::Null(kHostUnknown));

  // ---- Knobs for testing the extension's assumptions -------------------------------------
  // The number every host boolean answers for true (1 by default; 2 or 0xFFFF to test).
  void SetTrueValue(HostBool trueValue) { trueValue_ = trueValue; }
  // Make NewProxyObject answer 0.
  void FailNewProxyObject(bool fail) { failNewProxyObject_ = fail; }
  // The pending exception of the running script, 0 when none; Take clears it.
  HostObject PendingException() const { return pendingException_; }
  HostObject TakePendingException();
  // Array infos, decimal texts and prepared calls handed out and not given back yet.
  int OutstandingArrayInfos() const;
  int OutstandingDecimalTexts() const;
  int OutstandingCallInfos() const;
  // How often each host operation was called, by name ("GetFieldId", "NewProxyObject", ...).
  int CallCount(const std::string& operation) const;
  // Counting is on by default; a host that asks no counts (the tool) turns it off, so that no
  // host call pays for it. The counts so far stay.
  void CountOperations(bool on);
  // The names asked for with GetFieldId, in order, while recording is on.
  const std::vector<std::string>& FieldIdRequests() const;
  // Every host operation (of the session and of the values) in order, while recording is on; off
  // by default, so that a long run of calls doesn't grow the host. Turning it on clears what was
  // recorded.
  void RecordOperations(bool on);
  const std::vector<std::string_view>& Operations() const;
  // Calls that broke the host's rules (an unknown handle or one of another kind, item 0 or beyond
  // a bounded array, a reader of another kind than the value's, a text released twice, ...), one
  // readable line each. A correct extension leaves this empty.
  const std::vector<std::string>& Misuses() const;

  // ---- IHostSession -----------------------------------------------------------------------
  HostClass GetClass(HostObject object) override;
  HostMethodId GetMethodId(HostClass cls, const char* name, int32_t reserved1,
                           const char* signature, int32_t reserved2) override;
  void InitCallInfo(HostClass cls, HostMethodId method, HostCallInfo* info) override;
  void FreeCallInfo(HostCallInfo* info) override;
  void InvokeObjectFunction(HostObject object, HostMethodId method, HostCallInfo* info) override;
  void ThrowException(HostObject object) override;
  HostGroup FindGroup(const char* name, HostGroupKind kind) override;
  HostClass FindClass(HostGroup group, const char* name) override;
  HostObject NewObject(HostClass cls) override;
  HostFieldId GetFieldId(HostClass cls, const char* name) override;
  HostValueKind GetFieldKind(HostClass cls, HostFieldId field) override;
  HostBool IsFieldNull(HostObject object, HostFieldId field) override;
  void SetFieldToNull(HostObject object, HostFieldId field) override;
  HostBool IsFieldArray(HostClass cls, HostFieldId field) override;
  HostBool IsFieldObject(HostClass cls, HostFieldId field) override;
  int16_t GetIntField(HostObject object, HostFieldId field, HostBool* isNull) override;
  int32_t GetLongField(HostObject object, HostFieldId field, HostBool* isNull) override;
  float GetRealField(HostObject object, HostFieldId field, HostBool* isNull) override;
  double GetDoubleField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostDecimal GetDecimalField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostString GetStringField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostBool GetBooleanField(HostObject object, HostFieldId field, HostBool* isNull) override;
  uint16_t GetUintField(HostObject object, HostFieldId field, HostBool* isNull) override;
  uint32_t GetUlongField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostBlob GetBlobField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostDate GetDateField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostTime GetTimeField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostDateTime GetDateTimeField(HostObject object, HostFieldId field, HostBool* isNull) override;
  int64_t GetLongLongField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostObject GetObjectField(HostObject object, HostFieldId field, HostBool* isNull) override;
  HostArray GetArrayField(HostObject object, HostFieldId field, HostBool* isNull) override;
  void SetIntField(HostObject object, HostFieldId field, int16_t value) override;
  void SetLongField(HostObject object, HostFieldId field, int32_t value) override;
  void SetRealField(HostObject object, HostFieldId field, float value) override;
  void SetDoubleField(HostObject object, HostFieldId field, double value) override;
  void SetDecimalField(HostObject object, HostFieldId field, HostDecimal value) override;
  void SetStringField(HostObject object, HostFieldId field, HostString value) override;
  void SetStringFieldText(HostObject object, HostFieldId field, const char* text) override;
  void SetBooleanField(HostObject object, HostFieldId field, HostBool value) override;
  void SetUintField(HostObject object, HostFieldId field, uint16_t value) override;
  void SetUlongField(HostObject object, HostFieldId field, uint32_t value) override;
  void SetBlobField(HostObject object, HostFieldId field, HostBlob value) override;
  void SetDateField(HostObject object, HostFieldId field, HostDate value) override;
  void SetTimeField(HostObject object, HostFieldId field, HostTime value) override;
  void SetDateTimeField(HostObject object, HostFieldId field, HostDateTime value) override;
  void SetLongLongField(HostObject object, HostFieldId field, int64_t value) override;
  void SetObjectField(HostObject object, HostFieldId field, HostObject value) override;
  void SetArrayField(HostObject object, HostFieldId field, HostArray value) override;
  HostArray NewUnboundedSimpleArray(HostValueKind kind) override;
  HostArray NewUnboundedObjectArray(HostClass cls) override;
  int32_t GetArrayLength(HostArray array) override;
  HostArrayInfo* GetArrayInfo(HostArray array) override;
  void ReleaseArrayInfo(HostArrayInfo* info) override;
  void SetArrayItemToNull(HostArray array, int32_t* item) override;
  int16_t GetIntArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  int32_t GetLongArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  float GetRealArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  double GetDoubleArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostDecimal GetDecimalArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostString GetStringArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostBool GetBooleanArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  uint16_t GetUintArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  uint32_t GetUlongArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostBlob GetBlobArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostDate GetDateArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostTime GetTimeArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostDateTime GetDateTimeArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  int64_t GetLongLongArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  HostObject GetObjectArrayItem(HostArray array, int32_t* item, HostBool* isNull) override;
  void SetIntArrayItem(HostArray array, int32_t* item, int16_t value) override;
  void SetLongArrayItem(HostArray array, int32_t* item, int32_t value) override;
  void SetRealArrayItem(HostArray array, int32_t* item, float value) override;
  void SetDoubleArrayItem(HostArray array, int32_t* item, double value) override;
  void SetDecimalArrayItem(HostArray array, int32_t* item, HostDecimal value) override;
  void SetStringArrayItem(HostArray array, int32_t* item, HostString value) override;
  void SetBooleanArrayItem(HostArray array, int32_t* item, HostBool value) override;
  void SetUintArrayItem(HostArray array, int32_t* item, uint16_t value) override;
  void SetUlongArrayItem(HostArray array, int32_t* item, uint32_t value) override;
  void SetBlobArrayItem(HostArray array, int32_t* item, HostBlob value) override;
  void SetDateArrayItem(HostArray array, int32_t* item, HostDate value) override;
  void SetTimeArrayItem(HostArray array, int32_t* item, HostTime value) override;
  void SetDateTimeArrayItem(HostArray array, int32_t* item, HostDateTime value) override;
  void SetLongLongArrayItem(HostArray array, int32_t* item, int64_t value) override;
  void SetObjectArrayItem(HostArray array, int32_t* item, HostObject value) override;
  HostString NewString(const char* text) override;
  const char* GetStringText(HostString string) override;
  HostBlob NewBlob(const void* data, uint32_t length) override;
  uint32_t GetBlobLength(HostBlob blob) override;
  const void* GetBlobData(HostBlob blob) override;
  HostDate NewDate() override;
  HostTime NewTime() override;
  HostDateTime NewDateTime() override;
  void SetDateParts(HostDate date, int16_t year, int16_t month, int16_t day) override;
  void SetTimeParts(HostTime time, int16_t hour, int16_t minute, double second) override;
  void SetDateTimeParts(HostDateTime datetime, int16_t year, int16_t month, int16_t day,
                        int16_t hour, int16_t minute, double second) override;
  void SplitDate(HostDate date, int16_t* year, int16_t* month, int16_t* day) override;
  void SplitTime(HostTime time, int16_t* hour, int16_t* minute, double* second) override;
  void SplitDateTime(HostDateTime datetime, int16_t* year, int16_t* month, int16_t* day,
                     int16_t* hour, int16_t* minute, double* second) override;
  HostDecimal NewDecimal() override;
  void SetDecimalText(HostDecimal decimal, const char* text) override;
  char* GetDecimalText(HostDecimal decimal) override;
  void ReleaseDecimalText(char* text) override;
  HostObject NewProxyObject(HostClass cls) override;
  void AttachMarshaler(HostObject proxy, IHostMarshaler* marshaler) override;

  struct Model;   // the in-memory state, defined in the implementation
  struct Stored;  // one stored field or array item, defined in the implementation

 private:
  void Note(const char* operation);  // the name of a host operation: a literal or __func__
  void Misuse(std::string message);
  HostBool Answer(bool value) const { return value ? trueValue_ : HostBool{0}; }
  struct CallFrame;
  class ClassDescriptionReader;
  // Runs method of an extension object with cells made from args and resultPrototype; the
  // outcome's values are read back after the call. touched tells whether the result was written.
  InvokeOutcome InvokeExtension(HostObject object, uint16_t method, std::vector<Value> args,
                                const Value& resultPrototype, bool* touched);
  // setoptions or setproxyserveroptions: the long result, nothing when none was written.
  std::optional<int32_t> InvokeOptions(HostObject connection, uint16_t method, const char* options);
  void DeclareExtensionClasses();
  HostObject CreateObject(HostClass cls);
  // Typed access to fields and items; kind is a HostValueKind, kObjectSlot or kArraySlot, and a
  // slot of another kind is a misuse. Readers set *isNull with the host's true value.
  Stored ReadFieldSlot(const char* operation, HostObject object, HostFieldId field, int kind,
                       HostBool* isNull);
  void WriteFieldSlot(const char* operation, HostObject object, HostFieldId field, int kind,
                      const Stored& value);
  Stored ReadItemSlot(const char* operation, HostArray array, const int32_t* item, int kind,
                      HostBool* isNull);
  void WriteItemSlot(const char* operation, HostArray array, const int32_t* item, int kind,
                     const Stored& value);

  std::unique_ptr<ExtensionLibrary> library_;
  ExtensionEntryPoints entryPoints_;
  std::unique_ptr<Model> model_;
  HostBool trueValue_ = 1;
  bool failNewProxyObject_ = false;
  HostObject pendingException_ = 0;
};

// One host value: an argument, a result, or an argument of a call the host prepared. It is declared
// with a kind and the array and object flags; one declared as any (kind 8) takes the kind of what
// is written to it. Booleans it answers use the Runtime's true value; a reader of another kind
// than the value's is recorded as a misuse and answers 0.
class Runtime::Cell final : public IHostValue {
 public:
  Cell(Runtime& runtime, HostValueKind kind, bool isArray, bool isObject, std::string className);

  // True once the extension wrote anything to the value.
  bool Touched() const { return touched_; }

  HostValueKind GetKind() override;
  HostBool IsArray() override;
  HostBool IsObject() override;
  HostBool IsNull() override;
  void SetToNull() override;
  int16_t GetInt() override;
  uint16_t GetUint() override;
  HostBool GetBoolean() override;
  int32_t GetLong() override;
  uint32_t GetUlong() override;
  float GetReal() override;
  double GetDouble() override;
  HostDecimal GetDecimal() override;
  HostString GetString() override;
  HostObject GetObject() override;
  HostArray GetArray() override;
  HostTime GetTime() override;
  HostDate GetDate() override;
  HostDateTime GetDateTime() override;
  int64_t GetLongLong() override;
  HostBlob GetBlob() override;
  void SetInt(int16_t value) override;
  void SetUint(uint16_t value) override;
  void SetBoolean(HostBool value) override;
  void SetLong(int32_t value) override;
  void SetUlong(uint32_t value) override;
  void SetReal(float value) override;
  void SetDouble(double value) override;
  void SetDecimal(HostDecimal value) override;
  void SetStringHandle(HostString value) override;
  void SetStringText(const char* text) override;
  void SetArray(HostArray value) override;
  void SetTime(HostTime value) override;
  void SetDate(HostDate value) override;
  void SetDateTime(HostDateTime value) override;
  void SetLongLong(int64_t value) override;
  void SetBlob(HostBlob value) override;
  void SetObject(HostObject value) override;

 private:
  friend class Runtime;
  bool Readable(const char* operation, HostValueKind wanted);
  void StoreInteger(const char* operation, HostValueKind kind, int64_t value);
  void StoreReal(const char* operation, HostValueKind kind, double value);
  void StoreHandle(const char* operation, HostValueKind kind, uint32_t handle);
  // Stores a handle, recording a misuse when it names no thing of that kind.
  void StoreNamedHandle(const char* operation, HostValueKind kind, uint32_t handle,
                        const char* what);

  Runtime& runtime_;
  HostValueKind kind_;
  bool isArray_;
  bool isObject_;
  bool declaredAny_;  // takes the kind of what is written
  bool isNull_ = true;
  bool touched_ = false;
  std::string className_;
  int64_t integer_ = 0;  // integer kinds and boolean (0 or 1)
  double real_ = 0;      // real and double
  uint32_t handle_ = 0;  // strings, decimals, blobs, dates, times, datetimes, objects, arrays
};

// The arguments of one call, held in cells of the host: what a walk of a method reads and writes,
// without a whole call around it.
class Arguments final : public IHostArguments {
 public:
  Arguments(Runtime& host, const std::vector<Value>& values) {
    for (const Value& value : values) cells_.push_back(host.MakeCell(value));
  }
  int16_t GetCount() override { return static_cast<int16_t>(cells_.size()); }
  IHostValue* GetAt(int16_t index) override { return cells_.at(index).get(); }
  const Runtime::Cell& Cell(size_t index) const { return *cells_.at(index); }

 private:
  std::vector<std::unique_ptr<Runtime::Cell>> cells_;
};

}  // namespace testhost
