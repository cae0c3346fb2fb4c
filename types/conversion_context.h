// ConversionContext: what every row operation of the XML data type table and every operation of
// the object path receives. It lives on the stack of the driver that makes the call.
#pragma once

#include <string>

#include "easysoap/soap_parameter.h"
#include "host/host_interfaces.h"
#include "host/host_value_record.h"

namespace tssoap {

struct XmlDataTypeRow;

struct ConversionContext {
  // The element to fill (way out) or to read (way in). The way in never writes through it.
  SOAPParameter& parameter;
  IHostSession& session;
  HostObject proxy;              // its class variables hold the namespaces and type descriptions
  const std::string& typeName;   // the declared type, with its prefix
  HostValueRecord& record;       // the host value
  std::string elementName;       // array drivers: local name of the items
  std::string elementNamespace;  // array drivers: namespace of the items
  // Repeated-element drivers: the element under which the item elements stand.
  SOAPParameter* parentParameter = nullptr;
  // The row whose operation runs (null on the object path).
  const XmlDataTypeRow* row = nullptr;

  // The context of one array item: this one's type and row, on the item's element and record.
  // An item is a single value: no item names, no parent.
  ConversionContext ForItem(SOAPParameter& itemParameter, HostValueRecord& item) const {
    return ConversionContext{itemParameter, session, proxy, typeName, item, {}, {}, nullptr, row};
  }
};

}  // namespace tssoap
