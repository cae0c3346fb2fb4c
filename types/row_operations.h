// The seven operations of a row of the XML data type table (scalar, encoded array, repeated
// elements and wrapped array out; scalar, encoded or wrapped array and repeated elements in),
// written once for all 46 rows: they take everything that differs between rows -- the type name
// they write, the two value conversions, the array item kind -- from context.row. Failures raise
// SOAPException.
//
// Host arrays are walked as flat lists, items 1 to GetArrayLength; a bounded array is refused
// before any item is read. Every array info taken from the host is given back on every way out.
#pragma once

#include "easysoap/soap_parameter.h"
#include "types/xml_data_type_table.h"

namespace tssoap {

// Gives parameter the type attribute of context's row: its name in the calling thread's type
// namespace; no namespace text when the thread has no namespace block. The table is kept in
// context.typeAttribute, when there is one, for the next value of the same row.
void SetTypeAttribute(const ConversionContext& context, SOAPParameter& parameter);

// The row operation of each layout, for the request and for the response.
using RowOperation = void (*)(ConversionContext& context);
using ResponseRowOperation = void (*)(ResponseContext& context);

void ScalarOut(ConversionContext& context);
void ScalarIn(ResponseContext& context);
void EncodedArrayOut(ConversionContext& context);
void EncodedArrayIn(ResponseContext& context);
void RepeatedOut(ConversionContext& context);
void RepeatedIn(ResponseContext& context);
void WrappedOut(ConversionContext& context);

}  // namespace tssoap
