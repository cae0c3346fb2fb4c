#include "tools/tssoap/wsdl_reader.h"

#include <curl/curl.h>
#include <expat.h>

#include <filesystem>

#include "tools/tssoap/file_text.h"

namespace tssoap::cli {
namespace {

// Service descriptions are kilobytes to a few megabytes; more is a mistake, not a WSDL.
constexpr size_t kMaxDocumentBytes = 16u << 20;
constexpr int kMaxDepth = 256;
constexpr size_t kMaxDocuments = 1000;
constexpr long kFetchSeconds = 60;
// expat hands names over as "namespace" kSeparator "local"; 0xFF never occurs in UTF-8.
constexpr char kSeparator = '\xff';

XmlName SplitExpatName(const char* text) {
  std::string_view name(text);
  size_t separator = name.find(kSeparator);
  if (separator == std::string_view::npos) return {"", std::string(name)};
  return {std::string(name.substr(0, separator)), std::string(name.substr(separator + 1))};
}

// Builds the element tree from expat's callbacks.
class TreeBuilder {
 public:
  TreeBuilder(XML_Parser parser, const std::string& location)
      : parser_(parser), location_(location) {}

  std::unique_ptr<XmlElement> Parse(std::string_view text) {
    XML_SetUserData(parser_, this);
    XML_SetElementHandler(parser_, &TreeBuilder::Start, &TreeBuilder::End);
    XML_SetNamespaceDeclHandler(parser_, &TreeBuilder::Prefix, nullptr);
    // No entity is ever declared, so none can be expanded (WSDLs have no use for them).
    XML_SetEntityDeclHandler(parser_, &TreeBuilder::Entity);
    if (XML_Parse(parser_, text.data(), static_cast<int>(text.size()), XML_TRUE) ==
            XML_STATUS_ERROR &&
        problem_.empty()) {
      problem_ = XML_ErrorString(XML_GetErrorCode(parser_));
    }
    if (!problem_.empty()) {
      throw WsdlError(location_ + ":" + std::to_string(XML_GetCurrentLineNumber(parser_)) +
                      ": not a readable XML document: " + problem_);
    }
    return std::move(root_);
  }

 private:
  static void Start(void* data, const char* name, const char** attributes) {
    auto* self = static_cast<TreeBuilder*>(data);
    if (self->open_.size() >= kMaxDepth) {
      self->Stop("elements nested deeper than " + std::to_string(kMaxDepth) + " levels");
      return;
    }
    auto element = std::make_unique<XmlElement>();
    element->name = SplitExpatName(name);
    element->location = self->location_;
    element->line = static_cast<int>(XML_GetCurrentLineNumber(self->parser_));
    element->declaredPrefixes = std::move(self->pendingPrefixes_);
    self->pendingPrefixes_.clear();
    for (const char** attribute = attributes; *attribute != nullptr; attribute += 2) {
      element->attributes.emplace_back(SplitExpatName(attribute[0]), attribute[1]);
    }
    XmlElement* raw = element.get();
    if (self->open_.empty()) {
      self->root_ = std::move(element);
    } else {
      raw->parent = self->open_.back();
      self->open_.back()->children.push_back(std::move(element));
    }
    self->open_.push_back(raw);
  }

  static void End(void* data, const char*) {
    auto* self = static_cast<TreeBuilder*>(data);
    if (!self->open_.empty()) self->open_.pop_back();
  }

  static void Prefix(void* data, const char* prefix, const char* uri) {
    static_cast<TreeBuilder*>(data)->pendingPrefixes_.emplace_back(prefix ? prefix : "",
                                                                   uri ? uri : "");
  }

  static void Entity(void* data, const char*, int, const char*, int, const char*, const char*,
                     const char*, const char*) {
    static_cast<TreeBuilder*>(data)->Stop("it declares entities");
  }

  void Stop(std::string problem) {
    if (problem_.empty()) problem_ = std::move(problem);
    XML_StopParser(parser_, XML_FALSE);
  }

  XML_Parser parser_;
  const std::string& location_;
  std::unique_ptr<XmlElement> root_;
  std::vector<XmlElement*> open_;
  std::vector<std::pair<std::string, std::string>> pendingPrefixes_;
  std::string problem_;
};

bool IsAddress(std::string_view location) {
  return location.rfind("http://", 0) == 0 || location.rfind("https://", 0) == 0;
}

size_t Collect(char* data, size_t size, size_t count, void* target) {
  auto* text = static_cast<std::string*>(target);
  if (text->size() + size * count > kMaxDocumentBytes) return 0;  // ends the transfer
  text->append(data, size * count);
  return size * count;
}

std::string FetchAddress(const std::string& address) {
  std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), curl_easy_cleanup);
  if (!curl) throw WsdlError(address + ": can't set up the transfer");
  std::string text;
  char error[CURL_ERROR_SIZE] = "";
  curl_easy_setopt(curl.get(), CURLOPT_URL, address.c_str());
  curl_easy_setopt(curl.get(), CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl.get(), CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl.get(), CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_MAXREDIRS, 5L);
  curl_easy_setopt(curl.get(), CURLOPT_FAILONERROR, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, kFetchSeconds);
  curl_easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl.get(), CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(curl.get(), CURLOPT_ERRORBUFFER, error);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, &Collect);
  curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &text);
  CURLcode code = curl_easy_perform(curl.get());
  if (code == CURLE_WRITE_ERROR) {
    throw WsdlError(address + ": larger than 16 MiB, which is no service description");
  }
  if (code != CURLE_OK) {
    throw WsdlError(address + ": can't fetch it: " +
                    (error[0] != '\0' ? std::string(error) : curl_easy_strerror(code)));
  }
  return text;
}

std::string ResolveAddress(const std::string& base, const std::string& location) {
  std::unique_ptr<CURLU, void (*)(CURLU*)> url(curl_url(), curl_url_cleanup);
  char* resolved = nullptr;
  if (!url || curl_url_set(url.get(), CURLUPART_URL, base.c_str(), 0) != CURLUE_OK ||
      curl_url_set(url.get(), CURLUPART_URL, location.c_str(), 0) != CURLUE_OK ||
      curl_url_get(url.get(), CURLUPART_URL, &resolved, 0) != CURLUE_OK) {
    return location;
  }
  std::string text = resolved;
  curl_free(resolved);
  return text;
}

}  // namespace

const std::string* XmlElement::Attribute(std::string_view local, std::string_view ns) const {
  for (const auto& [name, value] : attributes) {
    if (name.local == local && name.ns == ns) return &value;
  }
  return nullptr;
}

std::vector<const XmlElement*> XmlElement::Children(std::string_view ns,
                                                    std::string_view local) const {
  std::vector<const XmlElement*> found;
  for (const auto& child : children) {
    if (child->name.ns == ns && (local.empty() || child->name.local == local)) {
      found.push_back(child.get());
    }
  }
  return found;
}

const XmlElement* XmlElement::Child(std::string_view ns, std::string_view local) const {
  for (const auto& child : children) {
    if (child->name.Is(ns, local)) return child.get();
  }
  return nullptr;
}

std::optional<std::string> XmlElement::NamespaceOf(std::string_view prefix) const {
  if (prefix == "xml") return std::string("http://www.w3.org/XML/1998/namespace");
  for (const XmlElement* element = this; element != nullptr; element = element->parent) {
    for (const auto& [declared, ns] : element->declaredPrefixes) {
      if (declared == prefix) return ns;
    }
  }
  if (prefix.empty()) return std::string();
  return std::nullopt;
}

std::optional<XmlName> XmlElement::ResolveQName(std::string_view value) const {
  size_t first = value.find_first_not_of(" \t\r\n");
  size_t last = value.find_last_not_of(" \t\r\n");
  value =
      first == std::string_view::npos ? std::string_view() : value.substr(first, last - first + 1);
  size_t colon = value.find(':');
  std::string_view prefix =
      colon == std::string_view::npos ? std::string_view() : value.substr(0, colon);
  std::optional<std::string> ns = NamespaceOf(prefix);
  if (!ns) return std::nullopt;
  return XmlName{*ns,
                 std::string(colon == std::string_view::npos ? value : value.substr(colon + 1))};
}

std::optional<std::string> XmlElement::PrefixOf(std::string_view ns) const {
  for (const XmlElement* element = this; element != nullptr; element = element->parent) {
    for (const auto& [prefix, declared] : element->declaredPrefixes) {
      if (declared == ns && !prefix.empty() && NamespaceOf(prefix) == declared) return prefix;
    }
  }
  return std::nullopt;
}

std::unique_ptr<XmlElement> ParseXmlDocument(std::string_view text, const std::string& location) {
  if (text.size() > kMaxDocumentBytes) {
    throw WsdlError(location + ": larger than 16 MiB, which is no service description");
  }
  std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser(
      XML_ParserCreateNS(nullptr, kSeparator), XML_ParserFree);
  if (!parser) throw WsdlError(location + ": can't set up the XML parser");
  std::unique_ptr<XmlElement> root = TreeBuilder(parser.get(), location).Parse(text);
  if (!root) throw WsdlError(location + ": the document has no element");
  return root;
}

std::string FetchDocument(const std::string& location) {
  return IsAddress(location)
             ? FetchAddress(location)
             : ReadCappedFile<WsdlError>(location, kMaxDocumentBytes, "service description");
}

std::string ResolveLocation(const std::string& base, const std::string& location) {
  if (IsAddress(location)) return location;
  if (IsAddress(base)) return ResolveAddress(base, location);
  std::filesystem::path path(location.rfind("file://", 0) == 0 ? location.substr(7) : location);
  if (path.is_relative()) path = std::filesystem::path(base).parent_path() / path;
  // Normal form, so that "./a.xsd" and "a.xsd" are one document and imports can't go round.
  return path.lexically_normal().string();
}

WsdlDocumentSet::WsdlDocumentSet(const std::string& location) {
  const XmlElement* root = Load(location, nullptr);
  if (root->name.Is(kWsdlNamespace, "definitions")) {
    AddDefinitions(*root);
  } else if (root->name.Is(kSchemaNamespace, "schema")) {
    throw WsdlError(location + ": an XML Schema, not a WSDL document");
  } else {
    throw WsdlError(root->Place() + ": the document element is {" + root->name.ns + "}" +
                    root->name.local + ", not the WSDL 1.1 definitions");
  }
}

const XmlElement* WsdlDocumentSet::Load(const std::string& location, const XmlElement* reference) {
  if (auto known = documents_.find(location); known != documents_.end()) return nullptr;
  if (documents_.size() >= kMaxDocuments) {
    throw WsdlError(reference->Place() + ": imports more than " + std::to_string(kMaxDocuments) +
                    " documents, which is no service description");
  }
  std::string text;
  try {
    text = FetchDocument(location);
  } catch (const WsdlError& error) {
    if (reference == nullptr) throw;
    throw WsdlError(reference->Place() + ": imports " + error.what());
  }
  std::unique_ptr<XmlElement> root = ParseXmlDocument(text, location);
  const XmlElement* raw = root.get();
  documents_.emplace(location, std::move(root));
  return raw;
}

void WsdlDocumentSet::AddDefinitions(const XmlElement& definitions) {
  definitions_.push_back(&definitions);
  for (const XmlElement* types : definitions.Children(kWsdlNamespace, "types")) {
    for (const XmlElement* schema : types->Children(kSchemaNamespace, "schema")) {
      const std::string* tns = schema->Attribute("targetNamespace");
      AddSchema(*schema, tns ? *tns : "");
    }
  }
  for (const XmlElement* import : definitions.Children(kWsdlNamespace, "import")) {
    const std::string* location = import->Attribute("location");
    if (location == nullptr) continue;
    const XmlElement* root = Load(ResolveLocation(definitions.location, *location), import);
    if (root == nullptr) continue;
    if (root->name.Is(kWsdlNamespace, "definitions")) {
      AddDefinitions(*root);
    } else if (root->name.Is(kSchemaNamespace, "schema")) {
      const std::string* tns = root->Attribute("targetNamespace");
      AddSchema(*root, tns ? *tns : "");
    } else {
      throw WsdlError(import->Place() + ": imports " + root->location +
                      ", which is neither a WSDL document nor an XML Schema");
    }
  }
}

void WsdlDocumentSet::AddSchema(const XmlElement& schema, std::string targetNamespace) {
  schemas_.push_back({&schema, targetNamespace});
  for (const auto& child : schema.children) {
    bool include =
        child->name.Is(kSchemaNamespace, "include") || child->name.Is(kSchemaNamespace, "redefine");
    if (!include && !child->name.Is(kSchemaNamespace, "import")) continue;
    const std::string* location = child->Attribute("schemaLocation");
    if (location == nullptr) continue;  // a namespace known otherwise (inline, or SOAP's own)
    const XmlElement* root = Load(ResolveLocation(schema.location, *location), child.get());
    if (root == nullptr) continue;
    if (!root->name.Is(kSchemaNamespace, "schema")) {
      throw WsdlError(child->Place() + ": " + root->location + " is no XML Schema");
    }
    const std::string* tns = root->Attribute("targetNamespace");
    // An included schema without a target namespace takes the including schema's.
    AddSchema(*root, tns ? *tns : include ? targetNamespace : "");
  }
}

}  // namespace tssoap::cli
