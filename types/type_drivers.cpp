#include "types/type_drivers.h"

#include "host/proxy_variables.h"
#include "host/type_namespace_buffer.h"
#include "support/values/soap_exception.h"
#include "types/row_operations.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

namespace {

// The way in reads its element and never writes through it; the context holds it as the way
// out does.
SOAPParameter& Readable(const SOAPParameter& parameter) {
  return const_cast<SOAPParameter&>(parameter);
}

ConversionContext MakeContext(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                              const std::string& typeName, HostValueRecord& record) {
  return ConversionContext{parameter, session, proxy, typeName, record, {}, {}, nullptr, nullptr};
}

const char* NonEmpty(const char* text) { return text != nullptr && *text != '\0' ? text : nullptr; }

// Name and namespace of array items. The namespace is the first that exists of: the one of
// elementName's prefix, the proxy's target namespace, the namespace of the nearest ancestor of the
// parameter, the empty text. Every element the walks make takes its parent's namespace, so an
// element's ancestors are reached through inheritedNamespace: the parent's namespace for the
// repeated-element drivers, which are handed the parent, and the parameter's own otherwise.
void ChooseItemName(ConversionContext& context, const std::string& elementName,
                    const char* inheritedNamespace) {
  context.elementName = GetLocalPart(elementName);
  const char* ns = ResolvePrefix(context.session, context.proxy, elementName);
  if (ns == nullptr) ns = GetTargetNamespace(context.session, context.proxy);
  if (ns == nullptr) ns = NonEmpty(inheritedNamespace);
  context.elementNamespace = ns != nullptr ? ns : "";
}

// The row operation of each layout, indexed by ArrayStyle: scalar, encoded array, repeated
// elements, wrapped array. The wrapper of a wrapped array is read as an encoded array that may
// carry no array attributes.
constexpr RowOperation kRowsToWire[] = {&ScalarOut, &EncodedArrayOut, &RepeatedOut, &WrappedOut};
constexpr RowOperation kRowsFromWire[] = {&ScalarIn, &EncodedArrayIn, &RepeatedIn, &EncodedArrayIn};

}  // namespace

// The row that serves the host value: the declared type's, else its base type's. The failure
// names the declared type, also when it was the base type that failed.
const XmlDataTypeRow& RowServingRecord(const ConversionContext& context, XmlTypeCode code) {
  const HostValueKind kind = context.record.kind;
  if (!code.Serves(kind)) {
    const std::string base = GetBaseType(context.session, context.proxy, context.typeName);
    if (base.empty()) ThrowMappingFailure(context.typeName);
    code = LookupXmlType(context.session, context.proxy, base);
    if (!code.Serves(kind)) ThrowMappingFailure(context.typeName);
  }
  return code.Row();
}

// The context of one value: for an array its items are named after the form's element name, in a
// namespace that may be inherited from inheritFrom (the parameter itself, or the parent that
// repeated elements stand under).
ConversionContext ValueContext(const ValueForm& form, const SOAPParameter& parameter,
                               const SOAPParameter& inheritFrom, HostValueRecord& record,
                               IHostSession& session, HostObject proxy) {
  ConversionContext context =
      MakeContext(Readable(parameter), session, proxy, form.type.name, record);
  if (form.arrayStyle != kScalar) {
    ChooseItemName(context, form.elementName, inheritFrom.GetName().GetNamespace().Str());
  }
  return context;
}

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
  SetTypeNamespace(form.type.hasNamespace ? form.type.ns.c_str() : nullptr);
  context.row = &RowServingRecord(context, form.type.code);
  kRowsToWire[form.arrayStyle](context);
}

void RowFromWire(const ValueForm& form, ConversionContext& context) {
  // Nothing of the incoming element's type attribute is read: the declared type decides.
  context.row = &RowServingRecord(context, form.type.code);
  kRowsFromWire[form.arrayStyle](context);
}

}  // namespace tssoap
