#include "types/host_array_items.h"

#include <charconv>
#include <string>
#include <string_view>

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
  return under.AddParameter(name, ns);
}

void WriteEncodedArrayHead(SOAPParameter& parameter, const char* itemType,
                           const char* itemTypeNamespace, uint32_t count) {
  const SoapVocabulary& vocabulary = Vocabulary();
  parameter.ClearValue();
  parameter.SetAttribute(vocabulary.type, vocabulary.Array.GetName().Str(),
                         vocabulary.Array.GetNamespace().Str());
  // "type[count]"; a null type reads as empty.
  const std::string_view type = itemType != nullptr ? itemType : "";
  std::string arrayType;
  arrayType.reserve(type.size() + 16);
  arrayType.append(type).push_back('[');
  char digits[16];
  const std::to_chars_result end =
      std::to_chars(digits, digits + sizeof digits, static_cast<int>(count));
  arrayType.append(digits, end.ptr).push_back(']');
  parameter.SetAttribute(vocabulary.arrayType, arrayType.c_str(), itemTypeNamespace);
  parameter.SetIsStruct();
}

}  // namespace tssoap
