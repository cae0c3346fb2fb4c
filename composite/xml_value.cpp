#include "composite/xml_value.h"

#include "easysoap/soap_parameter.h"

SOAPParameter& XmlValueText::WriteTo(SOAPParameter& parameter) const {
  if (isNull) {
    parameter.SetNull(true);
  } else {
    parameter.SetString(text.c_str(), text.size());
  }
  return parameter;
}

XmlTextView XmlTextView::TextOf(const SOAPParameter& parameter) {
  const char* content = parameter.GetString().Str();
  return {content != nullptr ? std::string_view(content) : std::string_view(""), false};
}

XmlTextView XmlTextView::Of(const SOAPParameter& parameter) {
  return parameter.IsNull() ? XmlTextView(std::string_view("", 0), true) : TextOf(parameter);
}
