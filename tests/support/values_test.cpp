// The value types shared with the library layer: capacity rules of SOAPString, the growing
// array, the hash of a qualified name, the read side of the hash map, the text helpers and the
// exceptions.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>

#include "composite/xml_value.h"
#include "easysoap/soap_parameter.h"
#include "support/values/soap_exception.h"
#include "support/values/soap_grow_array.h"
#include "support/values/soap_hash_map.h"
#include "support/values/soap_qname.h"
#include "support/values/soap_string.h"
#include "support/values/soap_text.h"

namespace {

TEST(SOAPString, CapacityIs32TimesAPowerOfTwoThatFitsTheText) {
  const std::pair<size_t, uint32_t> cases[] = {{0, 32},  {31, 32},  {32, 64},
                                               {63, 64}, {64, 128}, {1000, 1024}};
  for (const auto& [length, capacity] : cases) {
    SCOPED_TRACE(length);
    std::string text(length, 'x');
    SOAPString string(text.c_str());
    EXPECT_EQ(string.Capacity(), capacity);
    EXPECT_STREQ(string.Str(), text.c_str());
  }
}

// No text is a state of its own beside the empty text; the capacity never shrinks, and a copy
// starts again at 32.
TEST(SOAPString, NoTextEmptyTextAndACapacityThatNeverShrinks) {
  SOAPString none;
  EXPECT_EQ(SOAPString(nullptr).Str(), nullptr);
  EXPECT_EQ(SOAPString(none).Str(), nullptr);
  EXPECT_STREQ(SOAPString("").Str(), "");
  EXPECT_TRUE(none == SOAPString(""));  // equality takes a missing text for an empty one

  SOAPString string(std::string(100, 'a').c_str());
  const char* buffer = string.Str();
  string.Assign("short");
  EXPECT_EQ(string.Str(), buffer);  // a shorter text reuses the buffer
  string.Clear();
  EXPECT_EQ(string.Str(), nullptr);
  string.Assign("again");
  EXPECT_EQ(string.Capacity(), 128u);
  SOAPString copy(string);
  EXPECT_EQ(copy.Capacity(), 32u);
  EXPECT_STREQ(copy.Str(), "again");
  EXPECT_NE(copy.Str(), string.Str());
}

TEST(SOAPString, AppendAddsAtMostNBytesAndTreatsNoTextAsEmpty) {
  const std::tuple<const char*, const char*, uint32_t, const char*> cases[] = {
      {nullptr, "abc", 3, "abc"},
      {nullptr, "abcdef", 2, "ab"},
      {"x", "abc", 10, "xabc"},
      {"x", "abc", 0, "x"}};
  for (const auto& [start, text, n, result] : cases) {
    SCOPED_TRACE(text);
    SOAPString string(start);
    EXPECT_STREQ(string.Append(text, n).Str(), result);
  }
  SOAPString full(std::string(31, 'y').c_str());  // 31 bytes fill the first 32
  full.Append("x", 1);
  EXPECT_EQ(full.Capacity(), 64u);
  EXPECT_EQ(std::string(full.Str()), std::string(31, 'y') + "x");
}

// Null before every text, bytes as signed chars; checked both ways round.
TEST(SOAPText, CompareOrdersNullFirstAndBytesAsSignedChars) {
  const std::tuple<const char*, const char*, int> cases[] = {
      {nullptr, nullptr, 0}, {nullptr, "", -1}, {"", "", 0},
      {"abc", "abd", -1},    {"ab", "abc", -1}, {"\xe9", "a", -1}};
  for (const auto& [a, b, sign] : cases) {
    SCOPED_TRACE(std::string(a ? a : "(null)") + " vs " + (b ? b : "(null)"));
    int forth = SOAPText::Compare(a, b);
    int back = SOAPText::Compare(b, a);
    EXPECT_EQ((forth > 0) - (forth < 0), sign);
    EXPECT_EQ((back > 0) - (back < 0), -sign);
  }
}

// The hash is part of the contract with the library: values computed by hand, modulo 2^32.
TEST(SOAPQName, HashIsTimes31PlusEachUnsignedByteOfNameXorNamespace) {
  EXPECT_EQ(SOAPQName::HashText(nullptr), 0u);
  EXPECT_EQ(SOAPQName::HashText(""), 0u);
  EXPECT_EQ(SOAPQName::HashText("ab"), 3105u);
  EXPECT_EQ(SOAPQName::HashText("\xe9"), 233u);
  EXPECT_EQ(SOAPQName::HashText("http://schemas.xmlsoap.org/soap/encoding/"), 3403005341u);
  EXPECT_EQ(SOAPQName("arrayType", "http://schemas.xmlsoap.org/soap/encoding/").Hash(),
            1640242350u);
}

using AttributeMap = SOAPHashMap<SOAPQName, SOAPQName>;

// Keys are equal byte for byte, a null namespace equal to an empty one; iteration walks every
// bucket.
TEST(SOAPHashMap, FindsKeysByteForByteAndIteratesOverEveryEntryOnce) {
  AttributeMap map;
  EXPECT_TRUE(map.Begin() == map.End());
  EXPECT_TRUE(map.Find(SOAPQName("type", "")) == map.End());
  map.Add(SOAPQName("type", nullptr)).SetName("xsd:int");
  map.Add(SOAPQName("nil", "")).SetName("true");
  std::multiset<std::string> added{"type", "nil"}, seen;
  for (int i = 0; i < 50; ++i) {
    added.insert("attr" + std::to_string(i));
    map.Add(SOAPQName(("attr" + std::to_string(i)).c_str(), "urn:x")).SetName("v");
  }
  AttributeMap::Iterator type = map.Find(SOAPQName("type", ""));
  ASSERT_TRUE(type != map.End());
  EXPECT_STREQ(type.Value().GetName().Str(), "xsd:int");
  EXPECT_TRUE(map.Find(SOAPQName("nil", nullptr)) != map.End());
  EXPECT_TRUE(map.Find(SOAPQName("Type", "")) == map.End());
  for (AttributeMap::Iterator it = map.Begin(); it != map.End(); ++it) {
    seen.insert(it.Key().GetName().Str());
  }
  EXPECT_EQ(map.Count(), 52u);
  EXPECT_EQ(seen, added);
}

TEST(SOAPGrowArray, CapacityStartsAt8AndDoubles) {
  const std::tuple<uint32_t, uint32_t, uint32_t> cases[] = {{1, 0, 8}, {9, 0, 16}, {8, 17, 32},
                                                            {8, 8, 8}, {0, 0, 0},  {16, 9, 16}};
  for (const auto& [first, then, capacity] : cases) {
    SCOPED_TRACE(std::to_string(first) + " then " + std::to_string(then));
    SOAPGrowArray<int> array;
    array.Reserve(first);
    array.Reserve(then);
    EXPECT_EQ(array.Capacity(), capacity);
    EXPECT_EQ(array.Size(), 0u);
  }
}

// Every slot up to the capacity stays constructed: shrinking keeps the items beyond the size.
TEST(SOAPGrowArray, ShrinkThenGrowShowsTheOldContentsAgain) {
  SOAPGrowArray<XmlValueText> array;
  array.Resize(3);
  array[1].text = "one";
  array[2] = XmlValueText{"two", true};
  array.Resize(1);
  EXPECT_EQ(array.Size(), 1u);
  array.Resize(3);
  EXPECT_EQ(array[1].text, "one");
  EXPECT_EQ(array[2].text, "two");
  EXPECT_TRUE(array[2].isNull);
}

// Adding one of the array's own elements while the array must grow copies it before the old block
// goes away.
TEST(SOAPGrowArray, AddKeepsOrderAcrossGrowthAndCopiesAreDeep) {
  SOAPGrowArray<std::string> array;
  for (char c = 'a'; c < 'i'; ++c) array.Add(std::string(40, c));
  ASSERT_EQ(array.Capacity(), 8u);
  array.Add(array[0]);
  EXPECT_EQ(array.Capacity(), 16u);
  SOAPGrowArray<std::string> copy(array);
  copy[0] = "changed";
  for (char c = 'a'; c < 'i'; ++c)
    EXPECT_EQ(array[static_cast<uint32_t>(c - 'a')], std::string(40, c));
  EXPECT_EQ(array[8], std::string(40, 'a'));
  EXPECT_EQ(copy.Size(), 9u);
}

TEST(SOAPGrowArray, ImpossibleCapacityThrowsMemoryExceptionAndChangesNothing) {
  SOAPGrowArray<int> array;
  array.Add(7);
  try {
    array.Reserve(0x80000001u);
    FAIL() << "no exception";
  } catch (const SOAPMemoryException& e) {
    EXPECT_EQ(e.What(), nullptr);
  }
  EXPECT_EQ(array.Capacity(), 8u);
  ASSERT_EQ(array.Size(), 1u);
  EXPECT_EQ(array[0], 7);
}

TEST(XmlValueText, NullMarksTheElementNilAndANilElementReadsAsNull) {
  SOAPParameter nil;
  XmlValueText{"ignored", true}.WriteTo(nil);
  EXPECT_TRUE(nil.IsNull());
  EXPECT_EQ(nil.GetString().Str(), nullptr);
  SOAPParameter empty;
  XmlValueText{"", false}.WriteTo(empty);
  EXPECT_STREQ(empty.GetString().Str(), "");
  const XmlTextView read = XmlTextView::Of(nil);
  EXPECT_TRUE(read.isNull);
  EXPECT_EQ(read.text, "");
  EXPECT_FALSE(XmlTextView::Of(empty).isNull);
}

TEST(SOAPException, MessageIsFormattedAndCutAt2048Bytes) {
  EXPECT_STREQ(SOAPException("%s and %d", "text", -3).What(), "text and -3");
  EXPECT_STREQ(SOAPException("%s", "100% sure %s %n").What(), "100% sure %s %n");
  EXPECT_EQ(std::string(SOAPException("%s", std::string(5000, 'z').c_str()).What()),
            std::string(2047, 'z'));
}

// A throw inside the library layer's own shared library is caught here by type, and a subclass by
// its base with its message.
TEST(SOAPException, CaughtByTypeAcrossTheLibraryBorder) {
  SOAPParameter parent;
  EXPECT_THROW(parent.GetParameter("missing"), SOAPException);
  try {
    throw SOAPFaultException("%s", "<tssp_fstring>Bad</tssp_fstring>");
  } catch (const SOAPException& e) {
    EXPECT_NE(dynamic_cast<const SOAPFaultException*>(&e), nullptr);
    SOAPException copy(e);
    EXPECT_STREQ(copy.What(), "<tssp_fstring>Bad</tssp_fstring>");
    EXPECT_NE(copy.What(), e.What());
  }
}

}  // namespace
