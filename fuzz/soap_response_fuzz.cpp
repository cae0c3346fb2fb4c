// libFuzzer target for the response parser: the input is the body of an HTTP answer as the
// transport hands it over. A body that begins like gzip is inflated first, as libcurl does for
// "Content-Encoding: gzip" (up to the parser's own size limit), so that compressed seeds reach
// the parser too.
//
// Parsing must end with a response or SOAPException (SOAPFaultException for a fault); a parsed
// Body, walked with every multi-reference value expanded as a reader sees it, stays within the
// parser's limits of depth and element count. The same body fed in pieces, as a transfer hands
// it over, and read as they come (nothing held) must end the same way: the same tree or the same
// text, but for the memory limit, which counts what has arrived so far, and for what expat says
// of a document that isn't XML (it may find another fault first, or place it elsewhere).
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

// Walks element and what it contains, writing down names, texts and attributes; *count counts
// the elements.
void Walk(const SOAPParameter& element, uint32_t depth, uint64_t* count, std::string& seen) {
  if (depth > kLimits.maxDepth || ++*count > kLimits.maxElements) std::abort();
  auto note = [&seen](const SOAPString& text) {
    seen.append(text.IsNull() ? "(null)" : text.CStr()).push_back('\0');
  };
  note(element.GetName().GetName());
  note(element.GetName().GetNamespace());
  note(element.GetString());
  seen.push_back(element.IsNull() ? 'n' : '-');
  for (auto it = element.GetAttributes().Begin(); it != element.GetAttributes().End(); ++it) {
    note(it.Key().GetName());
    note(it.Value().GetName());
    note(it.Value().GetNamespace());
  }
  for (const SOAPParameter* child : element.GetParams()) Walk(*child, depth + 1, count, seen);
  seen.push_back('>');
}

// How a parse ended: the exception's text, or what the Body holds.
template <typename Parse>
std::string Outcome(Parse parse) {
  SOAPResponse response;
  try {
    parse(response);
  } catch (const SOAPException& e) {
    return std::string("thrown: ") + (e.What() != nullptr ? e.What() : "");
  }
  uint64_t count = 0;
  std::string seen;
  Walk(response.GetBody(), 2, &count, seen);  // the Body is the envelope's child
  return seen;
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
  const std::string whole = Outcome([&](SOAPResponse& response) {
    SOAPParser::ParseResponse(body, size, nullptr, response, kLimits);
  });
  // Pieces of 1 to 97 bytes, their size chosen by the body's.
  const size_t piece = 1 + size % 97;
  const std::string pieces = Outcome([&](SOAPResponse& response) {
    SOAPParser::Limits limits = kLimits;
    limits.heldBytes = 0;
    SOAPParser parser;
    parser.Begin(nullptr, response, limits);
    for (size_t at = 0; at < size; at += piece) parser.Feed(body + at, std::min(piece, size - at));
    parser.Finish();
  });
  // Expat may name another fault of a document that isn't XML, or another place, when it reads
  // it in pieces (what follows the first fault is read differently).
  const std::string notXml = "thrown: The answer is not well-formed XML";
  const bool bothNotXml = whole.starts_with(notXml) && pieces.starts_with(notXml);
  if (whole != pieces && !bothNotXml && whole.find("needs more memory") == std::string::npos &&
      pieces.find("needs more memory") == std::string::npos) {
    if (std::getenv("TSSOAP_FUZZ_SHOW") != nullptr) {
      std::fprintf(stderr, "whole: %s\npieces: %s\n", whole.c_str(), pieces.c_str());
    }
    std::abort();
  }
  return 0;
}
