#include "types/row_operations.h"

#include <cstring>

#include "composite/soap_array_decoder.h"
#include "host/host_kind_access.h"
#include "host/type_namespace_buffer.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "types/host_array_items.h"

namespace tssoap {

namespace {

constexpr const char* kBoundedArray = "SoapClient Error: Can't support Bounded array";

// The temporary record of an array item: all zero but the null flag and the value as read.
HostValueRecord ReadItem(const ConversionContext& context, HostArray array, int32_t index) {
  HostValueRecord item{};
  const HostBool isNull =
      ReadItemByKind(context.session, array, index, context.row->itemKind, item.value);
  item.isNull = isNull != 0 ? 1 : 0;
  return item;
}

void WriteItem(const ResponseContext& context, HostArray array, int32_t index,
               const HostValueRecord& item) {
  if (item.isNull != 0) {
    context.session.SetArrayItemToNull(array, &index);
  } else {
    WriteItemByKind(context.session, array, index, context.row->itemKind, item.value);
  }
}

// The parent element of repeated elements: one to fill, or one of the answer to read.
template <typename Parameter>
Parameter& ParentOf(const BasicConversionContext<Parameter>& context) {
  if (context.parentParameter == nullptr) {
    throw SOAPException("Internal Error with Tessaro SoapClient");
  }
  return *context.parentParameter;
}

}  // namespace

void SetTypeAttribute(const ConversionContext& context, SOAPParameter& parameter) {
  KeptTypeAttribute* kept = context.typeAttribute;
  if (kept != nullptr && kept->row == context.row && parameter.ShareAttributes(kept->table)) {
    return;
  }
  parameter.SetAttribute(Vocabulary().type, context.row->name, GetTypeNamespace());
  if (kept != nullptr) *kept = {context.row, parameter.GetSharedAttributes()};
}

void ScalarOut(ConversionContext& context) {
  SOAPParameter& parameter = context.parameter;
  // A null value is a nil element and carries no type.
  if (context.record.isNull != 0) {
    parameter.SetNull(true);
    return;
  }
  XmlValueText value;
  // A value the type can't hold leaves the parameter untouched.
  context.row->conversion->toXmlText(value, context);
  parameter.ClearValue();
  SetTypeAttribute(context, parameter);
  value.WriteTo(parameter);
}

void ScalarIn(ResponseContext& context) {
  const SOAPParameter& parameter = context.parameter;
  if (parameter.IsNull()) {
    context.record.isNull = 1;
    return;
  }
  // The declared row alone decides: an xsi:type of the element is not consulted.
  context.row->conversion->fromXmlText(XmlTextView::TextOf(parameter), context);
}

void EncodedArrayOut(ConversionContext& context) {
  // Every item is converted before the parameter is touched, so a failure leaves it as it was.
  const OutgoingArrayItems items(context.session, context.record, kBoundedArray);
  // A fresh value for each item to convert into.
  XmlValueTexts texts;
  texts.Resize(items.Length() > 0 ? static_cast<uint32_t>(items.Length()) : 0);
  // One item context for all items: only its record changes.
  HostValueRecord item{};
  ConversionContext itemContext = context.ForItem(context.parameter, item);
  const ToXmlTextFn toXmlText = context.row->conversion->toXmlText;
  for (uint32_t slot = 0; slot < texts.Size(); ++slot) {
    item = ReadItem(context, items.Array(), static_cast<int32_t>(slot) + 1);
    toXmlText(texts[slot], itemContext);
  }
  // The item type with the count, "boolean[3]", in the type's namespace: a qualified name.
  WriteEncodedArrayHead(context.parameter, context.row->name, GetTypeNamespace(), texts.Size());
  // Items go without a type attribute and with the local name alone.
  context.parameter.ReserveParameters(texts.Size());
  for (const XmlValueText& item : texts) {
    item.WriteTo(context.parameter.AddParameter(context.elementName.c_str()));
  }
}

void EncodedArrayIn(ResponseContext& context) {
  IHostSession& session = context.session;
  XmlTextSlots slots;
  DecodeSoapArray(context.parameter, slots);
  // The host array is in the record already: from the host value, or made for a value of kind any.
  const HostArray handle = context.record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded(kBoundedArray);
  int32_t index = 0;
  HostValueRecord item{};
  ResponseContext itemContext = context.ForItem(context.parameter, item);
  const FromXmlTextFn fromXmlText = context.row->conversion->fromXmlText;
  for (const XmlTextView& value : slots) {
    ++index;
    item = HostValueRecord{};
    // A failing item ends the operation; the items before it stay written.
    fromXmlText(value, itemContext);
    WriteItem(context, handle, index, item);
  }
}

void RepeatedOut(ConversionContext& context) {
  // A null or empty array produces no element at all.
  if (!HasArray(context.record)) return;
  SOAPParameter& parent = ParentOf(context);
  const OutgoingArrayItems items(context.session, context.record, kBoundedArray);
  // The parameter only carries the name; each item is an element of its own under the parent.
  const char* name = context.parameter.GetName().GetName().Str();
  const char* ns = parent.GetName().GetNamespace().Str();
  for (int32_t index = 1; index <= items.Length(); ++index) {
    HostValueRecord item = ReadItem(context, items.Array(), index);
    ConversionContext itemContext = context.ForItem(AddItemElement(parent, name, ns), item);
    ScalarOut(itemContext);
  }
}

void RepeatedIn(ResponseContext& context) {
  const SOAPParameter& parent = ParentOf(context);
  const HostArray handle = context.record.value.handle;
  const HeldArrayInfo info(context.session, handle);
  info.RefuseBounded(kBoundedArray);
  int32_t index = 0;
  ForEachRepeatedElement(parent, context.parameter.GetName(), [&](const SOAPParameter& child) {
    HostValueRecord item{};
    ResponseContext itemContext = context.ForItem(child, item);
    ScalarIn(itemContext);
    WriteItem(context, handle, ++index, item);
  });
}

void WrappedOut(ConversionContext& context) {
  // The wrapper stays as the walk made it: empty and without attributes.
  const OutgoingArrayItems items(context.session, context.record, kBoundedArray);
  for (int32_t index = 1; index <= items.Length(); ++index) {
    HostValueRecord item = ReadItem(context, items.Array(), index);
    // Unlike an encoded array, each item carries its xsi:type and the items' namespace.
    SOAPParameter& element = AddItemElement(context.parameter, context.elementName.c_str(),
                                            context.elementNamespace.c_str());
    ConversionContext itemContext = context.ForItem(element, item);
    ScalarOut(itemContext);
  }
}

}  // namespace tssoap
