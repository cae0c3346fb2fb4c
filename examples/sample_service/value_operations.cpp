// The value operations: one echo for each kind of simple value, each answering what it was sent.
#include "soapH.h"

int ns__echoBoolean(struct soap*, bool input, bool& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoShort(struct soap*, short input, short& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoUnsignedShort(struct soap*, unsigned short input, unsigned short& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoUnsignedInt(struct soap*, unsigned int input, unsigned int& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoLong(struct soap*, LONG64 input, LONG64& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoFloat(struct soap*, float input, float& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoDouble(struct soap*, double input, double& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoDecimal(struct soap*, xsd__decimal input, xsd__decimal& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoDate(struct soap*, xsd__date input, xsd__date& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoTime(struct soap*, xsd__time input, xsd__time& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoDateTime(struct soap*, xsd__dateTime input, xsd__dateTime& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoBase64(struct soap*, xsd__base64Binary input, struct ns__echoBase64Response& response) {
  // The bytes live in the call's gSOAP arena, which soap_serve frees after the answer is sent.
  response.result = input;
  return SOAP_OK;
}
