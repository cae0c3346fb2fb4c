#include "tools/tssoap/wsdl_proxy_writer.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <sstream>
#include <utility>

#include "support/lower_case_text.h"
#include "support/name_mapping.h"
#include "tools/tssoap/commands.h"
#include "tools/tssoap/host_types.h"
#include "tools/tssoap/message_text.h"
#include "tools/tssoap/proxy_file.h"
#include "tools/tssoap/wsdl_schema.h"

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kSchemaPrefix = "xsd";

std::vector<std::string> Words(std::string_view text) {
  std::vector<std::string> words;
  std::istringstream stream{std::string(text)};
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// A name of the WSDL as a host name: lower case, other characters than letters, digits and "_"
// as "_".
std::string HostNameOf(std::string_view name) {
  std::string host = LowerCaseText(name);
  for (char& c : host) {
    if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_')) c = '_';
  }
  if (host.empty() || (host[0] >= '0' && host[0] <= '9')) host.insert(0, "_");
  return host;
}

// The host's name for a field or parameter, by the extension's own rule; empty when the host
// can't have it.
std::string HostMemberName(std::string_view xmlName) {
  std::string host = LowerCaseText(ReservedWordSet().MapFieldName(xmlName));
  return IsHostName(host) ? host : std::string();
}

// The WSDL's top-level definitions by qualified name.
struct WsdlIndex {
  std::map<XmlName, const XmlElement*> messages;
  std::map<XmlName, const XmlElement*> portTypes;
  std::map<XmlName, const XmlElement*> bindings;
  std::vector<const XmlElement*> services;

  explicit WsdlIndex(const WsdlDocumentSet& documents) {
    for (const XmlElement* definitions : documents.Definitions()) {
      const std::string* tns = definitions->Attribute("targetNamespace");
      for (const auto& child : definitions->children) {
        const std::string* name = child->Attribute("name");
        if (child->name.ns != kWsdlNamespace || name == nullptr) continue;
        XmlName key{tns ? *tns : "", *name};
        if (child->name.local == "message") messages.emplace(key, child.get());
        if (child->name.local == "portType") portTypes.emplace(key, child.get());
        if (child->name.local == "binding") bindings.emplace(key, child.get());
        if (child->name.local == "service") services.push_back(child.get());
      }
    }
  }

  const XmlElement* Find(const std::map<XmlName, const XmlElement*>& table,
                         const XmlElement& referrer, const char* attribute) const {
    const std::string* value = referrer.Attribute(attribute);
    std::optional<XmlName> name = value ? referrer.ResolveQName(*value) : std::nullopt;
    if (!name) return nullptr;
    auto found = table.find(*name);
    return found == table.end() ? nullptr : found->second;
  }
};

// The file laid out as a person would write it: one line per variable, structure and function.
std::string FormatProxyFile(const std::string& className, const Json& variables,
                            const Json& structures, const Json& functions) {
  std::string text = "{\n  \"class\": " + DumpJson(className) + ",\n  \"variables\": {";
  auto member = [&text](const std::string& key, const Json& value, bool first) {
    text += std::string(first ? "\n" : ",\n") + "    " + DumpJson(key) + ": " + DumpJson(value);
  };
  bool first = true;
  for (const auto& [name, value] : variables.items())
    member(name, value, std::exchange(first, false));
  text += "\n  },\n  \"structures\": {";
  first = true;
  for (const auto& [name, fields] : structures.items())
    member(name, fields, std::exchange(first, false));
  text += std::string(structures.empty() ? "" : "\n  ") + "},\n  \"functions\": [";
  first = true;
  for (const Json& function : functions) {
    text += std::string(std::exchange(first, false) ? "\n    " : ",\n    ") + DumpJson(function);
  }
  return text + (functions.empty() ? "" : "\n  ") + "]\n}\n";
}

// A parameter of an operation: a part (rpc) or an element of the wrapper (document).
struct OperationParameter {
  SchemaMember member;
  bool in = false;
  bool out = false;
};

// What one member looks like in a description and in a host signature.
struct RenderedMember {
  std::string token;     // "xsd:string[SoapElementName] tags"
  std::string hostName;  // "tags"
  std::string hostType;  // "string[]"
  bool isArray = false;
};

class ProxyWriter {
 public:
  ProxyWriter(const WsdlDocumentSet& documents, WsdlWarnings& warnings)
      : documents_(documents),
        index_(documents),
        warnings_(warnings),
        schema_(documents, warnings) {}

  std::string Write(const GenerateRequest& request) {
    const XmlElement* port = nullptr;
    const XmlElement* binding = ChooseBinding(request, port);
    const std::string* serviceName =
        port && port->parent ? port->parent->Attribute("name") : nullptr;
    if (serviceName == nullptr && binding != nullptr) serviceName = binding->Attribute("name");
    std::string className = HostNameOf(serviceName ? *serviceName : "proxy");

    std::optional<std::string> endpoint;
    if (port != nullptr) {
      const XmlElement* address = port->Child(kWsdlSoapNamespace, "address");
      if (const std::string* location = address ? address->Attribute("location") : nullptr) {
        endpoint = *location;
      }
    }
    Json functions = Json::array();
    std::string style;
    if (binding != nullptr) style = WriteFunctions(*binding, functions);

    Json variables = Json::object();
    variables["endpoint"] = endpoint ? Json(*endpoint) : Json(nullptr);
    if (!style.empty()) variables["BindingStyle"] = style;
    variables[kSchemaPrefix] = kSchemaNamespace;
    Json structures = Json::object();
    Json descriptions = Json::object();
    // Structures may bring in further prefixes, so the prefix variables are written after them.
    for (const SchemaStructure& structure : schema_.Structures()) {
      WriteStructure(structure, structures, descriptions);
    }
    for (const auto& [ns, prefix] : prefixes_) variables[prefix] = ns;
    for (const auto& [name, description] : descriptions.items()) variables[name] = description;

    return FormatProxyFile(className, variables, structures, functions);
  }

 private:
  const XmlElement* ChooseBinding(const GenerateRequest& request, const XmlElement*& chosenPort) {
    const XmlElement* service = nullptr;
    for (const XmlElement* candidate : index_.services) {
      const std::string* name = candidate->Attribute("name");
      if (!request.service || (name && *name == *request.service)) {
        service = candidate;
        break;
      }
    }
    if (request.service && service == nullptr) {
      throw WsdlError(documents_.Definitions().front()->location + ": no service named " +
                      *request.service + " (services: " + ServiceNames() + ")");
    }
    if (service == nullptr) {
      // A WSDL without a service describes the interface alone: take its first SOAP binding.
      for (const auto& [name, binding] : index_.bindings) {
        if (binding->Child(kWsdlSoapNamespace, "binding")) return binding;
      }
      throw WsdlError(documents_.Definitions().front()->location +
                      ": the WSDL has neither a service nor a SOAP 1.1 binding");
    }
    std::vector<const XmlElement*> ports = service->Children(kWsdlNamespace, "port");
    const XmlElement* fallback = nullptr;
    for (const XmlElement* port : ports) {
      const std::string* name = port->Attribute("name");
      if (request.port && !(name && *name == *request.port)) continue;
      const XmlElement* binding = index_.Find(index_.bindings, *port, "binding");
      if (binding == nullptr) {
        warnings_.Add(*port, "the port's binding is declared nowhere; the port is skipped");
        continue;
      }
      if (binding->Child(kWsdlSoapNamespace, "binding")) {
        chosenPort = port;
        return binding;
      }
      if (fallback == nullptr) fallback = port;
    }
    if (request.port && fallback == nullptr) {
      std::string names = JoinedNames(ports, [](const XmlElement* port) {
        const std::string* name = port->Attribute("name");
        return name ? *name : std::string("?");
      });
      throw WsdlError(service->Place() + ": the service has no port named " + *request.port +
                      " (ports: " + names + ")");
    }
    if (fallback != nullptr) {
      const XmlElement* binding = index_.Find(index_.bindings, *fallback, "binding");
      bool soap12 = binding->Child(kWsdlSoap12Namespace, "binding") != nullptr;
      warnings_.Add(*binding, soap12 ? "a SOAP 1.2 binding, which the extension can't use (it "
                                       "speaks SOAP 1.1); no function is written"
                                     : "not a SOAP binding; no function is written");
      chosenPort = fallback;
    }
    return nullptr;
  }

  std::string ServiceNames() const {
    return JoinedNames(index_.services, [](const XmlElement* service) {
      const std::string* name = service->Attribute("name");
      return name ? *name : std::string("?");
    });
  }

  // Writes a function for each operation of the binding; answers the binding style.
  std::string WriteFunctions(const XmlElement& binding, Json& functions) {
    const XmlElement* soapBinding = binding.Child(kWsdlSoapNamespace, "binding");
    const std::string* styleText = soapBinding->Attribute("style");
    std::string style = styleText ? *styleText : "document";
    const XmlElement* portType = index_.Find(index_.portTypes, binding, "type");
    if (portType == nullptr) {
      warnings_.Add(binding, "the binding's port type is declared nowhere; no function is written");
      return style;
    }
    std::set<std::string> names;
    for (const XmlElement* operation : binding.Children(kWsdlNamespace, "operation")) {
      const std::string* name = operation->Attribute("name");
      if (name == nullptr) continue;
      const XmlElement* soapOperation = operation->Child(kWsdlSoapNamespace, "operation");
      const std::string* operationStyle =
          soapOperation ? soapOperation->Attribute("style") : nullptr;
      if (operationStyle && *operationStyle != style) {
        warnings_.Add(*operation, "the operation " + *name + " is " + *operationStyle +
                                      " style in a " + style +
                                      " binding; a proxy has one style, so it is left out");
        continue;
      }
      const XmlElement* abstract = nullptr;
      for (const XmlElement* candidate : portType->Children(kWsdlNamespace, "operation")) {
        const std::string* candidateName = candidate->Attribute("name");
        if (candidateName && *candidateName == *name) {
          abstract = candidate;
          break;
        }
      }
      if (abstract == nullptr) {
        warnings_.Add(*operation, "the operation " + *name + " is missing from the port type");
        continue;
      }
      std::optional<Json> function = WriteFunction(*operation, *abstract, style == "rpc");
      if (!function) continue;
      std::string hostName = (*function)["name"];
      if (!names.insert(hostName).second) {
        warnings_.Add(*operation, "a second operation named " + *name +
                                      " (overloaded): host functions need distinct names, so it "
                                      "is left out");
        continue;
      }
      functions.push_back(std::move(*function));
    }
    return style;
  }

  // The parameters of one direction; nullopt after a warning when one can't be mapped.
  std::optional<std::vector<SchemaMember>> MessageMembers(const XmlElement& operation,
                                                          const XmlElement& abstract,
                                                          const char* direction, bool rpc,
                                                          std::string* ns,
                                                          std::optional<XmlName>* wrapper) {
    std::vector<SchemaMember> members;
    const XmlElement* reference = abstract.Child(kWsdlNamespace, direction);
    if (reference == nullptr) return members;  // one-way: nothing comes back
    const XmlElement* message = index_.Find(index_.messages, *reference, "message");
    if (message == nullptr) {
      warnings_.Add(*reference, "the message is declared nowhere");
      return std::nullopt;
    }
    const XmlElement* bound = operation.Child(kWsdlNamespace, direction);
    const XmlElement* body = bound ? bound->Child(kWsdlSoapNamespace, "body") : nullptr;
    if (bound != nullptr) {
      for (const XmlElement* header : bound->Children(kWsdlSoapNamespace, "header")) {
        warnings_.Add(*header,
                      "a SOAP header can't be mapped: the extension sends and reads "
                      "the body alone; the header is left out");
      }
    }
    if (body != nullptr && ns != nullptr) {
      if (const std::string* bodyNs = body->Attribute("namespace")) *ns = *bodyNs;
    }
    std::optional<std::vector<std::string>> chosen;
    if (const std::string* parts = body ? body->Attribute("parts") : nullptr)
      chosen = Words(*parts);
    std::vector<const XmlElement*> parts;
    for (const XmlElement* part : message->Children(kWsdlNamespace, "part")) {
      const std::string* name = part->Attribute("name");
      if (name && (!chosen || std::find(chosen->begin(), chosen->end(), *name) != chosen->end())) {
        parts.push_back(part);
      }
    }
    if (!rpc) {
      if (parts.empty()) return members;
      std::optional<XmlName> element;
      if (const std::string* text = parts[0]->Attribute("element")) {
        element = parts[0]->ResolveQName(*text);
      }
      if (parts.size() > 1 || !element) {
        warnings_.Add(*message,
                      "document style needs one part that names an element; this "
                      "message has " +
                          std::to_string(parts.size()) + " part(s)" +
                          (element ? "" : " without an element"));
        return std::nullopt;
      }
      *wrapper = element;
      return schema_.WrapperMembers(*element, *parts[0]);
    }
    for (const XmlElement* part : parts) {
      SchemaMember member;
      member.name = *part->Attribute("name");
      member.at = part;
      std::optional<MappedType> type;
      if (std::optional<XmlName> typeName = QName(*part, "type")) {
        type = schema_.MapType(*typeName, *part);
      } else if (std::optional<XmlName> element = QName(*part, "element")) {
        type = schema_.MapElementType(*element, *part);
      } else {
        warnings_.Add(*part, "the part " + member.name + " names neither a type nor an element");
      }
      if (!type) return std::nullopt;
      member.type = *type;
      members.push_back(std::move(member));
    }
    return members;
  }

  static std::optional<XmlName> QName(const XmlElement& element, const char* attribute) {
    const std::string* value = element.Attribute(attribute);
    return value ? element.ResolveQName(*value) : std::nullopt;
  }

  // Which output is the function's result: the only output that isn't also an input, or among
  // several the one named as results are ("return", "result", "...Result", "...Return").
  static std::optional<size_t> ResultIndex(const std::vector<SchemaMember>& outputs,
                                           const std::vector<SchemaMember>& inputs,
                                           const std::vector<std::string>* order) {
    std::vector<size_t> outOnly;
    for (size_t i = 0; i < outputs.size(); ++i) {
      bool isInput = false;
      for (const SchemaMember& input : inputs) isInput = isInput || input.name == outputs[i].name;
      bool ordered =
          order && std::find(order->begin(), order->end(), outputs[i].name) != order->end();
      if (!isInput && !ordered) outOnly.push_back(i);
    }
    if (outOnly.size() == 1) return outOnly[0];
    if (order != nullptr) return std::nullopt;  // every output is a parameter
    for (size_t i : outOnly) {
      std::string name = LowerCaseText(outputs[i].name);
      auto endsWith = [&](std::string_view tail) {
        return name.size() >= tail.size() &&
               name.compare(name.size() - tail.size(), tail.size(), tail) == 0;
      };
      if (endsWith("result") || endsWith("return")) return i;
    }
    return std::nullopt;
  }

  std::optional<Json> WriteFunction(const XmlElement& operation, const XmlElement& abstract,
                                    bool rpc) {
    const std::string& name = *operation.Attribute("name");
    const XmlElement& definitions = *RootOf(operation);
    const std::string* tns = definitions.Attribute("targetNamespace");
    std::string methodNs = tns ? *tns : "";
    std::optional<XmlName> inWrapper;
    std::optional<XmlName> outWrapper;
    auto inputs = MessageMembers(operation, abstract, "input", rpc, &methodNs, &inWrapper);
    auto outputs = MessageMembers(operation, abstract, "output", rpc, nullptr, &outWrapper);
    if (!inputs || !outputs) {
      warnings_.Add(operation, "the operation " + name +
                                   " is left out: a part of its messages "
                                   "can't be mapped");
      return std::nullopt;
    }
    if (!rpc) {
      if (!inWrapper) {
        warnings_.Add(operation, "the operation " + name +
                                     " sends no element, which document style needs; it is left "
                                     "out");
        return std::nullopt;
      }
      // The parameters take the namespace of their wrapper's elements.
      methodNs = inputs->empty() ? inWrapper->ns : inputs->front().ns;
      for (const SchemaMember& member : *inputs) {
        if (member.ns != methodNs) {
          warnings_.Add(*member.at, "the elements of " + inWrapper->local +
                                        " are in different namespaces; all are sent in \"" +
                                        methodNs + "\"");
          break;
        }
      }
    }

    std::optional<std::vector<std::string>> order;
    if (const std::string* text = abstract.Attribute("parameterOrder")) order = Words(*text);
    std::optional<size_t> result = ResultIndex(*outputs, *inputs, order ? &*order : nullptr);

    // The parameters in order: parameterOrder's, else the inputs and then the other outputs.
    std::vector<OperationParameter> parameters;
    auto add = [&](const SchemaMember& member, bool in, bool out) {
      for (OperationParameter& parameter : parameters) {
        if (parameter.member.name == member.name) {
          parameter.in = parameter.in || in;
          parameter.out = parameter.out || out;
          return;
        }
      }
      parameters.push_back({member, in, out});
    };
    auto addNamed = [&](const std::string& partName) {
      for (const SchemaMember& member : *inputs) {
        if (member.name == partName) add(member, true, false);
      }
      for (size_t i = 0; i < outputs->size(); ++i) {
        if ((*outputs)[i].name == partName && result != i) add((*outputs)[i], false, true);
      }
    };
    if (order) {
      for (const std::string& partName : *order) addNamed(partName);
    }
    for (const SchemaMember& member : *inputs) addNamed(member.name);
    for (const SchemaMember& member : *outputs) addNamed(member.name);

    Json function = Json::object();
    std::string hostName = HostMemberName(name);
    if (hostName.empty()) {
      warnings_.Add(operation, "the operation name " + name +
                                   " can't be a host function name; "
                                   "it is left out");
      return std::nullopt;
    }
    function["name"] = hostName;
    std::string description = name + "(";
    Json hostParameters = Json::array();
    std::set<std::string> hostNames;
    for (const OperationParameter& parameter : parameters) {
      std::optional<RenderedMember> rendered = Render(parameter.member);
      if (!rendered || !hostNames.insert(rendered->hostName).second) {
        if (rendered) {
          warnings_.Add(*parameter.member.at, "two parameters of " + name + " are named " +
                                                  rendered->hostName + " in the host");
        }
        warnings_.Add(operation, "the operation " + name + " is left out: its parameter " +
                                     parameter.member.name + " can't be mapped");
        return std::nullopt;
      }
      description += std::string(hostParameters.empty() ? "" : ", ") +
                     (parameter.in && parameter.out ? "[in,out] "
                      : parameter.in                ? "[in] "
                                                    : "[out] ") +
                     rendered->token;
      Json host = Json::object();
      host["name"] = rendered->hostName;
      host["type"] = rendered->hostType;
      if (parameter.out) host["ref"] = true;
      hostParameters.push_back(std::move(host));
    }
    description += ")";
    if (!hostParameters.empty()) function["parameters"] = std::move(hostParameters);
    if (result) {
      std::optional<RenderedMember> rendered = Render((*outputs)[*result]);
      if (!rendered) {
        warnings_.Add(operation, "the operation " + name +
                                     " is left out: its result can't be "
                                     "mapped");
        return std::nullopt;
      }
      description += " return " + rendered->token;
      // The host hands an array result over in an any value.
      function["returns"] = rendered->isArray ? "any" : rendered->hostType;
    }

    const XmlElement* soapOperation = operation.Child(kWsdlSoapNamespace, "operation");
    const std::string* action = soapOperation ? soapOperation->Attribute("soapAction") : nullptr;
    std::string target = methodNs + (action ? "@" + *action : "");
    if (inWrapper) target += "*" + inWrapper->local + "*" + inWrapper->ns;
    // "@" and "*" divide the target part of a description, and "(" ends the method's name.
    if (methodNs.find_first_of("@*") != std::string::npos ||
        (action && action->find('*') != std::string::npos) ||
        (inWrapper && inWrapper->ns.find_first_of("@*") != std::string::npos) ||
        name.find_first_of("(@") != std::string::npos) {
      warnings_.Add(operation, "the operation " + name +
                                   " has a name, namespace or SOAP action that a method "
                                   "description can't hold (\"@\", \"*\" or \"(\"); it is left "
                                   "out");
      return std::nullopt;
    }
    function["description"] = description + "@" + target;
    return function;
  }

  static const XmlElement* RootOf(const XmlElement& element) {
    const XmlElement* root = &element;
    while (root->parent != nullptr) root = root->parent;
    return root;
  }

  void WriteStructure(const SchemaStructure& structure, Json& structures, Json& descriptions) {
    std::optional<std::string> className = ClassName(structure.name, *structure.at);
    if (!className) return;
    Json fields = Json::object();
    std::string description = structure.name.local + "(";
    bool first = true;
    for (const SchemaMember& field : structure.fields) {
      std::optional<RenderedMember> rendered = Render(field);
      if (!rendered) continue;
      if (fields.contains(rendered->hostName)) {
        warnings_.Add(*field.at, "a second field named " + rendered->hostName +
                                     " in the host; it is left out");
        continue;
      }
      fields[rendered->hostName] = rendered->hostType;
      description += (first ? "" : ", ") + rendered->token;
      first = false;
    }
    structures[*className] = std::move(fields);
    descriptions["__" + *className] = description + ")@" + Prefix(structure.name.ns, *structure.at);
  }

  std::string Prefix(const std::string& ns, const XmlElement& at) {
    if (ns == kSchemaNamespace) return kSchemaPrefix;
    if (auto known = prefixes_.find(ns); known != prefixes_.end()) return known->second;
    std::set<std::string> used{kSchemaPrefix, "endpoint", "bindingstyle"};
    for (const auto& [knownNs, prefix] : prefixes_) used.insert(prefix);
    std::string prefix;
    if (std::optional<std::string> declared = at.PrefixOf(ns)) prefix = LowerCaseText(*declared);
    // "ts__..." and "__..." are the names of other variables of a proxy.
    if (!IsHostName(prefix) || used.count(prefix) || prefix.rfind("ts__", 0) == 0 ||
        prefix.rfind("__", 0) == 0) {
      int number = 1;
      do {
        prefix = "ns" + std::to_string(number++);
      } while (used.count(prefix));
    }
    prefixes_[ns] = prefix;
    return prefix;
  }

  std::optional<std::string> ClassName(const XmlName& type, const XmlElement& at) {
    std::string name = ToHostClassName(Prefix(type.ns, at) + ":" + type.local);
    if (!IsHostName(name)) {
      warnings_.Add(at, "the type name " + type.local + " makes the class name " + name +
                            ", which the host can't have; what uses it is left out");
      return std::nullopt;
    }
    auto [owner, added] = classOwners_.emplace(name, type);
    if (!added && owner->second != type) {
      warnings_.Add(at, "the types " + owner->second.local + " and " + type.local +
                            " both become the class " + name + "; the second is left out");
      return std::nullopt;
    }
    return name;
  }

  // The description token and the host type of a member; nullopt after a warning when the host
  // can't have its names.
  std::optional<RenderedMember> Render(const SchemaMember& member) {
    RenderedMember rendered;
    rendered.hostName = HostMemberName(member.name);
    if (rendered.hostName.empty()) {
      warnings_.Add(*member.at,
                    "the name " + member.name + " can't be a host name; it is left out");
      return std::nullopt;
    }
    const MappedType& type = member.type;
    std::string xmlType;
    std::string hostType;
    bool structure =
        type.form == MappedType::Form::kStructure || (type.IsArray() && type.itemIsStructure);
    if (structure) {
      std::optional<std::string> className = ClassName(type.type, *member.at);
      if (!className) return std::nullopt;
      xmlType = Prefix(type.type.ns, *member.at) + ":" + type.type.local;
      hostType = *className;
    } else {
      xmlType = std::string(kSchemaPrefix) + ":" + type.type.local;
      hostType = HostTypeOfSchemaType(type.type.local);
    }
    std::string block;
    if (type.form == MappedType::Form::kEncodedArray) {
      block = "[SoapElementName" + (type.itemName.empty() ? "" : "=" + type.itemName) + "]";
    } else if (type.form == MappedType::Form::kWrappedArray) {
      std::string item = type.itemName;
      if (!type.itemNamespace.empty()) item = Prefix(type.itemNamespace, *member.at) + ":" + item;
      block = "[ElementName=" + item + "]";
    } else if (member.repeated) {
      block = "[]";
    }
    rendered.isArray = !block.empty();
    rendered.token = xmlType + block + " " + member.name;
    rendered.hostType = hostType + (rendered.isArray ? "[]" : "");
    return rendered;
  }

  const WsdlDocumentSet& documents_;
  WsdlIndex index_;
  WsdlWarnings& warnings_;
  SchemaModel schema_;
  std::map<std::string, std::string> prefixes_;  // namespace to prefix
  std::map<std::string, XmlName> classOwners_;   // class name to the type that has it
};

const char kGenerateUsage[] = "generate takes WSDL [--service NAME] [--port NAME] [-o FILE]";

}  // namespace

GeneratedProxy GenerateProxy(const GenerateRequest& request) {
  WsdlDocumentSet documents(request.wsdl);
  WsdlWarnings warnings;
  GeneratedProxy generated;
  generated.text = ProxyWriter(documents, warnings).Write(request);
  generated.warnings = warnings.Lines();
  // What tssoap call can't load is a fault of this writer, never a file to hand out.
  ProxyFile::Parse(generated.text, request.wsdl + " (generated)");
  return generated;
}

int RunGenerate(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
  GenerateRequest request;
  std::optional<std::string> output;
  std::vector<std::string> positional;
  for (size_t i = 0; i < arguments.size(); ++i) {
    std::string name = arguments[i];
    std::optional<std::string> value;
    if (name.rfind("--", 0) == 0) {
      if (size_t equals = name.find('='); equals != std::string::npos) {
        value = name.substr(equals + 1);
        name.resize(equals);
      }
    } else if (name != "-o") {
      positional.push_back(name);
      continue;
    }
    std::optional<std::string>* target = nullptr;
    if (name == "--service") target = &request.service;
    if (name == "--port") target = &request.port;
    if (name == "-o" || name == "--output") target = &output;
    if (target == nullptr) throw UsageError("unknown option " + name + " of generate");
    if (!value) {
      if (i + 1 >= arguments.size()) throw UsageError(name + " needs a value");
      value = arguments[++i];
    }
    *target = *value;
  }
  if (positional.size() != 1) throw UsageError(kGenerateUsage);
  request.wsdl = positional[0];

  GeneratedProxy generated = GenerateProxy(request);
  for (const std::string& warning : generated.warnings)
    err << "tssoap: warning: " << warning << "\n";
  if (!output) {
    out << generated.text;
    return kExitSuccess;
  }
  std::ofstream file(*output, std::ios::binary | std::ios::trunc);
  file << generated.text;
  file.close();
  if (!file) throw std::runtime_error("can't write " + *output);
  return kExitSuccess;
}

}  // namespace tssoap::cli
