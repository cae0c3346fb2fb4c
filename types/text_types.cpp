#include "types/text_types.h"

#include <optional>

#include "support/text_conversions.h"
#include "support/values/soap_exception.h"

namespace tssoap {

void StringToXmlText(XmlValueText& value, ConversionContext& context) {
  const HostValueRecord& record = context.record;
  if (CopyNullOut(value, record)) return;
  const StringRowConversion& row = FamilyConversion<StringRowConversion>(context);
  const char* hostText = context.session.GetStringText(record.value.handle);
  std::string adjusted;
  if (row.hostTextStep != nullptr && hostText != nullptr) {
    adjusted = hostText;
    row.hostTextStep(adjusted);
    hostText = adjusted.c_str();
  }
  std::optional<std::string> utf8 = HostTextToUtf8(hostText);
  if (!utf8) throw SOAPException("Can't convert DBCS to UCS");
  if (row.utf8Step != nullptr) row.utf8Step(*utf8);
  value.text = std::move(*utf8);
}

void StringFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostString)) return;
  const StringRowConversion& row = FamilyConversion<StringRowConversion>(context);
  const char* text = value.text.data();
  std::string adjusted;
  if (row.incomingStep != nullptr) {
    adjusted.assign(value.text);
    row.incomingStep(adjusted);
    text = adjusted.c_str();
  }
  std::string room;
  const char* hostText = Utf8ToHostText(text, room);
  if (hostText == nullptr) throw SOAPException("%s", row.inFailure);
  // An empty text is an empty string, not a null one.
  record.value.handle = context.session.NewString(hostText);
}

void NormalizeWhitespace(std::string& text) {
  for (char& c : text) {
    if (c == '\r' || c == '\n' || c == '\t') c = ' ';
  }
}

void CollapseWhitespace(std::string& text) {
  NormalizeWhitespace(text);
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) {
    // Spaces alone are one run.
    if (!text.empty()) text.assign(1, ' ');
    return;
  }
  const size_t last = text.find_last_not_of(' ');
  size_t out = 0;
  bool inRun = false;
  for (size_t at = first; at <= last; ++at) {
    const char c = text[at];
    if (c == ' ') {
      if (inRun) continue;
      inRun = true;
    } else {
      inRun = false;
    }
    text[out++] = c;
  }
  text.resize(out);
}

constinit const StringRowConversion kStringConversion{{&StringToXmlText, &StringFromXmlText},
                                                      nullptr,
                                                      nullptr,
                                                      nullptr,
                                                      "Can't convert UCS2 to DBCS"};
// The way in takes the text as it comes: these rows normalise on the way out only.
constinit const StringRowConversion kNormalizedStringConversion{
    {&StringToXmlText, &StringFromXmlText},
    nullptr,
    &NormalizeWhitespace,
    nullptr,
    "Internal Error with Tessaro SoapClient"};
constinit const StringRowConversion kTokenConversion{{&StringToXmlText, &StringFromXmlText},
                                                     nullptr,
                                                     &CollapseWhitespace,
                                                     nullptr,
                                                     "Internal Error with Tessaro SoapClient"};

}  // namespace tssoap
