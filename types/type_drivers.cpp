#include "types/type_drivers.h"

#include "host/proxy_variables.h"
#include "composite/struct_objects.h"
#include "host/type_namespace_buffer.h"
#include "support/values/soap_exception.h"
#include "types/row_operations.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

namespace {

using ObjectPath = void (*)(ConversionContext& context);

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

// A host value of kind any gets an unbounded array made for the declared type: of the row's
// kind, or of the structure class when no row has the type.
void MakeArrayForAny(ConversionContext& context, XmlTypeCode code) {
  IHostSession& session = context.session;
  HostValueRecord& record = context.record;
  // The result becomes the array made here, also when the host prepared a null any.
  record.isNull = 0;
  if (code.Found()) {
    record.kind = code.kind;
    record.value.handle = session.NewUnboundedSimpleArray(record.kind);
    return;
  }
  // No class to make the array of: the type can't be mapped.
  const HostArray array = session.NewUnboundedObjectArray(StructClassOf(session, context.typeName));
  if (HostArrayInfo* info = session.GetArrayInfo(array)) {
    record.kind = info->itemKind;
    session.ReleaseArrayInfo(info);
  }
  record.isObject = 1;
  record.value.handle = array;
}

// A value that holds no host array yet -- a typed array result, read flags-only, or a null
// array argument -- gets a new unbounded array of its own item kind or class, so the answer has
// somewhere to go. The kind check of the row still decides whether the type serves it.
void MakeMissingArray(ConversionContext& context) {
  IHostSession& session = context.session;
  HostValueRecord& record = context.record;
  record.isNull = 0;
  if (record.isObject == 0) {
    record.value.handle = session.NewUnboundedSimpleArray(record.kind);
    return;
  }
  record.value.handle = session.NewUnboundedObjectArray(StructClassOf(session, context.typeName));
}

// What each layout runs: the row operation, or the object path for a host object.
struct LayoutOperations {
  RowOperation row;
  ObjectPath objects;
};
// Indexed by ArrayStyle: scalar, encoded array, repeated elements, wrapped array.
constexpr LayoutOperations kToWire[] = {{&ScalarOut, &ObjectOut},
                                        {&EncodedArrayOut, &EncodedObjectsOut},
                                        {&RepeatedOut, &RepeatedObjectsOut},
                                        {&WrappedOut, &WrappedObjectsOut}};
// The wrapper of a wrapped array is read as an encoded array that may carry no array attributes.
constexpr LayoutOperations kFromWire[] = {{&ScalarIn, &ObjectIn},
                                          {&EncodedArrayIn, &ObjectItemsIn},
                                          {&RepeatedIn, &RepeatedObjectsIn},
                                          {&EncodedArrayIn, &ObjectItemsIn}};

// The context of one value: for an array its items are named after the form's element name, in a
// namespace that may be inherited from inheritFrom (the parameter itself, or the parent that
// repeated elements stand under).
ConversionContext FormContext(const ValueForm& form, SOAPParameter& parameter,
                              const SOAPParameter& inheritFrom, HostValueRecord& record,
                              IHostSession& session, HostObject proxy) {
  ConversionContext context = MakeContext(parameter, session, proxy, form.type.name, record);
  if (form.arrayStyle != kScalar) {
    ChooseItemName(context, form.elementName, inheritFrom.GetName().GetNamespace().Str());
  }
  return context;
}

// A value that holds no host array yet gets one made before the row operation fills it.
void PrepareArray(ConversionContext& context, XmlTypeCode code) {
  if (context.record.kind == kHostAny) {
    MakeArrayForAny(context, code);
  } else if (context.record.value.handle == 0) {
    // Refuse an unmappable type before making anything for it.
    if (context.record.isObject == 0) RowServingRecord(context, code);
    MakeMissingArray(context);
  }
}

}  // namespace

DeclaredType::DeclaredType(IHostSession& session, HostObject proxy, std::string typeName)
    : name(std::move(typeName)) {
  const char* prefixNamespace = ResolvePrefix(session, proxy, name);
  hasNamespace = prefixNamespace != nullptr;
  if (hasNamespace) ns = prefixNamespace;
  // The local part as GetLocalPart cuts it; no namespace matches no row.
  if (!name.empty()) {
    const size_t colon = name.find(':');
    const std::string_view localName = colon == std::string::npos
                                           ? std::string_view(name)
                                           : std::string_view(name).substr(colon + 1);
    code = FindXmlType(localName, prefixNamespace);
  }
}

void ThrowMappingFailure(const std::string& typeName) {
  throw SOAPException("Can't map the XML data type: %s", typeName.c_str());
}

void ConvertToWire(const ValueForm& form, SOAPParameter& parameter, SOAPParameter& parent,
                   HostValueRecord& record, IHostSession& session, HostObject proxy) {
  const SOAPParameter& inheritFrom = form.arrayStyle == kRepeatedElements ? parent : parameter;
  ConversionContext context = FormContext(form, parameter, inheritFrom, record, session, proxy);
  context.parentParameter = &parent;
  const LayoutOperations& operations = kToWire[form.arrayStyle];
  if (record.isObject != 0) return operations.objects(context);
  // The namespace of the declared type goes out with the row's local name, also when the row
  // is the base type's: a tns:Zip based on xsd:string is written as "string" in tns.
  SetTypeNamespace(form.type.hasNamespace ? form.type.ns.c_str() : nullptr);
  context.row = &RowServingRecord(context, form.type.code);
  operations.row(context);
}

void ConvertFromWire(const ValueForm& form, const SOAPParameter& parameter,
                     const SOAPParameter& enclosing, HostValueRecord& record, IHostSession& session,
                     HostObject proxy) {
  const SOAPParameter& inheritFrom = form.arrayStyle == kRepeatedElements ? enclosing : parameter;
  ConversionContext context =
      FormContext(form, Readable(parameter), inheritFrom, record, session, proxy);
  context.parentParameter = &Readable(enclosing);
  const LayoutOperations& operations = kFromWire[form.arrayStyle];
  // Nothing of the incoming element's type attribute is read: the declared type decides.
  if (form.arrayStyle != kScalar) PrepareArray(context, form.type.code);
  if (record.isObject != 0) return operations.objects(context);
  context.row = &RowServingRecord(context, form.type.code);
  operations.row(context);
}

namespace {

ValueForm FormOf(IHostSession& session, HostObject proxy, const std::string& typeName,
                 ArrayStyle arrayStyle, const std::string& elementName = "item") {
  return ValueForm{DeclaredType(session, proxy, typeName), arrayStyle, elementName};
}

}  // namespace

void ConvertScalarOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                      const std::string& typeName, HostValueRecord& record) {
  ConvertToWire(FormOf(session, proxy, typeName, kScalar), parameter, parameter, record, session,
                proxy);
}

void ConvertScalarIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                     const std::string& typeName, HostValueRecord& record) {
  ConvertFromWire(FormOf(session, proxy, typeName, kScalar), parameter, parameter, record, session,
                  proxy);
}

void ConvertEncodedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                            const std::string& typeName, HostValueRecord& record,
                            const std::string& elementName) {
  ConvertToWire(FormOf(session, proxy, typeName, kEncodedArray, elementName), parameter, parameter,
                record, session, proxy);
}

void ConvertEncodedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName) {
  ConvertFromWire(FormOf(session, proxy, typeName, kEncodedArray, elementName), parameter,
                  parameter, record, session, proxy);
}

void ConvertRepeatedElementsOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                                const std::string& typeName, HostValueRecord& record,
                                const std::string& elementName, SOAPParameter& parentParameter) {
  ConvertToWire(FormOf(session, proxy, typeName, kRepeatedElements, elementName), parameter,
                parentParameter, record, session, proxy);
}

void ConvertRepeatedElementsIn(const SOAPParameter& parameter, IHostSession& session,
                               HostObject proxy, const std::string& typeName,
                               HostValueRecord& record, const std::string& elementName,
                               const SOAPParameter& enclosingParameter) {
  ConvertFromWire(FormOf(session, proxy, typeName, kRepeatedElements, elementName), parameter,
                  enclosingParameter, record, session, proxy);
}

void ConvertWrappedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                            const std::string& typeName, HostValueRecord& record,
                            const std::string& elementName) {
  ConvertToWire(FormOf(session, proxy, typeName, kWrappedArray, elementName), parameter, parameter,
                record, session, proxy);
}

void ConvertWrappedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName) {
  ConvertFromWire(FormOf(session, proxy, typeName, kWrappedArray, elementName), parameter,
                  parameter, record, session, proxy);
}

}  // namespace tssoap
