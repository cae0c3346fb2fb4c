// ProxySession: the reference host with the extension loaded and a proxy ready to call, set up
// the way a script does it: the proxy file's structure classes and proxy class are declared, a
// soapconnection is created and given its options, and createinstance makes the proxy object.
// Calls then go through the proxy's marshaler, with the arguments and the result prepared as the
// host prepares them. The session owns the Runtime, and with it every object and value.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "testhost/testhost.h"
#include "tools/tssoap/json_values.h"
#include "tools/tssoap/proxy_file.h"
#include "tools/tssoap/wire_log.h"

namespace tssoap::cli {

// The session couldn't be set up: the extension didn't load, or an option or createinstance was
// refused. The text says which and why.
class SetupError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct SessionOptions {
  std::string extensionPath;
  std::optional<std::string> endpoint;      // replaces the proxy's endpoint variable
  std::optional<std::string> port;          // createinstance with three arguments
  std::optional<std::string> options;       // setoptions
  std::optional<std::string> proxyOptions;  // setproxyserveroptions
  bool wire = false;                        // keep the traffic for Wire()
};

class ProxySession {
 public:
  // Throws SetupError.
  ProxySession(ProxyFile proxy, const SessionOptions& options);
  ~ProxySession();
  ProxySession(const ProxySession&) = delete;
  ProxySession& operator=(const ProxySession&) = delete;

  const ProxyFile& Proxy() const { return proxy_; }
  testhost::Runtime& Runtime() { return *runtime_; }

  // The function's arguments from their JSON texts, one per parameter; throws ArgumentError.
  std::vector<testhost::Value> Arguments(const ProxyFunction& function,
                                         const std::vector<nlohmann::ordered_json>& arguments);
  // One call of the function on the proxy object; the arguments are not copied (repeated calls
  // send the same ones).
  testhost::CallOutcome Call(const ProxyFunction& function,
                             const std::vector<testhost::Value>& arguments);
  // The outcome in the command line's notation: {"return": ..., "out": {...}} ("return" absent
  // for a function without a result), or {"exception": {"text", "faultcode", "faultstring",
  // "detailmessage"}}.
  nlohmann::ordered_json Report(const ProxyFunction& function,
                                const testhost::CallOutcome& outcome);
  // The traffic since the last look, when the session was made with wire; else empty.
  std::string Wire();
  // Stops recording the traffic, so that repeated calls don't fill the log.
  void StopWire();
  // The log file the traffic is read from; empty without wire.
  std::string WirePath() const { return wire_ ? wire_->Path() : std::string(); }

 private:
  ProxyFile proxy_;
  std::unique_ptr<testhost::Runtime> runtime_;
  std::unique_ptr<JsonValues> values_;
  std::unique_ptr<WireLog> wire_;
  HostObject connection_ = 0;
  HostObject proxyObject_ = 0;
};

// Declares the proxy file's structure classes at the host.
void DefineStructures(testhost::Runtime& runtime, const ProxyFile& proxy);

// "argument 2 (count)": how messages name an argument.
std::string ArgumentName(const ProxyFunction& function, size_t index);

}  // namespace tssoap::cli
