// XmlValueText and XmlValueArray: the lexical form of one XML value, and a list of them with the
// name and namespace of the elements that hold the items. The row conversions of the type table
// turn host values into these and back; the library's elements carry them on the wire.
#pragma once

#include <string>
#include <string_view>

#include "support/values/soap_grow_array.h"
#include "support/values/soap_string.h"

class SOAPParameter;

struct XmlValueText {
  std::string text;     // the lexical form
  bool isNull = false;  // the value is nil

  // Null: marks the element nil and stores no text. Else stores text (empty stays empty).
  SOAPParameter& WriteTo(SOAPParameter& parameter) const;
  // Nil element: sets isNull and leaves text. Else text becomes the element's text, an absent
  // text reading as empty, and isNull is left as it is.
  const SOAPParameter& ReadFrom(const SOAPParameter& parameter);
};

// The lexical form of a value to read, where it already lies: an element's text or an
// XmlValueText's. text is NUL-terminated at text.size(); it lives as long as what it was taken of.
struct XmlTextView {
  XmlTextView(const XmlValueText& value) : text(value.text), isNull(value.isNull) {}  // NOLINT
  XmlTextView(std::string_view text, bool isNull) : text(text), isNull(isNull) {}
  // The text of an element that isn't nil, an absent text reading as empty.
  static XmlTextView TextOf(const SOAPParameter& parameter);

  std::string_view text;
  bool isNull = false;
};

struct XmlValueArray {
  XmlValueArray(const char* elementName, const char* elementNamespace)
      : elementName(elementName), elementNamespace(elementNamespace) {}
  // Members are destroyed namespace, name, items: the reverse of this order.
  SOAPGrowArray<XmlValueText> items;
  SOAPString elementName;
  SOAPString elementNamespace;
};
