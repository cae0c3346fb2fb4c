// The reference host's in-memory state: groups, classes, objects, arrays, strings, blobs, dates,
// times, datetimes and decimals, each under its own handle (one counter for all, so that a handle
// of one kind never names a thing of another), and the bookkeeping that tests read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "testhost/testhost.h"

namespace testhost {

// Pseudo-kinds for typed slot access: the slot holds an object, or an array.
inline constexpr int kObjectSlot = -1;
inline constexpr int kArraySlot = -2;
// No kind check (SetArrayItemToNull, SetFieldToNull).
inline constexpr int kAnySlot = -3;

// One stored value of a field or an array item; the declaration says which member is in force.
struct Runtime::Stored {
  bool isNull = false;
  int64_t integer = 0;  // integer kinds, boolean as 0 or 1
  double real = 0;      // real, double
  uint32_t handle = 0;  // every handle kind, objects, arrays
};

// How often each host operation was called, counted by the address of the operation's name (each
// is a literal or __func__): the host's bookkeeping runs on every call the extension makes, so it
// costs a pointer hash and a probe or two, never hashing the name. A name that lives at several
// addresses has several entries, which Calls adds up.
class OperationCounts {
 public:
  OperationCounts() : slots_(128) {}
  void Count(const char* operation) {
    Slot& slot = Find(operation);
    if (slot.operation == operation) {
      ++slot.calls;
    } else {
      CountNew(operation);
    }
  }
  int Calls(std::string_view operation) const {
    int calls = 0;
    for (const Slot& slot : slots_) {
      if (slot.operation != nullptr && operation == slot.operation) calls += slot.calls;
    }
    return calls;
  }

 private:
  struct Slot {
    const char* operation = nullptr;
    int calls = 0;
  };
  // Open addressing with linear probing over a power-of-two table.
  Slot& Find(const char* operation) {
    size_t mask = slots_.size() - 1;
    // The names lie close together, so their addresses are mixed (Fibonacci hashing) rather than
    // masked: neighbours would otherwise share a run of probes.
    const uint64_t mixed =
        static_cast<uint64_t>(reinterpret_cast<uintptr_t>(operation)) * 0x9E3779B97F4A7C15ull;
    size_t i = static_cast<size_t>(mixed >> 32) & mask;
    while (slots_[i].operation != nullptr && slots_[i].operation != operation) i = (i + 1) & mask;
    return slots_[i];
  }
  // The first call of an operation; out of line, off the path of every other call.
  [[gnu::noinline]] void CountNew(const char* operation) {
    if (2 * (used_ + 1) > slots_.size()) Grow();
    Slot& slot = Find(operation);
    slot.operation = operation;
    slot.calls = 1;
    ++used_;
  }
  void Grow() {
    std::vector<Slot> old(2 * slots_.size());
    old.swap(slots_);
    for (const Slot& slot : old) {
      if (slot.operation != nullptr) Find(slot.operation) = slot;
    }
  }

  std::vector<Slot> slots_;
  size_t used_ = 0;
};

struct ParameterDecl {
  HostValueKind kind = kHostUnknown;
  bool isObject = false;
  bool byReference = false;
  std::string className;
};

struct FunctionDecl {
  std::string name;       // as declared
  std::string lowerName;  // what GetMethodId compares with
  ParameterDecl result;
  std::vector<ParameterDecl> parameters;
};

struct GroupDef {
  std::string name;
  HostGroupKind kind;
};

struct ClassDef {
  std::string name;
  HostGroup group = 0;
  std::vector<FieldSpec> fields;
  bool extensionClass = false;          // made by TSX_CreateNonVisualObject
  std::vector<FunctionDecl> functions;  // extension classes: from the class description
  // The fields every new instance starts with, when no field of the class needs a thing of its
  // own (an array, a decimal, a blob, a date, an initial value): made for the first instance.
  std::optional<std::vector<Runtime::Stored>> sharedStart;
  bool startChecked = false;
};

struct ObjectData {
  HostClass cls = 0;
  ClassDef* def =
      nullptr;  // the class's entry (classes are never removed, and their nodes stay put)
  std::vector<Runtime::Stored> fields;
  IHostNonVisualObject* instance = nullptr;  // extension classes
  IHostMarshaler* marshaler = nullptr;       // proxies after AttachMarshaler
  bool marshalerAttached = false;
};

struct ArrayData {
  HostValueKind itemKind = kHostUnknown;
  bool objects = false;
  HostClass itemClass = 0;
  bool bounded = false;
  std::vector<Runtime::Stored> items;  // item n is items[n - 1]
};

// The arguments and the result of one call, owned by the host for the call's length.
struct Runtime::CallFrame final : IHostArguments {
  explicit CallFrame(Runtime& owner) : runtime(owner) {
    info.arguments = this;
    info.hostState = this;
  }
  // A frame holding cells made from the argument values and the result value.
  CallFrame(Runtime& owner, const std::vector<Value>& args, const Value& resultValue, bool strict)
      : CallFrame(owner) {
    for (const Value& arg : args) arguments.push_back(owner.MakeCell(arg));
    SetResult(owner.MakeCell(resultValue), strict);
  }
  // The values of the result and the arguments as the call left them.
  void ReadBack(Value& resultValue, std::vector<Value>& argumentValues) const {
    resultValue = runtime.ReadCell(*result);
    for (const auto& cell : arguments) argumentValues.push_back(runtime.ReadCell(*cell));
  }
  int16_t GetCount() override {
    runtime.Note("GetCount");
    return static_cast<int16_t>(arguments.size());
  }
  IHostValue* GetAt(int16_t index) override {
    runtime.Note("GetAt");
    if (index < 0 || static_cast<size_t>(index) >= arguments.size()) {
      runtime.Misuse("GetAt: index " + std::to_string(index) + " of " +
                     std::to_string(arguments.size()) + " arguments");
      return nullptr;
    }
    return arguments[static_cast<size_t>(index)].get();
  }
  // A proxy call's result keeps its declared kind; the result of a method of the extension's own
  // classes takes whatever kind the extension writes ("SetDetails" declares a string and gets a
  // long), as the runtime converts it.
  void SetResult(std::unique_ptr<Cell> cell, bool strict) {
    result = std::move(cell);
    if (!strict) result->declaredAny_ = true;
    info.returnValue = result.get();
  }

  Runtime& runtime;
  std::vector<std::unique_ptr<Cell>> arguments;
  std::unique_ptr<Cell> result;
  HostCallInfo info{};
};

// Things of one sort by handle, found by indexing instead of hashing: the handles come from one
// counter, so a table keeps the place of each handle up to the largest it holds. The things stay
// where they are as the table grows (the finders remember them); an erased thing leaves its place
// empty. The part of a hash map's interface that the host uses; find gives null for "none".
template <typename Thing>
class HandleTable {
 public:
  using mapped_type = Thing;
  using value_type = std::pair<const uint32_t, Thing>;
  using iterator = value_type*;
  using const_iterator = const value_type*;

  iterator find(uint32_t handle) {
    if (handle >= places_.size() || places_[handle] == 0) return nullptr;
    return &*things_[places_[handle] - 1];
  }
  const_iterator find(uint32_t handle) const {
    return const_cast<HandleTable*>(this)->find(handle);
  }
  static iterator end() { return nullptr; }
  size_t count(uint32_t handle) const { return find(handle) != nullptr ? 1 : 0; }
  Thing& at(uint32_t handle) {
    iterator found = find(handle);
    if (found == nullptr) throw std::out_of_range("no such handle");
    return found->second;
  }
  Thing& operator[](uint32_t handle) {
    iterator found = find(handle);
    return found != nullptr ? found->second : emplace(handle, Thing()).first->second;
  }
  // The thing is made in its place from args.
  template <typename... Args>
  std::pair<iterator, bool> emplace(uint32_t handle, Args&&... args) {
    if (iterator found = find(handle)) return {found, false};
    if (handle >= places_.size()) places_.resize(std::max<size_t>(handle + 1, places_.size() * 2));
    things_.emplace_back(std::in_place, std::piecewise_construct, std::forward_as_tuple(handle),
                         std::forward_as_tuple(std::forward<Args>(args)...));
    places_[handle] = static_cast<uint32_t>(things_.size());
    return {&*things_.back(), true};
  }
  void erase(iterator found) {
    const uint32_t handle = found->first;
    things_[places_[handle] - 1].reset();
    places_[handle] = 0;
  }
  // Calls visit(handle, thing) for every thing, in the order they were made.
  template <typename Visit>
  void ForEach(Visit visit) {
    for (std::optional<value_type>& slot : things_) {
      if (slot) visit(slot->first, slot->second);
    }
  }
  // Erases every thing whose handle drop(handle) tells; the places left empty at the end go, so
  // that a table whose newest things all went is as it was before they came.
  template <typename Drop>
  void EraseIf(Drop drop) {
    for (std::optional<value_type>& slot : things_) {
      if (slot && drop(slot->first)) {
        places_[slot->first] = 0;
        slot.reset();
      }
    }
    while (!things_.empty() && !things_.back()) things_.pop_back();
  }

 private:
  std::deque<std::optional<value_type>> things_;
  std::vector<uint32_t> places_;  // by handle: the thing's place in things_ plus one, 0 for none
};

struct Runtime::Model {
  uint32_t nextHandle = 1;
  std::unordered_map<uint32_t, GroupDef> groups;
  std::map<std::pair<std::string, int>, HostGroup> groupsByName;
  std::unordered_map<uint32_t, ClassDef> classes;
  HandleTable<ObjectData> objects;
  std::vector<HostObject> objectOrder;  // creation order, for an orderly end
  HandleTable<ArrayData> arrays;
  HandleTable<std::string> strings;
  HostString emptyString = 0;  // the value of every zero string, made at its first use
  HandleTable<std::vector<uint8_t>> blobs;
  HandleTable<DateParts> dates;
  HandleTable<TimeParts> times;
  HandleTable<DateTimeParts> datetimes;
  HandleTable<std::string> decimals;

  std::unordered_map<HostArrayInfo*, std::unique_ptr<HostArrayInfo>> arrayInfos;
  std::unordered_set<char*> decimalTexts;
  std::unordered_set<CallFrame*> callFrames;

  OperationCounts callCounts;
  bool counting = true;
  std::vector<std::string> fieldIdRequests;
  bool recording = false;
  std::vector<std::string_view> operations;
  std::vector<std::string> misuses;

  uint32_t NewHandle() { return nextHandle++; }
  // Frees what was made since mark that roots, the objects made before it, the arrays made before
  // it and the extension's objects don't hold (Runtime::Release).
  void ReleaseSince(uint32_t mark, const std::vector<HostObject>& roots);
  // Keeps an operation in the recorded order; out of line, off the path of every host call.
  [[gnu::noinline]] void Record(const char* operation) { operations.push_back(operation); }
  void Misuse(std::string message) { misuses.push_back(std::move(message)); }

  // Stores a thing, made from args, under a new handle.
  template <typename Thing, typename... Args>
  uint32_t Add(HandleTable<Thing>& table, Args&&... args) {
    uint32_t handle = NewHandle();
    table.emplace(handle, std::forward<Args>(args)...);
    return handle;
  }
  HostString AddString(std::string_view text) { return Add(strings, text); }
  HostBlob AddBlob(std::vector<uint8_t> bytes) { return Add(blobs, std::move(bytes)); }
  HostDecimal AddDecimal(std::string text) { return Add(decimals, std::move(text)); }
  HostDate AddDate(DateParts parts) { return Add(dates, parts); }
  HostTime AddTime(TimeParts parts) { return Add(times, parts); }
  HostDateTime AddDateTime(DateTimeParts parts) { return Add(datetimes, parts); }
  HostArray AddArray(HostValueKind itemKind, bool objects, HostClass itemClass, bool bounded,
                     int32_t length);

  // The last thing found in a table. The extension asks about the same class and object many
  // times in a row (a structure's fields one by one), so this saves most lookups; the table's
  // nodes stay where they are as it grows, and erasing an object forgets the memo.
  template <typename Thing>
  struct LastFound {
    uint32_t handle = 0;
    Thing* thing = nullptr;
  };
  LastFound<ClassDef> lastClass;
  LastFound<ObjectData> lastObject;
  LastFound<ArrayData> lastArray;

  // The thing a handle names; null, the misuse recorded, when it names none.
  template <typename Table, typename Thing = typename Table::mapped_type>
  Thing* Known(Table& table, LastFound<Thing>& last, uint32_t handle, const char* operation,
               const char* what) {
    if (handle != 0 && handle == last.handle) return last.thing;
    auto found = table.find(handle);
    if (found != table.end()) {
      last = {handle, &found->second};
      return &found->second;
    }
    UnknownHandle(operation, what, handle);
    return nullptr;
  }
  // Records the misuse of a handle that names nothing; out of line, off the finders' path.
  [[gnu::cold, gnu::noinline]] void UnknownHandle(const char* operation, const char* what,
                                                  uint32_t handle);
  // Defined here so that every operation gets them inline: they run on each host call.
  ClassDef* FindClassDef(HostClass cls, const char* operation) {
    return Known(classes, lastClass, cls, operation, "class");
  }
  ObjectData* FindObject(HostObject object, const char* operation) {
    return Known(objects, lastObject, object, operation, "object");
  }
  ArrayData* FindArray(HostArray array, const char* operation) {
    return Known(arrays, lastArray, array, operation, "array");
  }
  // Whether a handle a value of that kind (a HostValueKind, kObjectSlot or kArraySlot) stores names
  // a thing of that kind; kinds without handles always do.
  bool HandleKnown(int kind, uint32_t handle) const;
  // Calls visit with the table of model (const or not) that the values of kind name by handle
  // (strings, decimals, blobs, dates, times, datetimes); false, visit not called, for any other
  // kind.
  template <typename Self, typename Visit>
  static bool VisitValueTable(Self& model, int kind, Visit&& visit) {
    switch (kind) {
      case kHostString:
        visit(model.strings);
        break;
      case kHostDecimal:
        visit(model.decimals);
        break;
      case kHostBlob:
        visit(model.blobs);
        break;
      case kHostDate:
        visit(model.dates);
        break;
      case kHostTime:
        visit(model.times);
        break;
      case kHostDateTime:
        visit(model.datetimes);
        break;
      default:
        return false;
    }
    return true;
  }
  // Calls visit with each of those tables.
  template <typename Self, typename Visit>
  static void VisitEveryValueTable(Self& model, Visit&& visit) {
    for (int kind : {kHostString, kHostDecimal, kHostBlob, kHostDate, kHostTime, kHostDateTime}) {
      VisitValueTable(model, kind, visit);
    }
  }
  HostClass ClassByName(std::string_view name) const;
  std::string ClassName(HostClass cls) const;

  // A non-null zero of a simple kind: 0, empty text, empty blob, zero parts; null for kind any.
  Stored ZeroOf(HostValueKind kind);
  Stored InitialField(const FieldSpec& fieldSpec);
  // The fields a new instance of def starts with when all its instances can start alike; null
  // when each needs fields of its own (InitialField).
  const std::vector<Stored>* SharedStart(ClassDef& def);
  // Makes the handles a value needs.
  Stored Store(const Value& value);
  // Reads a stored value back; className names the class of object slots.
  Value Load(HostValueKind kind, bool isArray, bool isObject, const std::string& className,
             const Stored& stored);
  void LoadInto(Value& value, HostValueKind kind, bool isArray, bool isObject,
                const std::string& className, const Stored& stored);
  Value LoadArray(HostArray array);
  HostArray StoreArray(const Value& array);
};

inline void Runtime::Note(const char* operation) {
  if (model_->counting) model_->callCounts.Count(operation);
  if (model_->recording) model_->Record(operation);
}

}  // namespace testhost
