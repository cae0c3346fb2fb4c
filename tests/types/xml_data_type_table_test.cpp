// The type table's lookup by prefixed name under the namespaces of each row's group. (What each row
// converts is in row_conversions_test.cpp.)
#include "types/xml_data_type_table.h"

#include <gtest/gtest.h>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::TypesHost;

TEST(XmlDataTypeTable, HoldsEveryRowInItsPlace) {
  // Position, name, namespace group, host kind and item kind of every row: lookups answer with
  // the position, so a row moved or changed shows here.
  struct Expected {
    const char* name;
    NamespaceGroupId group;
    HostValueKind hostKind;
    HostValueKind itemKind;
  };
  constexpr NamespaceGroupId xs = kSchemaTypes;
  const Expected rows[kXmlDataTypeRowCount] = {
      {"boolean", xs, kHostBoolean, kHostBoolean},
      {"unsignedByte", xs, kHostUint, kHostUint},
      {"byte", xs, kHostInt, kHostInt},
      {"short", xs, kHostInt, kHostInt},
      {"unsignedShort", xs, kHostUint, kHostUint},
      {"integer", xs, kHostLongLong, kHostLongLong},
      {"int", xs, kHostLong, kHostLong},
      {"unsignedInt", xs, kHostUlong, kHostUlong},
      {"long", xs, kHostLongLong, kHostLongLong},
      {"unsignedLong", xs, kHostLongLong, kHostLongLong},
      {"float", xs, kHostReal, kHostReal},
      {"double", xs, kHostDouble, kHostDouble},
      {"decimal", xs, kHostDecimal, kHostDecimal},
      {"string", xs, kHostString, kHostString},
      {"date", xs, kHostDate, kHostDate},
      {"time", xs, kHostTime, kHostTime},
      {"duration", xs, kHostDouble, kHostDouble},
      {"timeInstant", xs, kHostUnknown, kHostDateTime},
      {"dateTime", xs, kHostDateTime, kHostDateTime},
      {"base64", kSoapEncodingOnly, kHostBlob, kHostBlob},
      {"base64Binary", xs, kHostBlob, kHostBlob},
      {"hexBinary", xs, kHostBlob, kHostBlob},
      {"nonNegativeInteger", xs, kHostLongLong, kHostLongLong},
      {"negativeInteger", xs, kHostLongLong, kHostLongLong},
      {"nonPositiveInteger", xs, kHostLongLong, kHostLongLong},
      {"positiveInteger", xs, kHostLongLong, kHostLongLong},
      {"gYear", xs, kHostString, kHostString},
      {"gYearMonth", xs, kHostString, kHostString},
      {"gMonth", xs, kHostString, kHostString},
      {"gMonthDay", xs, kHostString, kHostString},
      {"gDay", xs, kHostString, kHostString},
      {"anyURI", xs, kHostString, kHostString},
      {"QName", xs, kHostString, kHostString},
      {"NOTATION", xs, kHostString, kHostString},
      {"normalizedString", xs, kHostString, kHostString},
      {"token", xs, kHostString, kHostString},
      {"language", xs, kHostString, kHostString},
      {"NMTOKEN", xs, kHostString, kHostString},
      {"NMTOKENS", xs, kHostString, kHostString},
      {"Name", xs, kHostString, kHostString},
      {"NCName", xs, kHostString, kHostString},
      {"ID", xs, kHostString, kHostString},
      {"IDREF", xs, kHostString, kHostString},
      {"IDREFS", xs, kHostString, kHostString},
      {"ENTITY", xs, kHostString, kHostString},
      {"ENTITIES", xs, kHostString, kHostString},
  };
  for (int index = 0; index < kXmlDataTypeRowCount; ++index) {
    const XmlDataTypeRow& row = XmlDataTypeTable[index];
    const Expected& expected = rows[index];
    EXPECT_STREQ(row.name, expected.name) << index;
    EXPECT_EQ(row.namespaceGroup, expected.group) << expected.name;
    EXPECT_EQ(row.hostKind, expected.hostKind) << expected.name;
    EXPECT_EQ(row.itemKind, expected.itemKind) << expected.name;
    EXPECT_NE(row.conversion, nullptr) << expected.name;
  }
  EXPECT_STREQ(XmlDataTypeTable[kXmlDataTypeRowCount].name, "") << "the end row";
}

TEST(FindXmlType, MatchesAGroupsNamespacesExactly) {
  const XmlTypeCode string = XmlTypeCode{13, kHostString};
  const std::tuple<const char*, const char*, XmlTypeCode> cases[] = {
      {"string", kXsdNamespace2001, string},
      {"string", kXsdNamespace2001Slash, string},
      {"string", kXsdNamespace1999, string},
      {"string", kSoapEncNamespace, string},
      {"string", kSoapEncNamespaceBare, string},
      {"string", "http://www.w3.org/2001/xmlschema", kNoXmlType},
      {"string", "http://www.w3.org/2001/XMLSchema#x", kNoXmlType},
      {"string", "", kNoXmlType},
      {"string", nullptr, kNoXmlType},
      {"base64", kXsdNamespace2001, kNoXmlType},
      {"timeInstant", kXsdNamespace2001, XmlTypeCode{17, kHostUnknown}}};
  for (const auto& [name, ns, code] : cases) {
    EXPECT_EQ(FindXmlType(name, ns), code) << name << " " << (ns ? ns : "(none)");
  }
}

TEST(LookupXmlType, ResolvesThePrefixThroughTheProxy) {
  TypesHost host;
  const std::pair<const char*, XmlTypeCode> cases[] = {
      {"xsd:int", XmlTypeCode{6, kHostLong}},
      {"xsd:integer", XmlTypeCode{5, kHostLongLong}},
      {"xsd1999:dateTime", XmlTypeCode{18, kHostDateTime}},
      {"SOAP-ENC:base64", XmlTypeCode{19, kHostBlob}},
      {"xsd:Int", kNoXmlType},
      {"xsd:base64", kNoXmlType},
      {"nosuch:string", kNoXmlType}};
  for (const auto& [name, code] : cases) {
    EXPECT_EQ(LookupXmlType(host.runtime, host.proxy, name), code) << name;
  }
  // "No row" serves no host kind, not even a kind the host shouldn't give.
  EXPECT_FALSE(kNoXmlType.Serves(static_cast<HostValueKind>(-1)));
  EXPECT_TRUE(XmlTypeCode({17, kHostUnknown}).Serves(kHostUnknown)) << "timeInstant serves kind 0";
}

}  // namespace
}  // namespace tssoap
