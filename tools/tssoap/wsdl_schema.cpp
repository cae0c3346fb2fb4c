#include "tools/tssoap/wsdl_schema.h"

#include <array>
#include <cstdlib>
#include <utility>

namespace tssoap::cli {
namespace {

// Derivations and groups refer to each other; a chain longer than this is a loop.
constexpr int kMaxDerivationDepth = 64;

// The XML Schema types of the extension's table, with the host type each travels in.
constexpr std::array<std::pair<std::string_view, const char*>, 45> kSchemaTypes{{
    {"boolean", "boolean"},
    {"unsignedByte", "uint"},
    {"unsignedShort", "uint"},
    {"byte", "int"},
    {"short", "int"},
    {"int", "long"},
    {"unsignedInt", "ulong"},
    {"integer", "longlong"},
    {"long", "longlong"},
    {"unsignedLong", "longlong"},
    {"nonNegativeInteger", "longlong"},
    {"negativeInteger", "longlong"},
    {"nonPositiveInteger", "longlong"},
    {"positiveInteger", "longlong"},
    {"float", "real"},
    {"double", "double"},
    {"duration", "double"},
    {"decimal", "decimal"},
    {"string", "string"},
    {"normalizedString", "string"},
    {"token", "string"},
    {"gYear", "string"},
    {"gYearMonth", "string"},
    {"gMonth", "string"},
    {"gMonthDay", "string"},
    {"gDay", "string"},
    {"anyURI", "string"},
    {"QName", "string"},
    {"NOTATION", "string"},
    {"language", "string"},
    {"NMTOKEN", "string"},
    {"NMTOKENS", "string"},
    {"Name", "string"},
    {"NCName", "string"},
    {"ID", "string"},
    {"IDREF", "string"},
    {"IDREFS", "string"},
    {"ENTITY", "string"},
    {"ENTITIES", "string"},
    {"date", "date"},
    {"time", "time"},
    {"dateTime", "datetime"},
    {"base64Binary", "blob"},
    {"hexBinary", "blob"},
    {"base64", "blob"},
}};

// Older drafts of XML Schema that services still name.
bool IsSchemaNamespace(std::string_view ns) {
  return ns == kSchemaNamespace || ns == "http://www.w3.org/1999/XMLSchema" ||
         ns == "http://www.w3.org/2000/10/XMLSchema";
}

bool InSchema(const XmlElement& element, std::string_view local) {
  return element.name.Is(kSchemaNamespace, local);
}

std::string Shown(const XmlName& name) {
  return name.ns.empty() ? name.local : "{" + name.ns + "}" + name.local;
}

bool IsRepeated(const XmlElement& element) {
  const std::string* maxOccurs = element.Attribute("maxOccurs");
  if (maxOccurs == nullptr) return false;
  if (*maxOccurs == "unbounded") return true;
  return std::strtol(maxOccurs->c_str(), nullptr, 10) > 1;
}

std::optional<XmlName> QNameAttribute(const XmlElement& element, std::string_view attribute) {
  const std::string* value = element.Attribute(attribute);
  if (value == nullptr) return std::nullopt;
  return element.ResolveQName(*value);
}

MappedType Simple(std::string_view local) {
  MappedType type;
  type.type = {std::string(kSchemaNamespace),
               std::string(local == "base64" ? "base64Binary" : local)};
  return type;
}

}  // namespace

void WsdlWarnings::Add(const XmlElement& at, const std::string& what) {
  std::string line = at.Place() + ": " + what;
  if (seen_.insert(line).second) lines_.push_back(std::move(line));
}

const char* HostTypeOfSchemaType(std::string_view local) {
  for (const auto& [name, host] : kSchemaTypes) {
    if (name == local && name != "base64") return host;
  }
  return nullptr;
}

SchemaModel::SchemaModel(const WsdlDocumentSet& documents, WsdlWarnings& warnings)
    : warnings_(warnings) {
  for (const SchemaSource& source : documents.Schemas()) {
    for (const auto& child : source.schema->children) {
      const std::string* name = child->Attribute("name");
      if (name == nullptr) continue;
      std::map<XmlName, Declaration>* table = nullptr;
      if (InSchema(*child, "complexType")) table = &complexTypes_;
      if (InSchema(*child, "simpleType")) table = &simpleTypes_;
      if (InSchema(*child, "element")) table = &elements_;
      if (InSchema(*child, "group")) table = &groups_;
      // The first declaration wins; some generators repeat a type in each schema that needs it.
      if (table != nullptr)
        table->emplace(XmlName{source.targetNamespace, *name}, Declaration{child.get(), &source});
    }
  }
}

const SchemaModel::Declaration* SchemaModel::Find(const std::map<XmlName, Declaration>& table,
                                                  const XmlName& name) const {
  auto found = table.find(name);
  return found == table.end() ? nullptr : &found->second;
}

std::optional<MappedType> SchemaModel::MapType(const XmlName& name, const XmlElement& at) {
  if (IsSchemaNamespace(name.ns) || name.ns == kSoapEncodingNamespace) {
    for (const auto& [local, host] : kSchemaTypes) {
      if (local == name.local && (local != "base64" || name.ns == kSoapEncodingNamespace)) {
        return Simple(local);
      }
    }
    warnings_.Add(at, "the type " + Shown(name) +
                          " can't be mapped: the extension carries no value of it (" +
                          (name.local == "anyType" ? "any content" : "no host type") +
                          "); what uses it is left out");
    return std::nullopt;
  }
  if (auto known = mapped_.find(name); known != mapped_.end()) return known->second;
  if (const Declaration* simple = Find(simpleTypes_, name)) {
    auto type = MapSimpleNode(*simple->node, 0);
    mapped_[name] = type;
    return type;
  }
  if (const Declaration* complex = Find(complexTypes_, name)) return MapComplex(name, *complex);
  warnings_.Add(at, "the type " + Shown(name) +
                        " is declared in none of the schemas; what uses "
                        "it is left out");
  mapped_[name] = std::nullopt;
  return std::nullopt;
}

std::optional<MappedType> SchemaModel::MapSimple(const XmlName& name, const XmlElement& at,
                                                 int depth) {
  if (depth > kMaxDerivationDepth) {
    warnings_.Add(at, "the simple type derives from itself; what uses it is left out");
    return std::nullopt;
  }
  if (const Declaration* simple = Find(simpleTypes_, name)) {
    return MapSimpleNode(*simple->node, depth + 1);
  }
  std::optional<MappedType> type = MapType(name, at);
  if (type && type->form != MappedType::Form::kSimple) {
    warnings_.Add(at, "the simple type's base " + Shown(name) + " is no simple type");
    return std::nullopt;
  }
  return type;
}

std::optional<MappedType> SchemaModel::MapSimpleNode(const XmlElement& simpleType, int depth) {
  // A list or a union travels as its text.
  if (simpleType.Child(kSchemaNamespace, "list") || simpleType.Child(kSchemaNamespace, "union")) {
    return Simple("string");
  }
  const XmlElement* restriction = simpleType.Child(kSchemaNamespace, "restriction");
  if (restriction == nullptr) {
    warnings_.Add(simpleType,
                  "a simple type without restriction, list or union; what uses it is "
                  "left out");
    return std::nullopt;
  }
  if (std::optional<XmlName> base = QNameAttribute(*restriction, "base")) {
    return MapSimple(*base, *restriction, depth);
  }
  if (const XmlElement* inner = restriction->Child(kSchemaNamespace, "simpleType")) {
    return MapSimpleNode(*inner, depth + 1);
  }
  warnings_.Add(*restriction, "a restriction without a base type; what uses it is left out");
  return std::nullopt;
}

std::optional<MappedType> SchemaModel::MapComplex(const XmlName& name,
                                                  const Declaration& declaration) {
  const XmlElement& node = *declaration.node;
  const XmlElement* complexContent = node.Child(kSchemaNamespace, "complexContent");
  if (complexContent != nullptr) {
    const XmlElement* restriction = complexContent->Child(kSchemaNamespace, "restriction");
    std::optional<XmlName> base = restriction ? QNameAttribute(*restriction, "base") : std::nullopt;
    if (base && base->Is(kSoapEncodingNamespace, "Array")) {
      auto type = MapEncodedArray(*restriction, *declaration.schema);
      mapped_[name] = type;
      return type;
    }
  }
  if (const XmlElement* simpleContent = node.Child(kSchemaNamespace, "simpleContent")) {
    // Text with attributes: the text alone can travel.
    const XmlElement* derivation = simpleContent->Child(kSchemaNamespace, "extension");
    if (derivation == nullptr) derivation = simpleContent->Child(kSchemaNamespace, "restriction");
    std::optional<MappedType> type;
    if (derivation != nullptr) {
      WarnAttributes(*derivation);
      if (std::optional<XmlName> base = QNameAttribute(*derivation, "base")) {
        type = MapSimple(*base, *derivation, 0);
      }
    }
    if (!type) warnings_.Add(*simpleContent, "simple content without a simple base type");
    mapped_[name] = type;
    return type;
  }

  // Marked as a structure before its fields are read, so that a type may contain itself.
  MappedType structure;
  structure.form = MappedType::Form::kStructure;
  structure.type = name;
  mapped_[name] = structure;
  std::vector<SchemaMember> members;
  bool derived = false;
  CollectContent(node, *declaration.schema, members, derived, 0);
  bool hasAttributes = !node.Children(kSchemaNamespace, "attribute").empty() ||
                       !node.Children(kSchemaNamespace, "attributeGroup").empty();
  if (!derived && !hasAttributes && members.size() == 1 && members[0].repeated) {
    // Nothing but repeated items: a wrapper element around the array's items.
    MappedType array;
    array.form = MappedType::Form::kWrappedArray;
    array.type = members[0].type.type;
    array.itemIsStructure = members[0].type.IsStructure();
    array.itemName = members[0].name;
    array.itemNamespace = members[0].ns;
    mapped_[name] = array;
    return array;
  }
  structures_.push_back({name, std::move(members), &node});
  return structure;
}

std::optional<MappedType> SchemaModel::MapEncodedArray(const XmlElement& restriction,
                                                       const SchemaSource& schema) {
  std::optional<MappedType> item;
  std::string itemName;
  for (const XmlElement* attribute : restriction.Children(kSchemaNamespace, "attribute")) {
    std::optional<XmlName> ref = QNameAttribute(*attribute, "ref");
    const std::string* arrayType = attribute->Attribute("arrayType", kWsdlNamespace);
    if (!ref || !ref->Is(kSoapEncodingNamespace, "arrayType") || arrayType == nullptr) continue;
    size_t open = arrayType->find('[');
    std::string dimensions = open == std::string::npos ? "" : arrayType->substr(open);
    if (dimensions.find(',') != std::string::npos) {
      warnings_.Add(*attribute, "the multi-dimensional array " + *arrayType +
                                    " can't be mapped: host arrays have one dimension; what "
                                    "uses it is left out");
      return std::nullopt;
    }
    if (dimensions.find("][") != std::string::npos) {
      warnings_.Add(*attribute, "the array of arrays " + *arrayType +
                                    " can't be mapped: host arrays hold no arrays; what uses it "
                                    "is left out");
      return std::nullopt;
    }
    std::optional<XmlName> itemType = attribute->ResolveQName(arrayType->substr(0, open));
    if (!itemType) {
      warnings_.Add(*attribute, "the prefix of the array type " + *arrayType + " is undeclared");
      return std::nullopt;
    }
    item = MapType(*itemType, *attribute);
    if (!item) return std::nullopt;
  }
  // Some generators also name the items in a sequence, which gives their element name.
  const XmlElement* sequence = restriction.Child(kSchemaNamespace, "sequence");
  const XmlElement* element = sequence ? sequence->Child(kSchemaNamespace, "element") : nullptr;
  if (element != nullptr) {
    if (const std::string* name = element->Attribute("name")) itemName = *name;
    if (!item) item = MapElementContent(*element, schema);
  }
  if (!item) {
    warnings_.Add(restriction,
                  "a SOAP-encoded array that names no item type; what uses it is "
                  "left out");
    return std::nullopt;
  }
  item = ItemType(std::move(item), restriction);
  if (!item) return std::nullopt;
  MappedType array;
  array.form = MappedType::Form::kEncodedArray;
  array.type = item->type;
  array.itemIsStructure = item->IsStructure();
  array.itemName = itemName;
  return array;
}

std::optional<MappedType> SchemaModel::ItemType(std::optional<MappedType> item,
                                                const XmlElement& at) {
  if (item && item->IsArray()) {
    warnings_.Add(at,
                  "an array of arrays can't be mapped: host arrays hold no arrays; what uses "
                  "it is left out");
    return std::nullopt;
  }
  return item;
}

std::optional<MappedType> SchemaModel::MapElementContent(const XmlElement& element,
                                                         const SchemaSource& schema) {
  if (const std::string* typeText = element.Attribute("type")) {
    std::optional<XmlName> type = element.ResolveQName(*typeText);
    if (!type) {
      warnings_.Add(element, "the prefix of the type " + *typeText + " is undeclared");
      return std::nullopt;
    }
    return MapType(*type, element);
  }
  if (const XmlElement* simpleType = element.Child(kSchemaNamespace, "simpleType")) {
    return MapSimpleNode(*simpleType, 0);
  }
  const XmlElement* complexType = element.Child(kSchemaNamespace, "complexType");
  const std::string* elementName = element.Attribute("name");
  if (complexType == nullptr || elementName == nullptr) {
    warnings_.Add(element, "the element " + (elementName ? *elementName : std::string("?")) +
                               " has no type, so any content (anyType), which can't be mapped; "
                               "it is left out");
    return std::nullopt;
  }
  // An anonymous type is named after its element, and apart from any named type.
  XmlName name{schema.targetNamespace, *elementName};
  while (Find(complexTypes_, name) != nullptr ||
         (mapped_.count(name) != 0 && anonymousTypes_[name] != complexType)) {
    name.local += "_";
  }
  anonymousTypes_[name] = complexType;
  if (auto known = mapped_.find(name); known != mapped_.end()) return known->second;
  return MapComplex(name, Declaration{complexType, &schema});
}

std::optional<SchemaMember> SchemaModel::ElementMember(const XmlElement& element,
                                                       const SchemaSource& schema) {
  SchemaMember member;
  member.at = &element;
  member.repeated = IsRepeated(element);
  std::optional<MappedType> type;
  if (std::optional<XmlName> ref = QNameAttribute(element, "ref")) {
    const XmlElement* global = FindElement(*ref, element);
    if (global == nullptr) return std::nullopt;
    const Declaration* declaration = Find(elements_, *ref);
    member.name = ref->local;
    member.ns = ref->ns;
    type = MapElementContent(*global, *declaration->schema);
  } else {
    const std::string* name = element.Attribute("name");
    if (name == nullptr) {
      warnings_.Add(element, "an element with neither name nor ref; it is left out");
      return std::nullopt;
    }
    member.name = *name;
    const std::string* form = element.Attribute("form");
    const std::string* formDefault = schema.schema->Attribute("elementFormDefault");
    bool qualified = form ? *form == "qualified"
                          : (element.parent == schema.schema ||
                             (formDefault != nullptr && *formDefault == "qualified"));
    if (qualified) member.ns = schema.targetNamespace;
    type = MapElementContent(element, schema);
  }
  if (!type) return std::nullopt;
  if (member.repeated && type->IsArray()) {
    warnings_.Add(element, "the repeated element " + member.name +
                               " holds arrays, and host arrays hold no arrays; it is left out");
    return std::nullopt;
  }
  member.type = *type;
  return member;
}

void SchemaModel::CollectParticles(const XmlElement& group, const SchemaSource& schema,
                                   std::vector<SchemaMember>& members, int depth) {
  if (depth > kMaxDerivationDepth) {
    warnings_.Add(group, "groups refer to each other without end; the rest is left out");
    return;
  }
  for (const auto& child : group.children) {
    if (InSchema(*child, "element")) {
      if (auto member = ElementMember(*child, schema)) members.push_back(std::move(*member));
    } else if (InSchema(*child, "sequence") || InSchema(*child, "all")) {
      CollectParticles(*child, schema, members, depth + 1);
    } else if (InSchema(*child, "choice")) {
      std::string names;
      for (const XmlElement* element : child->Children(kSchemaNamespace, "element")) {
        const std::string* name = element->Attribute("name");
        if (!name) name = element->Attribute("ref");
        names += (names.empty() ? "" : ", ") + (name ? *name : std::string("?"));
      }
      warnings_.Add(*child,
                    "a choice can't be mapped (the extension sends every field); its "
                    "elements are left out" +
                        (names.empty() ? std::string() : ": " + names));
    } else if (InSchema(*child, "group")) {
      std::optional<XmlName> ref = QNameAttribute(*child, "ref");
      const Declaration* declaration = ref ? Find(groups_, *ref) : nullptr;
      if (declaration == nullptr) {
        warnings_.Add(*child, "a group reference to no declared group; it is left out");
        continue;
      }
      CollectParticles(*declaration->node, *declaration->schema, members, depth + 1);
    } else if (InSchema(*child, "any")) {
      warnings_.Add(*child, "any content (xsd:any) can't be mapped; it is left out");
    }
  }
}

bool SchemaModel::CollectContent(const XmlElement& complexType, const SchemaSource& schema,
                                 std::vector<SchemaMember>& members, bool& derived, int depth) {
  if (depth > kMaxDerivationDepth) {
    warnings_.Add(complexType, "the type derives from itself; the rest is left out");
    return false;
  }
  CollectParticles(complexType, schema, members, depth + 1);
  WarnAttributes(complexType);
  const XmlElement* content = complexType.Child(kSchemaNamespace, "complexContent");
  if (content == nullptr) return !complexType.Child(kSchemaNamespace, "simpleContent");
  const XmlElement* derivation = content->Child(kSchemaNamespace, "extension");
  bool extension = derivation != nullptr;
  if (!extension) derivation = content->Child(kSchemaNamespace, "restriction");
  if (derivation == nullptr) return true;
  if (extension) {
    derived = true;
    std::optional<XmlName> base = QNameAttribute(*derivation, "base");
    const Declaration* declaration = base ? Find(complexTypes_, *base) : nullptr;
    if (declaration != nullptr) {
      bool ignored = false;
      CollectContent(*declaration->node, *declaration->schema, members, ignored, depth + 1);
    } else if (base && !base->Is(kSchemaNamespace, "anyType")) {
      warnings_.Add(*derivation, "the base type " + Shown(*base) +
                                     " is no complex type of the schemas; its fields are left "
                                     "out");
    }
  }
  CollectParticles(*derivation, schema, members, depth + 1);
  WarnAttributes(*derivation);
  return true;
}

void SchemaModel::WarnAttributes(const XmlElement& holder) {
  for (const auto& child : holder.children) {
    if (!InSchema(*child, "attribute") && !InSchema(*child, "attributeGroup") &&
        !InSchema(*child, "anyAttribute")) {
      continue;
    }
    const std::string* name = child->Attribute("name");
    if (name == nullptr) name = child->Attribute("ref");
    warnings_.Add(*child, (name ? "the attribute " + *name : std::string("any attribute")) +
                              " is left out: the extension sends and reads no attributes");
  }
}

const XmlElement* SchemaModel::FindElement(const XmlName& name, const XmlElement& at) {
  if (const Declaration* declaration = Find(elements_, name)) return declaration->node;
  warnings_.Add(at, "the element " + Shown(name) + " is declared in none of the schemas");
  return nullptr;
}

std::optional<MappedType> SchemaModel::MapElementType(const XmlName& element,
                                                      const XmlElement& at) {
  if (FindElement(element, at) == nullptr) return std::nullopt;
  const Declaration* declaration = Find(elements_, element);
  return MapElementContent(*declaration->node, *declaration->schema);
}

std::optional<std::vector<SchemaMember>> SchemaModel::WrapperMembers(const XmlName& element,
                                                                     const XmlElement& at) {
  if (FindElement(element, at) == nullptr) return std::nullopt;
  const Declaration* declaration = Find(elements_, element);
  const XmlElement& node = *declaration->node;
  const XmlElement* complexType = node.Child(kSchemaNamespace, "complexType");
  const SchemaSource* schema = declaration->schema;
  if (complexType == nullptr) {
    std::optional<XmlName> type = QNameAttribute(node, "type");
    const Declaration* named = type ? Find(complexTypes_, *type) : nullptr;
    if (named == nullptr) {
      warnings_.Add(node, "the element " + element.local +
                              " holds no structure of elements, which the extension's document "
                              "style needs around the parameters");
      return std::nullopt;
    }
    complexType = named->node;
    schema = named->schema;
  }
  std::vector<SchemaMember> members;
  bool derived = false;
  if (!CollectContent(*complexType, *schema, members, derived, 0)) {
    warnings_.Add(node, "the element " + element.local + " has simple content, no parameters");
    return std::nullopt;
  }
  return members;
}

}  // namespace tssoap::cli
