#include "easysoap/xml_composer.h"

#include <atomic>
#include <string_view>
#include <utility>
#include <vector>

#include "easysoap/src/soap_namespaces.h"
#include "easysoap/src/xml_escape.h"
#include "support/values/soap_exception.h"

using easysoap_internal::AppendEscaped;
using easysoap_internal::EscapeContext;
using easysoap_internal::EscapeError;
namespace ns = easysoap_internal::namespaces;

namespace {

std::atomic<bool> addWhiteSpace{false};

std::string_view View(const SOAPString& text) { return std::string_view(text.CStr()); }

// The prefixes of one message. The four of the SOAP encoding are always declared under their
// usual names; every other namespace the message uses gets "ns1", "ns2", ... in order of first
// use. All are declared on the envelope, so that no element needs declarations of its own.
class NamespacePrefixes {
 public:
  NamespacePrefixes() {
    entries_.reserve(8);
    Add(ns::kEnvelope, "SOAP-ENV");
    Add(ns::kEncoding, "SOAP-ENC");
    Add(ns::kSchemaInstance, "xsi");
    Add(ns::kSchema, "xsd");
  }

  void Use(const SOAPString& uri) {
    std::string_view text = View(uri);
    if (text.empty() || Find(text) != nullptr) return;
    Add(text, "ns" + std::to_string(++generated_));
  }

  // The prefix of a namespace that Use has seen; empty for no namespace.
  std::string_view PrefixOf(std::string_view uri) const {
    const std::string* prefix = uri.empty() ? nullptr : Find(uri);
    return prefix != nullptr ? std::string_view(*prefix) : std::string_view();
  }

  void WriteDeclarations(std::string& out) const {
    for (const auto& [uri, prefix] : entries_) {
      out.append(" xmlns:").append(prefix).append("=\"");
      EscapeError error = AppendEscaped(out, uri.data(), uri.size(), EscapeContext::kAttribute);
      if (error.reason != nullptr) {
        throw SOAPException("Can't write the namespace name '%.200s': %s", std::string(uri).c_str(),
                            error.reason);
      }
      out.push_back('"');
    }
  }

 private:
  void Add(std::string_view uri, std::string prefix) {
    entries_.emplace_back(uri, std::move(prefix));
  }

  // A message uses a handful of namespaces: a scan of them costs less than hashing the name, and
  // the table needs no allocation of its own beyond the list.
  const std::string* Find(std::string_view uri) const {
    for (const auto& [known, prefix] : entries_) {
      if (known == uri) return &prefix;
    }
    return nullptr;
  }

  std::vector<std::pair<std::string_view, std::string>> entries_;
  unsigned generated_ = 0;
};

// A name XML accepts as the local part of an element or attribute. Bytes above 0x7F are taken as
// name characters: the text is checked as UTF-8 when it is written, and the names of a service
// description are ASCII in practice.
bool IsXmlName(std::string_view name) {
  if (name.empty()) return false;
  auto isStart = [](unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c >= 0x80;
  };
  if (!isStart(static_cast<unsigned char>(name[0]))) return false;
  for (unsigned char c : name) {
    if (!isStart(c) && !(c >= '0' && c <= '9') && c != '-' && c != '.') return false;
  }
  return true;
}

bool IsNilAttribute(const SOAPQName& key) {
  return View(key.GetName()) == "nil" && (View(key.GetNamespace()) == ns::kSchemaInstance ||
                                          View(key.GetNamespace()) == ns::kSchemaInstance1999);
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

    out_.append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    NewLine();
    out_.append("<SOAP-ENV:Envelope");
    prefixes_.WriteDeclarations(out_);
    out_.push_back('>');
    NewLine();
    Indent(1);
    out_.append("<SOAP-ENV:Body>");
    NewLine();
    WriteTree(method, bodyName);
    Indent(1);
    out_.append("</SOAP-ENV:Body>");
    NewLine();
    out_.append("</SOAP-ENV:Envelope>");
    NewLine();
  }

 private:
  struct Frame {
    const SOAPParameter* element;
    uint32_t nextChild;
  };

  SOAPQName BodyElementName(const SOAPMethod& method) const {
    const SOAPQName& elementName = method.GetSoapElementName();
    if (!document_ || elementName.GetName().Length() == 0) return method.GetName();
    // A document element named without a namespace lives in the method's.
    return SOAPQName(elementName.GetName().CStr(), elementName.GetNamespace().Length() != 0
                                                       ? elementName.GetNamespace().CStr()
                                                       : method.GetName().GetNamespace().CStr());
  }

  void CollectNamespaces(const SOAPMethod& method, const SOAPQName& bodyName) {
    prefixes_.Use(bodyName.GetNamespace());
    std::vector<const SOAPParameter*> pending{&method};
    while (!pending.empty()) {
      const SOAPParameter* element = pending.back();
      pending.pop_back();
      if (document_ && element != &method) prefixes_.Use(element->GetName().GetNamespace());
      const auto& attributes = element->GetAttributes();
      for (auto it = attributes.Begin(); it != attributes.End(); ++it) {
        prefixes_.Use(it.Key().GetNamespace());
        prefixes_.Use(it.Value().GetNamespace());
      }
      for (const SOAPParameter* child : element->GetParams()) pending.push_back(child);
    }
  }

  void WriteTree(const SOAPMethod& method, const SOAPQName& bodyName) {
    std::vector<Frame> open;
    if (OpenElement(method, bodyName, 2, true)) open.push_back({&method, 0});
    while (!open.empty()) {
      Frame& frame = open.back();
      const auto& children = frame.element->GetParams();
      if (frame.nextChild < children.Size()) {
        const SOAPParameter* child = children[frame.nextChild++];
        if (OpenElement(*child, child->GetName(), open.size() + 2, false)) {
          open.push_back({child, 0});
        }
        continue;
      }
      const SOAPParameter* element = frame.element;
      open.pop_back();
      Indent(open.size() + 2);
      CloseTag(element == &method ? bodyName : element->GetName(), element == &method);
      NewLine();
    }
  }

  // Writes the start of an element and, when it has no children, all of it. True when children
  // follow and the element must be closed after them.
  bool OpenElement(const SOAPParameter& element, const SOAPQName& name, size_t depth, bool isBody) {
    Indent(depth);
    out_.push_back('<');
    AppendName(name, isBody || document_);
    WriteAttributes(element);
    if (isBody && !document_) {
      out_.append(" SOAP-ENV:encodingStyle=\"").append(ns::kEncoding).push_back('"');
    }
    if (element.IsNull()) {
      out_.append(" xsi:nil=\"true\"/>");
      NewLine();
      return false;
    }
    const SOAPString& text = element.GetString();
    if (element.GetParams().IsEmpty()) {
      if (text.Length() == 0) {
        out_.append("/>");
      } else {
        out_.push_back('>');
        AppendText(text, name, EscapeContext::kText);
        CloseTag(name, isBody);
      }
      NewLine();
      return false;
    }
    out_.push_back('>');
    if (text.Length() != 0) {
      AppendText(text, name, EscapeContext::kText);
    } else {
      NewLine();
    }
    return true;
  }

  // The name was checked when the element was opened.
  void CloseTag(const SOAPQName& name, bool isBody) {
    out_.append("</");
    AppendCheckedName(name, isBody || document_);
    out_.push_back('>');
  }

  void WriteAttributes(const SOAPParameter& element) {
    const auto& attributes = element.GetAttributes();
    for (auto it = attributes.Begin(); it != attributes.End(); ++it) {
      const SOAPQName& key = it.Key();
      // Nil is written from the element's mark alone, so that a copied element never carries it
      // twice or contradicts its mark.
      if (IsNilAttribute(key)) continue;
      out_.push_back(' ');
      AppendName(key, true);
      out_.append("=\"");
      const SOAPQName& value = it.Value();
      std::string_view prefix = prefixes_.PrefixOf(View(value.GetNamespace()));
      std::string_view text = View(value.GetName());
      if (!prefix.empty()) {
        out_.append(prefix).push_back(':');
        // A value read from an answer keeps the prefix it had there ("xsd:int[3]"); only ours
        // is declared here.
        size_t colon = text.find(':');
        if (colon != std::string_view::npos && colon < text.find('['))
          text.remove_prefix(colon + 1);
      }
      AppendText(text, key, EscapeContext::kAttribute);
      out_.push_back('"');
    }
  }

  void AppendName(const SOAPQName& name, bool qualified) {
    std::string_view local = View(name.GetName());
    if (!IsXmlName(local)) {
      throw SOAPException(
          "Can't write the element or attribute name '%.200s': it isn't an XML name",
          name.GetName().CStr());
    }
    AppendCheckedName(name, qualified);
  }
  void AppendCheckedName(const SOAPQName& name, bool qualified) {
    std::string_view prefix = qualified ? prefixes_.PrefixOf(View(name.GetNamespace())) : "";
    if (!prefix.empty()) out_.append(prefix).push_back(':');
    out_.append(View(name.GetName()));
  }

  void AppendText(const SOAPString& text, const SOAPQName& owner, EscapeContext context) {
    AppendText(View(text), owner, context);
  }
  void AppendText(std::string_view text, const SOAPQName& owner, EscapeContext context) {
    EscapeError error = AppendEscaped(out_, text.data(), text.size(), context);
    if (error.reason != nullptr) {
      throw SOAPException("Can't write the text of '%.200s': byte %zu is %s",
                          owner.GetName().CStr(), error.offset, error.reason);
    }
  }

  void NewLine() {
    if (whiteSpace_) out_.push_back('\n');
  }
  void Indent(size_t depth) {
    if (whiteSpace_) out_.append(2 * depth, ' ');
  }

  std::string& out_;
  bool document_;
  bool whiteSpace_;
  NamespacePrefixes prefixes_;
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
