#include "easysoap/soap_parameter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "easysoap/src/message_store.h"
#include "support/values/soap_exception.h"

using easysoap_internal::MessageStore;

namespace {

// An element made in a request's storage: its children, names and texts go there too.
class StoredElement final : public SOAPParameter {
 public:
  explicit StoredElement(MessageStore& store) : store_(store) { GetValue().storedElement = true; }

 protected:
  MessageStore* ElementStore() const override { return &store_; }

 private:
  MessageStore& store_;
};

using Entry = SOAPParameter::Attributes::Entry;

// A stored table has the eight buckets that the map gives its first eight entries, so that it is
// walked in the very order of a map filled the same way; a ninth entry goes to a map of its own.
constexpr uint32_t kStoredBuckets = 8;
// The first list of children in a storage: a record's few fields fit.
constexpr uint32_t kStoredChildrenMinimum = 4;
constexpr uint32_t kStoredChildrenMost = 4096;

// A text kept once in the storage, with its hash; null stays null.
struct KeptText {
  const char* text = nullptr;
  uint32_t hash = 0;
};

KeptText Keep(MessageStore& store, const char* text) {
  if (text == nullptr) return {};
  const MessageStore::Interned& interned = store.Intern(text);
  return {interned.text, interned.textHash};
}

const char* KeptOrNull(MessageStore& store, const char* text) {
  return text != nullptr ? store.Intern(text).text : nullptr;
}

// An entry in the storage whose strings refer to stored texts; it is never destroyed.
Entry* NewStoredEntry(MessageStore& store, uint32_t hash, const char* keyName, const char* keyNs,
                      const char* valueName, const char* valueNs) {
  Entry* entry = store.New<Entry>();
  entry->next = nullptr;
  entry->hash = hash;
  entry->key.GetName().Refer(keyName);
  entry->key.GetNamespace().Refer(keyNs);
  entry->value.GetName().Refer(valueName);
  entry->value.GetNamespace().Refer(valueNs);
  return entry;
}

}  // namespace

SOAPParameter::SOAPParameter() : value_(&ownValue_) {}

SOAPParameter::SOAPParameter(const SOAPParameter& other) : value_(&ownValue_) { CopyFrom(other); }

SOAPParameter& SOAPParameter::operator=(const SOAPParameter& other) {
  if (this != &other) {
    NoteChange();
    SOAPParameter copy(other);
    DeleteOwnChildren();
    ForgetStoredAttributes(ownValue_);
    name_ = copy.name_;
    ownValue_.text = copy.ownValue_.text;
    ownValue_.attributes = std::move(copy.ownValue_.attributes);
    ownValue_.children = std::move(copy.ownValue_.children);  // copy now owns nothing
    ownValue_.isNull = copy.ownValue_.isNull;
    ownValue_.isStruct = copy.ownValue_.isStruct;
    value_ = &ownValue_;
  }
  return *this;
}

SOAPParameter::~SOAPParameter() {
  DeleteOwnChildren();
  ForgetStoredAttributes(ownValue_);
}

void SOAPParameter::CopyFrom(const SOAPParameter& other) {
  name_ = other.name_;
  const Data& source = *other.value_;
  ownValue_.text = source.text;
  ownValue_.attributes = source.attributes;
  ownValue_.isNull = source.isNull;
  ownValue_.isStruct = source.isStruct;
  ownValue_.children.Reserve(source.children.Size());
  for (const SOAPParameter* child : source.children) {
    auto* copy = new SOAPParameter(*child);
    try {
      ownValue_.children.Add(copy);
    } catch (...) {
      delete copy;
      throw;
    }
  }
}

inline bool SOAPParameter::OwnPartsStored() const {
  return !name_.GetName().OwnsBuffer() && !name_.GetNamespace().OwnsBuffer() &&
         !ownValue_.text.OwnsBuffer() &&
         (ownValue_.children.Capacity() == 0 || ownValue_.children.Adopted()) &&
         (ownValue_.storedAttributes || ownValue_.attributes.Count() == 0);
}

void SOAPParameter::DeleteOwnChildren(bool storedMayHoldOutside) {
  for (SOAPParameter* child : ownValue_.children) {
    if (!child->ownValue_.storedElement) {
      delete child;
    } else if (storedMayHoldOutside && !child->HoldsOnlyStored()) {
      child->~SOAPParameter();  // its memory goes with the storage
    }
    // A stored element that holds nothing of its own just goes with the storage.
  }
  ownValue_.children.Resize(0);
}

bool SOAPParameter::HoldsOnlyStored() const {
  if (!OwnPartsStored()) return false;
  // Most elements of a message are leaves: they are looked at here, without a call of their own.
  for (const SOAPParameter* child : ownValue_.children) {
    if (!child->ownValue_.storedElement || !child->OwnPartsStored()) return false;
    if (!child->ownValue_.children.IsEmpty() && !child->HoldsOnlyStored()) return false;
  }
  return true;
}

void SOAPParameter::ReserveStoredChildren(MessageStore& store, uint32_t count) {
  Children& children = ownValue_.children;
  if (count <= children.Capacity()) return;
  const uint32_t was = children.Capacity();
  uint32_t capacity = was < kStoredChildrenMinimum ? kStoredChildrenMinimum : was;
  while (capacity < count) {
    if (capacity > Children::kMaximumCapacity / 2) throw SOAPMemoryException();
    capacity *= 2;
  }
  // A long list grows in blocks of the storage's own, each freed as the next takes over: in the
  // chain, every smaller block would stay behind (a million children would leave as much again).
  // Either way the list goes with the storage, so the tree needn't be walked for it.
  const bool alone = capacity > kStoredChildrenMost;
  const size_t bytes = sizeof(SOAPParameter*) * capacity;
  auto** block =
      static_cast<SOAPParameter**>(alone ? store.AllocateAlone(bytes) : store.Allocate(bytes));
  std::copy(children.begin(), children.end(), block);
  std::fill(block + children.Size(), block + capacity, nullptr);
  SOAPParameter** last = children.Adopted() ? children.begin() : nullptr;
  children.Adopt(block, capacity, children.Size());
  if (last != nullptr && was > kStoredChildrenMost) {
    store.FreeAlone(last, sizeof(SOAPParameter*) * was);
  }
}

void SOAPParameter::ReleaseStored() { ReleaseStored(true); }

void SOAPParameter::ReleaseStored(bool mayHoldOutside) {
  DeleteOwnChildren(mayHoldOutside);
  ForgetStoredAttributes(ownValue_);
}

void SOAPParameter::NoteOutsideChange() {
  easysoap_internal::OutsideChanges().fetch_add(1, std::memory_order_relaxed);
}

void SOAPParameter::ForgetStoredAttributes(Data& data) {
  if (!data.storedAttributes) return;
  data.attributes.Forget();
  data.storedAttributes = false;
}

void SOAPParameter::SetName(const char* name, const char* ns) {
  MessageStore* store = ElementStore();
  if (store == nullptr) {
    if (ownValue_.storedElement) NoteOutsideChange();
    name_.Set(name, ns);
    return;
  }
  name_.GetName().Refer(KeptOrNull(*store, name));
  name_.GetNamespace().Refer(KeptOrNull(*store, ns));
}

void SOAPParameter::ReferName(const char* name, const char* ns) {
  name_.GetName().Refer(name);
  name_.GetNamespace().Refer(ns);
}

void SOAPParameter::AddStoredChild(MessageStore& store, SOAPParameter& child) {
  ReserveStoredChildren(store, ownValue_.children.Size() + 1);
  ownValue_.children.Add(&child);
}

SOAPParameter& SOAPParameter::AddParameter(const char* name, const char* ns) {
  SOAPParameter& child = AddParameter(name);
  if (ns == nullptr) return child;
  if (MessageStore* store = StoreOfOwnData()) {
    child.name_.GetNamespace().Refer(store->Intern(ns).text);
  } else {
    child.name_.GetNamespace().Assign(ns);
  }
  return child;
}

SOAPParameter& SOAPParameter::AddParameter(const char* name) {
  MessageStore* store = StoreOfOwnData();
  SOAPParameter* child = nullptr;
  if (store == nullptr) {
    NoteChange();  // a child of its own under an element of a storage
    child = new SOAPParameter();
    try {
      child->SetName(name, nullptr);
    } catch (...) {
      delete child;
      throw;
    }
  } else {
    child = store->New<StoredElement>(*store);
    child->name_.GetName().Refer(KeptOrNull(*store, name));
  }
  try {
    if (store != nullptr) {
      AddStoredChild(*store, *child);  // children of an element in a storage are listed in it too
    } else {
      value_->children.Add(child);
    }
  } catch (...) {
    if (store == nullptr) {
      delete child;
    } else {
      child->~SOAPParameter();
    }
    throw;
  }
  return *child;
}

void SOAPParameter::ReserveParameters(uint32_t count) {
  Children& children = value_->children;
  if (count > UINT32_MAX - children.Size()) throw SOAPMemoryException();
  if (MessageStore* store = StoreOfOwnData()) {
    ReserveStoredChildren(*store, children.Size() + count);
  } else {
    NoteChange();
    children.Reserve(children.Size() + count);
  }
}

const SOAPParameter* SOAPParameter::FindParameter(const char* name) const {
  const char* wanted = name != nullptr ? name : "";
  for (const SOAPParameter* child : value_->children) {
    // Siblings' names mostly differ in their first letter.
    const char* childName = child->name_.GetName().CStr();
    if (childName[0] == wanted[0] && std::strcmp(childName, wanted) == 0) return child;
  }
  return nullptr;
}

const SOAPParameter& SOAPParameter::GetParameter(const char* name) const {
  const SOAPParameter* child = FindParameter(name);
  if (child == nullptr) {
    throw SOAPException("The element '%s' has no child element named '%s'", name_.GetName().CStr(),
                        name != nullptr ? name : "");
  }
  return *child;
}

void SOAPParameter::SetString(const char* text) {
  SetString(text, text != nullptr ? std::strlen(text) : 0);
}

void SOAPParameter::SetString(const char* text, size_t length) {
  MessageStore* store = StoreOfOwnData();
  if (store == nullptr) {
    NoteChange();
    value_->text.Assign(text);
    return;
  }
  value_->text.Refer(text != nullptr ? store->Copy(std::string_view(text, length)) : nullptr);
}

void SOAPParameter::ClearValue() {
  // A new element, the usual case, has nothing to let go of.
  if (value_ != &ownValue_ || !ownValue_.children.IsEmpty() || !ownValue_.text.IsNull()) {
    DeleteOwnChildren();
    value_ = &ownValue_;
    ownValue_.text.Clear();
  }
  ownValue_.isNull = false;
  ownValue_.isStruct = false;
}

void SOAPParameter::Reset() { Reset(true); }

void SOAPParameter::Reset(bool storedMayHoldOutside) {
  ReleaseStored(storedMayHoldOutside);
  name_.GetName().Clear();
  name_.GetNamespace().Clear();
  ownValue_.text.Clear();
  ownValue_.attributes = Attributes();
  ownValue_.children = Children();
  ownValue_.isNull = false;
  ownValue_.isStruct = false;
  value_ = &ownValue_;
}

void SOAPParameter::TakeOverAttributes(Data& data) {
  // Entries in a storage can't grow: copy them into a map of our own first. Added from the last
  // to the first, they end up chained in the order they had.
  std::vector<const Entry*> entries;
  entries.reserve(data.attributes.Count());
  for (auto it = data.attributes.Begin(); it != data.attributes.End(); ++it) {
    entries.push_back(it.operator->());
  }
  Attributes own;
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
    own.Add((*entry)->key) = (*entry)->value;
  }
  ForgetStoredAttributes(data);
  data.attributes = std::move(own);
}

SOAPQName& SOAPParameter::AddAttribute(const SOAPQName& key) {
  NoteChange();  // the caller fills the value as it likes
  if (value_->storedAttributes) TakeOverAttributes(*value_);
  return value_->attributes.Add(key);
}

SOAPParameter::SharedAttributes SOAPParameter::GetSharedAttributes() const {
  const MessageStore* store = StoreOfOwnData();
  const Data& data = ownValue_;
  if (store == nullptr || !data.storedAttributes || data.attributes.Count() != 1) return {};
  return {store, data.attributes.Buckets(), data.attributes.BucketCount()};
}

bool SOAPParameter::ShareAttributes(const SharedAttributes& shared) {
  const Data& data = ownValue_;
  if (shared.table == nullptr || StoreOfOwnData() != shared.store || data.attributes.Count() != 0) {
    return false;
  }
  // Stored tables are never changed: a later SetAttribute makes a new one.
  ReferAttributes(static_cast<Entry**>(shared.table), shared.buckets, 1);
  return true;
}

void SOAPParameter::SetAttribute(const SOAPQName& key, const char* text, const char* ns) {
  MessageStore* store = StoreOfOwnData();
  Data& data = ownValue_;
  const uint32_t count = data.attributes.Count();
  if (store == nullptr || (!data.storedAttributes && count != 0) || count >= kStoredBuckets) {
    AddAttribute(key).Set(text, ns);
    return;
  }
  const KeptText keyName = Keep(*store, key.GetName().Str());
  const KeptText keyNs = Keep(*store, key.GetNamespace().Str());
  const char* valueName = KeptOrNull(*store, text);
  const char* valueNs = KeptOrNull(*store, ns);
  const uint32_t hash = keyName.hash ^ keyNs.hash;
  // Elements with this single attribute share one table.
  const void* const sharedKey[4] = {keyName.text, keyNs.text, valueName, valueNs};
  if (count == 0) {
    if (void* shared = store->Recall(sharedKey)) {
      ReferAttributes(static_cast<Entry**>(shared), kStoredBuckets, 1);
      return;
    }
  }
  // Stored entries never change, and the table may be shared: a new table with the entries so
  // far, each in its chain's place, the one of key with its new value.
  auto** table = static_cast<Entry**>(store->Allocate(sizeof(Entry*) * kStoredBuckets));
  Entry** last[kStoredBuckets];
  for (uint32_t b = 0; b < kStoredBuckets; ++b) {
    table[b] = nullptr;
    last[b] = &table[b];
  }
  bool replaced = false;
  uint32_t entries = 0;
  auto append = [&](const Entry& from) {
    const bool same = from.hash == hash && from.key == key;
    replaced = replaced || same;
    Entry* copy =
        NewStoredEntry(*store, from.hash, from.key.GetName().Str(), from.key.GetNamespace().Str(),
                       same ? valueName : from.value.GetName().Str(),
                       same ? valueNs : from.value.GetNamespace().Str());
    Entry**& tail = last[from.hash % kStoredBuckets];
    *tail = copy;
    tail = &copy->next;
    ++entries;
  };
  for (auto it = data.attributes.Begin(); it != data.attributes.End(); ++it)
    append(*it.operator->());
  if (!replaced) {
    Entry* added = NewStoredEntry(*store, hash, keyName.text, keyNs.text, valueName, valueNs);
    added->next = table[hash % kStoredBuckets];
    table[hash % kStoredBuckets] = added;
    ++entries;
  }
  ForgetStoredAttributes(data);
  ReferAttributes(table, kStoredBuckets, entries);
  if (entries == 1) store->Remember(sharedKey, table);
}
