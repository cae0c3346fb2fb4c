// SOAPQName: a qualified XML name, a local name and a namespace name.
#pragma once

#include <cstdint>

#include "support/values/easysoap_api.h"
#include "support/values/soap_string.h"

class EASYSOAP_API SOAPQName {
 public:
  SOAPQName() = default;
  // Either part may be null.
  SOAPQName(const char* name, const char* ns);

  void SetName(const char* name) { name_.Assign(name); }
  void SetNamespace(const char* ns) { namespace_.Assign(ns); }
  void Set(const char* name, const char* ns) {
    name_.Assign(name);
    namespace_.Assign(ns);
  }

  const SOAPString& GetName() const { return name_; }
  SOAPString& GetName() { return name_; }
  const SOAPString& GetNamespace() const { return namespace_; }
  SOAPString& GetNamespace() { return namespace_; }

  // The key hash of the attribute maps: hash(name) ^ hash(namespace), where the hash of a text
  // is h = h * 31 + byte over its unsigned bytes, from 0; a null text hashes to 0.
  uint32_t Hash() const;
  static uint32_t HashText(const char* text);

 private:
  SOAPString name_;
  SOAPString namespace_;
};

// Equal when both parts are equal byte for byte; a null text equals an empty one.
EASYSOAP_API bool operator==(const SOAPQName& a, const SOAPQName& b);
