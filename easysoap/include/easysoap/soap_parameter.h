// SOAPParameter: one XML element of a SOAP message, as composed for a request or parsed from a
// response.
//
// An element has a qualified name and value data: its text, its children in document order and
// its attributes. `value` points at the data in force, normally the element's own; a parsed
// multi-reference element (href="#id") points it at the referenced element's data instead, which
// lives as long as the message that holds both. A parameter owns its own children; copies are
// deep and always carry their data as their own.
//
// The elements of a message keep their names, texts and attribute entries in the message's
// storage: a parsed element in the response's, an element added under a SOAPMethod in the
// request's (names and attribute texts kept once there, texts copied there). Their strings refer
// to that storage (see SOAPString::Refer); a change through GetStringRef or AddAttribute copies
// what it changes first, so that stored and free-standing elements behave alike. Change
// attributes only through AddAttribute and SetAttribute.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/values/easysoap_api.h"
#include "support/values/soap_grow_array.h"
#include "support/values/soap_hash_map.h"
#include "support/values/soap_qname.h"
#include "support/values/soap_string.h"

namespace easysoap_internal {
class MessageStore;
}

class EASYSOAP_API SOAPParameter {
 public:
  using Attributes = SOAPHashMap<SOAPQName, SOAPQName>;
  using Children = SOAPGrowArray<SOAPParameter*>;

  // The value data of an element. The text comes after the eight-byte members, and the marks
  // after the text, so that they fill what would be padding (a parsed answer holds one for every
  // value).
  struct Data {
    Children children;      // owned by the element whose own data this is
    Attributes attributes;  // key: the attribute's name; value: its text in `name`, and for a
                            // QName-valued attribute the namespace of the QName in `namespace`
    SOAPString text;        // character content; no text until some is stored
    bool isNull = false;    // marked nil (xsi:nil="true")
    bool isStruct = false;  // the children are written as elements
    // The element whose own data this is, and the attribute entries, live in a message's
    // storage and go with it, not one by one.
    bool storedElement = false;
    bool storedAttributes = false;
  };

  SOAPParameter();
  SOAPParameter(const SOAPParameter& other);
  SOAPParameter& operator=(const SOAPParameter& other);
  virtual ~SOAPParameter();

  void SetName(const char* name, const char* ns = nullptr);
  // The same with texts that the response keeps, for the parser.
  void ReferName(const char* name, const char* ns);
  // Appends child, an element made in store, listing it in store too: for the parser, whose
  // elements all live in the response's storage.
  void AddStoredChild(easysoap_internal::MessageStore& store, SOAPParameter& child);
  const SOAPQName& GetName() const { return name_; }

  // Appends a child named name (no namespace) and returns it; the child belongs to this element.
  SOAPParameter& AddParameter(const char* name = "");
  // The same in the namespace ns.
  SOAPParameter& AddParameter(const char* name, const char* ns);
  // Makes room for count more children, for a caller that knows how many it is about to add.
  void ReserveParameters(uint32_t count);
  // The first child whose local name is name; throws SOAPException naming the missing child.
  const SOAPParameter& GetParameter(const char* name) const;
  // The same without the throw: null when there is none.
  const SOAPParameter* FindParameter(const char* name) const;
  const Children& GetParams() const { return value_->children; }

  // The character content; its text is null when none was stored or parsed.
  const SOAPString& GetString() const { return value_->text; }
  void SetString(const char* text);
  // The same for a text whose length is known; text[length] is its terminator.
  void SetString(const char* text, size_t length);
  // Direct access to the text of the data in force, for writers that assign it in place.
  SOAPString& GetStringRef() {
    NoteChange();
    return value_->text;
  }
  // The parser's: text the response keeps becomes the element's text.
  void ReferText(const char* text) { value_->text.Refer(text); }

  bool IsNull() const { return value_->isNull; }
  void SetNull(bool isNull = true) { value_->isNull = isNull; }
  // Empties text and children (and the struct mark); attributes stay.
  void ClearValue();
  // Back to the state of a new element, name and attributes included, in place.
  void Reset();
  void SetIsStruct() { value_->isStruct = true; }
  bool IsStruct() const { return value_->isStruct; }

  // Adds the attribute (or finds it) and returns its value for the caller to fill.
  SOAPQName& AddAttribute(const SOAPQName& key);
  // Adds the attribute (or finds it) with the text and, for a QName-valued attribute, the
  // namespace of the QName: AddAttribute(key).Set(text, ns), without allocations of its own in a
  // request's storage, where elements with the same single attribute share its entry.
  void SetAttribute(const SOAPQName& key, const char* text, const char* ns);
  // The stored table of an element whose only attribute SetAttribute set, for elements of the
  // same storage that get the very same attribute: handing it on spares them keeping and checking
  // its texts again. Null members when the element has no such table.
  struct SharedAttributes {
    const void* store = nullptr;
    void* table = nullptr;
    uint32_t buckets = 0;
  };
  SharedAttributes GetSharedAttributes() const;
  // Takes shared as this element's attributes when the element has none yet and lives in the
  // storage that shared was made in; false, and nothing changed, otherwise.
  bool ShareAttributes(const SharedAttributes& shared);
  const Attributes& GetAttributes() const { return value_->attributes; }

  // The data in force, and the element's own data.
  const Data& GetValue() const { return *value_; }
  Data& GetValue() {
    NoteChange();
    return *value_;
  }
  // A table that the element's message keeps becomes its attributes, shared with the elements of
  // the same attributes (the parser's tags, the request's SetAttribute and ShareAttributes).
  void ReferAttributes(Attributes::Entry** table, uint32_t buckets, uint32_t count) {
    ownValue_.attributes.Adopt(table, buckets, count);
    ownValue_.storedAttributes = true;
  }
  const Data& GetOwnValue() const { return ownValue_; }
  // Makes this element stand for another's data (multi-reference); null goes back to our own.
  void PointValueAt(Data* data) { value_ = data != nullptr ? data : &ownValue_; }

 protected:
  // The storage in which this element keeps its children, names, texts and attributes (a
  // request's, see SOAPMethod); null when each is allocated on its own.
  virtual easysoap_internal::MessageStore* ElementStore() const { return nullptr; }
  // Destroys the children and lets go of stored attribute entries: for the owner of a storage,
  // before the storage goes.
  void ReleaseStored();
  // The same, told whether any descendant may hold a part outside the storage; those that can't
  // go with the storage without being looked at.
  void ReleaseStored(bool mayHoldOutside);

 private:
  // The storage for changes of the element's own data; null for data of another element.
  easysoap_internal::MessageStore* StoreOfOwnData() const {
    return value_ == &ownValue_ ? ElementStore() : nullptr;
  }
  void CopyFrom(const SOAPParameter& other);
  // Elements of a storage are looked at only when they may hold parts outside it.
  void DeleteOwnChildren(bool storedMayHoldOutside = true);
  // Reset, told as ReleaseStored is: for the response that owns the element and its storage.
  void Reset(bool storedMayHoldOutside);
  friend class SOAPResponse;
  // An element of a storage that is changed through access to its parts (GetValue, GetStringRef)
  // may come to hold a part outside its storage: such changes are counted.
  void NoteChange() {
    if (ownValue_.storedElement || value_->storedElement) NoteOutsideChange();
  }
  void NoteOutsideChange();
  // Whether nothing of the element and its descendants needs destruction: all of it lives in a
  // storage.
  bool HoldsOnlyStored() const;
  // The same for the element alone, its children aside: names, text, list and attributes.
  bool OwnPartsStored() const;
  // Room for count children in all, in the storage.
  void ReserveStoredChildren(easysoap_internal::MessageStore& store, uint32_t count);
  static void ForgetStoredAttributes(Data& data);
  static void TakeOverAttributes(Data& data);

  SOAPQName name_;
  Data ownValue_;
  Data* value_;
};

static_assert(sizeof(SOAPParameter) <= 88, "an element's size counts for every value of an answer");
