// The demo: starts the bundled sample service on 127.0.0.1 with an ephemeral port, defines the
// proxy class of examples/sample.json with its endpoint pointed at that port, and prints a short
// transcript of calls through the extension (each call with its arguments, then its result, out
// values or soapexception), then stops the service. With wire, each call's request and response
// follow it in the transcript.
#pragma once

#include <iosfwd>
#include <string>

#include "tools/tssoap/commands.h"

namespace tssoap::cli {

// Answers 0 when every call went as the transcript expects, 1 when one didn't; throws
// std::runtime_error (or the proxy file's and the session's errors) when the demo can't start.
int RunDemo(const ToolPaths& paths, bool wire, std::ostream& out);

}  // namespace tssoap::cli
