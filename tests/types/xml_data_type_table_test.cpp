// The type table: its rows as the contract gives them, and the lookup by prefixed name under the
// namespaces of each row's group.
#include "types/xml_data_type_table.h"

#include <gtest/gtest.h>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::TypesHost;

TEST(XmlDataTypeTable, HoldsTheRowsInTheirOrderWithTheirKinds) {
  const struct {
    const char* name;
    HostValueKind kind;
  } rows[kXmlDataTypeRowCount] = {
      {"boolean", kHostBoolean},
      {"unsignedByte", kHostUint},
      {"byte", kHostInt},
      {"short", kHostInt},
      {"unsignedShort", kHostUint},
      {"integer", kHostLongLong},
      {"int", kHostLong},
      {"unsignedInt", kHostUlong},
      {"long", kHostLongLong},
      {"unsignedLong", kHostLongLong},
      {"float", kHostReal},
      {"double", kHostDouble},
      {"decimal", kHostDecimal},
      {"string", kHostString},
      {"date", kHostDate},
      {"time", kHostTime},
      {"duration", kHostDouble},
      {"timeInstant", kHostUnknown},
      {"dateTime", kHostDateTime},
      {"base64", kHostBlob},
      {"base64Binary", kHostBlob},
      {"hexBinary", kHostBlob},
      {"nonNegativeInteger", kHostLongLong},
      {"negativeInteger", kHostLongLong},
      {"nonPositiveInteger", kHostLongLong},
      {"positiveInteger", kHostLongLong},
      {"gYear", kHostString},
      {"gYearMonth", kHostString},
      {"gMonth", kHostString},
      {"gMonthDay", kHostString},
      {"gDay", kHostString},
      {"anyURI", kHostString},
      {"QName", kHostString},
      {"NOTATION", kHostString},
      {"normalizedString", kHostString},
      {"token", kHostString},
      {"language", kHostString},
      {"NMTOKEN", kHostString},
      {"NMTOKENS", kHostString},
      {"Name", kHostString},
      {"NCName", kHostString},
      {"ID", kHostString},
      {"IDREF", kHostString},
      {"IDREFS", kHostString},
      {"ENTITY", kHostString},
      {"ENTITIES", kHostString},
  };
  for (int index = 0; index < kXmlDataTypeRowCount; ++index) {
    const XmlDataTypeRow& row = XmlDataTypeTable[index];
    EXPECT_STREQ(row.name, rows[index].name) << index;
    EXPECT_EQ(row.hostKind, rows[index].kind) << row.name;
    // The item kind differs from the row's own only in timeInstant.
    EXPECT_EQ(row.itemKind, index == 17 ? kHostDateTime : rows[index].kind) << row.name;
    EXPECT_EQ(row.namespaceGroup, index == 19 ? 1u : 0u) << row.name;
    ASSERT_NE(row.conversion, nullptr) << row.name;
    ASSERT_NE(row.operations, nullptr) << row.name;
  }
  EXPECT_STREQ(XmlDataTypeTable[kXmlDataTypeRowCount].name, "");
}

TEST(FindXmlType, MatchesAGroupsNamespacesExactly) {
  const struct {
    const char* name;
    const char* ns;
    XmlTypeCode code;
  } cases[] = {
      {"string", kXsdNamespace2001, MakeXmlTypeCode(13, kHostString)},
      {"string", kXsdNamespace2001Slash, MakeXmlTypeCode(13, kHostString)},
      {"string", kXsdNamespace1999, MakeXmlTypeCode(13, kHostString)},
      {"string", kXsdNamespace1999Slash, MakeXmlTypeCode(13, kHostString)},
      {"string", kSoapEncNamespace, MakeXmlTypeCode(13, kHostString)},
      {"string", kSoapEncNamespaceBare, MakeXmlTypeCode(13, kHostString)},
      {"string", "http://www.w3.org/2001/xmlschema", kNoXmlType},
      {"string", "http://www.w3.org/2001/XMLSchema#x", kNoXmlType},
      {"string", "", kNoXmlType},
      {"string", nullptr, kNoXmlType},
      {"base64", kSoapEncNamespace, MakeXmlTypeCode(19, kHostBlob)},
      {"base64", kXsdNamespace2001, kNoXmlType},
      {"base64Binary", kSoapEncNamespaceBare, MakeXmlTypeCode(20, kHostBlob)},
      {"timeInstant", kXsdNamespace2001, MakeXmlTypeCode(17, kHostUnknown)},
      {"", kXsdNamespace2001, kNoXmlType},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FindXmlType(c.name, c.ns), c.code) << c.name << " " << (c.ns ? c.ns : "(none)");
  }
}

TEST(LookupXmlType, ResolvesThePrefixThroughTheProxy) {
  TypesHost host;
  const std::pair<const char*, XmlTypeCode> cases[] = {
      {"xsd:int", MakeXmlTypeCode(6, kHostLong)},
      {"xsd:integer", MakeXmlTypeCode(5, kHostLongLong)},
      {"xsd:Int", kNoXmlType},
      {"xsd1999:dateTime", MakeXmlTypeCode(18, kHostDateTime)},
      {"SOAP-ENC:base64", MakeXmlTypeCode(19, kHostBlob)},
      {"SOAP-ENC:string", MakeXmlTypeCode(13, kHostString)},
      {"xsd:base64", kNoXmlType},
      {"tns:string", kNoXmlType},
      {"nosuch:string", kNoXmlType},
      {"string", kNoXmlType},
      {"", kNoXmlType},
  };
  for (const auto& [name, code] : cases) {
    EXPECT_EQ(LookupXmlType(host.runtime, host.proxy, name), code) << name;
  }
  EXPECT_TRUE(host.runtime.Misuses().empty());
}

TEST(XmlTypeCode, NoRowServesNoKind) {
  EXPECT_EQ(XmlTypeKind(kNoXmlType), 65535);
  EXPECT_FALSE(XmlTypeServesKind(kNoXmlType, static_cast<HostValueKind>(-1)));
  EXPECT_TRUE(XmlTypeServesKind(MakeXmlTypeCode(6, kHostLong), kHostLong));
  EXPECT_FALSE(XmlTypeServesKind(MakeXmlTypeCode(6, kHostLong), kHostLongLong));
  EXPECT_EQ(XmlTypeRowIndex(MakeXmlTypeCode(45, kHostString)), 45);
}

}  // namespace
}  // namespace tssoap
