#include "types/host_array_items.h"

#include <cstdio>

#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"

namespace tssoap {

void HeldArrayInfo::RefuseBounded(const char* message) const {
  if (info_ != nullptr && info_->arrayForm == 0) throw SOAPException("%s", message);
}

OutgoingArrayItems::OutgoingArrayItems(IHostSession& session, const HostValueRecord& record,
                                       const char* boundedMessage) {
  if (!HasArray(record)) return;
  array_ = record.value.handle;
  info_.emplace(session, array_);
  info_->RefuseBounded(boundedMessage);
  length_ = session.GetArrayLength(array_);
}

SOAPParameter& AddItemElement(SOAPParameter& under, const char* name, const char* ns) {
  SOAPParameter& item = under.AddParameter("");
  item.SetName(name, ns);
  return item;
}

void WriteEncodedArrayHead(SOAPParameter& parameter, const char* itemType,
                           const char* itemTypeNamespace, uint32_t count) {
  const SoapVocabulary& vocabulary = Vocabulary();
  parameter.ClearValue();
  parameter.AddAttribute(vocabulary.type)
      .Set(vocabulary.Array.GetName().Str(), vocabulary.Array.GetNamespace().Str());
  SOAPQName& arrayType = parameter.AddAttribute(vocabulary.arrayType);
  arrayType.Set(itemType, itemTypeNamespace);
  char dimension[32];
  const int length = std::snprintf(dimension, sizeof dimension, "[%d]", static_cast<int>(count));
  arrayType.GetName().Append(dimension, static_cast<uint32_t>(length));
  parameter.SetIsStruct();
}

}  // namespace tssoap
