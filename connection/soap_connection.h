// SoapConnection: the class behind the host's soapconnection. It keeps the settings that the
// option strings give it and, at createinstance, makes the proxy object and attaches a new
// SoapMarshaler holding a copy of them. It holds no connection, no host handle and no reference to
// the proxies it made. Created by TSX_CreateNonVisualObject, owned by the host, ended by Destroy;
// used on its script's thread only.
#pragma once

#include "call/connection_settings.h"
#include "host/host_non_visual_object.h"

namespace tssoap {

// The long results of createinstance.
inline constexpr int32_t kCreateInstanceDone = 0;
inline constexpr int32_t kCreateInstanceNoClass = 100;
inline constexpr int32_t kCreateInstanceNoObject = 101;

class SoapConnection final : public HostNonVisualObjectBase {
 public:
  const ConnectionSettings& Settings() const { return settings_; }

 private:
  // createinstance (both forms), setoptions, setproxyserveroptions; outcomes are the long in the
  // call's result value.
  void Run(IHostSession& session, uint16_t methodNumber, HostCallInfo& info) override;
  void CreateInstance(IHostSession& session, HostCallInfo& info);
  // setoptions (proxyServer false) and setproxyserveroptions (true).
  void SetOptions(IHostSession& session, HostCallInfo& info, bool proxyServer);

  ConnectionSettings settings_;
};

}  // namespace tssoap
