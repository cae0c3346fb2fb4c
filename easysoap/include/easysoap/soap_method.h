// SOAPMethod: the method element of a request, with what the transport needs beside the tree:
// the SOAP action and, for document style, the name of the body element. The elements added
// under it, their names, texts and attributes live in the request's storage and go with the
// method; the storage's blocks stay with the calling thread for its next request.
//
// Binding styles: 0 not stated and 2 rpc both write the method element in its namespace with the
// SOAP encoding style; 1 document writes the element named by SetSoapElementName when there is
// one, else the method's, without encoding style.
#pragma once

#include <cstdint>
#include <memory>

#include "easysoap/soap_parameter.h"
#include "support/values/easysoap_api.h"
#include "support/values/soap_string.h"

class EASYSOAP_API SOAPMethod : public SOAPParameter {
 public:
  // soapAction may be null: no action at all, and no SOAPAction header is sent; an empty action
  // sends SOAPAction: "" and a text is sent quoted. The flag is unused and always false.
  SOAPMethod(const char* name, const char* ns, const char* soapAction, bool flag);
  ~SOAPMethod() override;

  // Name and namespace of the document-style body element; empty texts mean none.
  void SetSoapElementName(const char* name, const char* ns);
  const SOAPQName& GetSoapElementName() const { return soapElementName_; }
  // Null when the method has no action.
  const SOAPString& GetSoapAction() const { return soapAction_; }

  // 0 not stated, 1 document, 2 rpc; assigned by the caller after construction.
  int32_t bindingStyle = 0;

 protected:
  easysoap_internal::MessageStore* ElementStore() const override { return store_.get(); }

 private:
  SOAPString soapAction_;
  SOAPQName soapElementName_;
  std::unique_ptr<easysoap_internal::MessageStore> store_;  // the request's
  uint64_t changesAtStart_;                                 // OutsideChanges when the tree began
};

// SOAPResponse: a parsed response message. It owns the whole Body, so that multi-reference values
// stay valid, and hands out the response's method element: the first element child of the Body.
// The Body's elements, names and texts live in the response's own storage.
class EASYSOAP_API SOAPResponse {
 public:
  SOAPResponse();
  ~SOAPResponse();
  SOAPResponse(const SOAPResponse&) = delete;
  SOAPResponse& operator=(const SOAPResponse&) = delete;

  // The response's method element; an empty element when the Body has no element child.
  const SOAPParameter& GetMethod() const;
  // The Body element, for the parser to fill.
  SOAPParameter& GetBody() { return body_; }
  const SOAPParameter& GetBody() const { return body_; }
  // Drops everything from an earlier response.
  void Reset();
  // The storage of the parsed Body, for the parser.
  easysoap_internal::MessageStore& Store();

 private:
  std::unique_ptr<easysoap_internal::MessageStore> store_;  // outlives the tree it holds
  uint64_t changesAtStart_ = 0;                             // OutsideChanges when the tree began
  SOAPParameter body_;
  SOAPParameter empty_;
};
