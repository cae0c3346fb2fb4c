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

const SOAPParameter& XmlValueText::ReadFrom(const SOAPParameter& parameter) {
  if (parameter.IsNull()) {
    isNull = true;
  } else {
    const char* content = parameter.GetString().Str();
    text.assign(content != nullptr ? content : "");
  }
  return parameter;
}
