#include "easysoap/src/fault_text.h"

#include <algorithm>

namespace easysoap_internal {

namespace {

constexpr std::string_view kCodeOpen = "<tssp_fcode>";
constexpr std::string_view kCodeClose = "</tssp_fcode>";
constexpr std::string_view kStringOpen = "<tssp_fstring>";
constexpr std::string_view kStringClose = "</tssp_fstring>";
constexpr std::string_view kDetailOpen = "<tssp_fdetailmessage>";
constexpr std::string_view kDetailClose = "</tssp_fdetailmessage>";

// text cut to at most room bytes, without splitting a UTF-8 sequence.
std::string_view Cut(std::string_view text, size_t room) {
  if (text.size() <= room) return text;
  size_t end = room;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

}  // namespace

std::string PackFaultText(std::string_view code, std::string_view string, std::string_view detail,
                          size_t limit) {
  const size_t tags = kCodeOpen.size() + kCodeClose.size() + kStringOpen.size() +
                      kStringClose.size() + kDetailOpen.size() + kDetailClose.size();
  size_t room = limit > tags ? limit - tags : 0;
  code = Cut(code, room);
  room -= code.size();
  string = Cut(string, room);
  room -= string.size();
  detail = Cut(detail, room);

  std::string packed;
  packed.reserve(std::min(limit, tags + code.size() + string.size() + detail.size()));
  packed.append(kCodeOpen).append(code).append(kCodeClose);
  packed.append(kStringOpen).append(string).append(kStringClose);
  packed.append(kDetailOpen).append(detail).append(kDetailClose);
  return packed;
}

}  // namespace easysoap_internal
