#include "testhost/model.h"

#include <algorithm>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace testhost {
namespace {

bool IsIntegerKind(HostValueKind kind) {
  switch (kind) {
    case kHostInt:
    case kHostLong:
    case kHostBoolean:
    case kHostUint:
    case kHostUlong:
    case kHostLongLong:
      return true;
    default:
      return false;
  }
}

// The thing a handle names, copied into data; data stays empty for a handle that names nothing.
template <typename Table>
void CopyFound(const Table& table, uint32_t handle, Value::Data& data) {
  if (auto found = table.find(handle); found != table.end()) data = found->second;
}

}  // namespace

HostArray Runtime::Model::AddArray(HostValueKind itemKind, bool objectItems, HostClass itemClass,
                                   bool bounded, int32_t length) {
  HostArray handle = NewHandle();
  ArrayData array{itemKind, objectItems, itemClass, bounded, {}};
  for (int32_t i = 0; i < length; ++i) {
    array.items.push_back(objectItems ? Stored{true, 0, 0, 0} : ZeroOf(itemKind));
  }
  arrays.emplace(handle, std::move(array));
  return handle;
}

void Runtime::Model::UnknownHandle(const char* operation, const char* what, uint32_t handle) {
  Misuse(std::string(operation) + ": unknown " + what + " " + std::to_string(handle));
}

bool Runtime::Model::HandleKnown(int kind, uint32_t handle) const {
  bool known = true;
  if (VisitValueTable(*this, kind, [&](const auto& table) { known = table.count(handle) != 0; })) {
    return known;
  }
  if (kind == kObjectSlot) return handle == 0 || objects.count(handle) != 0;
  if (kind == kArraySlot) return handle == 0 || arrays.count(handle) != 0;
  return true;  // a kind without handles
}

HostClass Runtime::Model::ClassByName(std::string_view name) const {
  for (const auto& [handle, cls] : classes) {
    if (cls.name == name) return handle;
  }
  return 0;
}

std::string Runtime::Model::ClassName(HostClass cls) const {
  auto found = classes.find(cls);
  return found != classes.end() ? found->second.name : std::string();
}

Runtime::Stored Runtime::Model::ZeroOf(HostValueKind kind) {
  Stored zero;
  if (kind == kHostAny) {
    zero.isNull = true;
  } else if (kind == kHostDecimal) {
    zero.handle = AddDecimal("0");
  } else if (kind == kHostString) {
    // Strings never change, and Release keeps this one: every zero string is the one empty string.
    if (emptyString == 0) emptyString = AddString({});
    zero.handle = emptyString;
  } else {
    // An empty text or blob, zero parts; no handle for any other kind.
    VisitValueTable(*this, kind, [&](auto& table) { zero.handle = Add(table); });
  }
  return zero;
}

Runtime::Stored Runtime::Model::InitialField(const FieldSpec& fieldSpec) {
  if (fieldSpec.initial) return Store(*fieldSpec.initial);
  if (fieldSpec.isArray) {
    HostClass itemClass = fieldSpec.isObject ? ClassByName(fieldSpec.className) : 0;
    return Stored{false, 0, 0,
                  AddArray(fieldSpec.kind, fieldSpec.isObject, itemClass, fieldSpec.bounded,
                           fieldSpec.bounded ? fieldSpec.boundedLength : 0)};
  }
  if (fieldSpec.isObject) return Stored{true, 0, 0, 0};
  return ZeroOf(fieldSpec.kind);
}

const std::vector<Runtime::Stored>* Runtime::Model::SharedStart(ClassDef& def) {
  if (!def.startChecked) {
    def.startChecked = true;
    // Every zero string is the one empty string; other values with handles are each their own.
    auto startsAlike = [this](const FieldSpec& field) {
      if (field.initial || field.isArray) return false;
      return field.isObject || field.kind == kHostString ||
             !VisitValueTable(*this, field.kind, [](const auto&) {});
    };
    if (std::all_of(def.fields.begin(), def.fields.end(), startsAlike)) {
      std::vector<Stored> start;
      start.reserve(def.fields.size());
      for (const FieldSpec& field : def.fields) start.push_back(InitialField(field));
      def.sharedStart = std::move(start);
    }
  }
  return def.sharedStart ? &*def.sharedStart : nullptr;
}

void Runtime::Model::ReleaseSince(uint32_t mark, const std::vector<HostObject>& roots) {
  // What was made since mark and is still held, found from everything that holds.
  std::unordered_set<uint32_t> held;
  std::vector<const ObjectData*> objectsToRead;
  std::vector<const ArrayData*> arraysToRead;
  auto hold = [&](uint32_t handle) { return handle >= mark && held.insert(handle).second; };
  auto holdObject = [&](HostObject object) {
    if (!hold(object)) return;
    if (const auto found = objects.find(object)) objectsToRead.push_back(&found->second);
  };
  auto holdArray = [&](HostArray array) {
    if (!hold(array)) return;
    if (const auto found = arrays.find(array)) arraysToRead.push_back(&found->second);
  };
  auto holdStored = [&](const Stored& stored, bool isArray, bool isObject) {
    if (stored.isNull || stored.handle == 0) return;
    if (isArray) {
      holdArray(stored.handle);
    } else if (isObject) {
      holdObject(stored.handle);
    } else {
      hold(stored.handle);  // only values with handles (strings, decimals, ...) have one
    }
  };
  objects.ForEach([&](HostObject object, const ObjectData& data) {
    if (object < mark) {
      objectsToRead.push_back(&data);
    } else if (data.instance != nullptr || data.marshaler != nullptr) {
      holdObject(object);  // the extension's objects stand for instances that live on their own
    }
  });
  arrays.ForEach([&](HostArray array, const ArrayData& data) {
    if (array < mark) arraysToRead.push_back(&data);
  });
  for (HostObject root : roots) holdObject(root);
  if (emptyString != 0) hold(emptyString);  // the zero of every string field, shared
  while (!objectsToRead.empty() || !arraysToRead.empty()) {
    if (!objectsToRead.empty()) {
      const ObjectData* data = objectsToRead.back();
      objectsToRead.pop_back();
      for (size_t i = 0; i < data->fields.size() && i < data->def->fields.size(); ++i) {
        const FieldSpec& field = data->def->fields[i];
        holdStored(data->fields[i], field.isArray, field.isObject);
      }
      continue;
    }
    const ArrayData* data = arraysToRead.back();
    arraysToRead.pop_back();
    for (const Stored& item : data->items) holdStored(item, false, data->objects);
  }
  // Mostly nothing made since mark is held any more: no lookup then.
  const bool noneHeld = held.empty();
  auto drop = [&](uint32_t handle) {
    return handle >= mark && (noneHeld || held.count(handle) == 0);
  };
  std::erase_if(objectOrder, drop);
  objects.EraseIf(drop);
  arrays.EraseIf(drop);
  VisitEveryValueTable(*this, [&](auto& table) { table.EraseIf(drop); });
  lastObject = {};
  lastArray = {};
  // Nothing made since mark is left (no class or group either): its handles are free to give out
  // again.
  auto madeSince = [&](const auto& table) {
    return std::any_of(table.begin(), table.end(),
                       [&](const auto& entry) { return entry.first >= mark; });
  };
  if (noneHeld && !madeSince(classes) && !madeSince(groups)) nextHandle = mark;
}

Runtime::Stored Runtime::Model::Store(const Value& value) {
  Stored stored;
  if (value.isNull) {
    stored.isNull = true;
    return stored;
  }
  if (value.isArray) {
    stored.handle = StoreArray(value);
    return stored;
  }
  if (value.isObject) {
    stored.handle = value.AsObject();
    return stored;
  }
  if (IsIntegerKind(value.kind)) {
    stored.integer = value.AsInt();
  } else if (value.kind == kHostReal || value.kind == kHostDouble) {
    stored.real = value.AsDouble();
  } else {
    // Kind any, or a kind the host doesn't serve, stays a value with nothing in it.
    VisitValueTable(*this, value.kind, [&](auto& table) {
      using Thing = typename std::decay_t<decltype(table)>::mapped_type;
      stored.handle = Add(table, std::get<Thing>(value.data));
    });
  }
  return stored;
}

HostArray Runtime::Model::StoreArray(const Value& array) {
  HostClass itemClass = array.isObject ? ClassByName(array.className) : 0;
  HostArray handle = AddArray(array.kind, array.isObject, itemClass, array.bounded, 0);
  std::vector<Stored> items;
  for (const Value& item : array.AsItems()) items.push_back(Store(item));
  arrays[handle].items = std::move(items);
  return handle;
}

Value Runtime::Model::Load(HostValueKind kind, bool isArray, bool isObject,
                           const std::string& className, const Stored& stored) {
  Value value;
  LoadInto(value, kind, isArray, isObject, className, stored);
  return value;
}

void Runtime::Model::LoadInto(Value& value, HostValueKind kind, bool isArray, bool isObject,
                              const std::string& className, const Stored& stored) {
  value.kind = kind;
  value.isArray = isArray;
  value.isObject = isObject;
  value.className = className;
  if (stored.isNull || ((isArray || isObject) && stored.handle == 0)) {
    value.isNull = true;
    return;
  }
  if (isArray) {
    value = LoadArray(stored.handle);
    return;
  }
  if (isObject) {
    value.data = HostObject{stored.handle};
    return;
  }
  // Numbers first: most values are; the others are copied from their table.
  if (IsIntegerKind(kind)) {
    value.data = stored.integer;
  } else if (kind == kHostReal || kind == kHostDouble) {
    value.data = stored.real;
  } else {
    VisitValueTable(*this, kind,
                    [&](const auto& table) { CopyFound(table, stored.handle, value.data); });
  }
}

Value Runtime::Model::LoadArray(HostArray handle) {
  auto found = arrays.find(handle);
  if (found == arrays.end()) return Value::Null(kHostUnknown);
  const ArrayData& array = found->second;
  std::string itemClass = array.objects ? ClassName(array.itemClass) : std::string();
  // Filled in place: the tool reads a whole answer back after every call.
  Value::Items items(array.items.size());
  for (size_t i = 0; i < items.size(); ++i) {
    LoadInto(items[i], array.itemKind, false, array.objects, itemClass, array.items[i]);
  }
  return array.objects ? Value::ObjectArray(itemClass, std::move(items), array.bounded)
                       : Value::Array(array.itemKind, std::move(items), array.bounded);
}

}  // namespace testhost
