#include "easysoap/src/fault_text.h"

#include <algorithm>

#include "support/values/fault_tags.h"
#include "support/values/packed_fault_escape.h"

namespace easysoap_internal {

namespace {

using tssoap::kDetailMessageClose;
using tssoap::kDetailMessageOpen;
using tssoap::kFaultCodeClose;
using tssoap::kFaultCodeOpen;
using tssoap::kFaultStringClose;
using tssoap::kFaultStringOpen;

// text cut to at most room bytes, without splitting a UTF-8 sequence.
std::string_view Cut(std::string_view text, size_t room) {
  if (text.size() <= room) return text;
  size_t end = room;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

// The part escaped and cut so that the escaped text fits room, cut between characters of the
// part itself, never inside an escape.
std::string EscapedWithin(std::string_view part, size_t room) {
  std::string escaped = packed_fault_escape::Escape(part);
  while (escaped.size() > room) {
    part = Cut(part, part.size() - std::min(part.size(), escaped.size() - room));
    escaped = packed_fault_escape::Escape(part);
  }
  return escaped;
}

}  // namespace

std::string PackFaultText(std::string_view code, std::string_view string, std::string_view detail,
                          size_t limit) {
  const size_t tags = kFaultCodeOpen.size() + kFaultCodeClose.size() + kFaultStringOpen.size() +
                      kFaultStringClose.size() + kDetailMessageOpen.size() +
                      kDetailMessageClose.size();
  size_t room = limit > tags ? limit - tags : 0;
  const std::string escapedCode = EscapedWithin(code, room);
  room -= escapedCode.size();
  const std::string escapedString = EscapedWithin(string, room);
  room -= escapedString.size();
  const std::string escapedDetail = EscapedWithin(detail, room);

  std::string packed;
  packed.reserve(tags + escapedCode.size() + escapedString.size() + escapedDetail.size());
  packed.append(kFaultCodeOpen).append(escapedCode).append(kFaultCodeClose);
  packed.append(kFaultStringOpen).append(escapedString).append(kFaultStringClose);
  packed.append(kDetailMessageOpen).append(escapedDetail).append(kDetailMessageClose);
  return packed;
}

}  // namespace easysoap_internal
