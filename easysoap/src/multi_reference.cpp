#include "easysoap/src/multi_reference.h"

#include <utility>

#include "support/values/soap_exception.h"

namespace easysoap_internal {

namespace {

// Ids are shown up to 200 bytes.
int Shown(std::string_view id) { return static_cast<int>(id.size() < 200 ? id.size() : 200); }

}  // namespace

void MultiReferences::AddId(std::string_view id, SOAPParameter* element) {
  if (!ids_.emplace(id, element).second) {
    throw SOAPException("The answer gives the id '%.*s' to more than one element", Shown(id),
                        id.data());
  }
}

void MultiReferences::AddReference(SOAPParameter* element, std::string_view id) {
  referenceOf_.emplace(element, references_.size());
  references_.push_back({element, id});
}

void MultiReferences::Resolve(SOAPParameter& body, uint32_t bodyLevel, uint32_t maxDepth,
                              uint32_t maxElements) {
  // Resolved data per reference; a chain is walked once and all its links get the end's data.
  enum State : uint8_t { kOpen, kWalking, kDone };
  std::vector<State> state(references_.size(), kOpen);
  std::vector<SOAPParameter::Data*> resolved(references_.size(), nullptr);
  std::vector<size_t> chain;
  for (size_t start = 0; start < references_.size(); ++start) {
    if (state[start] == kDone) continue;
    chain.clear();
    size_t current = start;
    SOAPParameter::Data* data = nullptr;
    for (;;) {
      if (state[current] == kDone) {
        data = resolved[current];
        break;
      }
      if (state[current] == kWalking) {
        std::string_view id = references_[current].id;
        throw SOAPException("The references of the answer form a cycle through '#%.*s'", Shown(id),
                            id.data());
      }
      state[current] = kWalking;
      chain.push_back(current);
      auto target = ids_.find(references_[current].id);
      if (target == ids_.end()) {
        std::string_view id = references_[current].id;
        throw SOAPException("The reference '#%.*s' in the answer points at no element", Shown(id),
                            id.data());
      }
      auto next = referenceOf_.find(target->second);
      if (next == referenceOf_.end()) {
        // Pointing at the data changes nothing in it (nor counts as a change).
        data = const_cast<SOAPParameter::Data*>(&std::as_const(*target->second).GetValue());
        break;
      }
      current = next->second;
    }
    for (size_t link : chain) {
      state[link] = kDone;
      resolved[link] = data;
      references_[link].element->PointValueAt(data);
    }
  }
  CheckExpansion(body, bodyLevel, maxDepth, maxElements);
}

void MultiReferences::CheckExpansion(const SOAPParameter& body, uint32_t bodyLevel,
                                     uint32_t maxDepth, uint32_t maxElements) const {
  // Depth and element count of every value, each computed once (post-order, explicit stack):
  // elements(d) = sum over children of 1 + elements(child), depth(d) = 1 + max over children.
  struct Info {
    bool done = false;
    uint64_t elements = 0;
    uint32_t depth = 0;
  };
  struct Frame {
    const SOAPParameter::Data* data;
    uint32_t nextChild;
  };
  std::unordered_map<const SOAPParameter::Data*, Info> infos;
  std::vector<Frame> stack{{&body.GetValue(), 0}};
  infos[&body.GetValue()];
  while (!stack.empty()) {
    Frame& frame = stack.back();
    if (frame.nextChild < frame.data->children.Size()) {
      const SOAPParameter::Data* child =
          &std::as_const(*frame.data->children[frame.nextChild++]).GetValue();
      auto [it, inserted] = infos.try_emplace(child);
      if (inserted) {
        stack.push_back({child, 0});
      } else if (!it->second.done) {
        throw SOAPException("The references of the answer make a value contain itself");
      }
      continue;
    }
    Info total;
    for (const SOAPParameter* child : frame.data->children) {
      const Info& info = infos[&child->GetValue()];
      total.elements += 1 + info.elements;
      if (info.depth + 1 > total.depth) total.depth = info.depth + 1;
    }
    total.done = true;
    if (total.elements > maxElements) {
      throw SOAPException("The answer's references expand to more than the limit of %u elements",
                          maxElements);
    }
    if (uint64_t{total.depth} + bodyLevel > maxDepth) {
      throw SOAPException("The answer's references nest values deeper than the limit of %u levels",
                          maxDepth);
    }
    infos[frame.data] = total;
    stack.pop_back();
  }
}

}  // namespace easysoap_internal
