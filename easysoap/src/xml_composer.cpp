#include "easysoap/xml_composer.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "easysoap/src/address_slot.h"
#include "easysoap/src/soap_namespaces.h"
#include "easysoap/src/xml_escape.h"
#include "support/values/soap_exception.h"

using easysoap_internal::AppendEscaped;
using easysoap_internal::EscapeContext;
using easysoap_internal::EscapeError;
using easysoap_internal::FindTwoWay;
using easysoap_internal::PlainLength;
using easysoap_internal::TwoWaySlot;
namespace ns = easysoap_internal::namespaces;

namespace {

std::atomic<bool> addWhiteSpace{false};

std::string_view View(const SOAPString& text) { return std::string_view(text.CStr()); }

// The request's text, gathered in a chunk of its own and appended to the caller's buffer a chunk
// at a time: pieces are copied in without a call each, and a chunk stays below the size from
// which the C library copies byte by byte.
class Output {
 public:
  explicit Output(std::string& out) : out_(out) {}
  // What was written stays, also when a failure ends the request.
  ~Output() { Flush(); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Append(char c) {
    if (used_ == kChunk) Flush();
    chunk_[used_++] = c;
  }
  [[gnu::always_inline]] void Append(std::string_view text) {
    if (text.size() > kChunk - used_) {
      Flush();
      if (text.size() > kChunk) {
        out_.append(text);
        return;
      }
    }
    Copy(chunk_ + used_, text.data(), text.size());
    used_ += text.size();
  }
  void AppendSpaces(size_t count) {
    static constexpr std::string_view kSpaces = "                                ";
    for (; count > kSpaces.size(); count -= kSpaces.size()) Append(kSpaces);
    Append(kSpaces.substr(0, count));
  }
  void Flush() {
    out_.append(chunk_, used_);
    used_ = 0;
  }
  // How many bytes were written so far, and those written since a count it gave.
  size_t Written() const { return out_.size() + used_; }
  void CopySince(size_t mark, std::string& to) const {
    const size_t flushed = out_.size();
    if (mark < flushed) {
      to.assign(out_, mark);
      to.append(chunk_, used_);
    } else {
      to.assign(chunk_ + (mark - flushed), used_ - (mark - flushed));
    }
  }

 private:
  static constexpr size_t kChunk = 4000;

  // Most pieces are a few bytes long: two overlapping words copy them without a call.
  static void Copy(char* to, const char* from, size_t size) {
    if (size >= 8) {
      if (size > 16) {
        std::memcpy(to, from, size);
        return;
      }
      std::memcpy(to, from, 8);
      std::memcpy(to + size - 8, from + size - 8, 8);
    } else if (size >= 4) {
      std::memcpy(to, from, 4);
      std::memcpy(to + size - 4, from + size - 4, 4);
    } else if (size != 0) {
      to[0] = from[0];
      to[size / 2] = from[size / 2];
      to[size - 1] = from[size - 1];
    }
  }

  std::string& out_;
  size_t used_ = 0;
  char chunk_[kChunk];
};

// The prefixes of one message. The four of the SOAP encoding are always declared under their
// usual names; every other namespace the message uses gets "ns1", "ns2", ... in order of first
// use. All are declared on the envelope, so that no element needs declarations of its own.
class NamespacePrefixes {
 public:
  NamespacePrefixes() {
    entries_.reserve(8);
    for (const Standard& standard : kStandard) Add(standard.uri, std::string(standard.prefix));
  }

  void Use(const SOAPString& uri) {
    const char* text = uri.Str();
    if (text == nullptr || *text == '\0' || Recall(text) != kUnknown) return;
    size_t entry = Find(text);
    if (entry == kNone) {
      entry = entries_.size();
      Add(text, "ns" + std::to_string(++generated_));
    }
    Remember(text, entry);
  }

  // The prefix of a namespace that Use has seen; empty for no namespace.
  std::string_view PrefixOf(const SOAPString& uri) {
    const char* text = uri.Str();
    if (text == nullptr || *text == '\0') return {};
    size_t entry = Recall(text);
    if (entry == kUnknown) {
      entry = Find(text);
      Remember(text, entry);
    }
    return entry != kNone ? std::string_view(entries_[entry].prefix) : std::string_view();
  }

  void WriteDeclarations(Output& out, std::string& scratch) const {
    // The declarations of the SOAP encoding are the same in every request: written once, kept.
    static const std::string standard = [] {
      std::string text;
      std::string escaped;
      for (const Standard& entry : kStandard) {
        WriteDeclaration([&](std::string_view piece) { text.append(piece); }, escaped, entry.prefix,
                         entry.uri);
      }
      return text;
    }();
    out.Append(standard);
    for (size_t i = std::size(kStandard); i < entries_.size(); ++i) {
      WriteDeclaration([&](std::string_view piece) { out.Append(piece); }, scratch,
                       entries_[i].prefix, entries_[i].uri);
    }
  }

 private:
  static constexpr size_t kNone = SIZE_MAX;  // a namespace without a prefix
  static constexpr size_t kUnknown = SIZE_MAX - 1;
  static constexpr int kRecentBits = 3;
  static constexpr size_t kRecent = size_t{1} << kRecentBits;
  struct Entry {
    std::string_view uri;
    std::string prefix;
  };
  struct Standard {
    std::string_view uri;
    std::string_view prefix;
  };
  static constexpr Standard kStandard[] = {{ns::kEnvelope, "SOAP-ENV"},
                                           {ns::kEncoding, "SOAP-ENC"},
                                           {ns::kSchemaInstance, "xsi"},
                                           {ns::kSchema, "xsd"}};

  // Writes one declaration through append (a piece at a time), its namespace escaped in scratch.
  template <typename Append>
  static void WriteDeclaration(Append append, std::string& scratch, std::string_view prefix,
                               std::string_view uri) {
    append(" xmlns:");
    append(prefix);
    append("=\"");
    scratch.clear();
    EscapeError error = AppendEscaped(scratch, uri.data(), uri.size(), EscapeContext::kAttribute);
    if (error.reason != nullptr) {
      throw SOAPException("Can't write the namespace name '%.200s': %s", std::string(uri).c_str(),
                          error.reason);
    }
    append(scratch);
    append("\"");
  }
  struct Recent {
    const char* uri = nullptr;
    size_t entry = kUnknown;
  };

  void Add(std::string_view uri, std::string prefix) {
    entries_.push_back({uri, std::move(prefix)});
  }

  // A message uses a handful of namespaces: a scan of them costs less than hashing the name, and
  // the table needs no allocation of its own beyond the list.
  size_t Find(std::string_view uri) const {
    for (size_t i = 0; i < entries_.size(); ++i) {
      if (entries_[i].uri == uri) return i;
    }
    return kNone;
  }
  // The tree doesn't change while it is written, so the texts of its elements are told apart by
  // their addresses: the few namespaces of a request come again and again from the same texts.
  size_t Recall(const char* uri) const {
    const Recent* recent = FindTwoWay(recent_, kRecentBits, uri, UriOf);
    return recent != nullptr ? recent->entry : kUnknown;
  }
  void Remember(const char* uri, size_t entry) {
    bool found = false;
    TwoWaySlot(recent_, kRecentBits, uri, UriOf, found) = {uri, entry};
  }
  static const void* UriOf(const Recent& recent) { return recent.uri; }

  std::vector<Entry> entries_;
  unsigned generated_ = 0;
  Recent recent_[kRecent];
};

// The length of a name XML accepts as the local part of an element or attribute; 0 for a text
// that isn't one. Bytes above 0x7F are taken as name characters: the text is checked as UTF-8
// when it is written, and the names of a service description are ASCII in practice.
size_t XmlNameLength(const char* name) {
  auto isStart = [](unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c >= 0x80;
  };
  const auto* bytes = reinterpret_cast<const unsigned char*>(name);
  if (!isStart(bytes[0])) return 0;
  size_t length = 1;
  for (unsigned char c = bytes[length];
       isStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; c = bytes[++length]) {
  }
  return bytes[length] == '\0' ? length : 0;
}

bool IsNilAttribute(const SOAPQName& key) {
  const char* name = key.GetName().CStr();
  if (name[0] != 'n' || std::strcmp(name, "nil") != 0) return false;
  std::string_view uri = View(key.GetNamespace());
  return uri == ns::kSchemaInstance || uri == ns::kSchemaInstance1999;
}

// Writes one request. Elements are walked with an explicit stack, so that the depth of a nested
// structure can't exhaust the thread's stack.
class RequestWriter {
 public:
  RequestWriter(std::string& out, bool document, bool whiteSpace)
      : out_(out), document_(document), whiteSpace_(whiteSpace) {}

  void Write(const SOAPMethod& method) {
    SOAPQName bodyName = BodyElementName(method);
    CollectNamespaces(method, bodyName);

    out_.Append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    NewLine();
    out_.Append("<SOAP-ENV:Envelope");
    prefixes_.WriteDeclarations(out_, scratch_);
    out_.Append('>');
    NewLine();
    Indent(1);
    out_.Append("<SOAP-ENV:Body>");
    NewLine();
    WriteTree(method, bodyName);
    Indent(1);
    out_.Append("</SOAP-ENV:Body>");
    NewLine();
    out_.Append("</SOAP-ENV:Envelope>");
    NewLine();
    out_.Flush();
  }

 private:
  // An element whose children are being written, with its tag as it was opened.
  struct Frame {
    const SOAPParameter* element;
    uint32_t nextChild;
    std::string_view prefix;
    std::string_view name;
  };
  // A name as it is written: its prefix (empty for none) and its checked local name.
  struct Tag {
    std::string_view prefix;
    std::string_view name;
  };

  SOAPQName BodyElementName(const SOAPMethod& method) const {
    const SOAPQName& elementName = method.GetSoapElementName();
    if (!document_ || elementName.GetName().Length() == 0) return method.GetName();
    // A document element named without a namespace lives in the method's.
    return SOAPQName(elementName.GetName().CStr(), elementName.GetNamespace().Length() != 0
                                                       ? elementName.GetNamespace().CStr()
                                                       : method.GetName().GetNamespace().CStr());
  }

  // The namespaces are numbered in the order of this walk: the body element, then each element
  // before its descendants, the children of an element from the last to the first.
  void CollectNamespaces(const SOAPMethod& method, const SOAPQName& bodyName) {
    prefixes_.Use(bodyName.GetNamespace());
    UseNamespaces(method, false);
    std::vector<std::pair<const SOAPParameter*, uint32_t>> pending{
        {&method, method.GetParams().Size()}};
    while (!pending.empty()) {
      auto& [element, left] = pending.back();
      if (left == 0) {
        pending.pop_back();
        continue;
      }
      const SOAPParameter* child = element->GetParams()[--left];
      UseNamespaces(*child, document_);
      if (!child->GetParams().IsEmpty()) pending.emplace_back(child, child->GetParams().Size());
    }
  }
  void UseNamespaces(const SOAPParameter& element, bool qualified) {
    if (qualified) prefixes_.Use(element.GetName().GetNamespace());
    // A table that many elements share gives its namespaces once.
    const void* table = element.GetAttributes().Buckets();
    if (table == nullptr) return;
    bool found = false;
    const void*& used = TwoWaySlot(
        usedTables_, kWrittenAttributeBits, table, [](const void* key) { return key; }, found);
    if (found) return;
    element.GetAttributes().ForEach([this](const SOAPQName& key, const SOAPQName& value) {
      prefixes_.Use(key.GetNamespace());
      prefixes_.Use(value.GetNamespace());
    });
    used = table;
  }

  void WriteTree(const SOAPMethod& method, const SOAPQName& bodyName) {
    std::vector<Frame> open;
    Tag tag;
    if (OpenElement(method, bodyName, 2, true, tag)) {
      open.push_back({&method, 0, tag.prefix, tag.name});
    }
    while (!open.empty()) {
      Frame& frame = open.back();
      const auto& children = frame.element->GetParams();
      if (frame.nextChild < children.Size()) {
        const SOAPParameter* child = children[frame.nextChild++];
        if (OpenElement(*child, child->GetName(), open.size() + 2, false, tag)) {
          open.push_back({child, 0, tag.prefix, tag.name});
        }
        continue;
      }
      const Tag closing{frame.prefix, frame.name};
      open.pop_back();
      Indent(open.size() + 2);
      CloseTag(closing);
      NewLine();
    }
  }

  // Writes the start of an element and, when it has no children, all of it. True when children
  // follow and the element must be closed after them, with tag.
  bool OpenElement(const SOAPParameter& element, const SOAPQName& name, size_t depth, bool isBody,
                   Tag& tag) {
    tag = TagOf(name, isBody || document_);
    Indent(depth);
    out_.Append('<');
    PutTag(tag);
    if (element.GetAttributes().Count() != 0) WriteAttributes(element);
    if (isBody && !document_) {
      out_.Append(" SOAP-ENV:encodingStyle=\"");
      out_.Append(ns::kEncoding);
      out_.Append("\"");
    }
    if (element.IsNull()) {
      out_.Append(" xsi:nil=\"true\"/>");
      NewLine();
      return false;
    }
    const SOAPString& text = element.GetString();
    const bool hasText = text.CStr()[0] != '\0';
    if (element.GetParams().IsEmpty()) {
      if (!hasText) {
        out_.Append("/>");
      } else {
        out_.Append('>');
        PutText(text.CStr(), name, EscapeContext::kText);
        CloseTag(tag);
      }
      NewLine();
      return false;
    }
    out_.Append('>');
    if (hasText) {
      PutText(text.CStr(), name, EscapeContext::kText);
    } else {
      NewLine();
    }
    return true;
  }

  void CloseTag(const Tag& tag) {
    out_.Append("</");
    PutTag(tag);
    out_.Append('>');
  }

  // Elements with equal attributes share one table (a field's type attribute in every record):
  // a table's attributes are written out once and copied after, as the tree doesn't change while
  // it is written and the prefixes are chosen before.
  void WriteAttributes(const SOAPParameter& element) {
    const void* table = element.GetAttributes().Buckets();
    bool found = false;
    WrittenAttributes& written = TwoWaySlot(
        writtenAttributes_, kWrittenAttributeBits, table,
        [](const WrittenAttributes& slot) { return slot.table; }, found);
    if (found) {
      out_.Append(written.text);
      return;
    }
    const size_t mark = out_.Written();
    WriteEachAttribute(element);
    out_.CopySince(mark, written.text);
    written.table = table;
  }

  void WriteEachAttribute(const SOAPParameter& element) {
    element.GetAttributes().ForEach([this](const SOAPQName& key, const SOAPQName& value) {
      // Nil is written from the element's mark alone, so that a copied element never carries it
      // twice or contradicts its mark.
      if (IsNilAttribute(key)) return;
      const Tag tag = TagOf(key, true);
      std::string_view prefix = prefixes_.PrefixOf(value.GetNamespace());
      const char* text = value.GetName().CStr();
      if (!prefix.empty()) {
        // A value read from an answer keeps the prefix it had there ("xsd:int[3]"); only ours
        // is declared here.
        std::string_view view(text);
        size_t colon = view.find(':');
        if (colon != std::string_view::npos && colon < view.find('[')) text += colon + 1;
      }
      out_.Append(' ');
      PutTag(tag);
      out_.Append("=\"");
      if (!prefix.empty()) {
        out_.Append(prefix);
        out_.Append(':');
      }
      PutText(text, key, EscapeContext::kAttribute);
      out_.Append('"');
    });
  }

  // The tag of an element or attribute name: its local part, checked, and its prefix when it is
  // written qualified.
  Tag TagOf(const SOAPQName& name, bool qualified) {
    return {qualified ? prefixes_.PrefixOf(name.GetNamespace()) : std::string_view(),
            CheckedName(name.GetName())};
  }
  // The names of a request repeat from element to element; those checked last are known by
  // their addresses while the tree is written (two places an address: a record's few names
  // shared slots and were checked again for every record, depending on where they lay).
  std::string_view CheckedName(const SOAPString& name) {
    const char* text = name.CStr();
    bool found = false;
    std::string_view& checked = TwoWaySlot(
        checkedNames_, kCheckedNameBits, text,
        [](std::string_view slot) { return static_cast<const void*>(slot.data()); }, found);
    if (found) return checked;
    const size_t length = XmlNameLength(text);
    if (length == 0) {
      throw SOAPException(
          "Can't write the element or attribute name '%.200s': it isn't an XML name", text);
    }
    checked = std::string_view(text, length);
    return checked;
  }
  void PutTag(const Tag& tag) {
    if (!tag.prefix.empty()) {
      out_.Append(tag.prefix);
      out_.Append(':');
    }
    out_.Append(tag.name);
  }

  // Text that needs no escape, the usual case, is copied as it is; any other is escaped aside.
  void PutText(const char* text, const SOAPQName& owner, EscapeContext context) {
    const size_t plain = PlainLength(text, context);
    if (text[plain] == '\0') {
      out_.Append(std::string_view(text, plain));
      return;
    }
    scratch_.clear();
    EscapeError error = AppendEscaped(scratch_, text, plain + std::strlen(text + plain), context);
    if (error.reason != nullptr) {
      out_.Append(scratch_);  // what could be written, as far as the failing byte
      throw SOAPException("Can't write the text of '%.200s': byte %zu is %s",
                          owner.GetName().CStr(), error.offset, error.reason);
    }
    out_.Append(scratch_);
  }

  void Indent(size_t depth) {
    if (whiteSpace_) out_.AppendSpaces(2 * depth);
  }
  void NewLine() {
    if (whiteSpace_) out_.Append('\n');
  }

  static constexpr int kCheckedNameBits = 6;
  static constexpr size_t kCheckedNames = size_t{1} << kCheckedNameBits;

  Output out_;
  bool document_;
  bool whiteSpace_;
  NamespacePrefixes prefixes_;
  std::string scratch_;  // escaped text on its way into the request
  std::string_view checkedNames_[kCheckedNames];
  struct WrittenAttributes {
    const void* table = nullptr;
    std::string text;
  };
  static constexpr int kWrittenAttributeBits = 5;
  WrittenAttributes writtenAttributes_[size_t{1} << kWrittenAttributeBits];
  const void* usedTables_[size_t{1} << kWrittenAttributeBits] = {};
};

}  // namespace

void XMLComposer::SetAddWhiteSpace(bool value) {
  addWhiteSpace.store(value, std::memory_order_relaxed);
}

bool XMLComposer::GetAddWhiteSpace() { return addWhiteSpace.load(std::memory_order_relaxed); }

std::string XMLComposer::ComposeRequest(const SOAPMethod& method) {
  std::string out;
  ComposeRequest(method, method.bindingStyle, out);
  return out;
}

void XMLComposer::ComposeRequest(const SOAPMethod& method, int bindingStyle, std::string& out) {
  out.clear();
  RequestWriter(out, bindingStyle == kDocumentStyle, GetAddWhiteSpace()).Write(method);
}
