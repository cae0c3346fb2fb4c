// The rows base64, base64Binary and hexBinary: they move bytes between a host blob and the SOAP
// library's static encoders. The encoding itself -- case of the digits, line breaks, what counts
// as a bad character -- is the library's.
#pragma once

#include "support/values/soap_string.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

// The encoder of one binary row. The size bound for decoding is Base64's for both encoders: it is
// also large enough for hexadecimal text, which takes two characters a byte.
struct BinaryRowConversion : RowConversion {
  void (*decode)(const SOAPString& text, char* destination, unsigned int& size);
  void (*encode)(const char* data, unsigned int size, SOAPString& result);
};

extern const BinaryRowConversion kBase64Conversion;  // base64 and base64Binary
extern const BinaryRowConversion kHexBinaryConversion;

}  // namespace tssoap
