// The schema half of tssoap generate: what the XML Schema types of a WSDL mean for the extension.
// Every type a message reaches is mapped to one of the forms the extension sends and reads: a
// simple value (an XML Schema type of its table; derived simple types become their base), a
// structure (a sequence or all of elements, extensions flattened base first), a SOAP-encoded
// array, or a wrapped array (a type that holds nothing but one repeated element). What has no
// such form is reported as a warning with its place in the WSDL, and left out.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/tssoap/wsdl_reader.h"

namespace tssoap::cli {

// Warnings of one generation, each "file:line: what", in the order met.
class WsdlWarnings {
 public:
  void Add(const XmlElement& at, const std::string& what);
  const std::vector<std::string>& Lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
  std::set<std::string> seen_;  // a type met twice is reported once
};

struct MappedType {
  enum class Form { kSimple, kStructure, kEncodedArray, kWrappedArray };
  Form form = Form::kSimple;
  // Simple: the XML Schema type; structure: the type; arrays: the type of the items.
  XmlName type;
  bool itemIsStructure = false;  // arrays: items are structures
  // Arrays: the items' element name (empty: the extension's default "item") and namespace.
  std::string itemName;
  std::string itemNamespace;

  bool IsArray() const { return form == Form::kEncodedArray || form == Form::kWrappedArray; }
  bool IsStructure() const { return form == Form::kStructure; }
};

// An element of a sequence (a structure's field, or a document-style parameter) or a message
// part (an rpc parameter).
struct SchemaMember {
  std::string name;
  std::string ns;  // the element's namespace: the schema's for qualified ones, else ""
  MappedType type;
  bool repeated = false;  // maxOccurs above 1: one sibling element per item
  const XmlElement* at = nullptr;
};

struct SchemaStructure {
  XmlName name;  // the type's name; an anonymous type is named after its element
  std::vector<SchemaMember> fields;
  const XmlElement* at = nullptr;
};

class SchemaModel {
 public:
  SchemaModel(const WsdlDocumentSet& documents, WsdlWarnings& warnings);

  // The type named name, referred to at `at`; nullopt after a warning when it has no form.
  std::optional<MappedType> MapType(const XmlName& name, const XmlElement& at);
  // The global element named name; null after a warning when there is none.
  const XmlElement* FindElement(const XmlName& name, const XmlElement& at);
  // The elements a global element's complex type holds (a document-style wrapper's parameters);
  // nullopt after a warning when its content isn't a sequence of elements.
  std::optional<std::vector<SchemaMember>> WrapperMembers(const XmlName& element,
                                                          const XmlElement& at);
  // The type of a message part written element="..." (rpc style names the accessor after the
  // part and gives it the element's type).
  std::optional<MappedType> MapElementType(const XmlName& element, const XmlElement& at);

  // The structures that mapped types reached, in the order first met.
  const std::vector<SchemaStructure>& Structures() const { return structures_; }

 private:
  struct Declaration {
    const XmlElement* node = nullptr;
    const SchemaSource* schema = nullptr;
  };

  const Declaration* Find(const std::map<XmlName, Declaration>& table, const XmlName& name) const;
  std::optional<MappedType> MapSimple(const XmlName& name, const XmlElement& at, int depth);
  std::optional<MappedType> MapSimpleNode(const XmlElement& simpleType, int depth);
  std::optional<MappedType> MapComplex(const XmlName& name, const Declaration& declaration);
  std::optional<MappedType> MapEncodedArray(const XmlElement& restriction,
                                            const SchemaSource& schema);
  std::optional<MappedType> MapElementContent(const XmlElement& element,
                                              const SchemaSource& schema);
  std::optional<SchemaMember> ElementMember(const XmlElement& element, const SchemaSource& schema);
  void CollectParticles(const XmlElement& group, const SchemaSource& schema,
                        std::vector<SchemaMember>& members, int depth);
  // The content model of a complex type: its fields, base first; false when it has none to map.
  bool CollectContent(const XmlElement& complexType, const SchemaSource& schema,
                      std::vector<SchemaMember>& members, bool& derived, int depth);
  void WarnAttributes(const XmlElement& holder);
  std::optional<MappedType> ItemType(std::optional<MappedType> item, const XmlElement& at);

  WsdlWarnings& warnings_;
  std::map<XmlName, Declaration> complexTypes_;
  std::map<XmlName, Declaration> simpleTypes_;
  std::map<XmlName, Declaration> elements_;
  std::map<XmlName, Declaration> groups_;
  std::map<XmlName, std::optional<MappedType>> mapped_;  // also marks types being mapped
  std::vector<SchemaStructure> structures_;
  std::map<XmlName, const XmlElement*> anonymousTypes_;  // the names given to anonymous types
};

// The extension's host type name for an XML Schema type it carries ("long" for xsd:int), or
// nullptr when its table has none.
const char* HostTypeOfSchemaType(std::string_view local);

}  // namespace tssoap::cli
