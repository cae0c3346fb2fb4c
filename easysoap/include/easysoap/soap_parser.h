// SOAPParser: reads a SOAP 1.1 envelope, as a server answers it, into a SOAPResponse.
//
// The parse is namespace-aware (expat). The whole Body becomes the response's element tree:
// element names carry their namespace, attributes go into each element's map keyed by their
// qualified name, and the text of a QName-valued attribute (xsi:type, arrayType) keeps the whole
// text in the value's name ("xsd:int[3]") and the namespace its prefix stands for in the value's
// namespace. xsi:nil="true" or "1" (2001 or 1999 schema instance) marks the element nil; the
// attribute stays in the map too. Multi-reference values (href="#id" pointing at an element with
// that id anywhere in the Body, before or after) are resolved by pointing the referring element's
// value at the referenced element's data.
//
// Documents in UTF-8, UTF-16, ISO-8859-1, US-ASCII and windows-1252 are read; text in the tree is
// UTF-8. The document's byte order mark or encoding declaration decides; the charset of the HTTP
// answer counts only when the document states neither.
//
// A server can't push the client past these limits, and the error says which one it hit: the
// size of the document, the depth of elements, the number of elements (also as multi-reference
// values expand), and no document type declaration at all (SOAP forbids it), so that no entity is
// ever declared, expanded or loaded from outside.
//
// Failures: a Fault as the first element of the Body throws SOAPFaultException with the packed
// fault text (<tssp_fcode>, <tssp_fstring>, <tssp_fdetailmessage>, the detail's content as XML
// text); anything else that isn't a usable envelope throws SOAPException with the cause and,
// for bad XML, the line and column.
#pragma once

#include <cstddef>
#include <cstdint>

#include "easysoap/soap_method.h"
#include "support/values/easysoap_api.h"

class EASYSOAP_API SOAPParser {
 public:
  struct Limits {
    uint64_t maxBytes = 64ull * 1024 * 1024;  // the document as received, after decompression
    uint32_t maxDepth = 256;                  // elements nested, the envelope being level 1
    uint32_t maxElements = 2000000;           // in the document, and in the Body once
                                              // multi-reference values are expanded
  };

  // Replaces what response held by the Body of the document in data[0, size). charset is the one
  // the HTTP answer gave, or null.
  static void ParseResponse(const char* data, size_t size, const char* charset,
                            SOAPResponse& response);
  static void ParseResponse(const char* data, size_t size, const char* charset,
                            SOAPResponse& response, const Limits& limits);
};
