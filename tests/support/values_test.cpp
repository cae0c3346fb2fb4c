// The value types shared with the library layer: capacity rules of SOAPString, the growing
// array, the hash of a qualified name, the read side of the hash map, the text helpers and the
// exceptions.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "easysoap/soap_parameter.h"
#include "support/values/soap_exception.h"
#include "support/values/soap_grow_array.h"
#include "support/values/soap_hash_map.h"
#include "support/values/soap_qname.h"
#include "support/values/soap_string.h"
#include "support/values/soap_text.h"
#include "support/values/xml_value.h"

namespace {

// ---- SOAPString ---------------------------------------------------------------------------------

TEST(SOAPString, CapacityIs32TimesAPowerOfTwoThatFitsTheText) {
  struct Case {
    size_t length;
    uint32_t capacity;
  };
  const Case cases[] = {{0, 32}, {31, 32}, {32, 64}, {63, 64}, {64, 128}, {1000, 1024}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.length);
    std::string text(c.length, 'x');
    SOAPString string(text.c_str());
    EXPECT_EQ(string.Capacity(), c.capacity);
    EXPECT_STREQ(string.Str(), text.c_str());
  }
}

TEST(SOAPString, NoTextIsAStateOfItsOwnBesideTheEmptyText) {
  SOAPString none;
  EXPECT_EQ(none.Str(), nullptr);
  EXPECT_TRUE(none.IsNull());
  EXPECT_EQ(none.Capacity(), 32u);
  SOAPString empty("");
  ASSERT_NE(empty.Str(), nullptr);
  EXPECT_STREQ(empty.Str(), "");
  SOAPString fromNull(nullptr);
  EXPECT_EQ(fromNull.Str(), nullptr);
  // Equality takes a missing text for an empty one.
  EXPECT_TRUE(none == empty);
}

TEST(SOAPString, ShorterTextReusesTheBufferAndCapacityNeverShrinks) {
  SOAPString string(std::string(100, 'a').c_str());
  ASSERT_EQ(string.Capacity(), 128u);
  const char* buffer = string.Str();
  string.Assign("short");
  EXPECT_EQ(string.Str(), buffer);
  EXPECT_EQ(string.Capacity(), 128u);
  EXPECT_STREQ(string.Str(), "short");

  string.Assign(nullptr);
  EXPECT_EQ(string.Str(), nullptr);
  EXPECT_EQ(string.Capacity(), 128u);
  string.Assign("again");
  EXPECT_EQ(string.Capacity(), 128u);
  EXPECT_STREQ(string.Str(), "again");

  string.Clear();
  EXPECT_EQ(string.Str(), nullptr);
  EXPECT_EQ(string.Capacity(), 128u);

  string.Assign(std::string(200, 'b').c_str());
  EXPECT_EQ(string.Capacity(), 256u);
}

TEST(SOAPString, CopyStartsFromCapacity32) {
  SOAPString big(std::string(100, 'a').c_str());
  big.Assign("hello");
  SOAPString copy(big);
  EXPECT_EQ(copy.Capacity(), 32u);
  EXPECT_STREQ(copy.Str(), "hello");
  EXPECT_NE(copy.Str(), big.Str());
  SOAPString none;
  SOAPString copyOfNone(none);
  EXPECT_EQ(copyOfNone.Str(), nullptr);
}

TEST(SOAPString, AppendAddsAtMostNBytesAndTreatsNoTextAsEmpty) {
  struct Case {
    const char* start;  // null: no text
    const char* text;
    uint32_t n;
    const char* result;
  };
  const Case cases[] = {
      {nullptr, "abc", 3, "abc"}, {nullptr, "abcdef", 2, "ab"}, {"x", "abc", 10, "xabc"},
      {"x", "", 5, "x"},          {"x", "abc", 0, "x"},         {"", "a", 1, "a"},
  };
  for (const Case& c : cases) {
    SOAPString string(c.start);
    string.Append(c.text, c.n);
    EXPECT_STREQ(string.Str(), c.result);
  }
  SOAPString grown("0123456789012345678901234567890");  // 31 bytes fill the first 32
  grown.Append("x", 1);
  EXPECT_EQ(grown.Capacity(), 64u);
  EXPECT_STREQ(grown.Str(), "0123456789012345678901234567890x");
}

TEST(SOAPString, ReserveKeepsTheText) {
  SOAPString string("keep");
  string.Reserve(1000);
  EXPECT_EQ(string.Capacity(), 1024u);
  EXPECT_STREQ(string.Str(), "keep");
}

// ---- Text helpers -------------------------------------------------------------------------------

TEST(SOAPText, CompareOrdersNullBeforeEveryTextAndBytesAsSignedChars) {
  struct Case {
    const char* a;
    const char* b;
    int sign;
  };
  const Case cases[] = {
      {nullptr, nullptr, 0}, {nullptr, "", -1},  {"", nullptr, 1},  {"", "", 0},
      {"abc", "abc", 0},     {"abc", "abd", -1}, {"abd", "abc", 1}, {"ab", "abc", -1},
      {"\xe9", "a", -1},     {"a", "\xe9", 1},
  };
  for (const Case& c : cases) {
    int result = SOAPText::Compare(c.a, c.b);
    EXPECT_EQ((result > 0) - (result < 0), c.sign)
        << (c.a ? c.a : "(null)") << " vs " << (c.b ? c.b : "(null)");
  }
  EXPECT_EQ(SOAPText::Compare("abc", "abd"), 'c' - 'd');
}

TEST(SOAPText, HelpersAcceptNullAndCopyAsTold) {
  EXPECT_EQ(SOAPText::Length(nullptr), 0u);
  EXPECT_EQ(SOAPText::Length("abc"), 3u);

  char buffer[8] = "XXXXXXX";
  SOAPText::CopyBounded(buffer, "abc", 2);
  EXPECT_EQ(std::string(buffer, 7), "abXXXXX");
  SOAPText::CopyBounded(buffer, "a", 5);
  EXPECT_EQ(std::string(buffer, 7), std::string("a\0XXXXX", 7));
  SOAPText::CopyBounded(buffer, "zzz", 0);
  SOAPText::CopyBounded(buffer, nullptr, 3);
  EXPECT_EQ(std::string(buffer, 7), std::string("a\0XXXXX", 7));

  SOAPText::Copy(buffer, "hey");
  EXPECT_STREQ(buffer, "hey");
  EXPECT_EQ(SOAPText::Copy(nullptr, "x"), nullptr);
  SOAPText::Copy(buffer, nullptr);
  EXPECT_STREQ(buffer, "hey");

  const char* path = "a/b/c";
  EXPECT_EQ(SOAPText::FindLast(path, '/'), path + 3);
  EXPECT_EQ(SOAPText::FindLast(path, '#'), nullptr);
  EXPECT_EQ(SOAPText::FindLast(nullptr, '/'), nullptr);
}

// ---- SOAPQName ----------------------------------------------------------------------------------

uint32_t ReferenceHash(const std::string& text) {
  uint64_t hash = 0;
  for (unsigned char byte : text) hash = (hash * 31 + byte) % (uint64_t{1} << 32);
  return static_cast<uint32_t>(hash);
}

TEST(SOAPQName, HashIsTimes31PlusEachUnsignedByteOfNameXorNamespace) {
  EXPECT_EQ(SOAPQName::HashText(nullptr), 0u);
  EXPECT_EQ(SOAPQName::HashText(""), 0u);
  EXPECT_EQ(SOAPQName::HashText("a"), 97u);
  EXPECT_EQ(SOAPQName::HashText("ab"), 97u * 31 + 98);
  EXPECT_EQ(SOAPQName::HashText("\xe9"), 233u);
  std::string longText = "http://schemas.xmlsoap.org/soap/encoding/arrayType";
  EXPECT_EQ(SOAPQName::HashText(longText.c_str()), ReferenceHash(longText));

  SOAPQName key("arrayType", "http://schemas.xmlsoap.org/soap/encoding/");
  EXPECT_EQ(key.Hash(), ReferenceHash("arrayType") ^
                            ReferenceHash("http://schemas.xmlsoap.org/soap/encoding/"));
  EXPECT_NE(SOAPQName("Array", "ns").Hash(), SOAPQName("array", "ns").Hash());
  EXPECT_EQ(SOAPQName("x", nullptr).Hash(), SOAPQName("x", "").Hash());
}

TEST(SOAPQName, EqualByteForByteWithNullEqualToEmpty) {
  EXPECT_TRUE(SOAPQName("a", nullptr) == SOAPQName("a", ""));
  EXPECT_TRUE(SOAPQName(nullptr, "n") == SOAPQName("", "n"));
  EXPECT_FALSE(SOAPQName("a", "n") == SOAPQName("A", "n"));
  EXPECT_FALSE(SOAPQName("a", "n") == SOAPQName("a", "n/"));
}

// ---- SOAPHashMap --------------------------------------------------------------------------------

using AttributeMap = SOAPHashMap<SOAPQName, SOAPQName>;

TEST(SOAPHashMap, FindMatchesNullAndEmptyNamespacesBothWays) {
  AttributeMap map;
  EXPECT_TRUE(map.Find(SOAPQName("type", "")) == map.End());
  map.Add(SOAPQName("type", nullptr)).SetName("xsd:int");
  map.Add(SOAPQName("nil", "")).SetName("true");
  AttributeMap::Iterator type = map.Find(SOAPQName("type", ""));
  ASSERT_TRUE(type != map.End());
  EXPECT_STREQ(type.Value().GetName().Str(), "xsd:int");
  EXPECT_TRUE(map.Find(SOAPQName("nil", nullptr)) != map.End());
  EXPECT_TRUE(map.Find(SOAPQName("Type", "")) == map.End());
}

TEST(SOAPHashMap, HashCodeIsComparedBeforeTheKey) {
  AttributeMap map;
  SOAPQName key("offset", "urn:x");
  map.Add(key).SetName("[2]");
  EXPECT_TRUE(map.Find(key, key.Hash()) != map.End());
  EXPECT_TRUE(map.Find(key, key.Hash() + 1) == map.End());
}

TEST(SOAPHashMap, IterationVisitsEveryEntryOnceAcrossBuckets) {
  AttributeMap map;
  std::set<std::string> added;
  for (int i = 0; i < 50; ++i) {
    std::string name = "attr" + std::to_string(i);
    map.Add(SOAPQName(name.c_str(), "urn:x")).SetName("v");
    added.insert(name);
  }
  EXPECT_EQ(map.Count(), 50u);
  std::multiset<std::string> seen;
  for (AttributeMap::Iterator it = map.Begin(); it != map.End(); ++it) {
    seen.insert(it.Key().GetName().Str());
  }
  EXPECT_EQ(std::set<std::string>(seen.begin(), seen.end()), added);
  EXPECT_EQ(seen.size(), 50u);
  AttributeMap empty;
  EXPECT_TRUE(empty.Begin() == empty.End());
}

// ---- SOAPGrowArray ------------------------------------------------------------------------------

struct Counted {
  static int live;
  Counted() { ++live; }
  Counted(const Counted&) { ++live; }
  Counted& operator=(const Counted&) = default;
  ~Counted() { --live; }
};
int Counted::live = 0;

TEST(SOAPGrowArray, CapacityStartsAt8AndDoubles) {
  struct Case {
    uint32_t first;
    uint32_t then;
    uint32_t capacity;
  };
  const Case cases[] = {{1, 0, 8}, {9, 0, 16}, {8, 17, 32}, {8, 8, 8}, {0, 0, 0}, {16, 9, 16}};
  for (const Case& c : cases) {
    SOAPGrowArray<int> array;
    array.Reserve(c.first);
    array.Reserve(c.then);
    EXPECT_EQ(array.Capacity(), c.capacity) << c.first << " then " << c.then;
    EXPECT_EQ(array.Size(), 0u);
  }
}

TEST(SOAPGrowArray, EverySlotUpToCapacityIsConstructed) {
  {
    SOAPGrowArray<Counted> array;
    array.Reserve(9);
    EXPECT_EQ(Counted::live, 16);
    array.Resize(3);
    array.Resize(1);
    EXPECT_EQ(Counted::live, 16);
    array.Add(Counted());
    EXPECT_EQ(Counted::live, 16);
  }
  EXPECT_EQ(Counted::live, 0);
}

TEST(SOAPGrowArray, ShrinkThenGrowShowsTheOldContentsAgain) {
  SOAPGrowArray<XmlValueText> array;
  array.Resize(3);
  array[0].text = "zero";
  array[1].text = "one";
  array[2].text = "two";
  array[2].isNull = true;
  array.Resize(1);
  EXPECT_EQ(array.Size(), 1u);
  array.Resize(3);
  EXPECT_EQ(array[1].text, "one");
  EXPECT_EQ(array[2].text, "two");
  EXPECT_TRUE(array[2].isNull);
}

TEST(SOAPGrowArray, AddKeepsOrderAcrossGrowthAndCopiesAreDeep) {
  SOAPGrowArray<std::string> array;
  for (int i = 0; i < 20; ++i) array.Add("item" + std::to_string(i));
  EXPECT_EQ(array.Size(), 20u);
  EXPECT_EQ(array.Capacity(), 32u);
  for (uint32_t i = 0; i < 20; ++i) EXPECT_EQ(array[i], "item" + std::to_string(i));
  SOAPGrowArray<std::string> copy(array);
  copy[0] = "changed";
  EXPECT_EQ(array[0], "item0");
  EXPECT_EQ(copy.Size(), 20u);
}

// Adding one of the array's own elements while the array must grow copies it before the old block
// goes away.
TEST(SOAPGrowArray, AddingItsOwnElementWhileGrowingCopiesItFirst) {
  SOAPGrowArray<std::string> array;
  for (int i = 0; i < 8; ++i) array.Add(std::string(40, static_cast<char>('a' + i)));
  ASSERT_EQ(array.Capacity(), 8u);
  array.Add(array[0]);
  EXPECT_EQ(array[8], std::string(40, 'a'));
  EXPECT_EQ(array.Capacity(), 16u);
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
  EXPECT_EQ(array.Size(), 1u);
  EXPECT_EQ(array[0], 7);
}

// ---- XmlValueText and XmlValueArray -------------------------------------------------------------

TEST(XmlValueText, NullMarksTheElementNilAndEmptyTextStaysEmpty) {
  SOAPParameter nil;
  XmlValueText{"ignored", true}.WriteTo(nil);
  EXPECT_TRUE(nil.IsNull());
  EXPECT_EQ(nil.GetString().Str(), nullptr);

  SOAPParameter empty;
  XmlValueText{"", false}.WriteTo(empty);
  EXPECT_FALSE(empty.IsNull());
  ASSERT_NE(empty.GetString().Str(), nullptr);
  EXPECT_STREQ(empty.GetString().Str(), "");

  XmlValueText read{"before", false};
  read.ReadFrom(nil);
  EXPECT_TRUE(read.isNull);
  EXPECT_EQ(read.text, "before");

  SOAPParameter noText;
  XmlValueText fromNoText{"before", true};
  fromNoText.ReadFrom(noText);
  EXPECT_EQ(fromNoText.text, "");
  EXPECT_TRUE(fromNoText.isNull);  // not touched
}

TEST(XmlValueArray, StartsEmptyWithItsElementName) {
  XmlValueArray array("item", "urn:x");
  EXPECT_EQ(array.items.Size(), 0u);
  EXPECT_STREQ(array.elementName.Str(), "item");
  EXPECT_STREQ(array.elementNamespace.Str(), "urn:x");
  XmlValueArray unnamed(nullptr, nullptr);
  EXPECT_EQ(unnamed.elementName.Str(), nullptr);
}

// ---- Exceptions ---------------------------------------------------------------------------------

TEST(SOAPException, MessageIsFormattedAndCutAt2048Bytes) {
  SOAPException plain("%s and %d and %u", "text", -3, 4u);
  EXPECT_STREQ(plain.What(), "text and -3 and 4");
  std::string percent = "100% sure %s %n";
  EXPECT_STREQ(SOAPException("%s", percent.c_str()).What(), percent.c_str());
  std::string huge(5000, 'z');
  SOAPException cut("%s", huge.c_str());
  EXPECT_EQ(std::string(cut.What()), std::string(2047, 'z'));
}

TEST(SOAPException, SubclassesAreCaughtByTheBaseAndCopyTheirMessage) {
  try {
    throw SOAPFaultException("%s", "<tssp_fstring>Bad</tssp_fstring>");
  } catch (const SOAPException& e) {
    EXPECT_STREQ(e.What(), "<tssp_fstring>Bad</tssp_fstring>");
    EXPECT_NE(dynamic_cast<const SOAPFaultException*>(&e), nullptr);
    SOAPException copy(e);
    EXPECT_STREQ(copy.What(), e.What());
    EXPECT_NE(copy.What(), e.What());
  }
  try {
    throw SOAPSocketException("refused %d", 111);
  } catch (const SOAPException& e) {
    EXPECT_STREQ(e.What(), "refused 111");
  }
}

// A throw inside the library layer's own shared library is caught here by type.
TEST(SOAPException, ThrownInTheLibraryCaughtByTypeOutsideIt) {
  SOAPParameter parent;
  EXPECT_THROW(parent.GetParameter("missing"), SOAPException);
}

}  // namespace
