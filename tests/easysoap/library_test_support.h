// Helpers of the library layer's tests: a proxy that deletes itself, a scalar parameter as the
// extension writes one, and what an action threw, by exception class and text.
#pragma once

#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "common/server_process.h"
#include "easysoap/soap_proxy.h"
#include "support/values/soap_exception.h"

namespace tssoap::test {

using ProxyPtr = std::unique_ptr<SOAPProxy, void (*)(SOAPProxy*)>;

inline ProxyPtr NewProxy(const std::string& url, long timeoutSeconds = 10, int bindingStyle = 2,
                         const char* proxyServer = nullptr) {
  return ProxyPtr(InitSOAPProxyEx(url.c_str(), proxyServer, timeoutSeconds, bindingStyle),
                  DeleteSOAPProxy);
}

// A child named in the sample namespace with an xsi:type, by default an XML Schema type.
inline SOAPParameter& AddTyped(SOAPParameter& parent, const char* name, const char* type,
                               const char* text, const char* typeNamespace = kXsdNamespace) {
  SOAPParameter& child = parent.AddParameter("");
  child.SetName(name, kSampleNamespace);
  child.AddAttribute(SOAPQName("type", kXsiNamespace)).Set(type, typeNamespace);
  child.SetString(text);
  return child;
}

// "name|namespace" of an element.
inline std::string NameOf(const SOAPParameter& element) {
  return std::string(element.GetName().GetName().CStr()) + "|" +
         element.GetName().GetNamespace().CStr();
}

// Each child as "name|namespace|text", the text "(null)" when there is none and "(nil)" for a nil
// element: one comparable line per child.
inline std::vector<std::string> Children(const SOAPParameter& parent) {
  std::vector<std::string> lines;
  for (const SOAPParameter* child : parent.GetParams()) {
    const SOAPString& text = child->GetString();
    const char* shown = child->IsNull() ? "(nil)" : text.IsNull() ? "(null)" : text.CStr();
    lines.push_back(NameOf(*child) + "|" + shown);
  }
  return lines;
}

// The class and text of what an action threw; both empty when it returned.
struct Outcome {
  std::string thrown;
  std::string text;
};

template <typename Action>
Outcome Attempt(Action&& action) {
  try {
    action();
  } catch (const SOAPException& e) {
    std::string name = typeid(e).name();  // the class's mangled name: its length, then the name
    return {name.substr(name.find_first_not_of("0123456789")), e.What() ? e.What() : ""};
  }
  return {};
}

// What Execute threw; when it returned, the text of the answer's "result", if there is one.
inline Outcome Call(SOAPProxy& proxy, const SOAPMethod& method) {
  std::string result;
  Outcome outcome = Attempt([&] {
    const SOAPParameter* found = proxy.Execute(method).GetMethod().FindParameter("result");
    if (found != nullptr) result = found->GetString().CStr();
  });
  return outcome.thrown.empty() ? Outcome{"", result} : outcome;
}

}  // namespace tssoap::test
