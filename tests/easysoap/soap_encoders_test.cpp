// Base64 and hexadecimal encoders: known vectors (every padding length, high bytes, both ends of
// the alphabet), white space, bad characters and the room given. Every decode goes into a block of
// exactly the shared size estimate, so each case also shows that the estimate bounds both kinds of
// text.
#include "easysoap/soap_encoders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "easysoap/library_test_support.h"

namespace tssoap::test {
namespace {

using ::testing::HasSubstr;

template <typename Encoder>
std::string Encode(const std::string& data) {
  SOAPString text;
  Encoder::Encode(data.data(), static_cast<unsigned int>(data.size()), text);
  return text.CStr();
}

// Decodes into room bytes (by default the estimate) and fails when it writes past them.
template <typename Encoder>
std::string Decode(const std::string& text, int room = -1) {
  SOAPString encoded(text.c_str());
  unsigned int size = room < 0 ? SOAPBase64Base::EstimateSize(encoded) : room;
  std::vector<char> block(size + 1, '\x5A');
  Encoder::Decode(encoded, block.data(), size);
  EXPECT_EQ(block.back(), '\x5A') << "wrote past the room given";
  return std::string(block.data(), size);
}

TEST(SoapEncodersTest, EncodesAndDecodesKnownVectors) {
  for (auto [data, base64, hex] : std::vector<std::tuple<std::string, const char*, const char*>>{
           {"", "", ""},
           {"f", "Zg==", "66"},
           {"foobar", "Zm9vYmFy", "666F6F626172"},
           {std::string("\x00\x01\x02\x03\xFF", 5), "AAECA/8=", "00010203FF"},
           {"\xFB\xFF\xBF", "+/+/", "FBFFBF"}}) {
    SCOPED_TRACE(base64);
    EXPECT_EQ(Encode<SOAPBase64Base>(data), base64);
    EXPECT_EQ(Encode<SOAPHexBase>(data), hex);
    EXPECT_EQ(Decode<SOAPBase64Base>(base64), data);
    EXPECT_EQ(Decode<SOAPHexBase>(hex), data);
  }
  // White space anywhere, missing padding and lower-case digits are read too.
  EXPECT_EQ(Decode<SOAPBase64Base>(" Zm9v\r\nYmFy\t"), "foobar");
  EXPECT_EQ(Decode<SOAPBase64Base>("Zm8"), "fo");
  EXPECT_EQ(Decode<SOAPBase64Base>("Zg= ="), "f");
  EXPECT_EQ(Decode<SOAPHexBase>("ff 0a\n9B"), "\xFF\x0A\x9B");
  EXPECT_EQ(SOAPBase64Base::EstimateSize(SOAPString()), 0u);
}

// A bad character is named with its place; decoded data never goes beyond the room given.
TEST(SoapEncodersTest, RefusesBadTextAndDataBeyondTheRoom) {
  for (auto [hex, text, room, messagePart] :
       std::vector<std::tuple<bool, std::string, int, const char*>>{
           {false, "Zm9v!", -1, "Invalid Base64 text: character '!' at position 4"},
           {false, "Zm\x01v", -1, "character 0x01 at position 2"},
           {false, "Zm9vY", -1, "ends with a single character"},
           {true, "0g", -1, "Invalid hexadecimal text: character 'g' at position 1"},
           {true, "abc", -1, "odd number of digits"},
           {false, "Zm9vYmFy", 5, "The decoded Base64 data doesn't fit the 5 bytes given for it"},
           {false, "Zm9vYg==", 3, "doesn't fit the 3 bytes"},
           {true, "00112233", 3, "The decoded hexadecimal data doesn't fit the 3 bytes"}}) {
    SCOPED_TRACE(text);
    Outcome outcome = Attempt(
        [&] { hex ? Decode<SOAPHexBase>(text, room) : Decode<SOAPBase64Base>(text, room); });
    EXPECT_EQ(outcome.thrown, "SOAPException");
    EXPECT_THAT(outcome.text, HasSubstr(messagePart));
  }
  EXPECT_EQ(Decode<SOAPHexBase>("00112233", 4), std::string("\x00\x11\x22\x33", 4));
}

}  // namespace
}  // namespace tssoap::test
