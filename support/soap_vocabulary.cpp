#include "support/soap_vocabulary.h"

#include <cstring>

namespace tssoap {

const SoapVocabulary& Vocabulary() {
  static const SoapVocabulary vocabulary;
  return vocabulary;
}

namespace {

const char* const kSchemaTypesGroup[] = {kXsdNamespace1999Slash,
                                         kXsdNamespace1999,
                                         kXsdNamespace2001Slash,
                                         kXsdNamespace2001,
                                         kSoapEncNamespace,
                                         kSoapEncNamespaceBare,
                                         ""};
const char* const kSoapEncodingOnlyGroup[] = {kSoapEncNamespace, kSoapEncNamespaceBare, ""};
const char* const* const kGroups[] = {kSchemaTypesGroup, kSoapEncodingOnlyGroup};

// Built at load, not on first use, so that no thread ever races its construction.
[[maybe_unused]] const SoapVocabulary& kLoadedVocabulary = Vocabulary();

}  // namespace

const char* const* NamespaceGroup(uint32_t group) {
  return group < sizeof kGroups / sizeof kGroups[0] ? kGroups[group] : kSoapEncodingOnlyGroup + 2;
}

bool NamespaceGroupContains(uint32_t group, const char* ns) {
  if (ns == nullptr) return false;
  for (const char* const* entry = NamespaceGroup(group); **entry != '\0'; ++entry) {
    if (std::strcmp(*entry, ns) == 0) return true;
  }
  return false;
}

}  // namespace tssoap
