// Peak memory of one parse, for /usr/bin/time -v: makes an answer of a given shape and size and
// parses it into the element tree as it is made, in pieces of 16 KiB as libcurl hands them to a
// call, so that the answer is never held whole, as in a call.
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
#include <string_view>

#include "easysoap/soap_parser.h"
#include "encoded_answer.h"
#include "support/values/soap_exception.h"

namespace {

// Takes the answer's text as it is made and feeds the parser with it a piece at a time. After a
// refusal the rest is only counted.
class Stream {
 public:
  explicit Stream(SOAPParser& parser) : parser_(parser) {}
  void append(std::string_view text) {
    bytes_ += text.size();
    if (!refusal_.empty()) return;
    piece_.append(text);
    if (piece_.size() >= kPiece) Flush();
  }
  size_t size() const { return bytes_; }
  // Feeds what is left and ends the answer; the refusal's text, or empty.
  std::string Finish() {
    Flush();
    Guarded([&] { parser_.Finish(); });
    return refusal_;
  }

 private:
  static constexpr size_t kPiece = 16 * 1024;  // CURL_MAX_WRITE_SIZE
  void Flush() {
    Guarded([&] { parser_.Feed(piece_.data(), piece_.size()); });
    piece_.clear();
  }
  template <typename Action>
  void Guarded(Action action) {
    if (!refusal_.empty()) return;
    try {
      action();
    } catch (const SOAPException& e) {
      refusal_ = e.What() != nullptr ? e.What() : "(no text)";
    }
  }
  SOAPParser& parser_;
  std::string piece_;
  size_t bytes_ = 0;
  std::string refusal_;
};

// Repeats what make() appends until the answer has about mebibytes MiB.
template <typename Make>
void Fill(Stream& out, long mebibytes, const char* open, const char* close, Make make) {
  const size_t target = static_cast<size_t>(mebibytes) << 20;
  out.append(kAnswerHead);
  out.append(open);
  for (long i = 0; out.size() + 512 < target; ++i) make(out, i);
  out.append(close);
  out.append(kAnswerTail);
}

void Write(const char* shape, long size, Stream& out) {
  if (std::strcmp(shape, "ints") == 0) return WriteEncodedArray(size, true, out);
  if (std::strcmp(shape, "strings") == 0) return WriteEncodedArray(size, false, out);
  if (std::strcmp(shape, "elements") == 0) {
    return Fill(out, size, "", "", [](Stream& text, long) { text.append("<a/>"); });
  }
  if (std::strcmp(shape, "attributes") == 0) {
    std::string letters;
    for (char c : std::string("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"))
      letters += std::string(" ") + c + "=\"\"";
    letters += "/>";
    // The number makes each element's attributes differ from its neighbour's.
    return Fill(out, size, "", "", [&](Stream& text, long i) {
      text.append("<a z0=\"" + std::to_string(i) + "\"");
      text.append(letters);
    });
  }
  if (std::strcmp(shape, "names") == 0) {
    return Fill(out, size, "", "", [](Stream& text, long i) {
      text.append("<a");
      for (int k = 0; k < 8; ++k) text.append(" n" + std::to_string(8 * i + k) + "=''");
      text.append("/>");
    });
  }
  if (std::strcmp(shape, "wide") == 0) {
    return Fill(out, size, "<w", "/>",
                [](Stream& text, long i) { text.append(" a" + std::to_string(i) + "=\"\""); });
  }
  if (std::strcmp(shape, "namespaces") == 0) {
    return Fill(out, size, "<w", "/>", [](Stream& text, long i) {
      text.append(" xmlns:p" + std::to_string(i) + "=\"u\"");
    });
  }
  if (std::strcmp(shape, "nested-ns") == 0) {
    return Fill(out, size, "", "", [](Stream& text, long i) {
      text.append("<p" + std::to_string(i % 1000) + ":e xmlns:p" + std::to_string(i % 1000) +
                  "=\"urn:x\"/>");
    });
  }
  std::fprintf(stderr, "unknown shape %s\n", shape);
  std::exit(2);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(
        stderr, "usage: %s ints|strings|elements|attributes|names|wide|namespaces|nested-ns SIZE\n",
        argv[0]);
    return 2;
  }
  SOAPParser parser;
  SOAPResponse response;
  parser.Begin(nullptr, response, SOAPParser::Limits());
  Stream stream(parser);
  Write(argv[1], std::atol(argv[2]), stream);
  std::string refusal = stream.Finish();
  std::printf("answer: %zu bytes\n", stream.size());
  if (refusal.empty()) {
    std::printf("parsed: %u children in the method element\n",
                response.GetMethod().GetParams().Size());
  } else {
    std::printf("refused: %s\n", refusal.c_str());
  }
  return 0;
}
