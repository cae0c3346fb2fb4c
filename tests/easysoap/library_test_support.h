// Helpers of the library layer's tests: a proxy that deletes itself, a scalar parameter as the
// extension writes one, and what an action threw, by exception class and text.
#pragma once

#include <memory>
#include <string>
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

// Each child as "name|namespace|text", the text "(null)" when there is none and "(nil)" for a nil
// element: one comparable line per child.
inline std::vector<std::string> Children(const SOAPParameter& parent) {
  std::vector<std::string> lines;
  for (const SOAPParameter* child : parent.GetParams()) {
    const SOAPString& text = child->GetString();
    lines.push_back(std::string(child->GetName().GetName().CStr()) + "|" +
                    child->GetName().GetNamespace().CStr() + "|" +
                    (child->IsNull() ? "(nil)"
                     : text.IsNull() ? "(null)"
                                     : text.CStr()));
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
  auto text = [](const SOAPException& e) { return std::string(e.What() ? e.What() : ""); };
  try {
    action();
  } catch (const SOAPFaultException& e) {
    return {"SOAPFaultException", text(e)};
  } catch (const SOAPSocketException& e) {
    return {"SOAPSocketException", text(e)};
  } catch (const SOAPMemoryException& e) {
    return {"SOAPMemoryException", text(e)};
  } catch (const SOAPException& e) {
    return {"SOAPException", text(e)};
  }
  return {};
}

inline Outcome Call(SOAPProxy& proxy, const SOAPMethod& method) {
  return Attempt([&] { proxy.Execute(method); });
}

}  // namespace tssoap::test
