// ConversionContext: what every row operation of the XML data type table and every operation of
// the object path receives. It lives on the stack of the driver that makes the call. The way out
// fills its element and takes a ConversionContext; the way in only reads the parsed answer and
// takes a ResponseContext, whose elements are const.
#pragma once

#include <string>

#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"

namespace tssoap {

struct XmlDataTypeRow;

// The type attribute table the last value of a field or array got, with the row it names: the
// values of one field of an array's records, and the items of one array, have the same type
// namespace, so the next value of the same row takes the table as it is.
struct KeptTypeAttribute {
  const XmlDataTypeRow* row = nullptr;
  SOAPParameter::SharedAttributes table;
};

// Parameter is SOAPParameter (way out) or const SOAPParameter (way in).
template <typename Parameter>
struct BasicConversionContext {
  // The element to fill (way out) or to read (way in).
  Parameter& parameter;
  IHostSession& session;
  HostObject proxy;              // its class variables hold the namespaces and type descriptions
  const std::string& typeName;   // the declared type, with its prefix
  HostValueRecord& record;       // the host value
  std::string elementName;       // array drivers: local name of the items
  std::string elementNamespace;  // array drivers: namespace of the items
  // Repeated-element drivers: the element under which the item elements stand.
  Parameter* parentParameter = nullptr;
  // The row whose operation runs (null on the object path).
  const XmlDataTypeRow* row = nullptr;
  // Way out: where the values of the same form keep their type attribute table; may be null.
  KeptTypeAttribute* typeAttribute = nullptr;

  // The context of one array item: this one's type and row, on the item's element and record.
  // An item is a single value: no item names, no parent.
  BasicConversionContext ForItem(Parameter& itemParameter, HostValueRecord& item) const {
    return BasicConversionContext{itemParameter, session, proxy,        typeName, item, {}, {},
                                  nullptr,       row,     typeAttribute};
  }
};

// The request: the host value into an element.
using ConversionContext = BasicConversionContext<SOAPParameter>;
// The response: an element of the parsed answer into the host value.
using ResponseContext = BasicConversionContext<const SOAPParameter>;

}  // namespace tssoap
