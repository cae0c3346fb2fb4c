// The echo operations: each answers with what it was sent.
#include "soapH.h"

int ns__echoString(struct soap*, std::string input, std::string& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoInt(struct soap*, int input, int& result) {
  result = input;
  return SOAP_OK;
}

int ns__echoStringArray(struct soap* soap, ArrayOfstring* input, ArrayOfstring* result) {
  // Arrays live in the call's gSOAP arena, which soap_serve frees after the answer is sent.
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
