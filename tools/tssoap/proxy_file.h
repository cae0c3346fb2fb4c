// ProxyFile: what a proxy generator writes for one service, read from a JSON file: the proxy
// class with its string variables, the structure classes, and the functions with their host
// signatures and method descriptions. Loading checks the whole file, form and consistency, and
// throws ProxyFileError on the first problem, naming the file, the place as a JSON pointer
// (/functions/0/parameters/1/type) and what is wrong. A loaded ProxyFile is plain data.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/tssoap/host_types.h"

namespace tssoap::cli {

class ProxyFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ProxyVariable {
  std::string name;
  std::optional<std::string> value;  // nullopt: the variable is null
};

struct StructureField {
  std::string name;
  HostType type;
};

struct Structure {
  std::string name;  // the host class name, also the name of its group
  std::vector<StructureField> fields;
};

struct FunctionParameter {
  std::string name;
  HostType type;
  bool byReference = false;  // "ref": written back after the call
};

struct ProxyFunction {
  std::string name;
  std::vector<FunctionParameter> parameters;
  std::optional<HostType> returns;  // nullopt: the function has no result
  std::string description;          // the method description handed to the extension
};

struct ProxyFile {
  std::string path;  // as given, for messages
  std::string className;
  std::vector<ProxyVariable> variables;  // in the file's order
  std::vector<Structure> structures;     // in the file's order
  std::vector<ProxyFunction> functions;  // in the file's order

  // Reads and checks a file; throws ProxyFileError.
  static ProxyFile Load(const std::string& path);
  // Checks text as the content of a file named path (for messages); throws ProxyFileError.
  static ProxyFile Parse(std::string_view text, const std::string& path);

  // Host names are case-insensitive: "EchoText" finds echotext. Null when there is none.
  const ProxyFunction* FindFunction(std::string_view name) const;
  const Structure* FindStructure(std::string_view name) const;
  const ProxyVariable* FindVariable(std::string_view name) const;
  // Sets a variable, adding it when the class has none of that name.
  void SetVariable(const std::string& name, std::optional<std::string> value);
};

// What a method description says about the parameters, as far as a proxy file must agree with it.
struct DescriptionShape {
  struct Parameter {
    bool in = false;
    bool out = false;
  };
  std::vector<Parameter> parameters;
  bool hasReturn = false;
};

// Reads the parameter list of a method description; nullopt with why in *problem when it has
// none or it isn't closed.
std::optional<DescriptionShape> ReadDescriptionShape(std::string_view description,
                                                     std::string* problem);

}  // namespace tssoap::cli
