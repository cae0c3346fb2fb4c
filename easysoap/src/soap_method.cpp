#include "easysoap/soap_method.h"

#include "easysoap/src/message_store.h"

using easysoap_internal::MessageStore;

namespace {

// The blocks a request's storage keeps for the thread's next request, at most.
constexpr size_t kKeptRequestBytes = 4 * 1024 * 1024;
// The blocks a response's storage keeps for the next answer, at most: an answer of the size of
// the last finds its storage ready instead of taking it from the system and giving it back each
// time (a part kept would leave the heap's top to be given back and taken again, page by page).
constexpr size_t kKeptAnswerBytes = 4 * 1024 * 1024;

// The storage of the thread's last request, rewound, for its next.
thread_local std::unique_ptr<MessageStore> spareRequestStore;

// Whether an element of a tree begun at changesAtStart may hold a part outside its storage: some
// element of any storage was changed in a way that may have given it one since.
bool MayHoldOutside(uint64_t changesAtStart) {
  return easysoap_internal::OutsideChanges().load(std::memory_order_relaxed) != changesAtStart;
}

}  // namespace

SOAPMethod::SOAPMethod(const char* name, const char* ns, const char* soapAction, bool /*flag*/)
    : soapAction_(soapAction),
      store_(std::move(spareRequestStore)),
      changesAtStart_(easysoap_internal::OutsideChanges().load(std::memory_order_relaxed)) {
  if (store_ == nullptr) store_ = std::make_unique<MessageStore>();
  SetName(name, ns);
}

SOAPMethod::~SOAPMethod() {
  // The tree goes first: its elements live in the storage.
  ReleaseStored(MayHoldOutside(changesAtStart_));
  store_->Rewind(kKeptRequestBytes);
  if (spareRequestStore == nullptr) spareRequestStore = std::move(store_);
}

void SOAPMethod::SetSoapElementName(const char* name, const char* ns) {
  soapElementName_.Set(name, ns);
}

SOAPResponse::SOAPResponse() = default;
SOAPResponse::~SOAPResponse() = default;

const SOAPParameter& SOAPResponse::GetMethod() const {
  const auto& children = body_.GetParams();
  return children.IsEmpty() ? empty_ : *children[0];
}

void SOAPResponse::Reset() {
  // In place: no empty element made and copied.
  body_.Reset(store_ == nullptr || MayHoldOutside(changesAtStart_));
  if (store_ != nullptr) store_->Rewind(kKeptAnswerBytes);
  changesAtStart_ = easysoap_internal::OutsideChanges().load(std::memory_order_relaxed);
}

easysoap_internal::MessageStore& SOAPResponse::Store() {
  if (store_ == nullptr) store_ = std::make_unique<easysoap_internal::MessageStore>();
  return *store_;
}
