// TagScanner: finds a start or end tag longer than a limit in a document that arrives in pieces,
// before the XML parser sees the piece. Expat reads a whole tag before it reports it, so one huge
// tag would cost its memory and time before any handler could object. Only for documents in an
// encoding that writes markup in ASCII bytes.
//
// A tag holds no "<" (not even in a quoted value), so a tag ends at its first ">" outside quoted
// values or at the next "<", whichever comes first; comments, CDATA sections and processing
// instructions are skipped. Only a tag still open at the end of a piece, or followed by more than
// limit bytes without a "<", is looked at byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>

namespace easysoap_internal {

class TagScanner {
 public:
  static constexpr uint64_t kNone = UINT64_MAX;

  explicit TagScanner(size_t limit = SIZE_MAX) : limit_(limit) {}

  // Reads the next piece of the document; returns the offset in the whole document at which an
  // overlong tag begins, or kNone.
  uint64_t Scan(const char* data, size_t size);
  // The document ended; returns what Scan does.
  uint64_t End();
  // Scan of the document's last piece, then End.
  uint64_t ScanLast(const char* data, size_t size);

 private:
  enum class State : uint8_t { kText, kOpening, kTag, kSkipped };

  // Reads a skipped section from data[i] up to its next ">"; returns where to go on.
  size_t Skipped(const char* data, size_t size, size_t i);
  // Reads one byte at offset, whatever the state.
  void Step(char c, uint64_t offset);
  // The opening read so far turned out to be a tag's: its bytes are read as the tag's.
  void OpenTag();
  void Skip(char repeat, uint8_t repeats, uint8_t matched);

  uint64_t limit_;
  uint64_t done_ = 0;  // offset of the piece being read
  uint64_t found_ = kNone;
  State state_ = State::kText;
  uint64_t tagStart_ = 0;  // the "<" of the tag, opening or skipped section being read
  char quote_ = '\0';      // in a tag: the quote of the value being read
  // After "<": the bytes that decide between a tag and a skipped section ("!--", "![CDATA[",
  // "?"), as long as they might still be one.
  char opening_[8] = {};
  uint8_t openingLength_ = 0;
  // In a skipped section: the close ("-->", "]]>" or "?>") and how many of its bytes before the
  // ">" came last.
  char closeRepeat_ = '\0';
  uint8_t closeRepeats_ = 0;
  uint8_t matched_ = 0;
};

}  // namespace easysoap_internal
