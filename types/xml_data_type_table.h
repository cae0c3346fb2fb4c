// The table of XML data types: the one place that binds an XML Schema type name, under the
// namespaces of its group, to the host kind it serves. Each of the 46 rows is data -- group, name,
// host kind, array item kind and the row's two value conversions -- and the table ends with a row
// whose name is empty. The row operations (types/row_operations.h) serve every row alike. There is
// no reverse table: a host kind never chooses a row. Everything here is constant and may be read
// from any thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "composite/xml_value.h"
#include "host/host_interfaces.h"
#include "types/conversion_context.h"

namespace tssoap {

// The value conversions of a row. ToXmlText copies record.isNull into the XmlValueText and, for a
// value, writes its lexical form; FromXmlText sets record.isNull and record.kind and, for a value,
// parses the text into record.value. Both raise SOAPException for what the type can't hold.
using ToXmlTextFn = void (*)(XmlValueText& value, ConversionContext& context);
using FromXmlTextFn = void (*)(const XmlTextView& value, ResponseContext& context);

// The first step of every ToXmlText; true when the value is null and nothing more is written.
inline bool CopyNullOut(XmlValueText& value, const HostValueRecord& record) {
  value.isNull = record.isNull != 0;
  return value.isNull;
}
// The first step of every FromXmlText; true when the value is null and nothing more is read.
inline bool CopyNullIn(const XmlTextView& value, HostValueRecord& record, HostValueKind kind) {
  record.isNull = value.isNull ? 1 : 0;
  record.kind = kind;
  return value.isNull;
}

// A row's conversion pair. A family whose rows differ only in constants (ranges, messages, text
// steps) derives its own record from this one; its conversions read the record back through
// context.row->conversion, so one routine serves all rows of the family.
struct RowConversion {
  ToXmlTextFn toXmlText;
  FromXmlTextFn fromXmlText;
};

struct XmlDataTypeRow {
  uint32_t namespaceGroup;  // NamespaceGroupId under which the name is recognised
  const char* name;         // local XML type name, compared exactly; empty in the end row
  HostValueKind hostKind;   // the kind the row serves (0 for timeInstant: no host value)
  HostValueKind itemKind;   // the kind whose array item access the array operations use
  const RowConversion* conversion;
};

// The family record of the row that runs, for the conversions of a family that derives its own.
template <typename Family, typename Context>
const Family& FamilyConversion(const Context& context) {
  return static_cast<const Family&>(*context.row->conversion);
}

inline constexpr int kXmlDataTypeRowCount = 46;
// The 46 rows followed by the end row.
extern const XmlDataTypeRow XmlDataTypeTable[kXmlDataTypeRowCount + 1];

// What a lookup answers: the row and the host kind it serves, or no row.
struct XmlTypeCode {
  int16_t row = -1;  // index into XmlDataTypeTable; -1 for no row
  HostValueKind kind = kHostUnknown;

  bool Found() const { return row >= 0; }
  // True when a row is found whose kind is the host value's kind: the whole of the type check.
  bool Serves(HostValueKind hostKind) const { return Found() && kind == hostKind; }
  // The row of a code that was found.
  const XmlDataTypeRow& Row() const { return XmlDataTypeTable[row]; }
  bool operator==(const XmlTypeCode&) const = default;
};
inline constexpr XmlTypeCode kNoXmlType{};

// The row of localName whose group holds ns. The first row with that name decides: a name under a
// namespace outside its group is kNoXmlType and never falls through to another row. A null or
// empty ns never matches.
XmlTypeCode FindXmlType(std::string_view localName, const char* ns);
// The same for a prefixed type name as a method description writes it, the prefix resolved through
// the proxy's variables. An empty name, or one without a prefix, is kNoXmlType.
XmlTypeCode LookupXmlType(IHostSession& session, HostObject proxy, std::string_view typeName);

}  // namespace tssoap
