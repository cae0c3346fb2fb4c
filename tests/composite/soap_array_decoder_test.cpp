// DecodeSoapArray against one table of wire cases: each array element is parsed from XML by the
// library's parser, so that the decoder sees the trees a server's answer gives it, multi-reference
// values included.
#include "composite/soap_array_decoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "easysoap/soap_parser.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"

namespace tssoap {
namespace {

// The array is the first child of the method element; the elements behind it are the targets of
// its references. Prefixes: E the SOAP encoding, B its namespace without the slash, i and o the
// 2001 and 1999 schema instances.
const SOAPParameter& ParseArray(const std::string& wire, SOAPResponse& response) {
  const std::string xml = std::string("<s:Envelope xmlns:s='") + kSoapEnvNamespace + "' xmlns:E='" +
                          kSoapEncNamespace + "' xmlns:B='" + kSoapEncNamespaceBare +
                          "' xmlns:i='" + kXsiNamespace +
                          "' xmlns:o='http://www.w3.org/1999/XMLSchema-instance' xmlns:xsd='" +
                          kXsdNamespace2001 + "'><s:Body><m>" + wire + "</m></s:Body></s:Envelope>";
  SOAPParser::ParseResponse(xml.data(), xml.size(), nullptr, response);
  return *response.GetMethod().GetParams()[0];
}

#define INVALID(tag) "Invalid value for array encoding tag '" tag "': "
#define NIL_WITH_VALUES "Got xsi:nil attribute on array but parameter has values.."
#define TOO_MANY "Error de-serializing array.  Too many values in array.  Array specified "
#define PREVIOUS(at)                                                                      \
  "Error decoding array, position attribute cannot point to a previous element. Current " \
  "position: " at ", next position: "
#define OUT_OF_RANGE(size) \
  "Error decoding array, position out of range. Current size: " size ", requested position: "

// The decoded slots as "[text]", "[~]" for a null one, or the message of the refusal.
const struct {
  const char* name;
  const char* wire;
  const char* expected;
} kWireCases[] = {
    {"nil of 1999", "<a o:nil='true'><i>a</i></a>", "[a]"},
    {"any child names", "<a><i>a</i><x>b</x></a>", "[a][b]"},
    {"empty brackets declare no size", "<a E:arrayType='x[]'><i>a</i><i>b</i></a>", "[a][b]"},
    {"nothing behind empty brackets is read", "<a E:arrayType='x[]junk'><i>a</i></a>", "[a]"},
    {"trailing slots stay default", "<a E:arrayType='xsd:string[3]'><i>a</i></a>", "[a][][]"},
    {"only the last bracket counts", "<a E:arrayType='xsd:int[2][3]'><i>1</i></a>", "[1][][]"},
    {"a space before the number and a sign", "<a E:arrayType='[ +2]'><i>a</i></a>", "[a][]"},
    {"arrayType of the bare namespace", "<a B:arrayType='[0]'><i>a</i></a>", "[a]"},
    {"nil and empty children", "<a><i/><i i:nil='true'/><i></i></a>", "[][~][]"},
    {"empty offset means zero", "<a E:arrayType='[2]' E:offset='[]'><i>a</i></a>", "[a][]"},
    {"offset, position",
     "<a E:arrayType='[4]' E:offset='[1]'><i>a</i><i E:position='[3]'>b</i></a>", "[][a][][b]"},
    {"skip to the last", "<a E:arrayType='[3]'><i E:position='[2]'>a</i></a>", "[][][a]"},
    {"bare position", "<a E:arrayType='[2]'><i B:position='[1]'>a</i></a>", "[a][]"},
    {"through a reference",
     "<a href='#r' E:arrayType='[0]'/><r id='r' E:arrayType='[2]'><i>a</i></r>", "[a][]"},
    {"the child's own position",
     "<a E:arrayType='[3]'><i href='#x' E:position='[2]'/></a><x id='x' E:position='[0]'>a</x>",
     "[][][a]"},
    {"no referenced position", "<a><i href='#x'/><i>b</i></a><x id='x' E:position='[1]'>a</x>",
     "[a][b]"},
    {"nil, even false, with children", "<a i:nil='false'><i/></a>", NIL_WITH_VALUES},
    {"too many children", "<a E:arrayType='[2]'><i/><i/><i/></a>", TOO_MANY "2, found 3."},
    // Unreadable dimension texts.
    {"two dimensions", "<a E:arrayType='x[2,3]'/>", INVALID("arrayType") "x[2,3]"},
    {"unclosed", "<a E:arrayType='xsd:string[2'/>", INVALID("arrayType") "xsd:string[2"},
    {"text behind the bracket", "<a E:arrayType='[2]x'/>", INVALID("arrayType") "[2]x"},
    {"a space behind the number", "<a E:arrayType='[2 ]'/>", INVALID("arrayType") "[2 ]"},
    {"a sign alone", "<a E:arrayType='[-]'/>", INVALID("arrayType") "[-]"},
    {"no bracket", "<a E:arrayType='xsd:string'/>", INVALID("arrayType") "xsd:string"},
    {"empty arrayType", "<a E:arrayType=''/>", INVALID("arrayType")},
    {"invalid before too many", "<a E:arrayType='[x]'><i/></a>", INVALID("arrayType") "[x]"},
    {"unreadable offset", "<a E:arrayType='[2]' E:offset='2'><i/></a>", INVALID("offset") "2"},
    {"too many first", "<a E:arrayType='[0]' E:offset='2'><i/></a>", TOO_MANY "0, found 1."},
    {"unreadable position", "<a><i E:position='[1'/></a>", INVALID("position") "[1"},
    // Sizes that must never reach the allocator.
    {"negative size", "<a E:arrayType='[-1]'/>", INVALID("arrayType") "[-1]"},
    {"huge size", "<a E:arrayType='[4000000000]'/>", INVALID("arrayType") "[4000000000]"},
    {"64 bits", "<a E:arrayType='[99999999999999999999]'/>",
     INVALID("arrayType") "[99999999999999999999]"},
    {"unfilled slots", "<a E:arrayType='[65538]'><i/></a>", INVALID("arrayType") "[65538]"},
    {"positions buy none", "<a E:arrayType='[16777216]'><i E:position='[16777215]'/></a>",
     INVALID("arrayType") "[16777216]"},
    // Sparse positions.
    {"behind", "<a E:arrayType='[5]'><i E:position='[3]'/><i E:position='[1]'/></a>",
     PREVIOUS("[4]") "[1]"},
    {"twice", "<a E:arrayType='[5]'><i E:position='[2]'/><i E:position='[2]'/></a>",
     PREVIOUS("[3]") "[2]"},
    {"before range", "<a E:arrayType='[2]' E:offset='[4]'><i E:position='[3]'/></a>",
     PREVIOUS("[4]") "[3]"},
    {"at the size", "<a E:arrayType='[5]'><i E:position='[5]'/></a>", OUT_OF_RANGE("[5]") "[5]"},
    {"negative", "<a E:arrayType='[5]'><i E:position='[-1]'/></a>", OUT_OF_RANGE("[5]") "[-1]"},
    {"empty", "<a E:arrayType='[5]'><i E:position='[]'/></a>", OUT_OF_RANGE("[5]") "[-1]"},
    {"after the last slot", "<a E:arrayType='[2]'><i E:position='[1]'/><i/></a>",
     OUT_OF_RANGE("[2]") "[2]"},
    {"offset at the size", "<a E:arrayType='[3]' E:offset='[3]'><i/></a>",
     OUT_OF_RANGE("[3]") "[3]"},
    {"negative offset", "<a E:arrayType='[3]' E:offset='[-1]'><i/></a>",
     OUT_OF_RANGE("[3]") "[-1]"},
};

TEST(DecodeSoapArray, DecodesOrRefusesWithTheMessage) {
  for (const auto& c : kWireCases) {
    SCOPED_TRACE(c.name);
    SOAPResponse response;
    const SOAPParameter& element = ParseArray(c.wire, response);
    XmlTextSlots slots;
    std::string decoded;
    try {
      EXPECT_EQ(&DecodeSoapArray(element, slots), &element);
      for (const XmlTextView& item : slots) {
        if (item.isNull) {
          decoded += "[~]";
        } else {
          decoded.append("[").append(item.text).append("]");
        }
      }
    } catch (const SOAPException& failure) {
      decoded = failure.What();
    }
    EXPECT_EQ(decoded, c.expected);
  }
}

// The limit on unfilled slots is exact: the largest size it allows decodes, one more doesn't.
TEST(DecodeSoapArray, AllowsExactlyTheUnfilledSlotLimit) {
  SOAPResponse response;
  XmlTextSlots slots;
  DecodeSoapArray(ParseArray("<a E:arrayType='[65537]'><i>a</i></a>", response), slots);
  ASSERT_EQ(slots.Size(), kMaxUnfilledSlots + 1);
  EXPECT_EQ(slots[kMaxUnfilledSlots].text, "");
  EXPECT_FALSE(slots[kMaxUnfilledSlots].isNull);
}

}  // namespace
}  // namespace tssoap
