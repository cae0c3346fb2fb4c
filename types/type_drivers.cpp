#include "types/type_drivers.h"

#include "call/proxy_variables.h"
#include "composite/struct_objects.h"
#include "host/type_namespace_buffer.h"
#include "support/values/soap_exception.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

namespace {

using ObjectPath = int (*)(ConversionContext& context);

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

// The context of an array driver: its items named after elementName, in a namespace that may be
// inherited from inheritFrom (the parameter itself, or the parent that repeated elements stand
// under).
ConversionContext ArrayContext(const SOAPParameter& parameter, IHostSession& session,
                               HostObject proxy, const std::string& typeName,
                               HostValueRecord& record, const std::string& elementName,
                               const SOAPParameter& inheritFrom) {
  ConversionContext context = MakeContext(Readable(parameter), session, proxy, typeName, record);
  ChooseItemName(context, elementName, inheritFrom.GetName().GetNamespace().Str());
  return context;
}

// The row that serves the host value: the declared type's, else its base type's. The failure
// names the declared type, also when it was the base type that failed.
const XmlDataTypeRow& RowServingRecord(const ConversionContext& context, XmlTypeCode code) {
  const HostValueKind kind = context.record.kind;
  if (!XmlTypeServesKind(code, kind)) {
    const std::string base = GetBaseType(context.session, context.proxy, context.typeName);
    if (base.empty()) ThrowMappingFailure(context.typeName);
    code = LookupXmlType(context.session, context.proxy, base);
    if (!XmlTypeServesKind(code, kind)) ThrowMappingFailure(context.typeName);
  }
  return XmlTypeRow(code);
}

int RunRequest(ConversionContext& context, RowOperation RowOperations::*slot,
               ObjectPath objectPath) {
  if (context.record.isObject != 0) return objectPath(context);
  // The namespace of the declared type goes out with the row's local name, also when the row
  // is the base type's: a tns:Zip based on xsd:string is written as "string" in tns.
  SetTypeNamespace(ResolvePrefix(context.session, context.proxy, context.typeName));
  const XmlTypeCode code = LookupXmlType(context.session, context.proxy, context.typeName);
  context.row = &RowServingRecord(context, code);
  return (context.row->operations->*slot)(context);
}

int RunScalarResponse(ConversionContext& context) {
  if (context.record.isObject != 0) return ObjectIn(context);
  // Nothing of the incoming element's type attribute is read: the declared type decides.
  const XmlTypeCode code = LookupXmlType(context.session, context.proxy, context.typeName);
  context.row = &RowServingRecord(context, code);
  return context.row->operations->scalarIn(context);
}

// A host value of kind any gets an unbounded array made for the declared type: of the row's
// kind, or of the structure class when no row has the type.
void MakeArrayForAny(ConversionContext& context, XmlTypeCode code) {
  IHostSession& session = context.session;
  HostValueRecord& record = context.record;
  // The result becomes the array made here, also when the host prepared a null any.
  record.isNull = 0;
  if (code != kNoXmlType) {
    record.kind = static_cast<HostValueKind>(XmlTypeKind(code));
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

int RunArrayResponse(ConversionContext& context, RowOperation RowOperations::*slot,
                     ObjectPath objectPath) {
  const XmlTypeCode code = LookupXmlType(context.session, context.proxy, context.typeName);
  if (context.record.kind == kHostAny) {
    MakeArrayForAny(context, code);
  } else if (context.record.value.handle == 0) {
    // Refuse an unmappable type before making anything for it.
    if (context.record.isObject == 0) RowServingRecord(context, code);
    MakeMissingArray(context);
  }
  if (context.record.isObject != 0) return objectPath(context);
  context.row = &RowServingRecord(context, code);
  return (context.row->operations->*slot)(context);
}

}  // namespace

void ThrowMappingFailure(const std::string& typeName) {
  throw SOAPException("Can't map the XML data type: %s", typeName.c_str());
}

int ConvertScalarOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                     const std::string& typeName, HostValueRecord& record) {
  ConversionContext context = MakeContext(parameter, session, proxy, typeName, record);
  return RunRequest(context, &RowOperations::scalarOut, &ObjectOut);
}

int ConvertScalarIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                    const std::string& typeName, HostValueRecord& record) {
  ConversionContext context = MakeContext(Readable(parameter), session, proxy, typeName, record);
  return RunScalarResponse(context);
}

int ConvertEncodedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName) {
  ConversionContext context =
      ArrayContext(parameter, session, proxy, typeName, record, elementName, parameter);
  return RunRequest(context, &RowOperations::encodedArrayOut, &EncodedObjectsOut);
}

int ConvertEncodedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                          const std::string& typeName, HostValueRecord& record,
                          const std::string& elementName) {
  ConversionContext context =
      ArrayContext(parameter, session, proxy, typeName, record, elementName, parameter);
  return RunArrayResponse(context, &RowOperations::encodedArrayIn, &ObjectItemsIn);
}

int ConvertRepeatedElementsOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                               const std::string& typeName, HostValueRecord& record,
                               const std::string& elementName, SOAPParameter& parentParameter) {
  ConversionContext context =
      ArrayContext(parameter, session, proxy, typeName, record, elementName, parentParameter);
  context.parentParameter = &parentParameter;
  return RunRequest(context, &RowOperations::repeatedOut, &RepeatedObjectsOut);
}

int ConvertRepeatedElementsIn(const SOAPParameter& parameter, IHostSession& session,
                              HostObject proxy, const std::string& typeName,
                              HostValueRecord& record, const std::string& elementName,
                              const SOAPParameter& enclosingParameter) {
  ConversionContext context =
      ArrayContext(parameter, session, proxy, typeName, record, elementName, enclosingParameter);
  context.parentParameter = &Readable(enclosingParameter);
  return RunArrayResponse(context, &RowOperations::repeatedIn, &RepeatedObjectsIn);
}

int ConvertWrappedArrayOut(SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                           const std::string& typeName, HostValueRecord& record,
                           const std::string& elementName) {
  ConversionContext context =
      ArrayContext(parameter, session, proxy, typeName, record, elementName, parameter);
  return RunRequest(context, &RowOperations::wrappedOut, &WrappedObjectsOut);
}

int ConvertWrappedArrayIn(const SOAPParameter& parameter, IHostSession& session, HostObject proxy,
                          const std::string& typeName, HostValueRecord& record,
                          const std::string& elementName) {
  ConversionContext context =
      ArrayContext(parameter, session, proxy, typeName, record, elementName, parameter);
  // The wrapper is read as an encoded array that may carry no array attributes at all.
  return RunArrayResponse(context, &RowOperations::encodedArrayIn, &ObjectItemsIn);
}

}  // namespace tssoap
