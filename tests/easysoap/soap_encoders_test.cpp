// Base64 and hexadecimal encoders: known vectors, round trips of every byte value, white space,
// bad characters, the room given, and the shared size estimate.
#include "easysoap/soap_encoders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/values/soap_exception.h"

namespace tssoap::test {
namespace {

using ::testing::HasSubstr;

std::string Base64(const std::string& data) {
  SOAPString text;
  SOAPBase64Base::Encode(data.data(), static_cast<unsigned int>(data.size()), text);
  return text.CStr();
}

std::string Hex(const std::string& data) {
  SOAPString text;
  SOAPHexBase::Encode(data.data(), static_cast<unsigned int>(data.size()), text);
  return text.CStr();
}

// Decodes into a block of exactly the estimated size, as the binary types do.
template <typename Encoder>
std::string Decode(const std::string& text) {
  SOAPString encoded(text.c_str());
  unsigned int size = SOAPBase64Base::EstimateSize(encoded);
  std::vector<char> block(size + 1, '\x5A');
  Encoder::Decode(encoded, block.data(), size);
  EXPECT_EQ(block[SOAPBase64Base::EstimateSize(encoded)], '\x5A') << "wrote past the estimate";
  return std::string(block.data(), size);
}

std::string DecodeError(bool hex, const std::string& text, unsigned int room = 1000) {
  SOAPString encoded(text.c_str());
  std::vector<char> block(room + 1);
  try {
    if (hex) {
      SOAPHexBase::Decode(encoded, block.data(), room);
    } else {
      SOAPBase64Base::Decode(encoded, block.data(), room);
    }
  } catch (const SOAPException& e) {
    return e.What();
  }
  return "";
}

TEST(SoapEncodersTest, EncodesKnownVectors) {
  struct Case {
    std::string data;
    const char* base64;
    const char* hex;
  };
  const Case cases[] = {
      {"", "", ""},
      {"f", "Zg==", "66"},
      {"fo", "Zm8=", "666F"},
      {"foo", "Zm9v", "666F6F"},
      {"foobar", "Zm9vYmFy", "666F6F626172"},
      {std::string("\x00\x01\x02\x03\xFF", 5), "AAECA/8=", "00010203FF"},
      {"\xFB\xFF\xBF", "+/+/", "FBFFBF"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.base64);
    EXPECT_EQ(Base64(c.data), c.base64);
    EXPECT_EQ(Hex(c.data), c.hex);
    EXPECT_EQ(Decode<SOAPBase64Base>(c.base64), c.data);
    EXPECT_EQ(Decode<SOAPHexBase>(c.hex), c.data);
  }
}

TEST(SoapEncodersTest, EveryByteValueAndLengthRoundTrips) {
  std::string all;
  for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
  for (size_t length = 0; length <= all.size(); length += (length < 8 ? 1 : 37)) {
    SCOPED_TRACE(length);
    std::string data = all.substr(all.size() - length);
    EXPECT_EQ(Decode<SOAPBase64Base>(Base64(data)), data);
    EXPECT_EQ(Decode<SOAPHexBase>(Hex(data)), data);
  }
}

TEST(SoapEncodersTest, DecodingSkipsWhiteSpaceAndAcceptsMissingPaddingAndLowerCaseHex) {
  EXPECT_EQ(Decode<SOAPBase64Base>(" Zm9v\r\nYmFy\t"), "foobar");
  EXPECT_EQ(Decode<SOAPBase64Base>("Zm8"), "fo");
  EXPECT_EQ(Decode<SOAPBase64Base>("Zg"), "f");
  EXPECT_EQ(Decode<SOAPBase64Base>("Zg= ="), "f");
  EXPECT_EQ(Decode<SOAPHexBase>("ff 0a\n9B"), "\xFF\x0A\x9B");
}

TEST(SoapEncodersTest, RefusesBadTextWithItsPlace) {
  struct Case {
    bool hex;
    std::string text;
    const char* messagePart;
  };
  const Case cases[] = {
      {false, "Zm9v!", "Invalid Base64 text: character '!' at position 4"},
      {false, "Zm\x01v", "character 0x01 at position 2"},
      {false, "Zg==Zg==", "character 'Z' at position 4"},
      {false, "=Zg=", "character '=' at position 0"},
      {false, "Zg===", "character '=' at position 4"},
      {false, "Z", "ends with a single character"},
      {false, "Zm9vY", "ends with a single character"},
      {false, "Zm9v-_", "character '-'"},
      {true, "0g", "Invalid hexadecimal text: character 'g' at position 1"},
      {true, "abc", "odd number of digits"},
      {true, "0x10", "character 'x' at position 1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_THAT(DecodeError(c.hex, c.text), HasSubstr(c.messagePart));
  }
}

TEST(SoapEncodersTest, NeverWritesBeyondTheRoomGiven) {
  EXPECT_THAT(DecodeError(false, "Zm9vYmFy", 5), HasSubstr("doesn't fit the 5 bytes"));
  EXPECT_THAT(DecodeError(false, "Zm9vYg==", 3), HasSubstr("doesn't fit the 3 bytes"));
  EXPECT_THAT(DecodeError(true, "00112233", 3), HasSubstr("doesn't fit the 3 bytes"));
  EXPECT_EQ(DecodeError(true, "00112233", 4), "");
}

TEST(SoapEncodersTest, EstimateBoundsBase64AndHexadecimalText) {
  for (unsigned int length : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 101u, 4096u}) {
    SCOPED_TRACE(length);
    SOAPString hexText(std::string(length, 'a').c_str());
    SOAPString base64Text(std::string(length, 'Q').c_str());
    unsigned int estimate = SOAPBase64Base::EstimateSize(hexText);
    EXPECT_GE(estimate, (length + 1) / 2) << "hexadecimal needs one byte per two characters";
    EXPECT_GE(estimate, length / 4 * 3 + (length % 4 == 0 ? 0 : length % 4 - 1));
    EXPECT_EQ(estimate, SOAPBase64Base::EstimateSize(base64Text));
  }
  EXPECT_EQ(SOAPBase64Base::EstimateSize(SOAPString()), 0u);
}

}  // namespace
}  // namespace tssoap::test
