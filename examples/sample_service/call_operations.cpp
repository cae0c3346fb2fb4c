// The operations that the end-to-end tests of the call road use: a call with nothing in or out,
// strings in each direction, string arrays with nil items in the three layouts, and results under
// the other names a client looks for.
#include <string>

#include "soapH.h"

namespace {

// gSOAP leaves a null item out of a container, so nil items would not come back. These answers
// send them as xsi:nil; the mode is dropped again once the answer is out, so that the other
// operations on a kept-alive connection answer as before.
int DropNilMode(struct soap* soap) {
  soap_clr_omode(soap, SOAP_XML_NIL);
  soap->fserveloop = nullptr;
  return SOAP_OK;
}

void AnswerNullItemsAsNil(struct soap* soap) {
  soap_set_omode(soap, SOAP_XML_NIL);
  soap->fserveloop = DropNilMode;
}

}  // namespace

int ns__ping(struct soap*, struct ns__pingResponse&) { return SOAP_OK; }

int ns__exchangeStrings(struct soap*, std::string input, std::string both,
                        struct ns__exchangeStringsResponse& response) {
  response.input = "changed by the server";
  response.output = input + "/out";
  response.both = both + "/inout";
  response.result = input + "/result";
  return SOAP_OK;
}

int ns__echoNullableStringArray(struct soap* soap, ArrayOfNullableString* input,
                                struct ns__echoNullableStringArrayResponse& response) {
  AnswerNullItemsAsNil(soap);
  // The answer may share the request's objects: both live in the call's gSOAP arena.
  response.result = input != nullptr ? input : soap_new_ArrayOfNullableString(soap);
  return SOAP_OK;
}

int ns__echoStringsRepeated(struct soap* soap, std::vector<char*> values,
                            struct ns__echoStringsRepeatedResponse& response) {
  AnswerNullItemsAsNil(soap);
  response.values = values;
  return SOAP_OK;
}

int ns__echoStringList(struct soap* soap, ns__StringList* input,
                       struct ns__echoStringListResponse& response) {
  AnswerNullItemsAsNil(soap);
  response.result = input != nullptr ? input : soap_new_ns__StringList(soap);
  return SOAP_OK;
}

int ns__resultAsReturn(struct soap*, std::string input,
                       struct ns__resultAsReturnResponse& response) {
  response.return_ = input + "/return";
  return SOAP_OK;
}

int ns__resultAsTypeName(struct soap*, std::string input,
                         struct ns__resultAsTypeNameResponse& response) {
  response.string_ = input + "/string";
  return SOAP_OK;
}
