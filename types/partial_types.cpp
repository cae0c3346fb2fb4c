#include "types/partial_types.h"

#include <string_view>

namespace tssoap {

namespace {

// Puts front and back around the core of text; a text without a core stays as it is.
void FrameCore(std::string& text, std::string_view front, std::string_view back) {
  const size_t first = text.find_first_not_of('-');
  if (first == std::string::npos) return;
  const size_t last = text.find_last_not_of('-');
  std::string framed;
  framed.reserve(front.size() + (last - first + 1) + back.size());
  framed.append(front).append(text, first, last - first + 1).append(back);
  text = std::move(framed);
}

// Replaces every occurrence of from by to; the search goes on behind the replaced part.
void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
  size_t at = text.find(from);
  if (at == std::string::npos) return;
  std::string replaced;
  replaced.reserve(text.size());
  size_t copied = 0;
  for (; at != std::string::npos; at = text.find(from, copied)) {
    replaced.append(text, copied, at - copied).append(to);
    copied = at + from.size();
  }
  replaced.append(text, copied, std::string::npos);
  text = std::move(replaced);
}

constexpr const char* kInternalError = "Internal Error with Tessaro SoapClient";
constexpr const char* kNoCodePageForm = "Can't convert UCS2 to DBCS";

constexpr StringRowConversion StringRow(TextStep hostTextStep, TextStep utf8Step,
                                        TextStep incomingStep, const char* inFailure) {
  return StringRowConversion{
      {&StringToXmlText, &StringFromXmlText}, hostTextStep, utf8Step, incomingStep, inFailure};
}

}  // namespace

void GMonthForm(std::string& text) { FrameCore(text, "--", "--"); }
void GMonthDayForm(std::string& text) { FrameCore(text, "--", ""); }
void GDayForm(std::string& text) { FrameCore(text, "---", ""); }
void EscapeUriSpaces(std::string& text) { ReplaceAll(text, " ", "%20"); }
void UnescapeUriSpaces(std::string& text) { ReplaceAll(text, "%20", " "); }

constinit const StringRowConversion kGYearConversion =
    StringRow(nullptr, nullptr, nullptr, kInternalError);
constinit const StringRowConversion kGYearMonthConversion =
    StringRow(nullptr, nullptr, nullptr, kInternalError);
// A host text may carry the dashes of the XML form or not; the forms make either come out right.
constinit const StringRowConversion kGMonthConversion =
    StringRow(&GMonthForm, nullptr, nullptr, kInternalError);
constinit const StringRowConversion kGMonthDayConversion =
    StringRow(&GMonthDayForm, nullptr, nullptr, kInternalError);
constinit const StringRowConversion kGDayConversion =
    StringRow(&GDayForm, nullptr, nullptr, kInternalError);
constinit const StringRowConversion kAnyUriConversion =
    StringRow(nullptr, &EscapeUriSpaces, &UnescapeUriSpaces, kInternalError);
// A QName goes as plain text: its prefix is neither resolved nor declared.
constinit const StringRowConversion kQNameConversion =
    StringRow(nullptr, nullptr, nullptr, kNoCodePageForm);
constinit const StringRowConversion kNotationConversion =
    StringRow(nullptr, nullptr, nullptr, kNoCodePageForm);
constinit const StringRowConversion kTokenTypeConversion =
    StringRow(nullptr, &CollapseWhitespace, nullptr, kInternalError);

}  // namespace tssoap
