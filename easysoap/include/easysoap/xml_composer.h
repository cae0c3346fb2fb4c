// XMLComposer: writes a SOAP 1.1 request envelope from a SOAPMethod.
//
// Binding styles: 0 (not stated) and 2 (rpc) write the method element in its namespace with the
// SOAP encoding style, and its descendants by local name alone, as SOAP 1.1 section 7 has
// accessors; 1 (document) writes the element named by SetSoapElementName when there is one (in
// the method's namespace if it names none), else the method's, without encoding style, and every
// element in its own namespace.
//
// Attribute values that are qualified names (a value SOAPQName with a namespace, as xsi:type and
// arrayType are) are written with prefixes that the envelope declares; nil as xsi:nil="true",
// from the element's mark only; all text is escaped. Text that XML can't carry (invalid UTF-8,
// control characters) and names that aren't XML names throw SOAPException naming the element.
// The composer reads the tree and keeps nothing of it.
#pragma once

#include <string>

#include "easysoap/soap_method.h"
#include "support/values/easysoap_api.h"

class EASYSOAP_API XMLComposer {
 public:
  static constexpr int kUnstatedStyle = 0;
  static constexpr int kDocumentStyle = 1;
  static constexpr int kRpcStyle = 2;

  // Process-wide switch: indent the composed XML with line feeds and blanks. Off at load.
  static void SetAddWhiteSpace(bool addWhiteSpace);
  static bool GetAddWhiteSpace();

  // The whole request envelope for method in its own binding style, in UTF-8.
  static std::string ComposeRequest(const SOAPMethod& method);
  // The same in the given style, into out (replacing its contents and reusing its buffer).
  static void ComposeRequest(const SOAPMethod& method, int bindingStyle, std::string& out);
};
