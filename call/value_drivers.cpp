#include "call/value_drivers.h"

#include "call/struct_objects.h"
#include "support/text_conversions.h"

namespace tssoap {

namespace {

using ObjectPath = void (*)(ConversionContext& context);
using ResponseObjectPath = void (*)(ResponseContext& context);

// The object path of each layout, indexed by ArrayStyle: scalar, encoded array, repeated
// elements, wrapped array. Encoded and wrapped arrays of objects are read the same way.
constexpr ObjectPath kObjectsToWire[] = {&ObjectOut, &EncodedObjectsOut, &RepeatedObjectsOut,
                                         &WrappedObjectsOut};
constexpr ResponseObjectPath kObjectsFromWire[] = {&ObjectIn, &ObjectItemsIn, &RepeatedObjectsIn,
                                                   &ObjectItemsIn};

// A host value of kind any gets an unbounded array made for the declared type: of the row's
// kind, or of the structure class when no row has the type.
void MakeArrayForAny(ResponseContext& context, XmlTypeCode code) {
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
void MakeMissingArray(ResponseContext& context) {
  IHostSession& session = context.session;
  HostValueRecord& record = context.record;
  record.isNull = 0;
  if (record.isObject == 0) {
    record.value.handle = session.NewUnboundedSimpleArray(record.kind);
    return;
  }
  record.value.handle = session.NewUnboundedObjectArray(StructClassOf(session, context.typeName));
}

// A value that holds no host array yet gets one made before the row operation fills it.
void PrepareArray(ResponseContext& context, XmlTypeCode code) {
  if (context.record.kind == kHostAny) {
    MakeArrayForAny(context, code);
  } else if (context.record.value.handle == 0) {
    // Refuse an unmappable type before making anything for it.
    if (context.record.isObject == 0) RowServingRecord(context, code);
    MakeMissingArray(context);
  }
}

}  // namespace

void ConvertToWire(const ValueForm& form, SOAPParameter& parameter, SOAPParameter& parent,
                   HostValueRecord& record, IHostSession& session, HostObject proxy) {
  // The texts of an array's items and fields share one selection of the code page.
  const HostCodePageHeld codePage(form.arrayStyle != kScalar);
  const SOAPParameter& inheritFrom = form.arrayStyle == kRepeatedElements ? parent : parameter;
  ConversionContext context = ValueContext(form, parameter, inheritFrom, record, session, proxy);
  context.parentParameter = &parent;
  if (record.isObject != 0) return kObjectsToWire[form.arrayStyle](context);
  RowToWire(form, context);
}

void ConvertFromWire(const ValueForm& form, const SOAPParameter& parameter,
                     const SOAPParameter& enclosing, HostValueRecord& record, IHostSession& session,
                     HostObject proxy) {
  const HostCodePageHeld codePage(form.arrayStyle != kScalar);
  const SOAPParameter& inheritFrom = form.arrayStyle == kRepeatedElements ? enclosing : parameter;
  ResponseContext context = ValueContext(form, parameter, inheritFrom, record, session, proxy);
  context.parentParameter = &enclosing;
  if (form.arrayStyle != kScalar) PrepareArray(context, form.type.code);
  if (record.isObject != 0) return kObjectsFromWire[form.arrayStyle](context);
  RowFromWire(form, context);
}

namespace {

ValueForm FormOf(IHostSession& session, HostObject proxy, const std::string& typeName,
                 ArrayStyle arrayStyle, const std::string& elementName = "item") {
  return ValueForm{DeclaredType(session, proxy, typeName), arrayStyle, elementName, {}};
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
