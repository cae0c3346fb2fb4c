// The string pipeline that all 21 string-kind rows share -- host code page to UCS-2 to UTF-8 on the
// way out, the reverse on the way in -- with at most one text step per direction, and the rows
// string, normalizedString and token. The other string-kind rows (partial dates, URIs, tokens)
// are records of the same pipeline in partial_types.
#pragma once

#include <string>

#include "types/xml_data_type_table.h"

namespace tssoap {

// A text step works in place on the text it is given.
using TextStep = void (*)(std::string& text);

// The constants of one string-kind row. Steps may be null.
struct StringRowConversion : RowConversion {
  TextStep hostTextStep;  // way out: on the host text, before the conversion to UTF-8
  TextStep utf8Step;      // way out: on the UTF-8 text, before it becomes the value's text
  TextStep incomingStep;  // way in: on the incoming text, before anything else
  const char* inFailure;  // way in: the message when the text has no form in the code page
};

// The two conversions of every string-kind row; they read their steps from the row's record.
void StringToXmlText(XmlValueText& value, ConversionContext& context);
void StringFromXmlText(const XmlTextView& value, ResponseContext& context);

// Each carriage return, line feed and tab becomes one space; the length doesn't change.
void NormalizeWhitespace(std::string& text);
// NormalizeWhitespace, then spaces cut from both ends and each inner run of spaces made one. A
// text of spaces alone is one run and gives one space; an empty text stays empty.
void CollapseWhitespace(std::string& text);

extern const StringRowConversion kStringConversion;
extern const StringRowConversion kNormalizedStringConversion;
extern const StringRowConversion kTokenConversion;

}  // namespace tssoap
