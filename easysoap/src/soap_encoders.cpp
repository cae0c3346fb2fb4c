#include "easysoap/soap_encoders.h"

#include <cstdint>
#include <string>

#include "support/values/soap_exception.h"

namespace {

constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kHexDigits[] = "0123456789ABCDEF";

constexpr int8_t kNotInAlphabet = -1;
constexpr int8_t kWhiteSpace = -2;
constexpr int8_t kPadding = -3;

// One table per alphabet, built at compile time, so that decoding is one lookup per character.
struct DecodeTable {
  int8_t value[256];
};

constexpr DecodeTable MakeTable(bool base64) {
  DecodeTable table{};
  for (int c = 0; c < 256; ++c) table.value[c] = kNotInAlphabet;
  if (base64) {
    for (int i = 0; i < 64; ++i) {
      table.value[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<int8_t>(i);
    }
    table.value[static_cast<unsigned char>('=')] = kPadding;
  } else {
    for (int i = 0; i < 10; ++i) table.value['0' + i] = static_cast<int8_t>(i);
    for (int i = 0; i < 6; ++i) {
      table.value['A' + i] = static_cast<int8_t>(10 + i);
      table.value['a' + i] = static_cast<int8_t>(10 + i);
    }
  }
  for (char blank : {' ', '\t', '\r', '\n'}) {
    table.value[static_cast<unsigned char>(blank)] = kWhiteSpace;
  }
  return table;
}

constexpr DecodeTable kBase64Table = MakeTable(true);
constexpr DecodeTable kHexTable = MakeTable(false);

// The first character outside the alphabet, for the message: printable ones as themselves.
[[noreturn]] void ThrowBadCharacter(const char* encoding, unsigned char c, uint32_t position) {
  if (c >= 0x20 && c < 0x7F) {
    throw SOAPException("Invalid %s text: character '%c' at position %u", encoding, c, position);
  }
  throw SOAPException("Invalid %s text: character 0x%02X at position %u", encoding, c, position);
}

[[noreturn]] void ThrowNoRoom(const char* encoding, unsigned int room) {
  throw SOAPException("The decoded %s data doesn't fit the %u bytes given for it", encoding, room);
}

// Stores text, reporting a failed allocation instead of leaving the string silently empty.
void AssignResult(const std::string& text, SOAPString& result) {
  result.Assign(text.c_str());
  if (result.IsNull()) throw SOAPMemoryException();
}

void CheckEncodable(unsigned int size, unsigned int factor) {
  // The text and its terminator must stay countable in 32 bits, as SOAPString counts them.
  if (uint64_t{size} * factor + 4 > UINT32_MAX) {
    throw SOAPException("The binary value of %u bytes is too large to encode", size);
  }
}

}  // namespace

unsigned int SOAPBase64Base::EstimateSize(const SOAPString& text) {
  // Base64 gives at most 3 bytes for every 4 characters and hexadecimal 1 for every 2, white space
  // counted as if it were data; the larger bound serves both.
  uint64_t length = text.Length();
  uint64_t base64Bound = (length + 3) / 4 * 3;
  uint64_t hexBound = (length + 1) / 2;
  uint64_t bound = base64Bound > hexBound ? base64Bound : hexBound;
  return bound > UINT32_MAX ? UINT32_MAX : static_cast<unsigned int>(bound);
}

void SOAPBase64Base::Decode(const SOAPString& text, char* destination, unsigned int& size) {
  const unsigned int room = size;
  size = 0;
  const auto* input = reinterpret_cast<const unsigned char*>(text.CStr());
  uint32_t group = 0;  // bits of the characters read so far in this quantum
  int inGroup = 0;     // characters of the current quantum
  int padding = 0;     // "=" seen; only white space and more "=" may follow
  unsigned int written = 0;
  uint32_t position = 0;
  for (; input[position] != '\0'; ++position) {
    int8_t value = kBase64Table.value[input[position]];
    if (value == kWhiteSpace) continue;
    if (value == kNotInAlphabet || (padding > 0 && value != kPadding)) {
      ThrowBadCharacter("Base64", input[position], position);
    }
    if (value == kPadding) {
      // Padding only completes a quantum that holds two or three characters.
      if (inGroup + padding < 2 || inGroup + padding >= 4) {
        ThrowBadCharacter("Base64", input[position], position);
      }
      ++padding;
      continue;
    }
    group = (group << 6) | static_cast<uint32_t>(value);
    if (++inGroup == 4) {
      if (room - written < 3) ThrowNoRoom("Base64", room);
      destination[written++] = static_cast<char>(group >> 16);
      destination[written++] = static_cast<char>(group >> 8);
      destination[written++] = static_cast<char>(group);
      group = 0;
      inGroup = 0;
    }
  }
  // A last quantum of two or three characters, padded or not, carries one or two bytes; a single
  // character can't stand for a whole byte.
  if (inGroup == 1) {
    throw SOAPException("Invalid Base64 text: it ends with a single character of a group");
  }
  if (inGroup > 1) {
    unsigned int bytes = static_cast<unsigned int>(inGroup - 1);
    if (room - written < bytes) ThrowNoRoom("Base64", room);
    group <<= 6 * (4 - inGroup);
    destination[written++] = static_cast<char>(group >> 16);
    if (bytes == 2) destination[written++] = static_cast<char>(group >> 8);
  }
  size = written;
}

void SOAPBase64Base::Encode(const char* data, unsigned int size, SOAPString& result) {
  CheckEncodable(size / 3 + 1, 4);
  std::string text;
  text.resize((size_t{size} + 2) / 3 * 4);
  const auto* input = reinterpret_cast<const unsigned char*>(data);
  size_t out = 0;
  unsigned int i = 0;
  for (; size - i >= 3; i += 3) {
    uint32_t group = uint32_t{input[i]} << 16 | uint32_t{input[i + 1]} << 8 | input[i + 2];
    text[out++] = kBase64Alphabet[group >> 18];
    text[out++] = kBase64Alphabet[(group >> 12) & 0x3F];
    text[out++] = kBase64Alphabet[(group >> 6) & 0x3F];
    text[out++] = kBase64Alphabet[group & 0x3F];
  }
  if (size - i > 0) {
    uint32_t group = uint32_t{input[i]} << 16;
    if (size - i == 2) group |= uint32_t{input[i + 1]} << 8;
    text[out++] = kBase64Alphabet[group >> 18];
    text[out++] = kBase64Alphabet[(group >> 12) & 0x3F];
    text[out++] = size - i == 2 ? kBase64Alphabet[(group >> 6) & 0x3F] : '=';
    text[out++] = '=';
  }
  AssignResult(text, result);
}

void SOAPHexBase::Decode(const SOAPString& text, char* destination, unsigned int& size) {
  const unsigned int room = size;
  size = 0;
  const auto* input = reinterpret_cast<const unsigned char*>(text.CStr());
  unsigned int written = 0;
  int high = -1;  // the first digit of a pair, while the second is awaited
  for (uint32_t position = 0; input[position] != '\0'; ++position) {
    int8_t value = kHexTable.value[input[position]];
    if (value == kWhiteSpace) continue;
    if (value < 0) ThrowBadCharacter("hexadecimal", input[position], position);
    if (high < 0) {
      high = value;
      continue;
    }
    if (written == room) ThrowNoRoom("hexadecimal", room);
    destination[written++] = static_cast<char>(high << 4 | value);
    high = -1;
  }
  if (high >= 0) {
    throw SOAPException("Invalid hexadecimal text: an odd number of digits");
  }
  size = written;
}

void SOAPHexBase::Encode(const char* data, unsigned int size, SOAPString& result) {
  CheckEncodable(size, 2);
  std::string text;
  text.resize(size_t{size} * 2);
  const auto* input = reinterpret_cast<const unsigned char*>(data);
  for (unsigned int i = 0; i < size; ++i) {
    text[2 * size_t{i}] = kHexDigits[input[i] >> 4];
    text[2 * size_t{i} + 1] = kHexDigits[input[i] & 0x0F];
  }
  AssignResult(text, result);
}
