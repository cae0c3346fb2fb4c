// base64, base64Binary and hexBinary: bytes through the library's encoders and back, with the
// length kept beside the data.
#include "types/binary_types.h"

#include <gtest/gtest.h>

#include <vector>

#include "types_test_support.h"

namespace tssoap {
namespace {

using types_test::MessageOf;
using types_test::Record;
using types_test::TypesHost;

HostValueRecord BlobRecord(TypesHost& host, const std::vector<uint8_t>& bytes) {
  HostValueRecord record = Record(kHostBlob);
  record.value.handle = host.runtime.NewBlob(bytes.data(), static_cast<uint32_t>(bytes.size()));
  return record;
}

std::vector<uint8_t> BytesOf(TypesHost& host, const HostValueRecord& record) {
  const auto* data = static_cast<const uint8_t*>(host.runtime.GetBlobData(record.value.handle));
  return std::vector<uint8_t>(data, data + host.runtime.GetBlobLength(record.value.handle));
}

TEST(BinaryRows, CarryBytesThereAndBackUnchanged) {
  TypesHost host;
  const std::vector<std::vector<uint8_t>> blobs = {
      {0, 1, 2, 3, 255}, {}, {0}, {'a', 0, 'b'}, std::vector<uint8_t>(1000, 0xA5)};
  for (const char* row : {"base64", "base64Binary", "hexBinary"}) {
    for (const std::vector<uint8_t>& bytes : blobs) {
      XmlValueText value = host.ToXml(row, BlobRecord(host, bytes));
      // A blob of length 0 is an empty text, not a nil element.
      EXPECT_FALSE(value.isNull);
      HostValueRecord back = host.FromXml(row, value.text);
      EXPECT_EQ(back.kind, kHostBlob);
      EXPECT_EQ(BytesOf(host, back), bytes) << row << " '" << value.text << "'";
    }
  }
  EXPECT_EQ(host.ToXml("hexBinary", BlobRecord(host, {0, 1, 2, 3, 255})).text, "00010203FF");
  EXPECT_EQ(host.ToXml("base64Binary", BlobRecord(host, {0, 1, 2, 3, 255})).text, "AAECA/8=");
}

TEST(BinaryRows, PassTheLibrarysRefusalThrough) {
  TypesHost host;
  EXPECT_TRUE(MessageOf([&] { host.FromXml("hexBinary", "0G"); }).has_value());
  EXPECT_TRUE(MessageOf([&] { host.FromXml("base64Binary", "@@@@"); }).has_value());
}

}  // namespace
}  // namespace tssoap
