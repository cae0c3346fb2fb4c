// Base64 and hexadecimal encoders for the binary XML types. Stateless; any thread may call them.
#pragma once

#include "support/values/easysoap_api.h"
#include "support/values/soap_string.h"

class EASYSOAP_API SOAPBase64Base {
 public:
  // An upper bound for the bytes that text decodes to, as Base64 and also as hexadecimal text.
  static unsigned int EstimateSize(const SOAPString& text);
  // Decodes into destination; on entry size is the room, on return the bytes written. White space
  // is skipped and the "=" padding may be left out; any other character outside the alphabet, a
  // padding in the wrong place, a lone last character, or more bytes than the room throws
  // SOAPException naming the place. Nothing is written beyond the room.
  static void Decode(const SOAPString& text, char* destination, unsigned int& size);
  // Base64 text of the data, without line breaks.
  static void Encode(const char* data, unsigned int size, SOAPString& result);
};

class EASYSOAP_API SOAPHexBase {
 public:
  // As SOAPBase64Base::Decode, for hexadecimal text of either case; an odd number of digits
  // throws.
  static void Decode(const SOAPString& text, char* destination, unsigned int& size);
  // Upper-case hexadecimal text of the data.
  static void Encode(const char* data, unsigned int size, SOAPString& result);
};
