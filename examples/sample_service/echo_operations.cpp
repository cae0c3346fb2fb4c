// The echo operations: each answers with what it was sent. One for strings, ints, an encoded
// string array and a structure, encoded arrays of ints and of records, and one for each kind of
// simple value the extension carries.
#include "soapH.h"

namespace {

// Answers the value as it came. Values that point into the request (arrays, base64 bytes) live in
// the call's gSOAP arena, which soap_serve frees only after the answer is sent.
template <typename Value>
int Echo(const Value& input, Value& result) {
  result = input;
  return SOAP_OK;
}

}  // namespace

int ns__echoString(struct soap*, std::string input, std::string& result) {
  return Echo(input, result);
}
int ns__echoInt(struct soap*, int input, int& result) { return Echo(input, result); }
int ns__echoBoolean(struct soap*, bool input, bool& result) { return Echo(input, result); }
int ns__echoShort(struct soap*, short input, short& result) { return Echo(input, result); }
int ns__echoUnsignedShort(struct soap*, unsigned short input, unsigned short& result) {
  return Echo(input, result);
}
int ns__echoUnsignedInt(struct soap*, unsigned int input, unsigned int& result) {
  return Echo(input, result);
}
int ns__echoLong(struct soap*, LONG64 input, LONG64& result) { return Echo(input, result); }
int ns__echoFloat(struct soap*, float input, float& result) { return Echo(input, result); }
int ns__echoDouble(struct soap*, double input, double& result) { return Echo(input, result); }
int ns__echoDecimal(struct soap*, xsd__decimal input, xsd__decimal& result) {
  return Echo(input, result);
}
int ns__echoDate(struct soap*, xsd__date input, xsd__date& result) { return Echo(input, result); }
int ns__echoTime(struct soap*, xsd__time input, xsd__time& result) { return Echo(input, result); }
int ns__echoDateTime(struct soap*, xsd__dateTime input, xsd__dateTime& result) {
  return Echo(input, result);
}
int ns__echoBase64(struct soap*, xsd__base64Binary input, struct ns__echoBase64Response& response) {
  return Echo(input, response.result);
}

int ns__echoStringArray(struct soap* soap, ArrayOfstring* input, ArrayOfstring* result) {
  result->__size = input != nullptr ? input->__size : 0;
  result->__ptr = result->__size > 0 ? soap_new_std__string(soap, result->__size) : nullptr;
  for (int i = 0; i < result->__size; ++i) result->__ptr[i] = input->__ptr[i];
  return SOAP_OK;
}

int ns__echoStruct(struct soap* soap, ns__SampleStruct* input,
                   struct ns__echoStructResponse& response) {
  response.result = soap_new_ns__SampleStruct(soap);
  if (input != nullptr) {
    response.result->text = input->text;
    response.result->number = input->number;
  }
  return SOAP_OK;
}

// The arrays live in the call's arena until the answer is sent, so the answer can point at them.
int ns__echoIntegerArray(struct soap* soap, ArrayOfint* input,
                         struct ns__echoIntegerArrayResponse& response) {
  response.result = input != nullptr ? input : soap_new_ArrayOfint(soap);
  return SOAP_OK;
}

int ns__echoStructArray(struct soap* soap, ArrayOfRecord* input,
                        struct ns__echoStructArrayResponse& response) {
  response.result = input != nullptr ? input : soap_new_ArrayOfRecord(soap);
  return SOAP_OK;
}
