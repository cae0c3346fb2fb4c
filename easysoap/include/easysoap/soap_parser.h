// SOAPParser: reads a SOAP 1.1 envelope, as a server answers it, into a SOAPResponse.
//
// The parse is namespace-aware (expat). The whole Body becomes the response's element tree:
// element names carry their namespace, attributes go into each element's map keyed by their
// qualified name, and the text of a QName-valued attribute (xsi:type, arrayType) keeps the whole
// text in the value's name ("xsd:int[3]") and the namespace its prefix stands for in the value's
// namespace. xsi:nil="true" or "1" (2001 or 1999 schema instance) marks the element nil; the
// attribute stays in the map too. Multi-reference values (href="#id" pointing at an element with
// that id anywhere in the Body, before or after) are resolved by pointing the referring element's
// value at the referenced element's data.
//
// Documents in UTF-8, UTF-16, ISO-8859-1, US-ASCII and windows-1252 are read; text in the tree is
// UTF-8. The document's byte order mark or encoding declaration decides; the charset of the HTTP
// answer counts only when the document states neither.
//
// A server can't push the client past these limits, and the error says which one it hit: the
// size of the document, the depth of elements, the number of elements (also as multi-reference
// values expand), the memory the tree takes (elements, attributes, texts, namespace declarations
// and references all count), and no document type declaration at all (SOAP forbids it), so that
// no entity is ever declared, expanded or loaded from outside. A deadline bounds the time.
//
// Failures: a Fault as the first element of the Body throws SOAPFaultException with the packed
// fault text (<tssp_fcode>, <tssp_fstring>, <tssp_fdetailmessage>, the detail's content as XML
// text); anything else that isn't a usable envelope throws SOAPException with the cause and,
// for bad XML, the line and column.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "easysoap/soap_method.h"
#include "support/values/easysoap_api.h"

class EASYSOAP_API SOAPParser {
 public:
  using Clock = std::chrono::steady_clock;
  // Memory that any answer may take besides its share per byte, so small answers never meet it.
  static constexpr uint64_t kMemoryAllowance = 1024 * 1024;

  struct Limits {
    uint64_t maxBytes = 64ull * 1024 * 1024;  // the document as received, after decompression
    uint32_t maxDepth = 256;                  // elements nested, the envelope being level 1
    uint32_t maxElements = 2000000;           // in the document, and in the Body once
                                              // multi-reference values are expanded
    // On one element: expat reads a whole start tag before the parser sees it, so these keep a
    // single tag from costing more than its share.
    uint32_t maxTagBytes = 1024 * 1024;  // a start or end tag, from "<" to ">"
    uint32_t maxAttributes = 1024;       // attributes of an element
    uint32_t maxDeclarations = 1024;     // namespace declarations on an element
    // Bytes of memory the element tree may take for each byte of the document (plus
    // kMemoryAllowance); answers as servers write them take 2 to 7.
    uint32_t memoryPerByte = 14;
    // When the clock passes it, reading stops with SOAPSocketException, as a time-out of the
    // transfer does.
    Clock::time_point deadline = Clock::time_point::max();
    // Feed holds an answer up to this size and reads it in one go when it ends (kHeldBytes).
    size_t heldBytes = kHeldBytes;
  };

  // Feed holds an answer up to this size and reads it in one go when it ends: expat counts the
  // lines and columns of everything it reads short of the end (about 11 instructions a byte).
  static constexpr size_t kHeldBytes = 256 * 1024;

  // Answers up to this size leave the parser's expat parser and buffers to the next answer;
  // larger ones (and any that expat couldn't read to the end) free them, so that a kept parser
  // never holds more than an answer of this size needed. As much as a response's storage keeps.
  static constexpr size_t kKeptParserBytes = 4 * 1024 * 1024;

  SOAPParser();
  ~SOAPParser();
  SOAPParser(const SOAPParser&) = delete;
  SOAPParser& operator=(const SOAPParser&) = delete;

  // Replaces what response held by the Body of the document in data[0, size). charset is the one
  // the HTTP answer gave, or null. One parser reads one answer after the other (a proxy keeps one
  // for its calls), one thread at a time; the result is the same as a new parser's.
  void Parse(const char* data, size_t size, const char* charset, SOAPResponse& response,
             const Limits& limits);

  // The same for an answer that arrives in pieces, read as they come: Begin, then Feed with each
  // piece in order, then Finish. The memory limit counts the bytes fed so far. Feed and Finish
  // throw what Parse throws; the answer is over after a throw, after Finish, or after Abandon
  // (for an answer whose transfer failed midway).
  void Begin(const char* charset, SOAPResponse& response, const Limits& limits);
  void Feed(const char* data, size_t size);
  void Finish();
  void Abandon();

  // The same as Parse with a parser of its own.
  static void ParseResponse(const char* data, size_t size, const char* charset,
                            SOAPResponse& response);
  static void ParseResponse(const char* data, size_t size, const char* charset,
                            SOAPResponse& response, const Limits& limits);

 private:
  class Reader;
  // A reader that may not be kept goes, with all it holds, when the answer is over.
  struct Ending {
    std::unique_ptr<Reader>& reader;
    bool over;
    ~Ending();
  };
  std::unique_ptr<Reader> reader_;
};
