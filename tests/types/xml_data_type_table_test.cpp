// The type table: its rows as the contract gives them, and the lookup by prefixed name under the
// namespaces of each row's group.
#include "types/xml_data_type_table.h"

#include <gtest/gtest.h>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::TypesHost;

TEST(XmlDataTypeTable, HoldsTheRowsInTheirOrderWithTheirKinds) {
  const char* const names =
      "boolean unsignedByte byte short unsignedShort integer int unsignedInt long unsignedLong "
      "float double decimal string date time duration timeInstant dateTime base64 base64Binary "
      "hexBinary nonNegativeInteger negativeInteger nonPositiveInteger positiveInteger gYear "
      "gYearMonth gMonth gMonthDay gDay anyURI QName NOTATION normalizedString token language "
      "NMTOKEN NMTOKENS Name NCName ID IDREF IDREFS ENTITY ENTITIES";
  const int kinds[kXmlDataTypeRowCount] = {
      7, 9,  1,  1, 9, 20, 2,  10, 20, 20, 3,  4,  5,
      6, 12, 13, 4, 0, 14, 11, 11, 11, 20, 20, 20, 20};  // then strings
  std::string listed;
  for (int index = 0; index < kXmlDataTypeRowCount; ++index) {
    const XmlDataTypeRow& row = XmlDataTypeTable[index];
    listed += (index == 0 ? "" : " ") + std::string(row.name);
    EXPECT_EQ(row.hostKind, index < 26 ? kinds[index] : kHostString) << row.name;
    // The item kind differs from the row's own only in timeInstant; base64 alone is group 1.
    EXPECT_EQ(row.itemKind, index == 17 ? kHostDateTime : row.hostKind) << row.name;
    EXPECT_EQ(row.namespaceGroup, index == 19 ? 1u : 0u) << row.name;
  }
  EXPECT_EQ(listed, names);
  EXPECT_STREQ(XmlDataTypeTable[kXmlDataTypeRowCount].name, "");
}

TEST(FindXmlType, MatchesAGroupsNamespacesExactly) {
  const XmlTypeCode string = MakeXmlTypeCode(13, kHostString);
  const std::tuple<const char*, const char*, XmlTypeCode> cases[] = {
      {"string", kXsdNamespace2001, string},
      {"string", kXsdNamespace2001Slash, string},
      {"string", kXsdNamespace1999, string},
      {"string", kXsdNamespace1999Slash, string},
      {"string", kSoapEncNamespace, string},
      {"string", kSoapEncNamespaceBare, string},
      {"string", "http://www.w3.org/2001/xmlschema", kNoXmlType},
      {"string", "http://www.w3.org/2001/XMLSchema#x", kNoXmlType},
      {"string", "", kNoXmlType},
      {"string", nullptr, kNoXmlType},
      {"base64", kXsdNamespace2001, kNoXmlType},
      {"timeInstant", kXsdNamespace2001, MakeXmlTypeCode(17, kHostUnknown)}};
  for (const auto& [name, ns, code] : cases) {
    EXPECT_EQ(FindXmlType(name, ns), code) << name << " " << (ns ? ns : "(none)");
  }
}

TEST(LookupXmlType, ResolvesThePrefixThroughTheProxy) {
  TypesHost host;
  const std::pair<const char*, XmlTypeCode> cases[] = {
      {"xsd:int", MakeXmlTypeCode(6, kHostLong)},
      {"xsd:integer", MakeXmlTypeCode(5, kHostLongLong)},
      {"xsd1999:dateTime", MakeXmlTypeCode(18, kHostDateTime)},
      {"SOAP-ENC:base64", MakeXmlTypeCode(19, kHostBlob)},
      {"SOAP-ENC:string", MakeXmlTypeCode(13, kHostString)},
      {"xsd:Int", kNoXmlType},
      {"xsd:base64", kNoXmlType},
      {"nosuch:string", kNoXmlType},
      {"string", kNoXmlType},
      {"", kNoXmlType}};
  for (const auto& [name, code] : cases) {
    EXPECT_EQ(LookupXmlType(host.runtime, host.proxy, name), code) << name;
  }
  // The low half of "no row" is no host kind, not even a kind the host shouldn't give.
  EXPECT_FALSE(XmlTypeServesKind(kNoXmlType, static_cast<HostValueKind>(-1)));
}

}  // namespace
}  // namespace tssoap
