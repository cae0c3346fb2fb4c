#include "support/values/soap_qname.h"

SOAPQName::SOAPQName(const char* name, const char* ns) : name_(name), namespace_(ns) {}

uint32_t SOAPQName::HashText(const char* text) {
  uint32_t hash = 0;
  if (text == nullptr) return hash;
  for (auto* p = reinterpret_cast<const unsigned char*>(text); *p != 0; ++p) hash = hash * 31 + *p;
  return hash;
}

uint32_t SOAPQName::Hash() const { return HashText(name_.Str()) ^ HashText(namespace_.Str()); }

bool operator==(const SOAPQName& a, const SOAPQName& b) {
  return a.GetName() == b.GetName() && a.GetNamespace() == b.GetNamespace();
}
