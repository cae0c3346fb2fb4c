// libFuzzer target for DecodeSoapArray. The input is read as lines, each adding an attribute or a
// child to an array element, so that the seeds stay readable and mutations stay structural:
//
//   arrayType <text>      an attribute of the array element; likewise nil, offset, position
//   xarrayType <text>     arrayType under the bare encoding namespace (the decoder ignores it)
//   xnil <text>           nil under the 1999 instance namespace (ignored as well)
//   indirect              from here on, attributes and children go to a second element at which
//                         the array element's value points (a multi-reference element)
//   item <text>           a child with text
//   bare                  a child without text
//   nilitem               a child marked nil
//   pos <dimension> <text>          a child with a position attribute
//   ref <own> <referenced> <text>   a child with a position of its own whose value points at an
//                                   element with another position and the text
//
// Other lines are ignored. The decoder must either fill the array within its limits or refuse
// with SOAPException; anything else (a crash, a sanitizer report, a foreign exception, a slot
// count beyond the limits, an allocation beyond -malloc_limit_mb) is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "composite/soap_array_decoder.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"

namespace {

using tssoap::kSoapEncNamespace;
using tssoap::kSoapEncNamespaceBare;
using tssoap::kXsiNamespace;

constexpr const char* kXsiNamespace1999 = "http://www.w3.org/1999/XMLSchema-instance";
// Keeps one run short: the decoder is linear, so more children find nothing new.
constexpr size_t kMaxChildren = 4096;

struct Line {
  std::string_view head;
  std::string_view rest;
};

Line Split(std::string_view line) {
  size_t blank = line.find(' ');
  if (blank == std::string_view::npos) return {line, {}};
  return {line.substr(0, blank), line.substr(blank + 1)};
}

// The attribute key a line head stands for, or null.
const SOAPQName* AttributeKey(std::string_view head, std::vector<SOAPQName>& keys) {
  struct Known {
    std::string_view head;
    const char* name;
    const char* ns;
  };
  static const Known known[] = {
      {"arrayType", "arrayType", kSoapEncNamespace},
      {"nil", "nil", kXsiNamespace},
      {"offset", "offset", kSoapEncNamespace},
      {"position", "position", kSoapEncNamespace},
      {"xarrayType", "arrayType", kSoapEncNamespaceBare},
      {"xnil", "nil", kXsiNamespace1999},
  };
  for (const Known& k : known) {
    if (k.head == head) return &keys.emplace_back(k.name, k.ns);
  }
  return nullptr;
}

class FuzzTree {
 public:
  explicit FuzzTree(std::string_view input) {
    SOAPParameter* holder = &element_;
    std::vector<SOAPQName> keys;
    size_t added = 0;
    while (!input.empty()) {
      size_t end = input.find('\n');
      std::string_view line = input.substr(0, end);
      input = end == std::string_view::npos ? std::string_view{} : input.substr(end + 1);
      Line parts = Split(line);
      if (const SOAPQName* key = AttributeKey(parts.head, keys)) {
        holder->AddAttribute(*key).SetName(std::string(parts.rest).c_str());
      } else if (parts.head == "indirect" && holder == &element_) {
        holder = Keep();
        element_.PointValueAt(&holder->GetValue());
        childCount_ = 0;  // the children added so far stay in data the decoder doesn't read
      } else if (added < kMaxChildren && AddChild(*holder, parts)) {
        ++added;
        ++childCount_;
      }
    }
  }

  const SOAPParameter& Element() const { return element_; }
  size_t ChildCount() const { return childCount_; }

 private:
  SOAPParameter* Keep() {
    kept_.push_back(std::make_unique<SOAPParameter>());
    return kept_.back().get();
  }

  bool AddChild(SOAPParameter& parent, Line parts) {
    if (parts.head == "item") {
      parent.AddParameter("item").SetString(std::string(parts.rest).c_str());
    } else if (parts.head == "bare") {
      parent.AddParameter("item");
    } else if (parts.head == "nilitem") {
      parent.AddParameter("item").SetNull(true);
    } else if (parts.head == "pos") {
      Line position = Split(parts.rest);
      SOAPParameter& child = parent.AddParameter("item");
      child.AddAttribute(tssoap::Vocabulary().position).SetName(std::string(position.head).c_str());
      child.SetString(std::string(position.rest).c_str());
    } else if (parts.head == "ref") {
      Line own = Split(parts.rest);
      Line referenced = Split(own.rest);
      SOAPParameter& child = parent.AddParameter("item");
      child.AddAttribute(tssoap::Vocabulary().position).SetName(std::string(own.head).c_str());
      SOAPParameter* content = Keep();
      content->AddAttribute(tssoap::Vocabulary().position)
          .SetName(std::string(referenced.head).c_str());
      content->SetString(std::string(referenced.rest).c_str());
      child.PointValueAt(&content->GetValue());
    } else {
      return false;
    }
    return true;
  }

  SOAPParameter element_;
  std::vector<std::unique_ptr<SOAPParameter>> kept_;
  size_t childCount_ = 0;  // children of the data in force
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzTree tree(std::string_view(reinterpret_cast<const char*>(data), size));
  XmlTextSlots slots;
  try {
    tssoap::DecodeSoapArray(tree.Element(), slots);
  } catch (const SOAPException&) {
    return 0;
  }
  // A decoded array holds every child and no more free slots than the limits allow.
  const size_t count = slots.Size();
  if (count < tree.ChildCount()) std::abort();
  if (count > tree.ChildCount() + tssoap::kMaxUnfilledSlots) std::abort();
  if (count > tssoap::kMaxArraySlots) std::abort();
  return 0;
}
