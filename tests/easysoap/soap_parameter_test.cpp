// The element tree: children by local name, deep copies, assignment, clearing, and the value in
// force of a multi-reference element.
#include "easysoap/soap_parameter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "easysoap/library_test_support.h"

namespace tssoap::test {
namespace {

// root (urn:r, one attribute): a "1", b {inner "deep"}, a "second a".
SOAPParameter Sample() {
  SOAPParameter root;
  root.SetName("root", "urn:r");
  root.AddAttribute(SOAPQName("type", "urn:xsi")).Set("T", "urn:t");
  root.AddParameter("a").SetString("1");
  SOAPParameter& b = root.AddParameter("b");
  b.SetIsStruct();
  b.AddParameter("inner").SetString("deep");
  root.AddParameter("a").SetString("second a");
  return root;
}

const char* Inner(const SOAPParameter& root) {
  return root.GetParameter("b").GetParameter("inner").GetString().CStr();
}

TEST(SoapParameterTest, FindsChildrenByLocalNameInDocumentOrder) {
  SOAPParameter root = Sample();
  root.AddParameter("").SetName("qualified", "urn:other");
  ASSERT_EQ(root.GetParams().Size(), 4u);
  EXPECT_STREQ(root.GetParameter("a").GetString().CStr(), "1") << "the first of two";
  EXPECT_STREQ(root.GetParams()[2]->GetString().CStr(), "second a");
  EXPECT_NE(root.FindParameter("qualified"), nullptr) << "the namespace plays no part";
  EXPECT_EQ(root.FindParameter(nullptr), nullptr);
  Outcome missing = Attempt([&] { root.GetParameter("missing"); });
  EXPECT_EQ(missing.text, "The element 'root' has no child element named 'missing'");
}

TEST(SoapParameterTest, CopiesAreDeepAndIndependent) {
  SOAPParameter original = Sample();
  SOAPParameter copy(original);
  SOAPParameter assigned;
  assigned.AddParameter("old");
  assigned = original;
  for (SOAPParameter* changed : {&copy, &assigned}) {
    changed->AddParameter("extra");
    const_cast<SOAPParameter&>(changed->GetParameter("b").GetParameter("inner")).SetString("x");
    changed->AddAttribute(SOAPQName("type", "urn:xsi")).SetName("U");
  }
  EXPECT_EQ(original.GetParams().Size(), 3u);
  EXPECT_STREQ(Inner(original), "deep");
  EXPECT_TRUE(original.GetParameter("b").IsStruct());
  EXPECT_EQ(assigned.FindParameter("old"), nullptr) << "assignment replaces";
  EXPECT_STREQ(assigned.GetName().GetNamespace().CStr(), "urn:r");
  EXPECT_STREQ(original.GetAttributes().Begin().Value().GetName().CStr(), "T");

  SOAPParameter& self = original;
  original = self;
  EXPECT_EQ(original.GetParams().Size(), 3u);
  // Assigning a descendant to its ancestor copies it before the old children go.
  original = original.GetParameter("b");
  EXPECT_STREQ(original.GetParameter("inner").GetString().CStr(), "deep");
}

TEST(SoapParameterTest, ClearValueEmptiesTheValueButKeepsAttributes) {
  SOAPParameter root = Sample();
  root.SetNull();
  root.SetIsStruct();
  root.ClearValue();
  EXPECT_TRUE(root.GetParams().IsEmpty());
  EXPECT_TRUE(root.GetString().IsNull());
  EXPECT_FALSE(root.IsNull());
  EXPECT_FALSE(root.IsStruct());
  EXPECT_EQ(root.GetAttributes().Count(), 1u);
}

TEST(SoapParameterTest, AMultiReferenceElementShowsTheReferencedDataAndCopiesItAsItsOwn) {
  SOAPParameter target = Sample();
  SOAPParameter referrer;
  referrer.SetName("ref", nullptr);
  referrer.AddAttribute(SOAPQName("href", nullptr)).SetName("#t");
  referrer.PointValueAt(&target.GetValue());
  EXPECT_STREQ(Inner(referrer), "deep");

  SOAPParameter copy(referrer);
  EXPECT_EQ(&copy.GetValue(), &copy.GetOwnValue());
  EXPECT_EQ(copy.GetParams().Size(), 3u);
  EXPECT_STREQ(copy.GetName().GetName().CStr(), "ref");

  referrer.PointValueAt(nullptr);
  EXPECT_TRUE(referrer.GetParams().IsEmpty());
  EXPECT_EQ(target.GetParams().Size(), 3u) << "the referenced data stays its owner's";
}

}  // namespace
}  // namespace tssoap::test
