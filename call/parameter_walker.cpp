#include "call/parameter_walker.h"

#include "host/proxy_variables.h"
#include "support/values/soap_exception.h"

namespace tssoap {

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

void ParameterWalker::WalkRequest(SOAPMethod& method, HostCallInfo& info,
                                  const std::string& parameterText) {
  SoapMethodScanner scanner(parameterText);
  if (scanner.NextToken() != kMethodOpen) return;
  // Positions come from the description: a parameter that isn't sent uses up its argument too.
  int16_t index = 0;
  int16_t token;
  do {
    HostValueRecord record{};
    ReadHostValue(record, ArgumentAt(info, index++), false);
    token = SendOne(method, scanner, record);
  } while (token == kMethodComma);
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
  if (sent) form.type = DeclaredType(session_, proxy_, scanner.GetTokenText());
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
    SOAPParameter& child = parent.AddParameter(name.c_str(), ns);
    ConvertToWire(form, child, parent, record, session_, proxy_);
    return;
  }
  // Repeated elements have no element of their own: this one only carries the name, and the
  // driver adds one child to parent for each item.
  SOAPParameter carrier;
  carrier.SetName(name.c_str(), ns);
  ConvertToWire(form, carrier, parent, record, session_, proxy_);
}

void ParameterWalker::WalkResponse(const SOAPParameter& response, HostCallInfo& info,
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
  if (scanner.ReadToken() != kMethodReturn) return;

  HostValueRecord record{};
  ReadHostValue(record, info.returnValue, true);
  if (record.kind == kHostAny) record.isArray = 1;
  try {
    ReceiveOne(response, scanner, record, true);
  } catch (const SoapScannerException&) {
    // A return part, or a structure's field list in the result, that ends early ends the walk;
    // the result is written back as far as it was read.
  }
  if (info.returnValue != nullptr) WriteHostValue(info.returnValue, record);
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
    if (read) form.type = DeclaredType(session_, proxy_, scanner.GetTokenText());
  } else {
    // No direction block: the return part, whose first token is the type.
    read = true;
    form.type = DeclaredType(session_, proxy_, scanner.GetTokenText());
  }

  ReadArrayBlockAndName(scanner, kMethodArrayBlock, form.arrayStyle, form.elementName);
  if (!read) {
    record.kind = kHostUnknown;  // not to be written back
  } else {
    const std::string parameterName = scanner.GetTokenText();
    FindAndReceive(response, parameterName, form, record, isReturn);
  }
  // The text normally ends behind the return part's name.
  return isReturn ? scanner.ReadToken() : scanner.NextToken();
}

void ParameterWalker::FindAndReceive(const SOAPParameter& response, const std::string& name,
                                     const ValueForm& form, HostValueRecord& record,
                                     bool isReturn) {
  // Elements are found by name alone: their order in the response means nothing.
  try {
    const SOAPParameter& element = response.GetParameter(name.c_str());
    if (!element.IsNull()) {
      ConvertFromWire(form, element, response, record, session_, proxy_);
    }
    return;
  } catch (const SOAPException& failure) {
    if (!isReturn) throw SOAPException("%s", TextOf(failure));
  }
  // A result may also stand as "return", or under the local name of its type.
  try {
    const SOAPParameter& element = response.GetParameter("return");
    ConvertFromWire(form, element, response, record, session_, proxy_);
    return;
  } catch (const SOAPException&) {
  }
  try {
    const std::string localName = GetLocalPart(form.type.name);
    const SOAPParameter& element = response.GetParameter(localName.c_str());
    if (!element.IsNull()) {
      ConvertFromWire(form, element, response, record, session_, proxy_);
    }
  } catch (const SOAPException& failure) {
    throw SOAPException("%s", TextOf(failure));
  }
}

StructFields ParameterWalker::ReadStructFields(const std::string& fieldList) {
  StructFields list;
  SoapStructScanner scanner(fieldList);
  try {
    if (scanner.NextToken() != kStructOpen) return list;
    // Fields have no direction block: every field travels.
    while (scanner.NextToken() != kStructClose) {
      // A field cut short by the end of the text never travels.
      ValueForm form;
      form.type = DeclaredType(session_, proxy_, scanner.GetTokenText());
      ReadArrayBlockAndName(scanner, kStructArrayBlock, form.arrayStyle, form.elementName);
      const std::string& name = scanner.GetTokenText();
      list.fields.push_back(StructField{name, HostFieldName(name), std::move(form)});
      if (scanner.NextToken() != kStructComma) break;
    }
  } catch (const SoapScannerException&) {
    list.cutShort = true;
  }
  return list;
}

void ParameterWalker::WalkStructOut(SOAPParameter& parent, HostObject instance,
                                    const StructFields& fields) {
  // The class is asked once per instance, and each field's place once per class.
  const HostClass cls = session_.GetClass(instance);
  for (const StructField& field : fields.fields) SendField(parent, field, instance, cls);
  if (fields.cutShort) throw SoapScannerException();
}

void ParameterWalker::SendField(SOAPParameter& parent, const StructField& field,
                                HostObject instance, HostClass cls) {
  HostValueRecord record{};
  ReadHostField(session_, record, instance, cls, field.hostName);
  SendValue(parent, field.name, field.form, record);
}

void ParameterWalker::WalkStructIn(const SOAPParameter& element, HostObject instance,
                                   const StructFields& fields) {
  const HostClass cls = session_.GetClass(instance);
  for (const StructField& field : fields.fields) ReceiveField(element, field, instance, cls);
  if (fields.cutShort) throw SoapScannerException();
}

void ParameterWalker::ReceiveField(const SOAPParameter& element, const StructField& field,
                                   HostObject instance, HostClass cls) {
  HostValueRecord record{};
  // A plain value is replaced whole by its conversion, so the instance isn't asked for it: when
  // the answer has no usable value, the field is simply left alone.
  const bool plain = ShapeHostField(session_, record, cls, field.hostName);
  if (!plain) ReadHostField(session_, record, instance, cls, field.hostName);
  try {
    const SOAPParameter& found = element.GetParameter(field.name.c_str());
    if (!found.IsNull()) {
      ConvertFromWire(field.form, found, element, record, session_, proxy_);
    } else if (plain) {
      return;
    }
  } catch (const SOAPException&) {
    // A missing field, or one that fails to convert, keeps the value it had.
    if (plain) return;
  }
  WriteHostField(session_, instance, cls, record, field.hostName);
}

void ParameterWalker::DispatchOut(SOAPParameter& parameter, const std::string& typeName,
                                  HostValueRecord& record, ArrayStyle arrayStyle,
                                  const std::string& elementName, SOAPParameter& parent) {
  const ValueForm form{DeclaredType(session_, proxy_, typeName), arrayStyle, elementName, {}};
  ConvertToWire(form, parameter, parent, record, session_, proxy_);
}

void ParameterWalker::DispatchIn(const SOAPParameter& parameter, const std::string& typeName,
                                 HostValueRecord& record, ArrayStyle arrayStyle,
                                 const std::string& elementName, const SOAPParameter& enclosing) {
  const ValueForm form{DeclaredType(session_, proxy_, typeName), arrayStyle, elementName, {}};
  ConvertFromWire(form, parameter, enclosing, record, session_, proxy_);
}

}  // namespace tssoap
