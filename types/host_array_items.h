// The pieces that the array operations of the type table's rows and of the object path share:
// the host array's items on the way out (a bounded array refused, its info given back), the
// element of each item, the head of a SOAP-encoded array, and the walk over repeated elements.
// Host arrays are walked as flat lists, items 1 to GetArrayLength.
#pragma once

#include <cstdint>
#include <optional>

#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"
#include "support/values/soap_exception.h"

namespace tssoap {

// Holds the host's info on an array and gives it back on every way out of the operation.
class HeldArrayInfo {
 public:
  HeldArrayInfo(IHostSession& session, HostArray array)
      : session_(session), info_(session.GetArrayInfo(array)) {}
  ~HeldArrayInfo() {
    if (info_ != nullptr) session_.ReleaseArrayInfo(info_);
  }
  HeldArrayInfo(const HeldArrayInfo&) = delete;
  HeldArrayInfo& operator=(const HeldArrayInfo&) = delete;

  // Items of a bounded (possibly multi-dimensional) array have no flat access here: raises
  // SOAPException with message.
  void RefuseBounded(const char* message) const;

 private:
  IHostSession& session_;
  HostArrayInfo* info_;
};

// An array value that the way out has something to read from.
inline bool HasArray(const HostValueRecord& record) {
  return record.isNull == 0 && record.value.handle != 0;
}

// The items of the array in a record on the way out: none for a null array, and a bounded array
// refused with boundedMessage before any item is read.
class OutgoingArrayItems {
 public:
  OutgoingArrayItems(IHostSession& session, const HostValueRecord& record,
                     const char* boundedMessage);
  HostArray Array() const { return array_; }
  int32_t Length() const { return length_; }

 private:
  HostArray array_ = 0;
  int32_t length_ = 0;
  std::optional<HeldArrayInfo> info_;
};

// The element of one item of a repeated or wrapped array: a new child of under, named name in ns.
SOAPParameter& AddItemElement(SOAPParameter& under, const char* name, const char* ns);

// Turns parameter into a SOAP-encoded array of count items of the given type: its value cleared,
// xsi:type SOAP-ENC:Array, and SOAP-ENC:arrayType "type[count]" in the type's namespace.
void WriteEncodedArrayHead(SOAPParameter& parameter, const char* itemType,
                           const char* itemTypeNamespace, uint32_t count);

// Repeated elements coming in: calls each(child) for the children of parent named like wanted
// (absent and empty texts count as equal), in document order. The walk ends behind the last
// child, or quietly at the first child whose conversion raises SOAPException: the items before it
// stay in the host array and the rest is dropped.
template <typename Each>
void ForEachRepeatedElement(const SOAPParameter& parent, const SOAPQName& wanted, Each each) {
  try {
    for (const SOAPParameter* child : parent.GetParams()) {
      if (child->GetName() == wanted) each(*child);
    }
  } catch (const SOAPException&) {
  }
}

}  // namespace tssoap
