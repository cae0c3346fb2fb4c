// The fixed names of the SOAP 1.1 encoding that the extension knows: namespace texts, fifteen
// qualified-name constants, and the namespace groups under which an XML data type is recognised.
// All are constant once the library is loaded.
#pragma once

#include <cstdint>

#include "support/values/soap_qname.h"

namespace tssoap {

inline constexpr const char* kSoapEncNamespace = "http://schemas.xmlsoap.org/soap/encoding/";
inline constexpr const char* kSoapEncNamespaceBare = "http://schemas.xmlsoap.org/soap/encoding";
inline constexpr const char* kSoapEnvNamespace = "http://schemas.xmlsoap.org/soap/envelope/";
inline constexpr const char* kXsdNamespace2001 = "http://www.w3.org/2001/XMLSchema";
inline constexpr const char* kXsdNamespace2001Slash = "http://www.w3.org/2001/XMLSchema/";
inline constexpr const char* kXsdNamespace1999 = "http://www.w3.org/1999/XMLSchema";
inline constexpr const char* kXsdNamespace1999Slash = "http://www.w3.org/1999/XMLSchema/";
inline constexpr const char* kXsiNamespace = "http://www.w3.org/2001/XMLSchema-instance";

// The qualified-name constants, built once at load.
struct SoapVocabulary {
  SOAPQName root{"root", kSoapEncNamespace};
  SOAPQName Array{"Array", kSoapEncNamespace};
  SOAPQName arrayType{"arrayType", kSoapEncNamespace};
  SOAPQName offset{"offset", kSoapEncNamespace};
  SOAPQName position{"position", kSoapEncNamespace};
  SOAPQName base64{"base64", kSoapEncNamespace};
  SOAPQName Body{"Body", kSoapEnvNamespace};
  SOAPQName Header{"Header", kSoapEnvNamespace};
  SOAPQName Envelope{"Envelope", kSoapEnvNamespace};
  SOAPQName Fault{"Fault", kSoapEnvNamespace};
  SOAPQName encodingStyle{"encodingStyle", kSoapEnvNamespace};
  SOAPQName mustUnderstand{"mustUnderstand", kSoapEnvNamespace};
  SOAPQName actor{"actor", kSoapEnvNamespace};
  SOAPQName nil{"nil", kXsiNamespace};
  SOAPQName type{"type", kXsiNamespace};
};

// The one instance, alive while the library is loaded.
const SoapVocabulary& Vocabulary();

// Namespace groups: ordered lists of namespace texts ended by the empty text.
enum NamespaceGroupId : uint32_t {
  kSchemaTypes = 0,       // both schema years, each with and without "/", and the SOAP encoding
  kSoapEncodingOnly = 1,  // the SOAP encoding namespace, with and without "/"
};
// The list of a group; the end mark is the empty text.
const char* const* NamespaceGroup(uint32_t group);
// True when ns equals an entry of the group exactly (an empty or null ns never matches).
bool NamespaceGroupContains(uint32_t group, const char* ns);

}  // namespace tssoap
