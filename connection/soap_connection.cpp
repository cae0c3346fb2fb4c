#include "connection/soap_connection.h"

#include <new>
#include <string>

#include "connection/option_strings.h"
#include "connection/soap_marshaler.h"
#include "host/class_description.h"
#include "support/lower_case_text.h"

namespace tssoap {
namespace {

// A failed allocation leaves the proxy without a marshaler rather than failing the call.
SoapMarshaler* NewMarshaler(std::string_view className, std::string_view portName,
                            const ConnectionSettings& settings) noexcept {
  try {
    return new SoapMarshaler(className, portName, settings);
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

void SoapConnection::Run(IHostSession& session, uint16_t methodNumber, HostCallInfo& info) {
  switch (methodNumber) {
    case kCreateInstanceWithPort:
    case kCreateInstance:
      CreateInstance(session, info);
      break;
    case kSetOptions:
      SetOptions(session, info, false);
      break;
    case kSetProxyServerOptions:
      SetOptions(session, info, true);
      break;
    default:  // generateproxy: the extension generates no proxy text
      break;
  }
}

void SoapConnection::CreateInstance(IHostSession& session, HostCallInfo& info) {
  SetLongResult(info, kCreateInstanceDone);
  const char* proxyName = StringArgument(session, info, 1);
  if (proxyName == nullptr) {
    SetLongResult(info, kCreateInstanceNoClass);
    return;
  }
  // A proxy class and the group that holds it share the proxy's name.
  std::string className = LowerCaseText(proxyName);
  HostGroup group = session.FindGroup(className.c_str(), kGroupProxy);
  HostClass cls = group != 0 ? session.FindClass(group, className.c_str()) : 0;
  if (cls == 0) {
    SetLongResult(info, kCreateInstanceNoClass);
    return;
  }
  HostObject proxy = session.NewProxyObject(cls);
  if (proxy == 0) {
    SetLongResult(info, kCreateInstanceNoObject);
    return;
  }
  if (IHostValue* reference = info.arguments->GetAt(0)) reference->SetObject(proxy);
  // The two forms are told apart by the count, not by the method number.
  std::string portName;
  if (info.arguments->GetCount() == 3) {
    if (const char* text = StringArgument(session, info, 2)) portName = text;
  }
  session.AttachMarshaler(proxy, NewMarshaler(className, portName, settings_));
}

void SoapConnection::SetOptions(IHostSession& session, HostCallInfo& info, bool proxyServer) {
  const char* options = StringArgument(session, info, 0);
  if (options == nullptr) return;
  SetLongResult(info, proxyServer ? ApplyProxyServerOptions(options, settings_)
                                  : ApplyOptions(options, settings_));
}

}  // namespace tssoap
