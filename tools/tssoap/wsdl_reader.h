// The reading half of tssoap generate: WSDL and XML Schema documents, from files or http(s)
// addresses, parsed with expat into small namespace-aware element trees that remember where each
// element stood (file and line) and which prefixes were in scope, so that QName values such as
// type="xsd:int" resolve as the document meant them. WsdlDocumentSet follows wsdl:import,
// xsd:import and xsd:include and loads each document once.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tssoap::cli {

inline constexpr std::string_view kWsdlNamespace = "http://schemas.xmlsoap.org/wsdl/";
inline constexpr std::string_view kWsdlSoapNamespace = "http://schemas.xmlsoap.org/wsdl/soap/";
inline constexpr std::string_view kWsdlSoap12Namespace = "http://schemas.xmlsoap.org/wsdl/soap12/";
inline constexpr std::string_view kSchemaNamespace = "http://www.w3.org/2001/XMLSchema";
inline constexpr std::string_view kSoapEncodingNamespace =
    "http://schemas.xmlsoap.org/soap/encoding/";

// A WSDL or schema document that can't be had or isn't XML; the message names the place.
class WsdlError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct XmlName {
  std::string ns;
  std::string local;
  auto operator<=>(const XmlName&) const = default;
  bool Is(std::string_view wantedNs, std::string_view wantedLocal) const {
    return ns == wantedNs && local == wantedLocal;
  }
};

class XmlElement {
 public:
  XmlName name;
  std::string location;  // the document's file name or address
  int line = 0;
  const XmlElement* parent = nullptr;
  std::vector<std::pair<XmlName, std::string>> attributes;
  std::vector<std::pair<std::string, std::string>> declaredPrefixes;  // "" for the default
  std::vector<std::unique_ptr<XmlElement>> children;

  // "file:line", for messages.
  std::string Place() const { return location + ":" + std::to_string(line); }
  // An attribute without a namespace (the WSDL and schema vocabularies' own), or of ns.
  const std::string* Attribute(std::string_view local, std::string_view ns = {}) const;
  // The children in the namespace ns with the local name local (any local name when empty).
  std::vector<const XmlElement*> Children(std::string_view ns, std::string_view local = {}) const;
  const XmlElement* Child(std::string_view ns, std::string_view local) const;
  // The namespace a prefix stands for here; "" is the default namespace. nullopt when undeclared.
  std::optional<std::string> NamespaceOf(std::string_view prefix) const;
  // A QName value resolved against the prefixes in scope; nullopt when its prefix is undeclared.
  std::optional<XmlName> ResolveQName(std::string_view value) const;
  // The prefix that the nearest declaration gives ns here; nullopt when there is none.
  std::optional<std::string> PrefixOf(std::string_view ns) const;
};

// Reads one document; throws WsdlError naming location, line and what is wrong.
std::unique_ptr<XmlElement> ParseXmlDocument(std::string_view text, const std::string& location);

// The text of a file or an http(s) address; throws WsdlError.
std::string FetchDocument(const std::string& location);

// location read relative to base (a file or an address), as a browser would.
std::string ResolveLocation(const std::string& base, const std::string& location);

// One schema element with the target namespace that governs it: its own, or for an included
// schema without one, that of the schema that included it.
struct SchemaSource {
  const XmlElement* schema;
  std::string targetNamespace;
};

// The main WSDL document and all documents it reaches.
class WsdlDocumentSet {
 public:
  // Loads location and follows the imports; throws WsdlError for the main document and for any
  // document it imports.
  explicit WsdlDocumentSet(const std::string& location);

  // wsdl:definitions elements, the main one first, then imported ones.
  const std::vector<const XmlElement*>& Definitions() const { return definitions_; }
  // Every schema: inline in wsdl:types and loaded through imports and includes.
  const std::vector<SchemaSource>& Schemas() const { return schemas_; }

 private:
  const XmlElement* Load(const std::string& location, const XmlElement* reference);
  void AddDefinitions(const XmlElement& definitions);
  void AddSchema(const XmlElement& schema, std::string targetNamespace);

  std::map<std::string, std::unique_ptr<XmlElement>> documents_;  // by resolved location
  std::vector<const XmlElement*> definitions_;
  std::vector<SchemaSource> schemas_;
};

}  // namespace tssoap::cli
