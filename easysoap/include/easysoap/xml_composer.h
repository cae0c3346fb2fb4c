// XMLComposer: writes a SOAP envelope from a SOAPMethod.
//
// Attribute values that are qualified names (xsi:type, arrayType) are written with prefixes that
// the message declares; nil as xsi:nil="true"; all text is escaped.
#pragma once

#include <string>

#include "easysoap/soap_method.h"
#include "support/values/easysoap_api.h"

class EASYSOAP_API XMLComposer {
 public:
  // Process-wide switch: indent the composed XML with line feeds and blanks.
  static void SetAddWhiteSpace(bool addWhiteSpace);
  static bool GetAddWhiteSpace();

  // The whole request envelope for method, in UTF-8.
  static std::string ComposeRequest(const SOAPMethod& method);
};
