// DecodeSoapArray against one table of wire cases: element trees built directly, as the library
// would hand them over after parsing.
#include "composite/soap_array_decoder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"

namespace tssoap {
namespace {

struct WireAttribute {
  const char* name = "";
  const char* ns;
  const char* text;
};

WireAttribute ArrayType(const char* text) { return {"arrayType", kSoapEncNamespace, text}; }
WireAttribute Offset(const char* text) { return {"offset", kSoapEncNamespace, text}; }
WireAttribute Nil(const char* text) { return {"nil", kXsiNamespace, text}; }

struct WireChild {
  const char* text = "";  // null: an element without character content
  const char* position = nullptr;
  bool nil = false;
  const char* name = "item";
  // When set, the child's value data in force is another element's, which carries this position
  // and the text; the child's own data keeps `position` and nothing else.
  const char* referencedPosition = nullptr;
  const char* positionNamespace = kSoapEncNamespace;
};

struct Slot {
  std::string text;
  bool isNull = false;
  bool operator==(const Slot&) const = default;
};

struct WireCase {
  const char* name = "";
  std::vector<WireAttribute> attributes = {};
  std::vector<WireChild> children = {};
  std::vector<Slot> slots = {};  // the decoded items, when the case succeeds
  const char* error = nullptr;   // the message, when it fails
  // The element's value data in force is another element's, which holds the attributes and
  // children; its own data holds a declared size of 0 that must not be read.
  bool throughReference = false;
};

void PrintTo(const WireCase& wireCase, std::ostream* out) { *out << wireCase.name; }

// Owns the elements of one case: the array element and whatever the values point at.
class WireTree {
 public:
  explicit WireTree(const WireCase& wireCase) {
    SOAPParameter* holder = &element_;
    if (wireCase.throughReference) {
      element_.AddAttribute(SOAPQName("arrayType", kSoapEncNamespace)).SetName("xsd:string[0]");
      holder = Keep();
      element_.PointValueAt(&holder->GetValue());
    }
    for (const WireAttribute& attribute : wireCase.attributes) {
      holder->AddAttribute(SOAPQName(attribute.name, attribute.ns)).SetName(attribute.text);
    }
    for (const WireChild& child : wireCase.children) AddChild(*holder, child);
  }

  const SOAPParameter& Element() const { return element_; }

 private:
  SOAPParameter* Keep() {
    kept_.push_back(std::make_unique<SOAPParameter>());
    return kept_.back().get();
  }

  void AddChild(SOAPParameter& parent, const WireChild& described) {
    SOAPParameter& child = parent.AddParameter(described.name);
    if (described.position != nullptr) {
      child.AddAttribute(SOAPQName("position", described.positionNamespace))
          .SetName(described.position);
    }
    SOAPParameter* content = &child;
    if (described.referencedPosition != nullptr) {
      content = Keep();
      content->AddAttribute(SOAPQName("position", kSoapEncNamespace))
          .SetName(described.referencedPosition);
      child.PointValueAt(&content->GetValue());
    }
    if (described.nil) content->SetNull(true);
    if (described.text != nullptr) content->SetString(described.text);
  }

  SOAPParameter element_;
  std::vector<std::unique_ptr<SOAPParameter>> kept_;
};

std::vector<Slot> Decoded(const XmlValueArray& array) {
  std::vector<Slot> slots;
  for (const XmlValueText& item : array.items) slots.push_back({item.text, item.isNull});
  return slots;
}

class DecodeSoapArrayTest : public ::testing::TestWithParam<WireCase> {};

TEST_P(DecodeSoapArrayTest, DecodesOrRefusesWithTheMessage) {
  const WireCase& wireCase = GetParam();
  WireTree tree(wireCase);
  XmlValueArray array("item", "");
  if (wireCase.error == nullptr) {
    const SOAPParameter& result = DecodeSoapArray(tree.Element(), array);
    EXPECT_EQ(&result, &tree.Element());
    EXPECT_EQ(Decoded(array), wireCase.slots);
    return;
  }
  try {
    DecodeSoapArray(tree.Element(), array);
    FAIL() << "decoded without complaint";
  } catch (const SOAPException& failure) {
    ASSERT_NE(failure.What(), nullptr);
    EXPECT_STREQ(failure.What(), wireCase.error);
  }
}

const Slot kEmpty{"", false};
const Slot kNull{"", true};

// The message of a position behind the current one, split where the table can't hold it whole.
#define PREVIOUS_ELEMENT \
  "Error decoding array, position attribute cannot point to a previous element. "

const WireCase kWireCases[] = {
    // Nil marks.
    {.name = "NilWithoutChildrenIsEmpty", .attributes = {Nil("true")}, .slots = {}},
    {.name = "NilFalseStillCountsAsNil", .attributes = {Nil("false")}, .slots = {}},
    {.name = "NilWithChildrenFails",
     .attributes = {Nil("true"), ArrayType("xsd:string[2]")},
     .children = {{.text = "a"}},
     .error = "Got xsi:nil attribute on array but parameter has values.."},
    {.name = "NilOfAnotherSchemaYearIsIgnored",
     .attributes = {{"nil", "http://www.w3.org/1999/XMLSchema-instance", "true"}},
     .children = {{.text = "a"}},
     .slots = {{"a"}}},

    // Sizes.
    {.name = "NoAttributesTakeChildrenInOrder",
     .children = {{.text = "a"}, {.text = "b"}, {.text = "c"}},
     .slots = {{"a"}, {"b"}, {"c"}}},
    {.name = "ChildNamesDontMatter",
     .children = {{.text = "a", .name = "x"}, {.text = "b", .name = "y"}},
     .slots = {{"a"}, {"b"}}},
    {.name = "EmptyBracketsMeanNoDeclaredSize",
     .attributes = {ArrayType("xsd:string[]")},
     .children = {{.text = "a"}, {.text = "b"}},
     .slots = {{"a"}, {"b"}}},
    {.name = "NothingBehindEmptyBracketsIsExamined",
     .attributes = {ArrayType("xsd:string[]junk")},
     .children = {{.text = "a"}},
     .slots = {{"a"}}},
    {.name = "DeclaredSizeLeavesTrailingSlotsDefault",
     .attributes = {ArrayType("xsd:string[5]")},
     .children = {{.text = "a"}, {.text = "b"}},
     .slots = {{"a"}, {"b"}, kEmpty, kEmpty, kEmpty}},
    {.name = "OnlyTheLastBracketCounts",
     .attributes = {ArrayType("xsd:int[2][3]")},
     .children = {{.text = "1"}},
     .slots = {{"1"}, kEmpty, kEmpty}},
    {.name = "ItemTypeIsNotCompared",
     .attributes = {ArrayType("[2]")},
     .children = {{.text = "1"}, {.text = "2"}},
     .slots = {{"1"}, {"2"}}},
    {.name = "SpaceBeforeTheNumberAndSignAreRead",
     .attributes = {ArrayType("xsd:string[ +2]")},
     .children = {{.text = "a"}},
     .slots = {{"a"}, kEmpty}},
    {.name = "ArrayTypeOfTheBareEncodingNamespaceIsIgnored",
     .attributes = {{"arrayType", kSoapEncNamespaceBare, "xsd:string[0]"}},
     .children = {{.text = "a"}},
     .slots = {{"a"}}},
    {.name = "NilAndMissingTextsOfChildren",
     .children = {{.text = nullptr}, {.nil = true}, {.text = ""}, {.text = "non-ASCII \xc3\xa9"}},
     .slots = {kEmpty, kNull, kEmpty, {"non-ASCII \xc3\xa9"}}},
    {.name = "SizeZeroWithoutChildrenIsEmpty",
     .attributes = {ArrayType("xsd:string[0]")},
     .slots = {}},
    {.name = "SizeZeroWithAChildFails",
     .attributes = {ArrayType("xsd:string[0]")},
     .children = {{.text = "a"}},
     .error =
         "Error de-serializing array.  Too many values in array.  Array specified 0, found 1."},
    {.name = "TooManyChildrenFail",
     .attributes = {ArrayType("xsd:string[2]")},
     .children = {{.text = "a"}, {.text = "b"}, {.text = "c"}},
     .error =
         "Error de-serializing array.  Too many values in array.  Array specified 2, found 3."},

    // Unreadable dimension texts.
    {.name = "MultiDimensionalArrayTypeIsInvalid",
     .attributes = {ArrayType("xsd:string[2,3]")},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string[2,3]"},
    {.name = "UnclosedArrayTypeIsInvalid",
     .attributes = {ArrayType("xsd:string[2")},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string[2"},
    {.name = "TextBehindTheBracketIsInvalid",
     .attributes = {ArrayType("xsd:string[2]x")},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string[2]x"},
    {.name = "SpaceBehindTheNumberIsInvalid",
     .attributes = {ArrayType("[2 ]")},
     .error = "Invalid value for array encoding tag 'arrayType': [2 ]"},
    {.name = "SpaceAloneIsInvalid",
     .attributes = {ArrayType("[ ]")},
     .error = "Invalid value for array encoding tag 'arrayType': [ ]"},
    {.name = "SignAloneIsInvalid",
     .attributes = {ArrayType("[-]")},
     .error = "Invalid value for array encoding tag 'arrayType': [-]"},
    {.name = "NoBracketIsInvalid",
     .attributes = {ArrayType("xsd:string")},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string"},
    {.name = "EmptyArrayTypeIsInvalid",
     .attributes = {ArrayType("")},
     .error = "Invalid value for array encoding tag 'arrayType': "},
    {.name = "InvalidArrayTypeIsReportedBeforeTooManyValues",
     .attributes = {ArrayType("[x]")},
     .children = {{.text = "a"}},
     .error = "Invalid value for array encoding tag 'arrayType': [x]"},
    {.name = "UnreadableOffsetIsInvalid",
     .attributes = {ArrayType("[2]"), Offset("2")},
     .children = {{.text = "a"}},
     .error = "Invalid value for array encoding tag 'offset': 2"},
    {.name = "TooManyValuesIsReportedBeforeAnUnreadableOffset",
     .attributes = {ArrayType("[0]"), Offset("2")},
     .children = {{.text = "a"}},
     .error =
         "Error de-serializing array.  Too many values in array.  Array specified 0, found 1."},
    {.name = "UnreadablePositionIsInvalid",
     .attributes = {ArrayType("[3]")},
     .children = {{.text = "a", .position = "[1"}},
     .error = "Invalid value for array encoding tag 'position': [1"},

    // Sizes that must never reach the allocator.
    {.name = "NegativeSizeIsRefused",
     .attributes = {ArrayType("xsd:string[-1]")},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string[-1]"},
    {.name = "HugeSizeIsRefused",
     .attributes = {ArrayType("xsd:string[4000000000]")},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string[4000000000]"},
    {.name = "SizeBeyondThirtyTwoBitsIsRefused",
     .attributes = {ArrayType("xsd:string[99999999999999999999999]")},
     .error =
         "Invalid value for array encoding tag 'arrayType': xsd:string[99999999999999999999999]"},
    {.name = "SizeWithTooManyUnfilledSlotsIsRefused",
     .attributes = {ArrayType("xsd:string[65538]")},
     .children = {{.text = "a"}},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string[65538]"},
    {.name = "PositionsDontBuyUnfilledSlots",
     .attributes = {ArrayType("xsd:string[16777216]")},
     .children = {{.text = "a", .position = "[16777215]"}},
     .error = "Invalid value for array encoding tag 'arrayType': xsd:string[16777216]"},

    // Offsets and sparse positions.
    {.name = "OffsetMovesTheFirstChild",
     .attributes = {ArrayType("[5]"), Offset("[2]")},
     .children = {{.text = "a"}, {.text = "b"}, {.text = "c"}},
     .slots = {kEmpty, kEmpty, {"a"}, {"b"}, {"c"}}},
    {.name = "EmptyOffsetMeansZero",
     .attributes = {ArrayType("[2]"), Offset("[]")},
     .children = {{.text = "a"}},
     .slots = {{"a"}, kEmpty}},
    {.name = "OffsetAndPositionLeaveSkippedSlotsDefault",
     .attributes = {ArrayType("xsd:string[4]"), Offset("[1]")},
     .children = {{.text = "a"}, {.text = "b", .position = "[3]"}},
     .slots = {kEmpty, {"a"}, kEmpty, {"b"}}},
    {.name = "PositionMaySkipToTheLastSlot",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[4]"}},
     .slots = {kEmpty, kEmpty, kEmpty, kEmpty, {"a"}}},
    {.name = "PositionOfAnotherNamespaceIsIgnored",
     .attributes = {ArrayType("[3]")},
     .children = {{.text = "a", .position = "[2]", .positionNamespace = kSoapEncNamespaceBare}},
     .slots = {{"a"}, kEmpty, kEmpty}},
    {.name = "PositionBehindAnEarlierOneFails",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[3]"}, {.text = "b", .position = "[1]"}},
     .error = PREVIOUS_ELEMENT "Current position: [4], next position: [1]"},
    {.name = "SamePositionTwiceFails",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[2]"}, {.text = "b", .position = "[2]"}},
     .error = PREVIOUS_ELEMENT "Current position: [3], next position: [2]"},
    {.name = "PositionAtTheSizeIsOutOfRange",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[5]"}},
     .error = "Error decoding array, position out of range. Current size: [5], requested "
              "position: [5]"},
    {.name = "PreviousElementIsCheckedBeforeRange",
     .attributes = {ArrayType("[2]"), Offset("[4]")},
     .children = {{.text = "a", .position = "[3]"}},
     .error = PREVIOUS_ELEMENT "Current position: [4], next position: [3]"},
    {.name = "NegativePositionCountsUnsignedAndIsOutOfRange",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[-1]"}},
     .error = "Error decoding array, position out of range. Current size: [5], requested "
              "position: [-1]"},
    {.name = "EmptyPositionIsOutOfRange",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[]"}},
     .error = "Error decoding array, position out of range. Current size: [5], requested "
              "position: [-1]"},
    {.name = "ChildAfterTheLastSlotIsOutOfRange",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[4]"}, {.text = "b"}},
     .error = "Error decoding array, position out of range. Current size: [5], requested "
              "position: [5]"},
    {.name = "OffsetBehindTheSizeLeavesNoSlot",
     .attributes = {ArrayType("[3]"), Offset("[3]")},
     .children = {{.text = "a"}},
     .error = "Error decoding array, position out of range. Current size: [3], requested "
              "position: [3]"},
    {.name = "NegativeOffsetLeavesNoSlot",
     .attributes = {ArrayType("[3]"), Offset("[-1]")},
     .children = {{.text = "a"}},
     .error = "Error decoding array, position out of range. Current size: [3], requested "
              "position: [-1]"},

    // Which value data is read.
    {.name = "ElementIsReadThroughTheValueInForce",
     .attributes = {ArrayType("[2]")},
     .children = {{.text = "a"}},
     .slots = {{"a"}, kEmpty},
     .throughReference = true},
    {.name = "PositionIsReadFromTheChildsOwnValue",
     .attributes = {ArrayType("[5]")},
     .children = {{.text = "a", .position = "[3]", .referencedPosition = "[0]"},
                  {.text = "b", .position = "[4]", .referencedPosition = "[1]"}},
     .slots = {kEmpty, kEmpty, kEmpty, {"a"}, {"b"}}},
    {.name = "PositionOnlyInTheReferencedValueIsNotRead",
     .attributes = {ArrayType("[3]")},
     .children = {{.text = "a", .referencedPosition = "[2]"}},
     .slots = {{"a"}, kEmpty, kEmpty}},
};

INSTANTIATE_TEST_SUITE_P(WireCases, DecodeSoapArrayTest, ::testing::ValuesIn(kWireCases),
                         [](const auto& info) { return std::string(info.param.name); });

// The limit on unfilled slots is exact: the largest size it allows decodes, one more doesn't.
TEST(DecodeSoapArrayLimitTest, AllowsExactlyTheUnfilledSlotLimit) {
  SOAPParameter element;
  element.AddAttribute(Vocabulary().arrayType).SetName("xsd:string[65537]");
  element.AddParameter("item").SetString("a");
  XmlValueArray array("item", "");
  DecodeSoapArray(element, array);
  ASSERT_EQ(array.items.Size(), kMaxUnfilledSlots + 1);
  EXPECT_EQ(array.items[0].text, "a");
  EXPECT_EQ(array.items[kMaxUnfilledSlots].text, "");
}

}  // namespace
}  // namespace tssoap
