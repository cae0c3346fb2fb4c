// The row path of a value. A declared type is resolved once into a DeclaredType (its row, and the
// namespace its prefix stands for) and travels with its array layout as a ValueForm; the row that
// serves the host value's kind -- the declared type's, else its base type's -- runs the operation
// of the layout. Host objects take the object path instead (call/value_drivers.h). Failures
// raise SOAPException.
#pragma once

#include <string>

#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"
#include "types/conversion_context.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

// How an array parameter travels, chosen by the array block of a method description.
enum ArrayStyle : int32_t {
  kScalar = 0,            // no array block
  kEncodedArray = 1,      // [SoapElementName]: a SOAP-encoded array element with item children
  kRepeatedElements = 2,  // [] or [XMLElementName]: one sibling element per item, no wrapper
  kWrappedArray = 3,      // [ElementName]: a plain wrapper element with item children
};

// Raises SOAPException "Can't map the XML data type: " + typeName: the type has no row, the host
// value's kind isn't the row's, or the object path has no description or class for it.
[[noreturn]] void ThrowMappingFailure(const std::string& typeName);

// A declared type ("xsd:string", "tns:Zip") as the proxy's variables resolve it. Resolved once per
// parameter, field or item kind; it holds copies, so it outlives the host texts it was read from.
struct DeclaredType {
  DeclaredType() = default;
  DeclaredType(IHostSession& session, HostObject proxy, std::string typeName);

  std::string name;           // as declared, with its prefix
  XmlTypeCode code;           // the declared type's own row, if it has one
  bool hasNamespace = false;  // whether the prefix names a namespace variable of the proxy
  std::string ns;             // that namespace; the types go out under it, also for a base row
};

// How a parameter or field travels: its declared type and its array block.
struct ValueForm {
  DeclaredType type;
  ArrayStyle arrayStyle = kScalar;
  std::string elementName = "item";  // name of an array's items when the block names none
  // The type attribute table of the form's last value sent, for the next value of the same row.
  mutable KeptTypeAttribute typeAttribute;
};

// The items' name and namespace of an array (see ValueContext).
template <typename Parameter>
void ChooseItemName(BasicConversionContext<Parameter>& context, const std::string& elementName,
                    const char* inheritedNamespace);
// The context of one value: for an array, its items are named after the form's element name, in
// a namespace that may be inherited from inheritFrom (the parameter itself, or the parent that
// repeated elements stand under). Parameter is const for the way in, which only reads it.
// Inline: every field of every structure makes one.
template <typename Parameter>
BasicConversionContext<Parameter> ValueContext(const ValueForm& form, Parameter& parameter,
                                               const SOAPParameter& inheritFrom,
                                               HostValueRecord& record, IHostSession& session,
                                               HostObject proxy) {
  BasicConversionContext<Parameter> context{
      parameter, session, proxy,   form.type.name, record,
      {},        {},      nullptr, nullptr,        &form.typeAttribute};
  if (form.arrayStyle != kScalar) {
    ChooseItemName(context, form.elementName, inheritFrom.GetName().GetNamespace().Str());
  }
  return context;
}
// The row that serves context.record: the declared type's (code), else its base type's. The
// failure names the declared type, also when it was the base type that failed.
template <typename Parameter>
const XmlDataTypeRow& RowServingRecord(const BasicConversionContext<Parameter>& context,
                                       XmlTypeCode code);
// The row path of a value that isn't a host object: the row that serves it runs the operation of
// the form's layout, record into parameter (ToWire) or parameter into record (FromWire).
void RowToWire(const ValueForm& form, ConversionContext& context);
void RowFromWire(const ValueForm& form, ResponseContext& context);

}  // namespace tssoap
