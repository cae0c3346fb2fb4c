#include "types/xml_data_type_table.h"

#include "host/proxy_variables.h"
#include "support/soap_vocabulary.h"
#include "types/binary_types.h"
#include "types/date_time_types.h"
#include "types/floating_types.h"
#include "types/integer_types.h"
#include "types/partial_types.h"
#include "types/text_types.h"

namespace tssoap {

namespace {

constexpr XmlDataTypeRow Row(NamespaceGroupId group, const char* name, HostValueKind hostKind,
                             HostValueKind itemKind, const RowConversion& conversion) {
  return XmlDataTypeRow{group, name, hostKind, itemKind, &conversion};
}

constexpr XmlDataTypeRow Row(const char* name, HostValueKind kind,
                             const RowConversion& conversion) {
  return Row(kSchemaTypes, name, kind, kind, conversion);
}

}  // namespace

constinit const XmlDataTypeRow XmlDataTypeTable[kXmlDataTypeRowCount + 1] = {
    Row("boolean", kHostBoolean, kBooleanConversion),
    Row("unsignedByte", kHostUint, kUnsignedByteConversion),
    Row("byte", kHostInt, kByteConversion),
    Row("short", kHostInt, kShortConversion),
    Row("unsignedShort", kHostUint, kUnsignedShortConversion),
    Row("integer", kHostLongLong, kIntegerConversion),
    Row("int", kHostLong, kIntConversion),
    Row("unsignedInt", kHostUlong, kUnsignedIntConversion),
    Row("long", kHostLongLong, kLongConversion),
    Row("unsignedLong", kHostLongLong, kUnsignedLongConversion),
    Row("float", kHostReal, kFloatConversion),
    Row("double", kHostDouble, kDoubleConversion),
    Row("decimal", kHostDecimal, kDecimalConversion),
    Row("string", kHostString, kStringConversion),
    Row("date", kHostDate, kDateConversion),
    Row("time", kHostTime, kTimeConversion),
    Row("duration", kHostDouble, kDurationConversion),
    // Kind 0 matches no host argument; its array slots are those of datetime.
    Row(kSchemaTypes, "timeInstant", kHostUnknown, kHostDateTime, kTimeInstantConversion),
    Row("dateTime", kHostDateTime, kDateTimeConversion),
    // A name of the SOAP encoding, not of XML Schema.
    Row(kSoapEncodingOnly, "base64", kHostBlob, kHostBlob, kBase64Conversion),
    Row("base64Binary", kHostBlob, kBase64Conversion),
    Row("hexBinary", kHostBlob, kHexBinaryConversion),
    Row("nonNegativeInteger", kHostLongLong, kNonNegativeIntegerConversion),
    Row("negativeInteger", kHostLongLong, kNegativeIntegerConversion),
    Row("nonPositiveInteger", kHostLongLong, kNonPositiveIntegerConversion),
    Row("positiveInteger", kHostLongLong, kPositiveIntegerConversion),
    Row("gYear", kHostString, kGYearConversion),
    Row("gYearMonth", kHostString, kGYearMonthConversion),
    Row("gMonth", kHostString, kGMonthConversion),
    Row("gMonthDay", kHostString, kGMonthDayConversion),
    Row("gDay", kHostString, kGDayConversion),
    Row("anyURI", kHostString, kAnyUriConversion),
    Row("QName", kHostString, kQNameConversion),
    Row("NOTATION", kHostString, kNotationConversion),
    Row("normalizedString", kHostString, kNormalizedStringConversion),
    Row("token", kHostString, kTokenConversion),
    Row("language", kHostString, kTokenTypeConversion),
    Row("NMTOKEN", kHostString, kTokenTypeConversion),
    Row("NMTOKENS", kHostString, kTokenTypeConversion),
    Row("Name", kHostString, kTokenTypeConversion),
    Row("NCName", kHostString, kTokenTypeConversion),
    Row("ID", kHostString, kTokenTypeConversion),
    Row("IDREF", kHostString, kTokenTypeConversion),
    Row("IDREFS", kHostString, kTokenTypeConversion),
    Row("ENTITY", kHostString, kTokenTypeConversion),
    Row("ENTITIES", kHostString, kTokenTypeConversion),
    XmlDataTypeRow{kSchemaTypes, "", kHostUnknown, kHostUnknown, nullptr},
};

XmlTypeCode FindXmlType(std::string_view localName, const char* ns) {
  for (int index = 0; XmlDataTypeTable[index].name[0] != '\0'; ++index) {
    const XmlDataTypeRow& row = XmlDataTypeTable[index];
    // Compared in full, so that "int" never finds "integer"; the first character first, which
    // passes over most rows without measuring their names.
    if (localName.empty() || row.name[0] != localName[0] || localName != row.name) continue;
    // The first row with the name decides: a wrong namespace doesn't fall through to another row.
    if (!NamespaceGroupContains(row.namespaceGroup, ns)) return kNoXmlType;
    return XmlTypeCode{static_cast<int16_t>(index), row.hostKind};
  }
  return kNoXmlType;
}

XmlTypeCode LookupXmlType(IHostSession& session, HostObject proxy, std::string_view typeName) {
  if (typeName.empty()) return kNoXmlType;
  // A name without a prefix has no namespace, and no namespace matches none.
  const char* ns = ResolvePrefix(session, proxy, typeName);
  return FindXmlType(LocalPartOf(typeName), ns);
}

}  // namespace tssoap
