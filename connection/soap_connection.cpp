#include "connection/soap_connection.h"

#include <new>
#include <string>

#include "connection/option_strings.h"
#include "connection/soap_marshaler.h"
#include "host/class_description.h"
#include "support/lower_case_text.h"

namespace tssoap {
namespace {

void SetResult(HostCallInfo& info, int32_t result) {
  if (info.returnValue != nullptr) info.returnValue->SetLong(result);
}

// The text of argument index as a string, or null when the call has no such argument or it
// carries no string.
const char* ArgumentText(IHostSession& session, HostCallInfo& info, int16_t index) {
  if (info.arguments == nullptr || info.arguments->GetCount() <= index) return nullptr;
  IHostValue* argument = info.arguments->GetAt(index);
  if (argument == nullptr) return nullptr;
  HostString string = argument->GetString();
  if (string == 0) return nullptr;
  return session.GetStringText(string);
}

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

int32_t SoapConnection::Invoke(IHostSession* session, HostObject, uint16_t methodNumber,
                               HostCallInfo* info) {
  if (session == nullptr || info == nullptr) return 0;
  try {
    switch (methodNumber) {
      case kCreateInstanceWithPort:
      case kCreateInstance:
        CreateInstance(*session, *info);
        break;
      case kSetOptions:
        SetOptions(*session, *info, false);
        break;
      case kSetProxyServerOptions:
        SetOptions(*session, *info, true);
        break;
      default:  // generateproxy: the extension generates no proxy text
        break;
    }
  } catch (...) {
    // Only an allocation of our own can fail here; the host must not see it.
  }
  return 0;
}

void SoapConnection::CreateInstance(IHostSession& session, HostCallInfo& info) {
  SetResult(info, kCreateInstanceDone);
  const char* proxyName = ArgumentText(session, info, 1);
  if (proxyName == nullptr) {
    SetResult(info, kCreateInstanceNoClass);
    return;
  }
  // A proxy class and the group that holds it share the proxy's name.
  std::string className = LowerCaseText(proxyName);
  HostGroup group = session.FindGroup(className.c_str(), kGroupProxy);
  HostClass cls = group != 0 ? session.FindClass(group, className.c_str()) : 0;
  if (cls == 0) {
    SetResult(info, kCreateInstanceNoClass);
    return;
  }
  HostObject proxy = session.NewProxyObject(cls);
  if (proxy == 0) {
    SetResult(info, kCreateInstanceNoObject);
    return;
  }
  if (IHostValue* reference = info.arguments->GetAt(0)) reference->SetObject(proxy);
  // The two forms are told apart by the count, not by the method number.
  std::string portName;
  if (info.arguments->GetCount() == 3) {
    if (const char* text = ArgumentText(session, info, 2)) portName = text;
  }
  session.AttachMarshaler(proxy, NewMarshaler(className, portName, settings_));
}

void SoapConnection::SetOptions(IHostSession& session, HostCallInfo& info, bool proxyServer) {
  const char* options = ArgumentText(session, info, 0);
  if (options == nullptr) return;
  SetResult(info, proxyServer ? ApplyProxyServerOptions(options, settings_)
                              : ApplyOptions(options, settings_));
}

}  // namespace tssoap
