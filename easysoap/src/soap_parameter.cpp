#include "easysoap/soap_parameter.h"

#include "support/values/soap_exception.h"
#include "support/values/soap_text.h"

SOAPParameter::SOAPParameter() : value_(&ownValue_) {}

SOAPParameter::SOAPParameter(const SOAPParameter& other) : value_(&ownValue_) { CopyFrom(other); }

SOAPParameter& SOAPParameter::operator=(const SOAPParameter& other) {
  if (this != &other) {
    SOAPParameter copy(other);
    DeleteOwnChildren();
    ForgetStoredAttributes(ownValue_);
    name_ = copy.name_;
    ownValue_.text = copy.ownValue_.text;
    ownValue_.attributes = std::move(copy.ownValue_.attributes);
    ownValue_.children = std::move(copy.ownValue_.children);  // copy now owns nothing
    ownValue_.isNull = copy.ownValue_.isNull;
    ownValue_.isStruct = copy.ownValue_.isStruct;
    value_ = &ownValue_;
  }
  return *this;
}

SOAPParameter::~SOAPParameter() {
  DeleteOwnChildren();
  ForgetStoredAttributes(ownValue_);
}

void SOAPParameter::CopyFrom(const SOAPParameter& other) {
  name_ = other.name_;
  const Data& source = *other.value_;
  ownValue_.text = source.text;
  ownValue_.attributes = source.attributes;
  ownValue_.isNull = source.isNull;
  ownValue_.isStruct = source.isStruct;
  ownValue_.children.Reserve(source.children.Size());
  for (const SOAPParameter* child : source.children) {
    auto* copy = new SOAPParameter(*child);
    try {
      ownValue_.children.Add(copy);
    } catch (...) {
      delete copy;
      throw;
    }
  }
}

void SOAPParameter::DeleteOwnChildren() {
  for (SOAPParameter* child : ownValue_.children) {
    if (child->ownValue_.storedElement) {
      child->~SOAPParameter();  // its memory goes with the response's storage
    } else {
      delete child;
    }
  }
  ownValue_.children.Resize(0);
}

void SOAPParameter::ForgetStoredAttributes(Data& data) {
  if (!data.storedAttributes) return;
  data.attributes.Forget();
  data.storedAttributes = false;
}

void SOAPParameter::SetName(const char* name, const char* ns) { name_.Set(name, ns); }

void SOAPParameter::ReferName(const char* name, const char* ns) {
  name_.GetName().Refer(name);
  name_.GetNamespace().Refer(ns);
}

SOAPParameter& SOAPParameter::AddParameter(const char* name) {
  auto* child = new SOAPParameter();
  try {
    child->SetName(name, nullptr);
    value_->children.Add(child);
  } catch (...) {
    delete child;
    throw;
  }
  return *child;
}

const SOAPParameter* SOAPParameter::FindParameter(const char* name) const {
  for (const SOAPParameter* child : value_->children) {
    if (SOAPText::Compare(child->name_.GetName().CStr(), name != nullptr ? name : "") == 0)
      return child;
  }
  return nullptr;
}

const SOAPParameter& SOAPParameter::GetParameter(const char* name) const {
  const SOAPParameter* child = FindParameter(name);
  if (child == nullptr) {
    throw SOAPException("The element '%s' has no child element named '%s'", name_.GetName().CStr(),
                        name != nullptr ? name : "");
  }
  return *child;
}

void SOAPParameter::ClearValue() {
  DeleteOwnChildren();
  value_ = &ownValue_;
  ownValue_.text.Clear();
  ownValue_.isNull = false;
  ownValue_.isStruct = false;
}

SOAPQName& SOAPParameter::AddAttribute(const SOAPQName& key) {
  if (value_->storedAttributes) {
    // Entries in the response's storage can't grow: take them over first.
    Attributes own(value_->attributes);
    ForgetStoredAttributes(*value_);
    value_->attributes = std::move(own);
  }
  return value_->attributes.Add(key);
}
