// libFuzzer target for the response parser: the input is the body of an HTTP answer as the
// transport hands it over. A body that begins like gzip is inflated first, as libcurl does for
// "Content-Encoding: gzip" (up to the parser's own size limit), so that compressed seeds reach
// the parser too.
//
// Parsing must end with a response or SOAPException (SOAPFaultException for a fault); a parsed
// Body, walked with every multi-reference value expanded as a reader sees it, stays within the
// parser's limits of depth and element count.
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "easysoap/soap_parser.h"
#include "support/values/soap_exception.h"

namespace {

const SOAPParser::Limits kLimits;

// The gzip member in data, inflated; false when it isn't one or grows beyond the parser's limit.
bool Gunzip(const uint8_t* data, size_t size, std::string& out) {
  z_stream stream{};
  if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK) return false;
  stream.next_in = const_cast<Bytef*>(data);
  stream.avail_in = static_cast<uInt>(size);
  int status = Z_OK;
  char chunk[16384];
  while (status == Z_OK && out.size() <= kLimits.maxBytes) {
    stream.next_out = reinterpret_cast<Bytef*>(chunk);
    stream.avail_out = sizeof chunk;
    status = inflate(&stream, Z_NO_FLUSH);
    out.append(chunk, sizeof chunk - stream.avail_out);
    if (status == Z_BUF_ERROR && stream.avail_in == 0) break;
  }
  inflateEnd(&stream);
  return status == Z_STREAM_END && out.size() <= kLimits.maxBytes;
}

// Walks element and what it contains; *count counts the elements.
void Walk(const SOAPParameter& element, uint32_t depth, uint64_t* count) {
  if (depth > kLimits.maxDepth || ++*count > kLimits.maxElements) std::abort();
  volatile size_t length = element.GetString().Length();
  (void)length;
  for (const SOAPParameter* child : element.GetParams()) Walk(*child, depth + 1, count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string inflated;
  const char* body = reinterpret_cast<const char*>(data);
  if (size >= 2 && data[0] == 0x1f && data[1] == 0x8b) {
    if (!Gunzip(data, size, inflated)) return 0;
    body = inflated.data();
    size = inflated.size();
  }
  SOAPResponse response;
  try {
    SOAPParser::ParseResponse(body, size, nullptr, response);
  } catch (const SOAPException&) {
    return 0;
  }
  uint64_t count = 0;
  Walk(response.GetBody(), 2, &count);  // the Body is the envelope's child
  return 0;
}
