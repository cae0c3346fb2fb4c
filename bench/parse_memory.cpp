// Peak memory of one parse, for /usr/bin/time -v: builds an answer of a given shape and size in
// memory and parses it once into the element tree. The answer text itself is part of the peak,
// as it is in a call, where the transport holds it while the parser reads it.
//
//   bench_parse_memory SHAPE SIZE
//
// SHAPE is one of
//   ints N         an rpc/encoded array of N ints, as gSOAP writes it
//   strings N      the same with N 28-byte strings
//   elements M     M MiB of empty elements
//   attributes M   M MiB of elements with 52 one-letter attributes each and a number
//   names M        M MiB of elements with 8 attributes each, every name a new one
//   wide M         one element with as many attributes as fit in M MiB
//   namespaces M   one element with as many namespace declarations as fit in M MiB
//   nested-ns M    M MiB of elements, each declaring a namespace of its own
// It prints the size of the answer and the outcome of the parse.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "easysoap/soap_parser.h"
#include "encoded_answer.h"
#include "support/values/soap_exception.h"

namespace {

// Repeats what make() appends until the answer has about mebibytes MiB.
template <typename Make>
std::string Filled(long mebibytes, const char* open, const char* close, Make make) {
  const size_t target = static_cast<size_t>(mebibytes) << 20;
  std::string text;
  text.reserve(target + 256);  // one block: the answer's own size is all the peak holds of it
  text.append(kAnswerHead).append(open);
  for (long i = 0; text.size() + 512 < target; ++i) make(text, i);
  return text.append(close).append(kAnswerTail);
}

std::string Build(const char* shape, long size) {
  if (std::strcmp(shape, "ints") == 0) return EncodedArrayAnswer(size, true);
  if (std::strcmp(shape, "strings") == 0) return EncodedArrayAnswer(size, false);
  if (std::strcmp(shape, "elements") == 0) {
    return Filled(size, "", "", [](std::string& text, long) { text += "<a/>"; });
  }
  if (std::strcmp(shape, "attributes") == 0) {
    std::string letters;
    for (char c : std::string("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"))
      letters += std::string(" ") + c + "=\"\"";
    letters += "/>";
    // The number makes each element's attributes differ from its neighbour's.
    return Filled(size, "", "", [&](std::string& text, long i) {
      text.append("<a z0=\"").append(std::to_string(i)).append("\"").append(letters);
    });
  }
  if (std::strcmp(shape, "names") == 0) {
    return Filled(size, "", "", [](std::string& text, long i) {
      text.append("<a");
      for (int k = 0; k < 8; ++k) text.append(" n").append(std::to_string(8 * i + k)).append("=''");
      text.append("/>");
    });
  }
  if (std::strcmp(shape, "wide") == 0) {
    return Filled(size, "<w", "/>",
                  [](std::string& text, long i) { text += " a" + std::to_string(i) + "=\"\""; });
  }
  if (std::strcmp(shape, "namespaces") == 0) {
    return Filled(size, "<w", "/>", [](std::string& text, long i) {
      text += " xmlns:p" + std::to_string(i) + "=\"u\"";
    });
  }
  if (std::strcmp(shape, "nested-ns") == 0) {
    return Filled(size, "", "", [](std::string& text, long i) {
      text += "<p" + std::to_string(i % 1000) + ":e xmlns:p" + std::to_string(i % 1000) +
              "=\"urn:x\"/>";
    });
  }
  std::fprintf(stderr, "unknown shape %s\n", shape);
  std::exit(2);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr,
                 "usage: %s ints|strings|elements|attributes|names|wide|namespaces|nested-ns SIZE\n",
                 argv[0]);
    return 2;
  }
  const std::string text = Build(argv[1], std::atol(argv[2]));
  std::printf("answer: %zu bytes\n", text.size());
  SOAPResponse response;
  try {
    SOAPParser::ParseResponse(text.data(), text.size(), nullptr, response);
    std::printf("parsed: %u children in the method element\n",
                response.GetMethod().GetParams().Size());
  } catch (const SOAPException& e) {
    std::printf("refused: %s\n", e.What() != nullptr ? e.What() : "(no text)");
  }
  return 0;
}
