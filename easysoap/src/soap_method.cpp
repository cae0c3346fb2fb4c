#include "easysoap/soap_method.h"

#include "easysoap/src/message_store.h"

SOAPMethod::SOAPMethod(const char* name, const char* ns, const char* soapAction, bool /*flag*/)
    : soapAction_(soapAction) {
  SetName(name, ns);
}

SOAPMethod::~SOAPMethod() = default;

void SOAPMethod::SetSoapElementName(const char* name, const char* ns) {
  soapElementName_.Set(name, ns);
}

SOAPResponse::SOAPResponse() = default;
SOAPResponse::~SOAPResponse() = default;

const SOAPParameter& SOAPResponse::GetMethod() const {
  const auto& children = body_.GetParams();
  return children.IsEmpty() ? empty_ : *children[0];
}

void SOAPResponse::Reset() {
  body_ = SOAPParameter();
  if (store_ != nullptr) store_->Reset();
}

easysoap_internal::MessageStore& SOAPResponse::Store() {
  if (store_ == nullptr) store_ = std::make_unique<easysoap_internal::MessageStore>();
  return *store_;
}
