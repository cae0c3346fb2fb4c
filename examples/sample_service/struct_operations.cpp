// The structure operations: each answers with the structures it was sent, field for field.
#include "soapH.h"

int ns__echoAddress(struct soap*, ns__Address* input, struct ns__echoAddressResponse& response) {
  // The answer may share the request's objects: both live in the call's gSOAP arena, which
  // soap_serve frees after the answer is sent.
  response.result = input;
  return SOAP_OK;
}

int ns__echoPhoneArray(struct soap* soap, ArrayOfPhone* input,
                       struct ns__echoPhoneArrayResponse& response) {
  response.result = input != nullptr ? input : soap_new_ArrayOfPhone(soap);
  return SOAP_OK;
}

int ns__echoPhonesRepeated(struct soap*, std::vector<ns__Phone> phones,
                           struct ns__echoPhonesRepeatedResponse& response) {
  response.phones = phones;
  return SOAP_OK;
}

int ns__echoPhoneList(struct soap* soap, ns__PhoneList* input,
                      struct ns__echoPhoneListResponse& response) {
  response.result = input != nullptr ? input : soap_new_ns__PhoneList(soap);
  return SOAP_OK;
}
