#include "types/type_drivers.h"

#include "host/proxy_variables.h"
#include "host/type_namespace_buffer.h"
#include "support/values/soap_exception.h"
#include "types/row_operations.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

namespace {

const char* NonEmpty(const char* text) { return text != nullptr && *text != '\0' ? text : nullptr; }

// The row operation of each layout, indexed by ArrayStyle: scalar, encoded array, repeated
// elements, wrapped array. The wrapper of a wrapped array is read as an encoded array that may
// carry no array attributes.
constexpr RowOperation kRowsToWire[] = {&ScalarOut, &EncodedArrayOut, &RepeatedOut, &WrappedOut};
constexpr ResponseRowOperation kRowsFromWire[] = {&ScalarIn, &EncodedArrayIn, &RepeatedIn,
                                                  &EncodedArrayIn};

}  // namespace

// Name and namespace of array items. The namespace is the first that exists of: the one of
// elementName's prefix, the proxy's target namespace, the namespace of the nearest ancestor of the
// parameter, the empty text. Every element the walks make takes its parent's namespace, so an
// element's ancestors are reached through inheritedNamespace: the parent's namespace for the
// repeated-element drivers, which are handed the parent, and the parameter's own otherwise.
template <typename Parameter>
void ChooseItemName(BasicConversionContext<Parameter>& context, const std::string& elementName,
                    const char* inheritedNamespace) {
  context.elementName = GetLocalPart(elementName);
  const char* ns = ResolvePrefix(context.session, context.proxy, elementName);
  if (ns == nullptr) ns = GetTargetNamespace(context.session, context.proxy);
  if (ns == nullptr) ns = NonEmpty(inheritedNamespace);
  context.elementNamespace = ns != nullptr ? ns : "";
}

// The row that serves the host value: the declared type's, else its base type's. The failure
// names the declared type, also when it was the base type that failed.
template <typename Parameter>
const XmlDataTypeRow& RowServingRecord(const BasicConversionContext<Parameter>& context,
                                       XmlTypeCode code) {
  const HostValueKind kind = context.record.kind;
  if (!code.Serves(kind)) {
    const std::string base = GetBaseType(context.session, context.proxy, context.typeName);
    if (base.empty()) ThrowMappingFailure(context.typeName);
    code = LookupXmlType(context.session, context.proxy, base);
    if (!code.Serves(kind)) ThrowMappingFailure(context.typeName);
  }
  return code.Row();
}

// Both directions: the request fills its elements, the response only reads them.
template const XmlDataTypeRow& RowServingRecord(const ConversionContext&, XmlTypeCode);
template const XmlDataTypeRow& RowServingRecord(const ResponseContext&, XmlTypeCode);
template void ChooseItemName(ConversionContext&, const std::string&, const char*);
template void ChooseItemName(ResponseContext&, const std::string&, const char*);

DeclaredType::DeclaredType(IHostSession& session, HostObject proxy, std::string typeName)
    : name(std::move(typeName)) {
  const char* prefixNamespace = ResolvePrefix(session, proxy, name);
  hasNamespace = prefixNamespace != nullptr;
  if (hasNamespace) ns = prefixNamespace;
  // No namespace matches no row.
  if (!name.empty()) code = FindXmlType(LocalPartOf(name), prefixNamespace);
}

void ThrowMappingFailure(const std::string& typeName) {
  throw SOAPException("Can't map the XML data type: %s", typeName.c_str());
}

void RowToWire(const ValueForm& form, ConversionContext& context) {
  // The namespace of the declared type goes out with the row's local name, also when the row
  // is the base type's: a tns:Zip based on xsd:string is written as "string" in tns.
  SetTypeNamespace(form.type.hasNamespace ? std::string_view(form.type.ns) : std::string_view());
  context.row = &RowServingRecord(context, form.type.code);
  kRowsToWire[form.arrayStyle](context);
}

void RowFromWire(const ValueForm& form, ResponseContext& context) {
  // Nothing of the incoming element's type attribute is read: the declared type decides.
  context.row = &RowServingRecord(context, form.type.code);
  kRowsFromWire[form.arrayStyle](context);
}

}  // namespace tssoap
