// The writing half of tssoap generate: one port of a WSDL service turned into a proxy file that
// tssoap call reads unchanged: the endpoint, the binding style, a variable for each namespace
// prefix, a "__" description and a structure class for each complex type, and one function per
// operation with its method description. Host names follow the extension's own rules (type names
// through ToHostClassName, field names through the reserved-word rule, all lower case), so the
// file and the extension agree on every name.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace tssoap::cli {

struct GenerateRequest {
  std::string wsdl;                    // a file or an http(s) address
  std::optional<std::string> service;  // the wsdl:service to use; the first when absent
  std::optional<std::string> port;     // its port; the first SOAP 1.1 port when absent
};

struct GeneratedProxy {
  std::string text;                   // the proxy file, JSON
  std::vector<std::string> warnings;  // "file:line: what", for what was left out
};

// Reads the WSDL and writes the proxy file; throws WsdlError when no proxy can be made at all
// (the document can't be had, the service or port isn't there).
GeneratedProxy GenerateProxy(const GenerateRequest& request);

// tssoap generate WSDL [--service NAME] [--port NAME] [-o FILE], with the arguments behind the
// command's name; answers the exit status.
int RunGenerate(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace tssoap::cli
