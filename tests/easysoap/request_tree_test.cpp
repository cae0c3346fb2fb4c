// The request's element tree in the request's storage: stored elements write what elements with
// data of their own write, elements share an attribute table (also one handed on) until one of
// them changes it, copies keep their data after the method and its storage have gone to the next
// request, and the lists of children live in the storage or not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "easysoap/library_test_support.h"
#include "easysoap/soap_parser.h"
#include "easysoap/xml_composer.h"

namespace tssoap::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

using Attribute = std::tuple<const char*, const char*, const char*, const char*>;

// The method "m" with one child "c" holding the text and the attributes (key name, key namespace,
// text, namespace of the text), set through the storage (SetAttribute, SetString) or as data of
// the element's own (AddAttribute, the text assigned in place).
std::string Composed(const std::vector<Attribute>& attributes, bool stored) {
  SOAPMethod method("m", kSampleNamespace, nullptr, false);
  SOAPParameter& child = method.AddParameter("c");
  for (const auto& [name, ns, text, textNs] : attributes) {
    if (stored) {
      child.SetAttribute(SOAPQName(name, ns), text, textNs);
    } else {
      child.AddAttribute(SOAPQName(name, ns)).Set(text, textNs);
    }
  }
  if (stored) {
    child.SetString("1 < 2");
  } else {
    child.GetStringRef().Assign("1 < 2");
  }
  return XMLComposer::ComposeRequest(method);
}

TEST(RequestTree, StoredElementsWriteWhatElementsOfTheirOwnWrite) {
  const std::vector<std::vector<Attribute>> cases = {
      {{"type", kXsiNamespace, "int", kXsdNamespace}},
      {{"type", kXsiNamespace, "Array", kSoapEncodingNamespace},
       {"arrayType", kSoapEncodingNamespace, "int[3]", kXsdNamespace}},
      // A second value for the same key replaces the first in its place.
      {{"type", kXsiNamespace, "int", kXsdNamespace},
       {"a", nullptr, "x", nullptr},
       {"type", kXsiNamespace, "T", "urn:b"}},
      // More attributes than a stored table holds, in several chains of the table.
      {{"a", nullptr, "1", nullptr},
       {"b", nullptr, "2", nullptr},
       {"c", nullptr, "3", nullptr},
       {"d", nullptr, "4", nullptr},
       {"e", "urn:e", "5", nullptr},
       {"f", nullptr, "6", nullptr},
       {"g", nullptr, "7", nullptr},
       {"h", nullptr, "8", nullptr},
       {"i", nullptr, "9", nullptr},
       {"a", nullptr, "10", nullptr}},
      {{"nil", kXsiNamespace, "true", nullptr}, {"n", nullptr, "<\"&\">", nullptr}},
  };
  for (const auto& attributes : cases) {
    SCOPED_TRACE(std::get<0>(attributes.front()) + std::string(" and ") +
                 std::to_string(attributes.size() - 1) + " more");
    const std::string stored = Composed(attributes, true);
    EXPECT_EQ(stored, Composed(attributes, false));
    EXPECT_THAT(stored, HasSubstr(">1 &lt; 2</c>"));
  }
}

TEST(RequestTree, ElementsShareAnAttributeUntilOneChangesIt) {
  SOAPMethod method("m", kSampleNamespace, nullptr, false);
  const SOAPQName type("type", kXsiNamespace);
  std::vector<SOAPParameter*> items;
  for (int i = 0; i < 3; ++i) {
    items.push_back(&method.AddParameter("item"));
    items.back()->SetAttribute(type, "int", kXsdNamespace);
  }
  // The table is handed on to new elements of the same storage, and to no other.
  const SOAPParameter::SharedAttributes shared = items[0]->GetSharedAttributes();
  ASSERT_NE(shared.table, nullptr);
  for (int i = 0; i < 2; ++i) {
    items.push_back(&method.AddParameter("item"));
    EXPECT_TRUE(items.back()->ShareAttributes(shared));
  }
  EXPECT_FALSE(items[0]->ShareAttributes(shared));
  EXPECT_FALSE(method.AddParameter("plain").ShareAttributes(SOAPParameter::SharedAttributes()));
  SOAPParameter own;
  EXPECT_FALSE(own.ShareAttributes(shared));
  EXPECT_EQ(own.GetAttributes().Count(), 0u);
  SOAPMethod other("o", kSampleNamespace, nullptr, false);
  EXPECT_FALSE(other.AddParameter("item").ShareAttributes(shared));

  items[1]->SetAttribute(type, "string", kXsdNamespace);
  items[2]->SetAttribute(SOAPQName("n", nullptr), "1", nullptr);
  items[3]->AddAttribute(type).SetName("q:long");  // the namespace stays: its prefix is ours
  EXPECT_EQ(items[2]->GetSharedAttributes().table, nullptr);
  EXPECT_THAT(XMLComposer::ComposeRequest(method),
              HasSubstr("<item xsi:type=\"xsd:int\"/><item xsi:type=\"xsd:string\"/>"
                        "<item xsi:type=\"xsd:int\" n=\"1\"/><item xsi:type=\"xsd:long\"/>"
                        "<item xsi:type=\"xsd:int\"/><plain/>"));
}

TEST(RequestTree, CopiesKeepTheirDataWhenTheStorageServesTheNextRequest) {
  SOAPParameter copy;
  {
    SOAPMethod method("m", kSampleNamespace, nullptr, false);
    SOAPParameter& array = method.AddParameter("array");
    array.SetAttribute(SOAPQName("type", kXsiNamespace), "Array", kSoapEncodingNamespace);
    array.ReserveParameters(2);
    array.AddParameter("item").SetString("first");
    array.AddParameter("item").SetNull();
    copy = array;
  }
  SOAPMethod next("n", kSampleNamespace, nullptr, false);
  for (int i = 0; i < 1000; ++i) next.AddParameter("other").SetString("overwrites the storage");
  EXPECT_EQ(NameOf(copy), "array|");
  EXPECT_THAT(Children(copy), ElementsAre("item||first", "item||(nil)"));
  const auto found = copy.GetAttributes().Find(SOAPQName("type", kXsiNamespace));
  ASSERT_NE(found, copy.GetAttributes().End());
  EXPECT_STREQ(found.Value().GetName().CStr(), "Array");
}

// The lists of children of stored elements are kept in the storage too; an element assigned from
// a copy takes the copy's list of its own, and each kind of list grows, is cleared and refilled.
TEST(RequestTree, StoredElementsListTheirChildrenInEitherPlace) {
  SOAPParameter outside;
  outside.SetName("s", nullptr);
  outside.AddParameter("x").SetString("1");
  SOAPMethod method("m", kSampleNamespace, nullptr, false);
  SOAPParameter& record = method.AddParameter("r");
  std::vector<std::string> fields;
  for (int i = 0; i < 9; ++i) {  // beyond the first two lists
    record.AddParameter("f").SetString(std::to_string(i).c_str());
    fields.push_back("f||" + std::to_string(i));
  }
  SOAPParameter& assigned = method.AddParameter("s");
  assigned.AddParameter("y");
  assigned = outside;
  for (int i = 0; i < 8; ++i) assigned.AddParameter("z");
  SOAPParameter& cleared = method.AddParameter("t");
  cleared.AddParameter("u");
  cleared.ClearValue();
  cleared.ReserveParameters(5);
  cleared.AddParameter("v").SetString("2");
  EXPECT_EQ(Children(record), fields);
  EXPECT_THAT(Children(assigned), SizeIs(9));
  EXPECT_EQ(Children(assigned).front(), "x||1");
  EXPECT_THAT(Children(cleared), ElementsAre("v||2"));
  EXPECT_THAT(XMLComposer::ComposeRequest(method),
              ::testing::AllOf(HasSubstr(">8</f>"), HasSubstr(">2</v>")));
}

// Elements of a message mostly go with its storage, unwalked; an element given a part of its own
// (through any change, on a request's or an answer's element, deep down) must still free it when
// its message goes. The sanitizer build finds what would leak.
TEST(RequestTree, ChangedElementsFreeWhatTheyHoldWhenTheirMessageGoes) {
  const std::function<void(SOAPParameter&)> changes[] = {
      [](SOAPParameter& e) { e.GetStringRef().Assign("a text of its own, longer than the last"); },
      [](SOAPParameter& e) { e.GetValue().children.Add(new SOAPParameter()); },
      [](SOAPParameter& e) { e.AddAttribute(SOAPQName("a", nullptr)).Set("own", "urn:own"); },
      [](SOAPParameter& e) { e.SetName("renamed", "urn:renamed"); },
      [](SOAPParameter& e) { e.SetString("set"); },
      [](SOAPParameter& e) { e.AddParameter("added").SetString("x"); },
      [](SOAPParameter& e) { e.ReserveParameters(3); },
      [](SOAPParameter& e) { e.ReserveParameters(5000); },
      [](SOAPParameter& e) {
        SOAPParameter outside;
        outside.AddParameter("x").SetString("outside");
        e = outside;
      },
  };
  const std::string answer =
      "<E:Envelope xmlns:E='http://schemas.xmlsoap.org/soap/envelope/'><E:Body><m><r><f>1</f>"
      "</r></m></E:Body></E:Envelope>";
  SOAPParser parser;
  SOAPResponse response;
  for (size_t i = 0; i < std::size(changes); ++i) {
    SCOPED_TRACE(i);
    {
      SOAPMethod method("m", kSampleNamespace, nullptr, false);
      changes[i](method.AddParameter("r").AddParameter("f"));
    }
    parser.Parse(answer.data(), answer.size(), nullptr, response, SOAPParser::Limits{});
    const SOAPParameter& field = response.GetMethod().GetParameter("r").GetParameter("f");
    changes[i](const_cast<SOAPParameter&>(field));
    response.Reset();
    // The next message, unchanged, goes as its storage goes.
    parser.Parse(answer.data(), answer.size(), nullptr, response, SOAPParser::Limits{});
    EXPECT_STREQ(response.GetMethod().GetParameter("r").GetParameter("f").GetString().CStr(), "1");
  }
}

// A list too long for the storage's chain of blocks grows in blocks of its own, each given back as
// the next takes over, in a request and in an answer alike; the message still goes with its
// storage, unwalked. The sanitizer build finds a block freed while in use or never freed.
TEST(RequestTree, LongListsGrowInTheirStorageAndGoWithIt) {
  SOAPParser parser;
  SOAPResponse response;
  for (uint32_t count : {4096u, 4097u, 9000u, 70000u}) {
    SCOPED_TRACE(count);
    std::string request;
    {
      SOAPMethod method("m", kSampleNamespace, nullptr, false);
      SOAPParameter& list = method.AddParameter("list");
      for (uint32_t i = 0; i < count; ++i) {
        list.AddParameter("i").SetString(std::to_string(i).c_str());
      }
      ASSERT_EQ(list.GetParams().Size(), count);
      EXPECT_STREQ(list.GetParams()[count - 1]->GetString().CStr(),
                   std::to_string(count - 1).c_str());
      request = XMLComposer::ComposeRequest(method);
    }
    for (int reading = 0; reading < 2; ++reading) {  // the second into the rewound storage
      parser.Parse(request.data(), request.size(), nullptr, response, SOAPParser::Limits{});
      const SOAPParameter& list = response.GetMethod().GetParameter("list");
      ASSERT_EQ(list.GetParams().Size(), count);
      EXPECT_STREQ(list.GetParams()[0]->GetString().CStr(), "0");
      EXPECT_STREQ(list.GetParams()[count - 1]->GetString().CStr(),
                   std::to_string(count - 1).c_str());
    }
  }
}

}  // namespace
}  // namespace tssoap::test
