#include "call/parameter_walker.h"

#include "call/proxy_variables.h"
#include "support/values/soap_exception.h"

namespace tssoap {

// How one parameter or field travels: its declared type and its array block.
struct ParameterWalker::ValueForm {
  std::string typeName;
  ArrayStyle arrayStyle = kScalar;
  std::string elementName = "item";  // name of an array's items when the block names none
};

namespace {

// The ids of an array block's tokens under one scanner: the two scanners number them apart.
struct ArrayBlockTokens {
  int16_t open;
  int16_t close;
  int16_t equals;
  int16_t elementName;
  int16_t soapElementName;
  int16_t xmlElementName;
};
constexpr ArrayBlockTokens kMethodArrayBlock{kMethodBracketOpen,     kMethodBracketClose,
                                             kMethodEquals,          kMethodElementName,
                                             kMethodSoapElementName, kMethodXmlElementName};
constexpr ArrayBlockTokens kStructArrayBlock{kStructBracketOpen,     kStructBracketClose,
                                             kStructEquals,          kStructElementName,
                                             kStructSoapElementName, kStructXmlElementName};

// Entered behind the "[". A block holds one attribute, optionally "=" and the items' name; what
// stands behind that up to the "]" is read and has no effect.
void ReadArrayBlock(SoapScanner& scanner, const ArrayBlockTokens& ids, ArrayStyle& arrayStyle,
                    std::string& elementName) {
  arrayStyle = kRepeatedElements;
  int16_t token = scanner.NextToken();
  if (token == ids.close) return;
  if (token == ids.soapElementName) {
    arrayStyle = kEncodedArray;
  } else if (token == ids.elementName) {
    arrayStyle = kWrappedArray;
  } else if (token == ids.xmlElementName) {
    arrayStyle = kRepeatedElements;
  }
  token = scanner.NextToken();
  if (token == ids.equals) {
    token = scanner.NextToken();
    if (token != ids.close) {
      elementName = scanner.GetTokenText();
      token = scanner.NextToken();
    }
  }
  while (token != ids.close) token = scanner.NextToken();
}

// Read behind a type: an array block when one follows, then the name, which is left as the token
// text.
void ReadArrayBlockAndName(SoapScanner& scanner, const ArrayBlockTokens& ids,
                           ArrayStyle& arrayStyle, std::string& elementName) {
  if (scanner.NextToken() != ids.open) return;
  ReadArrayBlock(scanner, ids, arrayStyle, elementName);
  scanner.NextToken();
}

// The host's argument at index, or null when the host passed fewer than the description lists.
IHostValue* ArgumentAt(const HostCallInfo& info, int16_t index) {
  IHostArguments* arguments = info.arguments;
  if (arguments == nullptr || index >= arguments->GetCount()) return nullptr;
  return arguments->GetAt(index);
}

// A SOAPException's text for a new exception of the same text; a memory failure has none.
const char* TextOf(const SOAPException& failure) {
  return failure.What() != nullptr ? failure.What() : "";
}

}  // namespace

int ParameterWalker::WalkRequest(SOAPMethod& method, HostCallInfo& info,
                                 const std::string& parameterText) {
  SoapMethodScanner scanner(parameterText);
  if (scanner.NextToken() != kMethodOpen) return 0;
  // Positions come from the description: a parameter that isn't sent uses up its argument too.
  int16_t index = 0;
  int16_t token;
  do {
    HostValueRecord record{};
    ReadHostValue(record, ArgumentAt(info, index++), false);
    token = SendOne(method, scanner, record);
  } while (token == kMethodComma);
  return 0;
}

int16_t ParameterWalker::SendOne(SOAPMethod& method, SoapMethodScanner& scanner,
                                 HostValueRecord& record) {
  int16_t token = scanner.NextToken();
  if (token == kMethodClose) return token;  // an empty list, or one that ended behind a ","

  // The token opens the direction block; "in" anywhere in it sends the argument.
  bool sent = false;
  while ((token = scanner.NextToken()) != kMethodBracketClose) {
    if (token == kMethodIn) sent = true;
  }

  ValueForm form;
  scanner.NextToken();
  if (sent) form.typeName = scanner.GetTokenText();
  ReadArrayBlockAndName(scanner, kMethodArrayBlock, form.arrayStyle, form.elementName);
  if (sent) {
    const std::string parameterName = scanner.GetTokenText();
    SendValue(method, parameterName, form, record);
  }
  return scanner.NextToken();
}

void ParameterWalker::SendValue(SOAPParameter& parent, const std::string& name,
                                const ValueForm& form, HostValueRecord& record) {
  // Each child takes the namespace of its parent: the method's, down to the deepest field.
  const char* ns = parent.GetName().GetNamespace().Str();
  if (form.arrayStyle != kRepeatedElements) {
    SOAPParameter& child = parent.AddParameter("");
    child.SetName(name.c_str(), ns);
    DispatchOut(child, form.typeName, record, form.arrayStyle, form.elementName, parent);
    return;
  }
  // Repeated elements have no element of their own: this one only carries the name, and the
  // driver adds one child to parent for each item.
  SOAPParameter carrier;
  carrier.SetName(name.c_str(), ns);
  DispatchOut(carrier, form.typeName, record, form.arrayStyle, form.elementName, parent);
}

int ParameterWalker::WalkResponse(const SOAPParameter& response, HostCallInfo& info,
                                  const std::string& parameterText) {
  SoapMethodScanner scanner(parameterText);
  if (scanner.NextToken() == kMethodOpen) {
    int16_t index = 0;
    int16_t token;
    do {
      // The snapshot matters: a parameter that the response doesn't change goes back as it was.
      IHostValue* value = ArgumentAt(info, index++);
      HostValueRecord record{};
      ReadHostValue(record, value, false);
      token = ReceiveOne(response, scanner, record, false);
      if (record.kind != kHostUnknown && value != nullptr) WriteHostValue(value, record);
    } while (token == kMethodComma);
  }

  // A method without a result ends right behind its ")".
  try {
    if (scanner.NextToken() != kMethodReturn) return 0;
  } catch (const SoapScannerException&) {
    return 0;
  }

  HostValueRecord record{};
  ReadHostValue(record, info.returnValue, true);
  if (record.kind == kHostAny) record.isArray = 1;
  try {
    ReceiveOne(response, scanner, record, true);
  } catch (const SoapScannerException&) {
    // The text always ends behind the return part's name: this is the normal end.
  }
  if (info.returnValue != nullptr) WriteHostValue(info.returnValue, record);
  return 0;
}

int16_t ParameterWalker::ReceiveOne(const SOAPParameter& response, SoapMethodScanner& scanner,
                                    HostValueRecord& record, bool isReturn) {
  int16_t token = scanner.NextToken();
  if (token == kMethodClose) return token;

  ValueForm form;
  bool read = false;
  if (token == kMethodBracketOpen) {
    while ((token = scanner.NextToken()) != kMethodBracketClose) {
      if (token == kMethodOut) read = true;
    }
    scanner.NextToken();
    if (read) form.typeName = scanner.GetTokenText();
  } else {
    // No direction block: the return part, whose first token is the type.
    read = true;
    form.typeName = scanner.GetTokenText();
  }

  ReadArrayBlockAndName(scanner, kMethodArrayBlock, form.arrayStyle, form.elementName);
  if (!read) {
    record.kind = kHostUnknown;  // not to be written back
  } else {
    const std::string parameterName = scanner.GetTokenText();
    FindAndReceive(response, parameterName, form, record, isReturn);
  }
  return scanner.NextToken();
}

void ParameterWalker::FindAndReceive(const SOAPParameter& response, const std::string& name,
                                     const ValueForm& form, HostValueRecord& record,
                                     bool isReturn) {
  // Elements are found by name alone: their order in the response means nothing.
  try {
    const SOAPParameter& element = response.GetParameter(name.c_str());
    if (!element.IsNull()) {
      DispatchIn(element, form.typeName, record, form.arrayStyle, form.elementName, response);
    }
    return;
  } catch (const SOAPException& failure) {
    if (!isReturn) throw SOAPException("%s", TextOf(failure));
  }
  // A result may also stand as "return", or under the local name of its type.
  try {
    const SOAPParameter& element = response.GetParameter("return");
    DispatchIn(element, form.typeName, record, form.arrayStyle, form.elementName, response);
    return;
  } catch (const SOAPException&) {
  }
  try {
    const std::string localName = GetLocalPart(form.typeName);
    const SOAPParameter& element = response.GetParameter(localName.c_str());
    if (!element.IsNull()) {
      DispatchIn(element, form.typeName, record, form.arrayStyle, form.elementName, response);
    }
  } catch (const SOAPException& failure) {
    throw SOAPException("%s", TextOf(failure));
  }
}

int ParameterWalker::WalkStructOut(SOAPParameter& parent, HostObject instance,
                                   const std::string& fieldList) {
  SoapStructScanner scanner(fieldList);
  if (scanner.NextToken() != kStructOpen) return 0;
  while (SendField(parent, scanner, instance) == kStructComma) {
  }
  return 0;
}

std::string ParameterWalker::ReadField(SoapStructScanner& scanner, HostObject instance,
                                       ValueForm& form, HostValueRecord& record) {
  form.typeName = scanner.GetTokenText();
  ReadArrayBlockAndName(scanner, kStructArrayBlock, form.arrayStyle, form.elementName);
  std::string fieldName = scanner.GetTokenText();
  ReadHostField(session_, record, instance, fieldName);
  return fieldName;
}

int16_t ParameterWalker::SendField(SOAPParameter& parent, SoapStructScanner& scanner,
                                   HostObject instance) {
  if (scanner.NextToken() == kStructClose) return kStructClose;
  // Fields have no direction block: every field is sent.
  ValueForm form;
  HostValueRecord record{};
  const std::string fieldName = ReadField(scanner, instance, form, record);
  SendValue(parent, fieldName, form, record);
  return scanner.NextToken();
}

int ParameterWalker::WalkStructIn(const SOAPParameter& element, HostObject instance,
                                  const std::string& fieldList) {
  SoapStructScanner scanner(fieldList);
  if (scanner.NextToken() != kStructOpen) return 0;
  while (ReceiveField(element, scanner, instance) == kStructComma) {
  }
  return 0;
}

int16_t ParameterWalker::ReceiveField(const SOAPParameter& element, SoapStructScanner& scanner,
                                      HostObject instance) {
  if (scanner.NextToken() == kStructClose) return kStructClose;
  ValueForm form;
  HostValueRecord record{};
  const std::string fieldName = ReadField(scanner, instance, form, record);
  try {
    const SOAPParameter& field = element.GetParameter(fieldName.c_str());
    if (!field.IsNull()) {
      DispatchIn(field, form.typeName, record, form.arrayStyle, form.elementName, element);
    }
  } catch (const SOAPException&) {
    // A missing field, or one that fails to convert, keeps the value it had.
  }
  WriteHostField(session_, instance, record, fieldName);
  return scanner.NextToken();
}

int ParameterWalker::DispatchOut(SOAPParameter& parameter, const std::string& typeName,
                                 HostValueRecord& record, ArrayStyle arrayStyle,
                                 const std::string& elementName, SOAPParameter& parent) {
  switch (arrayStyle) {
    case kEncodedArray:
      return ConvertEncodedArrayOut(parameter, session_, proxy_, typeName, record, elementName);
    case kWrappedArray:
      return ConvertWrappedArrayOut(parameter, session_, proxy_, typeName, record, elementName);
    case kRepeatedElements:
      return ConvertRepeatedElementsOut(parameter, session_, proxy_, typeName, record, elementName,
                                        parent);
    case kScalar:
      break;
  }
  return ConvertScalarOut(parameter, session_, proxy_, typeName, record);
}

int ParameterWalker::DispatchIn(const SOAPParameter& parameter, const std::string& typeName,
                                HostValueRecord& record, ArrayStyle arrayStyle,
                                const std::string& elementName, const SOAPParameter& enclosing) {
  switch (arrayStyle) {
    case kEncodedArray:
      return ConvertEncodedArrayIn(parameter, session_, proxy_, typeName, record, elementName);
    case kWrappedArray:
      return ConvertWrappedArrayIn(parameter, session_, proxy_, typeName, record, elementName);
    case kRepeatedElements:
      return ConvertRepeatedElementsIn(parameter, session_, proxy_, typeName, record, elementName,
                                       enclosing);
    case kScalar:
      break;
  }
  return ConvertScalarIn(parameter, session_, proxy_, typeName, record);
}

}  // namespace tssoap
