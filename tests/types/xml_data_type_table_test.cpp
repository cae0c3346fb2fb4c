// The type table's lookup by prefixed name under the namespaces of each row's group. (What each row
// converts is in row_conversions_test.cpp.)
#include "types/xml_data_type_table.h"

#include <gtest/gtest.h>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::TypesHost;

TEST(FindXmlType, MatchesAGroupsNamespacesExactly) {
  const XmlTypeCode string = MakeXmlTypeCode(13, kHostString);
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
      {"xsd:Int", kNoXmlType},
      {"xsd:base64", kNoXmlType},
      {"nosuch:string", kNoXmlType}};
  for (const auto& [name, code] : cases) {
    EXPECT_EQ(LookupXmlType(host.runtime, host.proxy, name), code) << name;
  }
  // The low half of "no row" is no host kind, not even a kind the host shouldn't give.
  EXPECT_FALSE(XmlTypeServesKind(kNoXmlType, static_cast<HostValueKind>(-1)));
}

}  // namespace
}  // namespace tssoap
