#include "types/row_operations.h"

#include <cstdio>
#include <cstring>

#include "composite/soap_array_decoder.h"
#include "host/host_kind_access.h"
#include "host/type_namespace_buffer.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "support/values/soap_text.h"

namespace tssoap {

namespace {

// Holds the host's info on an array and gives it back on every way out of the operation.
class HeldArrayInfo {
 public:
  HeldArrayInfo(IHostSession& session, HostArray array)
      : session_(session), info_(session.GetArrayInfo(array)) {}
  ~HeldArrayInfo() {
    if (info_ != nullptr) session_.ReleaseArrayInfo(info_);
  }
  HeldArrayInfo(const HeldArrayInfo&) = delete;
  HeldArrayInfo& operator=(const HeldArrayInfo&) = delete;

  // Items of a bounded (possibly multi-dimensional) array have no flat access here.
  void RefuseBounded() const {
    if (info_ != nullptr && info_->arrayForm == 0) {
      throw SOAPException("SoapClient Error: Can't support Bounded array");
    }
  }

 private:
  IHostSession& session_;
  HostArrayInfo* info_;
};

// A context for one array item: the operation's own, on another element and record.
ConversionContext ItemContext(const ConversionContext& context, SOAPParameter& parameter,
                              HostValueRecord& item) {
  return ConversionContext{parameter, context.session, context.proxy, context.typeName, item, {},
                           {},        nullptr,         context.row};
}

// The temporary record of an array item: all zero but the null flag and the value as read.
HostValueRecord ReadItem(const ConversionContext& context, HostArray array, int32_t index) {
  HostValueRecord item{};
  const HostBool isNull =
      ReadItemByKind(context.session, array, index, context.row->itemKind, item.value);
  item.isNull = isNull != 0 ? 1 : 0;
  return item;
}

void WriteItem(const ConversionContext& context, HostArray array, int32_t index,
               const HostValueRecord& item) {
  if (item.isNull != 0) {
    context.session.SetArrayItemToNull(array, &index);
  } else {
    WriteItemByKind(context.session, array, index, context.row->itemKind, item.value);
  }
}

// An array value that the way out has something to read from.
bool HasArray(const HostValueRecord& record) {
  return record.isNull == 0 && record.value.handle != 0;
}

SOAPParameter& ParentOf(const ConversionContext& context) {
  if (context.parentParameter == nullptr) {
    throw SOAPException("Internal Error with Tessaro SoapClient");
  }
  return *context.parentParameter;
}

}  // namespace

void SetTypeAttribute(const XmlDataTypeRow& row, SOAPQName& qname) {
  qname.SetName(row.name);
  qname.SetNamespace(GetTypeNamespace());
}

int ScalarOut(ConversionContext& context) {
  SOAPParameter& parameter = context.parameter;
  // A null value is a nil element and carries no type.
  if (context.record.isNull != 0) {
    parameter.SetNull(true);
    return 0;
  }
  XmlValueText value;
  // A value the type can't hold leaves the parameter untouched.
  context.row->conversion->toXmlText(value, context);
  parameter.ClearValue();
  SetTypeAttribute(*context.row, parameter.AddAttribute(Vocabulary().type));
  value.WriteTo(parameter);
  return 0;
}

int ScalarIn(ConversionContext& context) {
  const SOAPParameter& parameter = context.parameter;
  if (parameter.IsNull()) {
    context.record.isNull = 1;
    return 0;
  }
  // The declared row alone decides: an xsi:type of the element is not consulted.
  XmlValueText value;
  value.ReadFrom(parameter);
  context.row->conversion->fromXmlText(value, context);
  return 0;
}

int EncodedArrayOut(ConversionContext& context) {
  IHostSession& session = context.session;
  const HostValueRecord& record = context.record;
  XmlValueArray array(context.elementName.c_str(), context.elementNamespace.c_str());
  // Every item is converted before the parameter is touched, so a failure leaves it as it was.
  if (HasArray(record)) {
    const HostArray handle = record.value.handle;
    HeldArrayInfo info(session, handle);
    info.RefuseBounded();
    const int32_t length = session.GetArrayLength(handle);
    if (length > 0) array.items.Reserve(static_cast<uint32_t>(length));
    for (int32_t index = 1; index <= length; ++index) {
      HostValueRecord item = ReadItem(context, handle, index);
      ConversionContext itemContext = ItemContext(context, context.parameter, item);
      context.row->conversion->toXmlText(array.items.Add(XmlValueText{}), itemContext);
    }
  }
  SOAPParameter& parameter = context.parameter;
  const SoapVocabulary& vocabulary = Vocabulary();
  parameter.ClearValue();
  parameter.AddAttribute(vocabulary.type)
      .Set(vocabulary.Array.GetName().Str(), vocabulary.Array.GetNamespace().Str());
  // The item type with the count, "boolean[3]", in the type's namespace: a qualified name.
  SOAPQName& arrayType = parameter.AddAttribute(vocabulary.arrayType);
  SetTypeAttribute(*context.row, arrayType);
  char count[32];
  const int countLength =
      std::snprintf(count, sizeof count, "[%d]", static_cast<int>(array.items.Size()));
  arrayType.GetName().Append(count, static_cast<uint32_t>(countLength));
  parameter.SetIsStruct();
  // Items go without a type attribute and with the local name alone.
  for (const XmlValueText& item : array.items) {
    item.WriteTo(parameter.AddParameter(context.elementName.c_str()));
  }
  return 0;
}

int EncodedArrayIn(ConversionContext& context) {
  IHostSession& session = context.session;
  XmlValueArray array(context.elementName.c_str(), context.elementNamespace.c_str());
  DecodeSoapArray(context.parameter, array);
  // The host array is in the record already: from the host value, or made for a value of kind any.
  const HostArray handle = context.record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded();
  int32_t index = 0;
  for (const XmlValueText& value : array.items) {
    ++index;
    HostValueRecord item{};
    ConversionContext itemContext = ItemContext(context, context.parameter, item);
    // A failing item ends the operation; the items before it stay written.
    context.row->conversion->fromXmlText(value, itemContext);
    WriteItem(context, handle, index, item);
  }
  return 0;
}

int RepeatedOut(ConversionContext& context) {
  IHostSession& session = context.session;
  const HostValueRecord& record = context.record;
  // A null or empty array produces no element at all.
  if (!HasArray(record)) return 0;
  SOAPParameter& parent = ParentOf(context);
  const HostArray handle = record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded();
  const int32_t length = session.GetArrayLength(handle);
  // The parameter only carries the name; each item is an element of its own under the parent.
  const char* name = context.parameter.GetName().GetName().Str();
  const char* ns = parent.GetName().GetNamespace().Str();
  for (int32_t index = 1; index <= length; ++index) {
    HostValueRecord item = ReadItem(context, handle, index);
    SOAPParameter& child = parent.AddParameter("");
    child.SetName(name, ns);
    ConversionContext itemContext = ItemContext(context, child, item);
    context.row->operations->scalarOut(itemContext);
  }
  return 0;
}

int RepeatedIn(ConversionContext& context) {
  IHostSession& session = context.session;
  const SOAPParameter& parent = ParentOf(context);
  const HostArray handle = context.record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded();
  const SOAPQName& wanted = context.parameter.GetName();
  const char* wantedName = wanted.GetName().CStr();
  const char* wantedNamespace = wanted.GetNamespace().CStr();
  int32_t index = 0;
  // The walk ends behind the last child, or quietly at the first item that fails to convert:
  // the items before it stay in the host array and the rest is dropped.
  try {
    for (const SOAPParameter* child : parent.GetParams()) {
      // Absent and empty texts are the same here.
      const SOAPQName& name = child->GetName();
      if (SOAPText::Compare(name.GetName().CStr(), wantedName) != 0 ||
          SOAPText::Compare(name.GetNamespace().CStr(), wantedNamespace) != 0) {
        continue;
      }
      HostValueRecord item{};
      // The way in reads the element and never writes through it.
      ConversionContext itemContext =
          ItemContext(context, const_cast<SOAPParameter&>(*child), item);
      context.row->operations->scalarIn(itemContext);
      ++index;
      WriteItem(context, handle, index, item);
    }
  } catch (const SOAPException&) {
  }
  return 0;
}

int WrappedOut(ConversionContext& context) {
  IHostSession& session = context.session;
  const HostValueRecord& record = context.record;
  // The wrapper stays as the walk made it: empty and without attributes.
  if (!HasArray(record)) return 0;
  const HostArray handle = record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded();
  const int32_t length = session.GetArrayLength(handle);
  for (int32_t index = 1; index <= length; ++index) {
    HostValueRecord item = ReadItem(context, handle, index);
    SOAPParameter& child = context.parameter.AddParameter("item");
    // Unlike an encoded array, each item carries its xsi:type and the items' namespace.
    child.SetName(context.elementName.c_str(), context.elementNamespace.c_str());
    ConversionContext itemContext = ItemContext(context, child, item);
    context.row->operations->scalarOut(itemContext);
  }
  return 0;
}

constinit const RowOperations kRowOperations{
    &ScalarOut,   &ScalarIn,   &EncodedArrayOut, &EncodedArrayIn,
    &RepeatedOut, &RepeatedIn, &WrappedOut,      &EncodedArrayIn,
};

}  // namespace tssoap
