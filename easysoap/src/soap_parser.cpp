#include "easysoap/soap_parser.h"

// Debian's expat is built with DTD support, which is what brings the entity-expansion limits;
// their declarations are only visible with this set.
#ifndef XML_DTD
#define XML_DTD 1
#endif
#include <expat.h>
#include <sys/random.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "easysoap/src/fault_text.h"
#include "easysoap/src/message_store.h"
#include "easysoap/src/multi_reference.h"
#include "easysoap/src/soap_namespaces.h"
#include "easysoap/src/tag_scanner.h"
#include "easysoap/src/xml_escape.h"
#include "support/values/soap_exception.h"

using easysoap_internal::AppendEscaped;
using easysoap_internal::EscapeContext;
using easysoap_internal::MessageStore;
using easysoap_internal::MultiReferences;
using easysoap_internal::TagScanner;
namespace ns = easysoap_internal::namespaces;

namespace {

// Expat reads the answer without namespaces: the reader resolves prefixes itself, against the
// declarations it keeps anyway for qualified-name values, which spares expat's own bookkeeping
// (about 3,000 instructions a declaration). It refuses what expat reading with namespaces would,
// with expat's words. "xml" stands for its namespace without a declaration; neither it nor the
// declarations' own namespace may be declared for another prefix.
constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";
constexpr std::string_view kXmlnsNamespace = "http://www.w3.org/2000/xmlns/";
constexpr size_t kNone = std::string_view::npos;

// Only the first part of a fault detail goes into the exception text; capturing stops soon after.
constexpr size_t kDetailCaptureLimit = 8192;

constexpr const char* kSoap12Envelope = "http://www.w3.org/2003/05/soap-envelope";

// The deadline is looked at after this much work (elements, attributes and namespace
// declarations) and between the pieces the document is fed in. Expat copies what it is given
// into a buffer of its own, so pieces also keep that copy small.
constexpr uint64_t kWorkBetweenClockReads = 4096;
constexpr size_t kPiece = size_t{256} << 10;
constexpr size_t kLongStart = size_t{16} << 10;  // what libcurl hands over at once

// Expat keeps a copy of every distinct name it meets, with its hash entries, for as long as the
// parse lasts; about this much a name, measured with answers of a million distinct names.
constexpr size_t kExpatBytesPerName = 96;

// A name of the answer, its prefix resolved.
struct SplitName {
  std::string_view uri;  // empty for none
  std::string_view local;
  std::string_view prefix;
  const MessageStore::Interned* uriEntry = nullptr;  // the uri as the response keeps it
};

// Where a name stops being a qualified name for expat reading with namespaces: the offset of the
// character it stops at (a leading or second colon, or what follows a colon when no name can
// begin with it, the end of the name included); kNone for a qualified name.
size_t MisplacedColon(std::string_view name, size_t colon) {
  if (colon == kNone) return kNone;
  if (colon == 0) return 0;
  if (colon + 1 == name.size()) return name.size();
  const auto next = static_cast<unsigned char>(name[colon + 1]);
  const bool beginsName =
      next >= 0x80 || next == '_' || (next >= 'A' && next <= 'Z') || (next >= 'a' && next <= 'z');
  return beginsName ? name.find(':', colon + 1) : colon + 1;
}
size_t MisplacedColon(std::string_view name) { return MisplacedColon(name, name.find(':')); }

// The prefix that an attribute named so declares ("xmlns:p"; the empty one for "xmlns", the
// default namespace), or nothing for an attribute that declares none.
std::optional<std::string_view> DeclaredPrefix(std::string_view name) {
  if (!name.starts_with("xmlns")) return std::nullopt;
  if (name.size() == 5) return std::string_view();
  if (name[5] != ':') return std::nullopt;
  return name.substr(6);
}

// Why a prefix may not stand for a namespace (the empty prefix: the default namespace), as expat
// says it; XML_ERROR_NONE when it may.
XML_Error RefusedDeclaration(std::string_view prefix, std::string_view uri) {
  if (uri.empty() && !prefix.empty()) return XML_ERROR_UNDECLARING_PREFIX;
  if (prefix == "xmlns") return XML_ERROR_RESERVED_PREFIX_XMLNS;
  const bool mustBeXml = prefix == "xml";
  if (mustBeXml != (uri == kXmlNamespace)) {
    return mustBeXml ? XML_ERROR_RESERVED_PREFIX_XML : XML_ERROR_RESERVED_NAMESPACE_URI;
  }
  if (uri == kXmlnsNamespace) return XML_ERROR_RESERVED_NAMESPACE_URI;
  return XML_ERROR_NONE;
}

// XML's white space.
bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Where the index-th name of a start tag begins (0: the element's, then its attributes' in the
// order written), or kNone.
size_t NameInTag(std::string_view tag, uint32_t index) {
  size_t at = 1;  // behind "<"
  for (uint32_t name = 0;; ++name) {
    if (name == index) return at < tag.size() ? at : kNone;
    while (at < tag.size() && !IsXmlSpace(tag[at]) && tag[at] != '=' && tag[at] != '/' &&
           tag[at] != '>') {
      ++at;
    }
    if (name != 0) {  // an attribute's value follows its name
      at = tag.find_first_of("\"'", at);
      if (at == kNone) return kNone;
      at = tag.find(tag[at], at + 1);
      if (at == kNone) return kNone;
      ++at;
    }
    while (at < tag.size() && IsXmlSpace(tag[at])) ++at;
  }
}

// Moves a position (expat's: lines from 1, columns from 0, counted in characters) over UTF-8
// text; CR LF is one line break.
void Advance(std::string_view text, unsigned long& line, unsigned long& column) {
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c == '\r' || c == '\n') {
      ++line;
      column = 0;
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    } else if ((c & 0xC0) != 0x80) {
      ++column;
    }
  }
}

bool IsSchemaInstance(std::string_view uri) {
  return uri == ns::kSchemaInstance || uri == ns::kSchemaInstance1999;
}

// Attributes whose text is a qualified name, and whose prefix is resolved therefore.
bool IsQNameValued(const SplitName& name) {
  if (name.local == "type") return IsSchemaInstance(name.uri);
  return name.local == "arrayType" || name.local == "itemType";
}

bool IsBlank(const std::string& text) { return std::all_of(text.begin(), text.end(), IsXmlSpace); }

bool StartsWith(const char* data, size_t size, std::string_view prefix) {
  return size >= prefix.size() && std::memcmp(data, prefix.data(), prefix.size()) == 0;
}

bool IsUtf16(const char* data, size_t size) {
  return StartsWith(data, size, "\xFE\xFF") || StartsWith(data, size, "\xFF\xFE") ||
         StartsWith(data, size, std::string_view("<\0", 2)) ||
         StartsWith(data, size, std::string_view("\0<", 2));
}

// The charset of the HTTP answer, when the document doesn't state its own encoding: no byte
// order mark, no UTF-16 without one (which expat recognises by itself), and no encoding in an
// XML declaration.
const char* EncodingOverride(const char* data, size_t size, const char* charset) {
  if (charset == nullptr || *charset == '\0') return nullptr;
  if (StartsWith(data, size, "\xEF\xBB\xBF") || IsUtf16(data, size)) return nullptr;
  if (StartsWith(data, size, "<?xml")) {
    std::string_view head(data, size);
    size_t end = head.find("?>");
    if (head.substr(0, end).find("encoding") != std::string_view::npos) return nullptr;
  }
  return charset;
}

// windows-1252, which some servers send although expat doesn't know it: 0x80 to 0x9F hold
// typographic characters, the rest is ISO-8859-1. The five unassigned bytes are errors.
int XMLCALL UnknownEncoding(void*, const XML_Char* name, XML_Encoding* info) {
  static constexpr int kHigh[32] = {0x20AC, -1,     0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, -1,     0x017D, -1,
                                    -1,     0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, -1,     0x017E, 0x0178};
  std::string lower;
  for (const XML_Char* p = name; *p != '\0'; ++p) {
    lower.push_back(static_cast<char>(*p >= 'A' && *p <= 'Z' ? *p - 'A' + 'a' : *p));
  }
  if (lower != "windows-1252" && lower != "cp1252") return XML_STATUS_ERROR;
  for (int c = 0; c < 256; ++c) info->map[c] = c >= 0x80 && c < 0xA0 ? kHigh[c - 0x80] : c;
  info->data = nullptr;
  info->convert = nullptr;
  info->release = nullptr;
  return XML_STATUS_OK;
}

}  // namespace

// Reads one answer at a time. The expat parser, reset, and the buffers stay for the next answer;
// everything else starts afresh with each. Handlers run inside expat's C frames, so nothing may
// be thrown through them: a failure stops the parser and is kept until XML_Parse has returned.
class SOAPParser::Reader {
 public:
  Reader() {
    // Expat would draw a salt for its hash tables at every answer, a system call each time; one
    // drawn for the life of the reader keeps the tables as unpredictable to a server. Without
    // one (0), expat still draws its own.
    if (getrandom(&hashSalt_, sizeof hashSalt_, GRND_NONBLOCK) != sizeof hashSalt_) hashSalt_ = 0;
  }
  ~Reader() {
    if (parser_ != nullptr) XML_ParserFree(parser_);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // False unless the last answer was small and expat read all of it.
  bool Reusable() const { return reusable_; }

  // Starts reading an answer into response; the pieces follow.
  void Begin(const char* charset, SOAPResponse& response, const SOAPParser::Limits& limits) {
    Reset(response, limits);
    charset_.assign(charset != nullptr ? charset : "");
    response_->Reset();
    response_->GetBody().SetName("Body", ns::kEnvelope);
    CheckDeadline();
  }

  // The next piece of the answer. The start is held until it tells the encoding, and an answer
  // until it is larger than the limits' heldBytes.
  void Feed(const char* data, size_t size) {
    if (size > limits_.maxBytes - received_) {
      throw SOAPException("The answer is larger than the limit of %llu bytes",
                          static_cast<unsigned long long>(limits_.maxBytes));
    }
    received_ += size;
    memoryLimit_ = limits_.memoryPerByte * received_ + SOAPParser::kMemoryAllowance;
    if (started_) return Read(data, size, false);
    // A start that has come in more than one piece and is already long probably runs on: room
    // for all that may be held is made at once, so that the start is copied once.
    if (head_.size() + size > head_.capacity() && head_.size() + size > kLongStart) {
      head_.reserve(limits_.heldBytes + size);
    }
    head_.append(data, size);
    if (head_.size() > limits_.heldBytes && HeadTellsEncoding()) StartExpat(false);
  }

  void Finish() {
    if (started_) {
      Read(nullptr, 0, true);
    } else {
      StartExpat(true);
    }
    reusable_ = received_ <= SOAPParser::kKeptParserBytes;

    if (!sawEnvelope_) throw SOAPException("The answer holds no XML element");
    if (!sawBody_) throw SOAPException("The answer's SOAP envelope has no Body");
    if (isFault_) ThrowFault();
    if (references_.HasReferences()) {
      CheckDeadline();
      references_.Resolve(response_->GetBody(), 2, limits_.maxDepth, limits_.maxElements);
    }
  }

 private:
  struct OpenElement {
    SOAPParameter* element;
    bool hasChildElement;
  };

  // Everything one answer's reading starts from; the buffers keep their memory.
  void Reset(SOAPResponse& response, const SOAPParser::Limits& limits) {
    reusable_ = false;
    response_ = &response;
    limits_ = limits;
    received_ = 0;
    head_.clear();
    started_ = false;
    utf16_ = false;
    store_ = &response.Store();
    failure_ = nullptr;
    depth_ = 0;
    elementCount_ = 0;
    skipFrom_ = 0;
    sawEnvelope_ = false;
    sawBody_ = false;
    sawMethod_ = false;
    isFault_ = false;
    open_.clear();
    for (std::string& text : texts_) text.clear();
    references_ = MultiReferences();
    bindings_.clear();
    ForgetTables();
    emptyPrefix_ = nullptr;
    std::fill(std::begin(recentNames_), std::end(recentNames_), nullptr);
    nextRecentName_ = 0;
    work_ = 0;
    nextClockRead_ = kWorkBetweenClockReads;
    memoryLimit_ = 0;
    declarationsOpen_.clear();
    tagAttributes_.clear();
    captureFrom_ = 0;
    detail_.clear();
    captureScope_.clear();
  }

  // Whether the start held so far is enough to choose the encoding: a byte order mark, UTF-16
  // without one, or an XML declaration, read to its end (it is looked for in the first
  // maxTagBytes bytes).
  bool HeadTellsEncoding() const {
    std::string_view head(head_);
    if (head.size() < 5) return false;
    return !head.starts_with("<?xml") || head.find("?>") != std::string_view::npos ||
           head.size() >= limits_.maxTagBytes;
  }

  // Sets expat up for the encoding that the start held so far tells and reads that start.
  void StartExpat(bool last) {
    utf16_ = IsUtf16(head_.data(), head_.size());
    scanner_ = TagScanner(limits_.maxTagBytes);
    Prepare(EncodingOverride(head_.data(), head_.size(),
                             charset_.empty() ? nullptr : charset_.c_str()));
    started_ = true;
    Read(head_.data(), head_.size(), last);
    if (head_.capacity() > SOAPParser::kKeptParserBytes) std::string().swap(head_);
    head_.clear();
  }

  void Read(const char* data, size_t size, bool last) {
    if (!utf16_) {
      const uint64_t overlong = last ? scanner_.ScanLast(data, size) : scanner_.Scan(data, size);
      if (overlong != TagScanner::kNone) ThrowOverlong(overlong);
    }
    // Pieces keep the clock in view while expat reads a huge tag (and XML_Parse counts in int).
    size_t offset = 0;
    do {
      size_t piece = size - offset < kPiece ? size - offset : kPiece;
      CheckDeadline();
      ParsePiece(data + offset, piece, last && offset + piece == size);
      offset += piece;
    } while (offset < size);
  }

  void ParsePiece(const char* data, size_t size, bool last) {
    if (XML_Parse(parser_, data, static_cast<int>(size), last) != XML_STATUS_OK) {
      if (failure_) std::rethrow_exception(failure_);
      NotWellFormedHere(XML_GetErrorCode(parser_));
    }
  }

  [[noreturn]] void ThrowOverlong(uint64_t at) const {
    throw SOAPException("The answer holds a tag longer than the limit of %u bytes at byte %llu",
                        limits_.maxTagBytes, static_cast<unsigned long long>(at));
  }

  // A new expat parser, or the last one reset. Expat forgets the handlers, the user data, the
  // settings and the salt in a reset, so all are given again.
  void Prepare(const char* encoding) {
    if (parser_ != nullptr && XML_ParserReset(parser_, encoding) != XML_TRUE) {
      XML_ParserFree(parser_);
      parser_ = nullptr;
    }
    if (parser_ == nullptr) {
      parser_ = XML_ParserCreate(encoding);
      if (parser_ == nullptr) throw SOAPMemoryException();
    }
    if (hashSalt_ != 0) XML_SetHashSalt(parser_, hashSalt_);
    XML_SetUserData(parser_, this);
    XML_SetParamEntityParsing(parser_, XML_PARAM_ENTITY_PARSING_NEVER);
#if XML_MAJOR_VERSION > 2 || (XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION >= 4)
    // A second line of defence: declarations are refused below, before any could be expanded.
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser_, 10.0f);
    XML_SetBillionLaughsAttackProtectionActivationThreshold(parser_, 1u << 20);
#endif
    XML_SetElementHandler(parser_, &Reader::OnStart, &Reader::OnEnd);
    XML_SetCharacterDataHandler(parser_, &Reader::OnText);
    XML_SetStartDoctypeDeclHandler(parser_, &Reader::OnDoctype);
    XML_SetEntityDeclHandler(parser_, &Reader::OnEntityDecl);
    XML_SetExternalEntityRefHandler(parser_, &Reader::OnExternalEntity);
    XML_SetUnknownEncodingHandler(parser_, &UnknownEncoding, nullptr);
  }

  // --- expat callbacks -------------------------------------------------------------------

  static void XMLCALL OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
    static_cast<Reader*>(self)->Guard([&](Reader& r) { r.Start(name, attributes); });
  }
  static void XMLCALL OnEnd(void* self, const XML_Char* name) {
    static_cast<Reader*>(self)->Guard([&](Reader& r) { r.End(name); });
  }
  static void XMLCALL OnText(void* self, const XML_Char* text, int length) {
    static_cast<Reader*>(self)->Guard([&](Reader& r) { r.Text(text, length); });
  }
  static void XMLCALL OnDoctype(void* self, const XML_Char*, const XML_Char*, const XML_Char*,
                                int) {
    static_cast<Reader*>(self)->Fail(SOAPException(
        "The answer holds a document type declaration, which SOAP doesn't allow; it isn't read"));
  }
  static void XMLCALL OnEntityDecl(void* self, const XML_Char*, int, const XML_Char*, int,
                                   const XML_Char*, const XML_Char*, const XML_Char*,
                                   const XML_Char*) {
    static_cast<Reader*>(self)->Fail(
        SOAPException("The answer declares an entity, which SOAP doesn't allow; it isn't read"));
  }
  static int XMLCALL OnExternalEntity(XML_Parser, const XML_Char*, const XML_Char*, const XML_Char*,
                                      const XML_Char*) {
    return XML_STATUS_ERROR;  // nothing is ever loaded from outside the answer
  }

  template <typename Action>
  void Guard(Action action) {
    if (failure_) return;
    try {
      action(*this);
    } catch (...) {
      failure_ = std::current_exception();
      XML_StopParser(parser_, XML_FALSE);
    }
  }

  void Fail(const SOAPException& exception) {
    if (failure_) return;
    failure_ = std::make_exception_ptr(exception);
    XML_StopParser(parser_, XML_FALSE);
  }

  // --- the document ----------------------------------------------------------------------

  // A start tag's names are read as expat reading with namespaces reads them: the colons first,
  // then its declarations in the order written, then the prefixes of its attributes and its own;
  // what expat would refuse is refused with its words, at the place it would name.
  void Start(const XML_Char* rawName, const XML_Char** attributes) {
    const std::string_view raw(rawName);
    const size_t colon = raw.find(':');
    if (const size_t at = MisplacedColon(raw, colon); at != kNone) NotWellFormedInName(0, at);
    uint32_t declared = 0;
    tagAttributes_.clear();
    if (attributes[0] != nullptr) {  // most elements of an answer have none
      CheckColons(attributes);
      declared = DeclareNamespaces(attributes);
      ResolveAttributes(attributes);
    }
    declarationsOpen_.push_back(declared);
    SplitName name;
    if (!Resolve(raw, colon, false, name)) NotWellFormedHere(XML_ERROR_UNBOUND_PREFIX);
    ++depth_;
    if (depth_ > limits_.maxDepth) {
      throw SOAPException("The answer nests elements deeper than the limit of %u levels",
                          limits_.maxDepth);
    }
    if (++elementCount_ > limits_.maxElements) {
      throw SOAPException("The answer holds more than the limit of %u elements",
                          limits_.maxElements);
    }
    const auto attributeCount = static_cast<uint32_t>(tagAttributes_.size());
    if (attributeCount > limits_.maxAttributes) {
      throw SOAPException("The answer gives an element more than the limit of %u attributes",
                          limits_.maxAttributes);
    }
    Work(1 + attributeCount);
    if (skipFrom_ != 0) return;
    if (depth_ == 1) {
      StartEnvelope(name);
      return;
    }
    if (depth_ == 2) {
      if (!sawBody_ && name.local == "Body" && name.uri == ns::kEnvelope) {
        sawBody_ = true;
        open_.push_back({&response_->GetBody(), false});
        texts_.resize(1);
      } else {
        skipFrom_ = depth_;  // the Header, and anything the envelope holds besides the Body
      }
      return;
    }
    if (open_.empty()) return;
    StartBodyElement(name);
  }

  // The names of the attributes; the element's comes first.
  void CheckColons(const XML_Char** attributes) const {
    for (uint32_t i = 0; attributes[2 * i] != nullptr; ++i) {
      const size_t at = MisplacedColon(attributes[2 * i]);
      if (at != kNone) NotWellFormedInName(i + 1, at);
    }
  }

  // Returns how many the tag declares.
  uint32_t DeclareNamespaces(const XML_Char** attributes) {
    uint32_t declared = 0;
    for (const XML_Char** attribute = attributes; *attribute != nullptr; attribute += 2) {
      const std::optional<std::string_view> prefix = DeclaredPrefix(attribute[0]);
      if (!prefix) continue;
      const std::string_view uri(attribute[1]);
      const XML_Error refused = RefusedDeclaration(*prefix, uri);
      if (refused != XML_ERROR_NONE) NotWellFormedHere(refused);
      if (++declared > limits_.maxDeclarations) {
        throw SOAPException(
            "The answer declares more than the limit of %u namespaces on an element",
            limits_.maxDeclarations);
      }
      Declare(*prefix, uri);
    }
    return declared;
  }

  // The tag's attributes but its declarations, in the order written, their names resolved.
  void ResolveAttributes(const XML_Char** attributes) {
    bool unbound = false;
    for (const XML_Char** attribute = attributes; *attribute != nullptr; attribute += 2) {
      if (DeclaredPrefix(attribute[0])) continue;
      TagAttribute& resolved = tagAttributes_.emplace_back(TagAttribute{attribute[1], {}});
      const std::string_view raw(attribute[0]);
      if (!Resolve(raw, raw.find(':'), true, resolved.name)) {
        unbound = true;  // expat stops here; a repeated name before still counts first
        break;
      }
    }
    if (NamesOneAttributeTwice()) NotWellFormedHere(XML_ERROR_DUPLICATE_ATTRIBUTE);
    if (unbound) NotWellFormedHere(XML_ERROR_UNBOUND_PREFIX);
  }

  // Whether two prefixes of the tag's attributes stand for one namespace before one local name
  // (expat has refused the same name written twice already).
  bool NamesOneAttributeTwice() {
    prefixedNames_.clear();
    for (const TagAttribute& attribute : tagAttributes_) {
      if (attribute.name.uriEntry != nullptr) {
        prefixedNames_.emplace_back(reinterpret_cast<uintptr_t>(attribute.name.uriEntry),
                                    attribute.name.local);
      }
    }
    if (prefixedNames_.size() < 2) return false;
    std::sort(prefixedNames_.begin(), prefixedNames_.end());
    return std::adjacent_find(prefixedNames_.begin(), prefixedNames_.end()) != prefixedNames_.end();
  }

  // The namespace of a name: its prefix's, or for an element's name without one the default
  // namespace (an attribute's has none). False for a prefix that isn't declared.
  // colon: the first in raw, or kNone.
  bool Resolve(std::string_view raw, size_t colon, bool isAttribute, SplitName& name) const {
    name = SplitName{};
    if (colon == kNone) {
      name.local = raw;
      if (!isAttribute) name.uriEntry = BoundNamespace({});
    } else {
      name.prefix = raw.substr(0, colon);
      name.local = raw.substr(colon + 1);
      name.uriEntry = BoundNamespace(name.prefix);
      if (name.uriEntry == nullptr) {
        if (name.prefix != "xml") return false;
        name.uriEntry = &store_->Intern(kXmlNamespace);
      }
    }
    name.uri = View(name.uriEntry);
    return true;
  }

  // The namespace a prefix stands for here (the empty prefix: the default namespace); null for
  // none.
  const MessageStore::Interned* BoundNamespace(std::string_view prefix) const {
    // Most names have no prefix: the empty prefix's entry is kept once it is declared, and
    // until then there is no default namespace.
    const MessageStore::Interned* declared =
        prefix.empty() ? emptyPrefix_ : store_->FindInterned(prefix);
    if (declared == nullptr || declared->binding == 0) return nullptr;
    const MessageStore::Interned* uri = bindings_[declared->binding - 1].uri;
    return uri->length != 0 ? uri : nullptr;
  }

  [[noreturn]] static void NotWellFormed(XML_Error error, unsigned long line,
                                         unsigned long column) {
    throw SOAPException("The answer is not well-formed XML: %s at line %lu, column %lu",
                        XML_ErrorString(error), line, column + 1);
  }
  // At the place expat reports: in a handler, the start of the tag.
  [[noreturn]] void NotWellFormedHere(XML_Error error) const {
    NotWellFormed(error, static_cast<unsigned long>(XML_GetCurrentLineNumber(parser_)),
                  static_cast<unsigned long>(XML_GetCurrentColumnNumber(parser_)));
  }
  // At the character offset bytes into the tag's index-th name (see NameInTag), found in the
  // text expat still holds; at the tag where it can't be found (a UTF-16 answer).
  [[noreturn]] void NotWellFormedInName(uint32_t index, size_t offset) const {
    auto line = static_cast<unsigned long>(XML_GetCurrentLineNumber(parser_));
    auto column = static_cast<unsigned long>(XML_GetCurrentColumnNumber(parser_));
    int at = 0;
    int size = 0;
    const char* context = XML_GetInputContext(parser_, &at, &size);
    if (context != nullptr && !utf16_ && at >= 0 && at < size) {
      const std::string_view tag(context + at, static_cast<size_t>(size - at));
      const size_t nameAt = NameInTag(tag, index);
      if (nameAt != kNone && nameAt + offset <= tag.size()) {
        Advance(tag.substr(0, nameAt + offset), line, column);
      }
    }
    NotWellFormed(XML_ERROR_INVALID_TOKEN, line, column);
  }

  void StartEnvelope(const SplitName& name) {
    sawEnvelope_ = true;
    if (name.local == "Envelope" && name.uri == kSoap12Envelope) {
      throw SOAPException("The answer is a SOAP 1.2 envelope; this client speaks SOAP 1.1");
    }
    if (name.local != "Envelope" || name.uri != ns::kEnvelope) {
      throw SOAPException(
          "The answer is not a SOAP envelope: its root element is '%.200s' in "
          "the namespace '%.200s'",
          std::string(name.local).c_str(), std::string(name.uri).c_str());
    }
  }

  // Elements, their names and attribute entries are made in the response's storage; names and
  // namespaces are kept there once.
  void StartBodyElement(const SplitName& name) {
    OpenElement& parent = open_.back();
    parent.hasChildElement = true;
    SOAPParameter& element = *store_->New<SOAPParameter>();
    element.GetValue().storedElement = true;
    try {
      parent.element->AddStoredChild(*store_, element);
    } catch (...) {
      element.~SOAPParameter();
      throw;
    }
    element.ReferName(InternLocalName(name.local).text,
                      name.uriEntry != nullptr ? name.uriEntry->text : nullptr);
    if (!tagAttributes_.empty()) AddAttributes(element);

    if (depth_ == 3 && !sawMethod_) {
      sawMethod_ = true;
      isFault_ = name.local == "Fault" && name.uri == ns::kEnvelope;
    }
    if (captureFrom_ != 0) {
      CaptureStart(name);
    } else if (isFault_ && depth_ == 4 && name.local == "detail") {
      captureFrom_ = depth_;
    }

    open_.push_back({&element, false});
    if (texts_.size() < open_.size()) texts_.resize(open_.size());
    texts_[open_.size() - 1].clear();
    CheckMemory();
  }

  // The entries are chained into a table of their own size, as the map would find them. Parsed
  // entries never change (AddAttribute takes them over first), so an element whose attributes
  // are those of one of the last few different tags (a record's fields, item after item) shares
  // that tag's table. A declaration made or ended forgets them all: a qualified-name value may
  // mean another namespace then.
  struct StoredAttribute {
    const MessageStore::Interned* local;
    const MessageStore::Interned* uri;  // null for none
    const char* text;
  };
  // An attribute table in the response's storage, shared by the elements whose tags carry the very
  // same attributes: the elements of an answer repeat a few (xsi:type="xsd:int" and the like).
  struct StoredTable {
    std::vector<StoredAttribute> attributes;
    SOAPParameter::Attributes::Entry** table = nullptr;  // null: none kept here
    uint32_t buckets = 0;
  };

  void AddAttributes(SOAPParameter& element) {
    const StoredTable& stored = StoredTableOfTag();
    element.ReferAttributes(stored.table, stored.buckets,
                            static_cast<uint32_t>(tagAttributes_.size()));
    for (const StoredAttribute& attribute : stored.attributes) {
      std::string_view local = View(attribute.local);
      if (local == "nil" && IsSchemaInstance(View(attribute.uri)) &&
          (std::strcmp(attribute.text, "true") == 0 || std::strcmp(attribute.text, "1") == 0)) {
        element.SetNull(true);
      }
      if (attribute.uri == nullptr) {
        if (local == "id") references_.AddId(attribute.text, &element);
        if (local == "href" && attribute.text[0] == '#') {
          references_.AddReference(&element, attribute.text + 1);
        }
      }
    }
  }

  // The table of the tag's attributes: one kept from a recent tag with the very same attributes,
  // or a new one that replaces the oldest kept.
  const StoredTable& StoredTableOfTag() {
    for (size_t i = 0; i < kRecentTables; ++i) {
      const StoredTable& recent =
          recentTables_[(nextRecentTable_ + kRecentTables - 1 - i) % kRecentTables];
      if (recent.table != nullptr && IsTagOf(recent)) return recent;
    }
    StoredTable& stored = recentTables_[nextRecentTable_];
    nextRecentTable_ = (nextRecentTable_ + 1) % kRecentTables;
    StoreAttributes(stored);
    return stored;
  }

  bool IsTagOf(const StoredTable& stored) const {
    if (tagAttributes_.size() != stored.attributes.size()) return false;
    for (size_t i = 0; i < tagAttributes_.size(); ++i) {
      const TagAttribute& attribute = tagAttributes_[i];
      const StoredAttribute& kept = stored.attributes[i];
      if (attribute.name.uriEntry != kept.uri || attribute.name.local != View(kept.local) ||
          std::strcmp(attribute.value, kept.text) != 0) {
        return false;
      }
    }
    return true;
  }

  void ForgetTables() {
    for (StoredTable& recent : recentTables_) recent.table = nullptr;
  }

  void StoreAttributes(StoredTable& stored) {
    using Entry = SOAPParameter::Attributes::Entry;
    stored.attributes.clear();
    stored.buckets = 1;
    while (stored.buckets < tagAttributes_.size()) stored.buckets *= 2;
    stored.table = static_cast<Entry**>(store_->Allocate(sizeof(Entry*) * size_t{stored.buckets}));
    std::fill(stored.table, stored.table + stored.buckets, nullptr);
    for (const TagAttribute& attribute : tagAttributes_) {
      const SplitName& name = attribute.name;
      const char* value = attribute.value;
      const MessageStore::Interned& local = store_->Intern(name.local);
      const MessageStore::Interned* uri = name.uriEntry;
      bool qnameValued = IsQNameValued(name);
      // Qualified-name values ("xsd:int") repeat from element to element; others are copied.
      const char* text = qnameValued ? store_->Intern(value).text : store_->Copy(value);
      Entry& entry = *store_->New<Entry>();
      entry.hash = local.textHash ^ (uri != nullptr ? uri->textHash : 0);
      entry.key.GetName().Refer(local.text);
      entry.key.GetNamespace().Refer(uri != nullptr ? uri->text : nullptr);
      entry.value.GetName().Refer(text);
      if (qnameValued) {
        const MessageStore::Interned* valueUri = PrefixNamespace(value);
        if (valueUri != nullptr) entry.value.GetNamespace().Refer(valueUri->text);
      }
      Entry*& chain = stored.table[entry.hash % stored.buckets];
      entry.next = chain;
      chain = &entry;
      stored.attributes.push_back({&local, uri, text});
    }
  }

  // The namespace that the prefix of a QName text stands for here; the default namespace for a
  // text without prefix; null when the prefix isn't declared (or declared empty).
  const MessageStore::Interned* PrefixNamespace(std::string_view qname) const {
    size_t colon = qname.find(':');
    return BoundNamespace(colon == kNone ? std::string_view() : qname.substr(0, colon));
  }
  // An element's local name, kept once. The elements of an answer have few names, so the last
  // few are looked at before the name is hashed. local lies in a NUL-terminated name: its first
  // byte can be read even when it is empty.
  MessageStore::Interned& InternLocalName(std::string_view local) {
    for (MessageStore::Interned* known : recentNames_) {
      if (known != nullptr && known->length == local.size() && known->text[0] == local.data()[0] &&
          std::memcmp(known->text, local.data(), local.size()) == 0) {
        return *known;
      }
    }
    MessageStore::Interned& interned = store_->Intern(local);
    recentNames_[nextRecentName_] = &interned;
    nextRecentName_ = (nextRecentName_ + 1) % kRecentNames;
    return interned;
  }

  static std::string_view View(const MessageStore::Interned* text) {
    return text != nullptr ? std::string_view(text->text, text->length) : std::string_view();
  }

  // Declarations in force, a stack whose entries chain the earlier declarations of their prefix;
  // each prefix knows its latest.
  void Declare(std::string_view prefix, std::string_view uri) {
    Work(1);
    ForgetTables();  // a qualified-name value may mean another namespace now
    MessageStore::Interned& declared = store_->Intern(prefix);
    if (prefix.empty()) emptyPrefix_ = &declared;
    bindings_.push_back({&declared, &store_->Intern(uri), declared.binding});
    declared.binding = static_cast<uint32_t>(bindings_.size());
    CheckMemory();
  }
  // Ends the latest count declarations, which an element made.
  void Undeclare(uint32_t count) {
    if (count != 0) ForgetTables();
    for (; count != 0; --count) {
      bindings_.back().prefix->binding = bindings_.back().previous;
      bindings_.pop_back();
    }
  }

  void Text(const XML_Char* text, int length) {
    if (skipFrom_ != 0 || open_.size() < 2) return;
    texts_[open_.size() - 1].append(text, static_cast<size_t>(length));
    if (captureFrom_ != 0) CaptureText(text, static_cast<size_t>(length));
  }

  // An element's declarations end after it.
  void End(const XML_Char* rawName) {
    EndElement(rawName);
    Undeclare(declarationsOpen_.back());
    declarationsOpen_.pop_back();
  }

  void EndElement(const XML_Char* rawName) {
    if (skipFrom_ != 0) {
      if (depth_ == skipFrom_) skipFrom_ = 0;
      --depth_;
      return;
    }
    if (captureFrom_ != 0) {
      if (depth_ > captureFrom_) {
        CaptureEnd(rawName);
      } else {
        captureFrom_ = 0;
      }
    }
    if (!open_.empty()) {
      if (open_.size() >= 2) StoreText(open_.back(), texts_[open_.size() - 1]);
      open_.pop_back();
    }
    --depth_;
  }

  // A leaf keeps its text, empty included; an element with children keeps only text that is more
  // than the white space between them.
  void StoreText(const OpenElement& open, const std::string& text) {
    if (open.hasChildElement && IsBlank(text)) return;
    open.element->ReferText(store_->Copy(text));
    CheckMemory();
  }

  // --- limits of time and memory -----------------------------------------------------------

  void Work(uint64_t amount) {
    work_ += amount;
    if (work_ < nextClockRead_) return;
    nextClockRead_ = work_ + kWorkBetweenClockReads;
    CheckDeadline();
  }

  void CheckDeadline() const {
    if (limits_.deadline != SOAPParser::Clock::time_point::max() &&
        SOAPParser::Clock::now() >= limits_.deadline) {
      throw SOAPSocketException("reading the answer took longer than the time-out");
    }
  }

  void CheckMemory() const {
    // The elements and their lists of children are in the storage.
    uint64_t used = store_->Footprint() + store_->InternedCount() * kExpatBytesPerName +
                    bindings_.capacity() * sizeof(Binding) + references_.Footprint();
    if (used > memoryLimit_) {
      throw SOAPException(
          "The answer needs more memory than the limit of %llu bytes, %u times its size",
          static_cast<unsigned long long>(memoryLimit_), limits_.memoryPerByte);
    }
  }

  // --- the fault -------------------------------------------------------------------------

  void ThrowFault() const {
    const SOAPParameter& fault = response_->GetMethod();
    auto partText = [&](const char* part) -> std::string_view {
      const SOAPParameter* found = fault.FindParameter(part);
      return found != nullptr ? std::string_view(found->GetString().CStr()) : std::string_view();
    };
    std::string packed = easysoap_internal::PackFaultText(
        partText("faultcode"), partText("faultstring"), detail_, SOAPException::kMessageLimit - 1);
    throw SOAPFaultException("%s", packed.c_str());
  }

  // The detail's content is written back as XML text, in UTF-8 whatever the answer's encoding.
  // Every prefix it uses is declared where it is first needed, also those the answer declared
  // further out, so that the text stands on its own.
  void CaptureStart(const SplitName& name) {
    if (detail_.size() > kDetailCaptureLimit) return;
    std::string declarations;
    detail_.push_back('<');
    AppendCapturedName(name, declarations);
    for (const TagAttribute& attribute : tagAttributes_) {
      const SplitName& attributeName = attribute.name;
      detail_.push_back(' ');
      AppendCapturedName(attributeName, declarations);
      detail_.append("=\"");
      AppendEscaped(detail_, attribute.value, std::strlen(attribute.value),
                    EscapeContext::kAttribute);
      detail_.push_back('"');
      if (IsQNameValued(attributeName)) {
        std::string_view value(attribute.value);
        size_t colon = value.find(':');
        if (colon != std::string_view::npos) {
          DeclareForCapture(value.substr(0, colon), View(PrefixNamespace(value)), declarations);
        }
      }
    }
    detail_.append(declarations).push_back('>');
  }

  void AppendCapturedName(const SplitName& name, std::string& declarations) {
    if (!name.prefix.empty()) detail_.append(name.prefix).push_back(':');
    detail_.append(name.local);
    if (!name.prefix.empty() || !name.uri.empty())
      DeclareForCapture(name.prefix, name.uri, declarations);
  }

  void DeclareForCapture(std::string_view prefix, std::string_view uri, std::string& declarations) {
    for (auto it = captureScope_.rbegin(); it != captureScope_.rend(); ++it) {
      if (it->prefix == prefix) {
        if (it->uri == uri) return;
        break;
      }
    }
    if (uri.empty() && !prefix.empty()) return;  // an undeclared prefix: nothing to say
    captureScope_.push_back({std::string(prefix), std::string(uri), depth_});
    declarations.append(prefix.empty() ? " xmlns" : " xmlns:").append(prefix).append("=\"");
    AppendEscaped(declarations, uri.data(), uri.size(), EscapeContext::kAttribute);
    declarations.push_back('"');
  }

  void CaptureText(const XML_Char* text, size_t length) {
    if (detail_.size() > kDetailCaptureLimit) return;
    AppendEscaped(detail_, text, length, EscapeContext::kText);
  }

  void CaptureEnd(const XML_Char* rawName) {
    while (!captureScope_.empty() && captureScope_.back().depth == depth_) captureScope_.pop_back();
    if (detail_.size() > kDetailCaptureLimit) return;
    detail_.append("</").append(rawName).push_back('>');
  }

  XML_Parser parser_ = nullptr;
  unsigned long hashSalt_ = 0;
  bool reusable_ = false;

  SOAPResponse* response_ = nullptr;
  SOAPParser::Limits limits_;
  std::exception_ptr failure_;

  std::string charset_;  // the HTTP answer's, or empty
  uint64_t received_ = 0;
  std::string head_;  // the start of the answer, until it tells the encoding
  bool started_ = false;
  TagScanner scanner_;

  uint32_t depth_ = 0;
  uint32_t elementCount_ = 0;
  uint32_t skipFrom_ = 0;  // depth of an element whose content is ignored, or 0
  bool sawEnvelope_ = false;
  bool sawBody_ = false;
  bool sawMethod_ = false;
  bool isFault_ = false;

  std::vector<OpenElement> open_;   // the Body and the elements open inside it
  std::vector<std::string> texts_;  // their text so far, one buffer per level, reused
  MultiReferences references_;
  MessageStore* store_ = nullptr;  // the response's

  struct Binding {
    MessageStore::Interned* prefix;
    const MessageStore::Interned* uri;
    uint32_t previous;  // the declaration of the prefix that this one hides, or 0
  };
  std::vector<Binding> bindings_;

  // The attribute tables of the last few different tags, the newest before nextRecentTable_
  // (StoredTableOfTag).
  static constexpr size_t kRecentTables = 8;
  StoredTable recentTables_[kRecentTables];
  size_t nextRecentTable_ = 0;
  // The kept entry of the empty prefix, once a default namespace is declared; its binding says
  // which declaration is in force.
  MessageStore::Interned* emptyPrefix_ = nullptr;
  static constexpr size_t kRecentNames = 8;
  MessageStore::Interned* recentNames_[kRecentNames] = {};
  size_t nextRecentName_ = 0;

  uint64_t work_ = 0;
  uint64_t nextClockRead_ = kWorkBetweenClockReads;
  uint64_t memoryLimit_ = 0;
  bool utf16_ = false;  // the answer's encoding, for finding a place in a tag

  // The start tag being read: its attributes but its declarations. And for every open element,
  // how many declarations it made.
  struct TagAttribute {
    const XML_Char* value;
    SplitName name;
  };
  std::vector<TagAttribute> tagAttributes_;
  std::vector<std::pair<uintptr_t, std::string_view>> prefixedNames_;
  std::vector<uint32_t> declarationsOpen_;

  struct CaptureDeclaration {
    std::string prefix;
    std::string uri;
    uint32_t depth;
  };
  uint32_t captureFrom_ = 0;  // depth of the fault's detail element while it is open, or 0
  std::string detail_;
  std::vector<CaptureDeclaration> captureScope_;
};

SOAPParser::SOAPParser() = default;
SOAPParser::~SOAPParser() = default;

void SOAPParser::Parse(const char* data, size_t size, const char* charset, SOAPResponse& response,
                       const Limits& limits) {
  Begin(charset, response, limits);
  Feed(data != nullptr ? data : "", data != nullptr ? size : 0);
  Finish();
}

void SOAPParser::Begin(const char* charset, SOAPResponse& response, const Limits& limits) {
  if (limits.maxDepth < 3) throw SOAPException("The depth limit of a parse must be 3 or more");
  if (reader_ == nullptr) reader_ = std::make_unique<Reader>();
  Ending ending{reader_, true};
  reader_->Begin(charset, response, limits);
  ending.over = false;
}

void SOAPParser::Feed(const char* data, size_t size) {
  if (reader_ == nullptr) throw SOAPException("No answer is being read");
  Ending ending{reader_, true};
  reader_->Feed(data, size);
  ending.over = false;
}

void SOAPParser::Finish() {
  if (reader_ == nullptr) throw SOAPException("No answer is being read");
  Ending ending{reader_, true};
  reader_->Finish();
}

void SOAPParser::Abandon() {
  if (reader_ != nullptr && !reader_->Reusable()) reader_.reset();
}

SOAPParser::Ending::~Ending() {
  if (over && reader != nullptr && !reader->Reusable()) reader.reset();
}

void SOAPParser::ParseResponse(const char* data, size_t size, const char* charset,
                               SOAPResponse& response) {
  ParseResponse(data, size, charset, response, Limits());
}

void SOAPParser::ParseResponse(const char* data, size_t size, const char* charset,
                               SOAPResponse& response, const Limits& limits) {
  SOAPParser parser;
  parser.Parse(data, size, charset, response, limits);
}
