// SoapMarshaler: the object that createinstance attaches to a proxy object. The host owns it from
// AttachMarshaler on and sends it every function call of that proxy; it ends it with Destroy.
//
// The settings are copied from the creating soapconnection at that moment and never change, so a
// later setoptions doesn't reach an existing proxy and a proxy outlives its connection. The only
// state that changes is soapProxy, the library's connection, which the call flow builds on the
// first call and keeps or deletes after each call (connectionCache). The marshaler owns it.
#pragma once

#include <string>
#include <string_view>

#include "call/connection_settings.h"
#include "host/host_interfaces.h"

class SOAPProxy;

namespace tssoap {

class SoapMarshaler final : public IHostMarshaler {
 public:
  // className is stored lower-cased by the caller; portName keeps its case.
  SoapMarshaler(std::string_view className, std::string_view portName,
                const ConnectionSettings& settings);
  ~SoapMarshaler() override;
  SoapMarshaler(const SoapMarshaler&) = delete;
  SoapMarshaler& operator=(const SoapMarshaler&) = delete;

  int32_t InvokeRemoteMethod(IHostSession* session, HostObject proxy, const char* methodDescription,
                             HostCallInfo* info) override;
  HostModuleHandle GetModuleHandle() override;
  void Destroy() override;

  const std::string className;  // the proxy class, lower case; stored, not read by a call
  const std::string portName;   // when not empty, the service address before `endpoint`
  const ConnectionSettings settings;
  SOAPProxy* soapProxy = nullptr;  // owned; null until the first call builds it
};

}  // namespace tssoap
