// Multi-reference values of SOAP 1.1 encoding: an element with href="#id" stands for the element
// that carries id="id", anywhere in the Body. The parser records both kinds while it reads and
// resolves them once the whole Body is there, so that forward references work.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "easysoap/soap_parameter.h"

namespace easysoap_internal {

class MultiReferences {
 public:
  // Throws SOAPException when the id was given before. The texts of ids must stay as long as
  // this object (the parser's are in the response's storage).
  void AddId(std::string_view id, SOAPParameter* element);
  // id is the text behind the "#".
  void AddReference(SOAPParameter* element, std::string_view id);
  // Bytes the records take, for the parser's memory limit.
  size_t Footprint() const { return (ids_.size() + references_.size()) * kBytesPerRecord; }
  bool HasReferences() const { return !references_.empty(); }

  // Points each referring element's value at its target's data (following references that point
  // at references). Throws SOAPException for a reference to no element, for references that form
  // a cycle, and when the Body (at level bodyLevel of the document), with every reference
  // expanded as a reader walks it, would nest elements deeper than maxDepth or hold more than
  // maxElements elements: shared values must not let a small answer grow into a huge or endless
  // tree.
  void Resolve(SOAPParameter& body, uint32_t bodyLevel, uint32_t maxDepth, uint32_t maxElements);

 private:
  // A generous figure for one id or reference with its map node and bucket share.
  static constexpr size_t kBytesPerRecord = 96;

  struct Reference {
    SOAPParameter* element;
    std::string_view id;
  };

  SOAPParameter::Data* TargetData(size_t reference);
  void CheckExpansion(const SOAPParameter& body, uint32_t bodyLevel, uint32_t maxDepth,
                      uint32_t maxElements) const;

  std::unordered_map<std::string_view, SOAPParameter*> ids_;
  std::vector<Reference> references_;
  // The references by referring element, to follow a reference that points at another one.
  std::unordered_map<const SOAPParameter*, size_t> referenceOf_;
};

}  // namespace easysoap_internal
