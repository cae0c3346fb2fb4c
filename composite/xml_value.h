// XmlValueText and XmlTextView: the lexical form of one XML value, made or where it lies, and lists
// of them for arrays. The row conversions of the type table turn host values into these and back;
// the library's elements carry them on the wire.
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
};

// The lexical form of a value to read, where it already lies: an element's text or an
// XmlValueText's. text is NUL-terminated at text.size(); it lives as long as what it was taken of.
struct XmlTextView {
  XmlTextView() = default;  // empty, not null
  XmlTextView(const XmlValueText& value) : text(value.text), isNull(value.isNull) {}  // NOLINT
  XmlTextView(std::string_view text, bool isNull) : text(text), isNull(isNull) {}
  // The text of an element that isn't nil, an absent text reading as empty.
  static XmlTextView TextOf(const SOAPParameter& parameter);
  // The same for any element: a nil one is null, with an empty text.
  static XmlTextView Of(const SOAPParameter& parameter);

  std::string_view text{"", 0};
  bool isNull = false;
};

// The items of an array to send, each text made for it.
using XmlValueTexts = SOAPGrowArray<XmlValueText>;
// The items of an array that came in, each text where it lies in its element: they live as long
// as the elements they were taken of.
using XmlTextSlots = SOAPGrowArray<XmlTextView>;
