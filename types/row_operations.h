// The eight operations of a row of the XML data type table, written once for all 46 rows: they
// take everything that differs between rows -- the type name they write, the two value
// conversions, the array item kind -- from context.row. Each returns 0 and raises SOAPException.
//
// Host arrays are walked as flat lists, items 1 to GetArrayLength; a bounded array is refused
// before any item is read. Every array info taken from the host is given back on every way out.
#pragma once

#include "support/values/soap_qname.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

// The operations every row carries.
extern const RowOperations kRowOperations;

// Stores the row's name and the calling thread's type namespace in qname; no namespace text when
// the thread has no namespace block.
void SetTypeAttribute(const XmlDataTypeRow& row, SOAPQName& qname);

int ScalarOut(ConversionContext& context);
int ScalarIn(ConversionContext& context);
int EncodedArrayOut(ConversionContext& context);
int EncodedArrayIn(ConversionContext& context);
int RepeatedOut(ConversionContext& context);
int RepeatedIn(ConversionContext& context);
int WrappedOut(ConversionContext& context);

}  // namespace tssoap
