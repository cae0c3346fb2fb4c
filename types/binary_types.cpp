#include "types/binary_types.h"

#include <memory>

#include "easysoap/soap_encoders.h"
#include "support/values/soap_exception.h"

namespace tssoap {

namespace {

void BinaryToXmlText(XmlValueText& value, ConversionContext& context) {
  const HostValueRecord& record = context.record;
  if (CopyNullOut(value, record)) return;
  IHostSession& session = context.session;
  const HostBlob blob = record.value.handle;
  // The size travels beside the data at every step: a zero byte is a byte like any other.
  const uint32_t length = session.GetBlobLength(blob);
  const void* data = session.GetBlobData(blob);
  SOAPString encoded;
  const BinaryRowConversion& row = FamilyConversion<BinaryRowConversion>(context);
  row.encode(static_cast<const char*>(data), length, encoded);
  // A blob of length 0 is an empty text, not a nil element.
  value.text = encoded.CStr();
}

void BinaryFromXmlText(const XmlTextView& value, ResponseContext& context) {
  HostValueRecord& record = context.record;
  if (CopyNullIn(value, record, kHostBlob)) return;
  const SOAPString text(value.text.data());
  unsigned int size = SOAPBase64Base::EstimateSize(text);
  // Released by the unwinding when the library's decoder throws.
  std::unique_ptr<char[]> block(new char[size_t{size} + 1]);
  FamilyConversion<BinaryRowConversion>(context).decode(text, block.get(), size);
  record.value.handle = context.session.NewBlob(block.get(), size);
}

}  // namespace

constinit const BinaryRowConversion kBase64Conversion{
    {&BinaryToXmlText, &BinaryFromXmlText}, &SOAPBase64Base::Decode, &SOAPBase64Base::Encode};
constinit const BinaryRowConversion kHexBinaryConversion{
    {&BinaryToXmlText, &BinaryFromXmlText}, &SOAPHexBase::Decode, &SOAPHexBase::Encode};

}  // namespace tssoap
