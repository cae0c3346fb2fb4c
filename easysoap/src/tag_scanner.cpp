#include "easysoap/src/tag_scanner.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace easysoap_internal {

uint64_t TagScanner::Scan(const char* data, size_t size) {
  size_t i = 0;
  while (i < size && found_ == kNone) {
    if (state_ == State::kSkipped) {
      i = Skipped(data, size, i);
      continue;
    }
    if (state_ == State::kOpening) {
      Step(data[i], done_ + i);
      ++i;
      continue;
    }
    const char* next = static_cast<const char*>(std::memchr(data + i, '<', size - i));
    size_t at = next != nullptr ? static_cast<size_t>(next - data) : size;
    if (state_ == State::kTag && (next == nullptr || done_ + at - tagStart_ > limit_)) {
      // A tag still open at the end of the piece, or followed by more than limit bytes without a
      // "<": byte by byte, until a ">" ends it or the limit does.
      for (; i < at && state_ == State::kTag && found_ == kNone; ++i) Step(data[i], done_ + i);
      continue;
    }
    if (next == nullptr) break;
    i = at + 1;
    if (i < size && data[i] != '!' && data[i] != '?') {
      // The usual case: a start or end tag, whose bytes are read from i on.
      tagStart_ = done_ + at;
      quote_ = '\0';
      state_ = State::kTag;
    } else {
      state_ = State::kText;
      Step('<', done_ + at);
    }
  }
  done_ += size;
  return found_;
}

size_t TagScanner::Skipped(const char* data, size_t size, size_t i) {
  // Only a ">" can end the section: the bytes before it tell whether the close is complete.
  const void* found = std::memchr(data + i, '>', size - i);
  const size_t end =
      found != nullptr ? static_cast<size_t>(static_cast<const char*>(found) - data) : size;
  uint8_t run = 0;  // repeats of the close's first character right before end
  while (run < closeRepeats_ && end - run > i && data[end - run - 1] == closeRepeat_) ++run;
  if (run == end - i) run = static_cast<uint8_t>(std::min<size_t>(closeRepeats_, run + matched_));
  if (found == nullptr) {
    matched_ = run;
    return size;
  }
  matched_ = 0;
  if (run == closeRepeats_) state_ = State::kText;
  return end + 1;
}

uint64_t TagScanner::ScanLast(const char* data, size_t size) {
  // A document no longer than the limit has no tag longer than it: an answer read in one go
  // (most are) needn't be looked at.
  if (done_ + size <= limit_) return kNone;
  const uint64_t found = Scan(data, size);
  return found != kNone ? found : End();
}

uint64_t TagScanner::End() {
  if (state_ == State::kOpening && found_ == kNone) OpenTag();
  return found_;
}

void TagScanner::Step(char c, uint64_t offset) {
  switch (state_) {
    case State::kText:
      if (c == '<') {
        tagStart_ = offset;
        openingLength_ = 0;
        state_ = State::kOpening;
      }
      return;
    case State::kOpening: {
      opening_[openingLength_++] = c;
      std::string_view seen(opening_, openingLength_);
      if (seen == "?") {
        Skip('?', 1, 0);
      } else if (seen == "!--") {
        Skip('-', 2, 2);  // the close may begin right after "<!", as in "<!-->"
      } else if (seen == "![CDATA[") {
        Skip(']', 2, 0);
      } else if (!std::string_view("!--").starts_with(seen) &&
                 !std::string_view("![CDATA[").starts_with(seen)) {
        OpenTag();
      }
      return;
    }
    case State::kTag:
      if (c == '<') {
        state_ = State::kText;
        Step(c, offset);
      } else if (offset - tagStart_ >= limit_) {
        found_ = tagStart_;
      } else if (quote_ != '\0') {
        if (c == quote_) quote_ = '\0';
      } else if (c == '"' || c == '\'') {
        quote_ = c;
      } else if (c == '>') {
        state_ = State::kText;
      }
      return;
    case State::kSkipped:
      if (c == '>' && matched_ == closeRepeats_) {
        state_ = State::kText;
      } else if (c == closeRepeat_) {
        if (matched_ < closeRepeats_) ++matched_;
      } else {
        matched_ = 0;
      }
      return;
  }
}

void TagScanner::OpenTag() {
  char opening[sizeof opening_];
  const uint8_t length = openingLength_;
  std::memcpy(opening, opening_, sizeof opening);  // all of it: the length is at most its size
  uint64_t start = tagStart_;
  state_ = State::kTag;
  quote_ = '\0';
  for (uint8_t k = 0; k < length && found_ == kNone; ++k) Step(opening[k], start + 1 + k);
}

void TagScanner::Skip(char repeat, uint8_t repeats, uint8_t matched) {
  state_ = State::kSkipped;
  closeRepeat_ = repeat;
  closeRepeats_ = repeats;
  matched_ = matched;
}

}  // namespace easysoap_internal
