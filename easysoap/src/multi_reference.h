// Multi-reference values of SOAP 1.1 encoding: an element with href="#id" stands for the element
// that carries id="id", anywhere in the Body. The parser records both kinds while it reads and
// resolves them once the whole Body is there, so that forward references work.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "easysoap/soap_parameter.h"

namespace easysoap_internal {

class MultiReferences {
 public:
  // Throws SOAPException when the id was given before.
  void AddId(const char* id, SOAPParameter* element);
  // id is the text behind the "#".
  void AddReference(SOAPParameter* element, const char* id);
  bool HasReferences() const { return !references_.empty(); }

  // Points each referring element's value at its target's data (following references that point
  // at references). Throws SOAPException for a reference to no element, for references that form
  // a cycle, and when the Body (at level bodyLevel of the document), with every reference
  // expanded as a reader walks it, would nest elements deeper than maxDepth or hold more than
  // maxElements elements: shared values must not let a small answer grow into a huge or endless
  // tree.
  void Resolve(SOAPParameter& body, uint32_t bodyLevel, uint32_t maxDepth, uint32_t maxElements);

 private:
  struct Reference {
    SOAPParameter* element;
    std::string id;
  };

  SOAPParameter::Data* TargetData(size_t reference);
  void CheckExpansion(const SOAPParameter& body, uint32_t bodyLevel, uint32_t maxDepth,
                      uint32_t maxElements) const;

  std::unordered_map<std::string, SOAPParameter*> ids_;
  std::vector<Reference> references_;
  // The references by referring element, to follow a reference that points at another one.
  std::unordered_map<const SOAPParameter*, size_t> referenceOf_;
};

}  // namespace easysoap_internal
