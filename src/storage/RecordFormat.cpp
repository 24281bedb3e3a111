#include "storage/RecordFormat.h"

#include <corvid5/Platform.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "flm/Value.h"

namespace storage {
namespace {

using flm::Node;
using flm::RCODE;

// Room for any line without a text value: indentation, level, record number,
// a name of ordinary length and the longest non-text value. Longer names and
// deep indentation move the line to the heap like text does.
constexpr size_t kWorkSize = 400;
// wsprintfA writes up to this many bytes, terminator included.
constexpr size_t kPieceSize = 1024;

constexpr DWORD kCompositeCheck = 0x200;
constexpr uint32_t kNullRecPtr = 0xFFFFFFFF;

// One line under construction: in the working buffer while it fits, then in
// a heap buffer that is freed when the line has been written.
class Line {
 public:
  Line() = default;
  ~Line() { std::free(heap_); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  // False when the heap buffer could not be had; the line is kept as it was.
  bool reserve(size_t more) {
    if (more <= capacity_ - used_) return true;
    size_t want = used_ + more;
    auto* bigger = static_cast<char*>(std::malloc(want));
    if (!bigger) return false;
    std::memcpy(bigger, data_, used_);
    std::free(heap_);
    heap_ = data_ = bigger;
    capacity_ = want;
    return true;
  }

  bool append(const char* text, size_t length) {
    if (!reserve(length)) return false;
    std::memcpy(data_ + used_, text, length);
    used_ += length;
    return true;
  }
  bool append(const char* text) { return append(text, std::strlen(text)); }
  bool appendSpaces(size_t count) {
    if (!reserve(count)) return false;
    std::memset(data_ + used_, ' ', count);
    used_ += count;
    return true;
  }
  // For writers that fill reserved room directly.
  char* tail() { return data_ + used_; }
  void grow(size_t count) { used_ += count; }

  const char* data() const { return data_; }
  size_t size() const { return used_; }

 private:
  char work_[kWorkSize];
  char* data_ = work_;
  char* heap_ = nullptr;
  size_t capacity_ = kWorkSize;
  size_t used_ = 0;
};

class Output {
 public:
  virtual ~Output() = default;
  virtual RCODE write(const char* bytes, size_t length) = 0;
};

// The caller's buffer. The count of bytes written is kept in 16 bits and
// taken down by each line's full length, as the dump always did, so a dump
// that does not fit reports more than the buffer holds. The write position,
// though, is a full-width offset checked against the real capacity: a line
// is cut at the end of the buffer and, once the buffer is full, further lines
// are only counted. That keeps the reported count while never writing past
// the buffer, which the old pointer arithmetic did.
class BufferOutput : public Output {
 public:
  BufferOutput(char* buffer, uint16_t capacity)
      : buffer_(buffer), capacity_(buffer ? capacity : 0), remaining_(capacity),
        zeroFrom_(capacity_) {}

  RCODE write(const char* bytes, size_t length) override {
    size_t room = offset_ < capacity_ ? capacity_ - offset_ : 0;
    size_t copied = std::min(length, room);
    if (copied) std::memcpy(buffer_ + offset_, bytes, copied);
    // The copy zero-fills the rest of the capacity. Everything from zeroFrom_
    // on is zero already, so only the stretch before it needs filling.
    size_t end = offset_ + copied;
    if (room && end < zeroFrom_) std::memset(buffer_ + end, 0, zeroFrom_ - end);
    if (room) zeroFrom_ = end;
    remaining_ = static_cast<uint16_t>(remaining_ - length);
    offset_ += length;
    return flm::FERR_OK;
  }

  uint16_t remaining() const { return remaining_; }

 private:
  char* buffer_;
  size_t capacity_;
  uint16_t remaining_;
  size_t offset_ = 0;
  size_t zeroFrom_;
};

class StringOutput : public Output {
 public:
  explicit StringOutput(std::string* text) : text_(text) {}

  RCODE write(const char* bytes, size_t length) override {
    text_->append(bytes, length);
    return flm::FERR_OK;
  }

 private:
  std::string* text_;
};

class FileOutput : public Output {
 public:
  explicit FileOutput(int fd) : fd_(fd) {}

  RCODE write(const char* bytes, size_t length) override {
    while (length) {
      ssize_t n = ::write(fd_, bytes, length);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return n < 0 && errno == ENOSPC ? flm::FERR_IO_DISK_FULL : flm::FERR_WRITING_FILE;
      bytes += n;
      length -= static_cast<size_t>(n);
    }
    return flm::FERR_OK;
  }

 private:
  int fd_;
};

bool appendFormatted(Line& line, const char* piece, int length) {
  return line.append(piece, static_cast<size_t>(length));
}

// The text value: a space and the text in the code page, with a double quote
// at either end doubled so that the value's own quotes stand out from the
// line around them.
RCODE appendText(Line& line, const Node& field, uint32_t codePage) {
  uint32_t bytes = 0;
  RCODE rc = flm::getUnicodeLength(&field, &bytes);
  if (rc || bytes == 0) return rc;
  size_t units = bytes / 2;
  auto* wide = static_cast<WCHAR*>(std::malloc(bytes + 2));
  if (!wide) return flm::FERR_MEM;
  uint32_t got = bytes + 2;
  rc = flm::getUnicode(&field, wide, &got);
  int narrow = 0;
  if (!rc) {
    narrow = WideCharToMultiByte(codePage, kCompositeCheck, wide, static_cast<int>(units), nullptr,
                                 0, "~", nullptr);
    if (narrow <= 0) rc = flm::FERR_CONV_ILLEGAL;
  }
  // Sized by the converted text rather than by its units: in code page 0
  // (UTF-8) one unit can take three bytes. The 3 are the space and the quotes.
  if (!rc && !line.reserve(static_cast<size_t>(narrow) + 3)) rc = flm::FERR_MEM;
  if (!rc) {
    bool leading = wide[0] == '"';
    bool trailing = wide[units - 1] == '"';
    line.append(leading ? " \"" : " ");
    int written = WideCharToMultiByte(codePage, kCompositeCheck, wide, static_cast<int>(units),
                                      line.tail(), narrow, "~", nullptr);
    line.grow(static_cast<size_t>(std::max(written, 0)));
    if (trailing) line.append("\"");
  }
  std::free(wide);
  return rc;
}

// A text that ends its line early, that holds a NUL (which the loader
// refuses), or that reads as the note of a value the dump could not show,
// would not come back as itself.
bool readsBack(const Line& line, size_t valueStart) {
  const char* value = line.data() + valueStart;
  size_t length = line.size() - valueStart;
  if (std::memchr(value, '\n', length) || std::memchr(value, '\0', length)) return false;
  size_t note = std::strlen(kErrorNote);
  return length < note || std::memcmp(value, kErrorNote, note) != 0;
}

// The fewest digits, from the dump's usual six, that read back as the same
// real.
int appendRealDigits(char* piece, double value) {
  int n = 0;
  for (int digits = 6; digits <= 17; ++digits) {
    n = std::snprintf(piece, kPieceSize, " %.*g", digits, value);
    double back = std::strtod(piece + 1, nullptr);
    if (back == value || (std::isnan(back) && std::isnan(value))) break;
  }
  return n;
}

// Appends the value by its type; the code says why it could not be read.
RCODE appendValue(Line& line, const Node& field, uint32_t codePage, DumpStyle style) {
  const bool reload = style == DumpStyle::Reload;
  char piece[kPieceSize];
  RCODE rc = flm::FERR_OK;
  int n = 0;
  switch (flm::nodeType(&field)) {
    case flm::FLM_TEXT_TYPE: {
      size_t start = line.size();
      rc = appendText(line, field, codePage);
      if (!rc && reload && !readsBack(line, start)) rc = flm::FERR_CANNOT_CONVERT;
      return rc;
    }
    case flm::FLM_NUMBER_TYPE: {
      int64_t whole = 0;
      uint32_t value = 0;
      if (reload) {
        if ((rc = flm::getNumber(&field, &whole)) == flm::FERR_OK)
          n = std::snprintf(piece, sizeof piece, " %lld", static_cast<long long>(whole));
      } else if ((rc = flm::getUint32(&field, &value)) == flm::FERR_OK) {
        n = wsprintfA(piece, " %lu", value);
      }
      break;
    }
    case flm::FLM_BINARY_TYPE:
      n = wsprintfA(piece, " [-binary-]");
      break;
    case flm::FLM_CONTEXT_TYPE: {
      uint32_t drn = 0;
      if ((rc = flm::getRecPtr(&field, &drn)) == flm::FERR_OK && (reload || drn != kNullRecPtr))
        n = wsprintfA(piece, " @%lu@", drn);
      break;
    }
    case flm::FLM_REAL_TYPE: {
      double value = 0;
      if ((rc = flm::getReal(&field, &value)) == flm::FERR_OK)
        n = reload ? appendRealDigits(piece, value) : wsprintfA(piece, " %g", value);
      break;
    }
    case flm::FLM_DATE_TYPE: {
      flm::FlmDate d{};
      if ((rc = flm::getDate(&field, &d)) == flm::FERR_OK)
        n = wsprintfA(piece, " %u-%02u-%02u", unsigned{d.year}, unsigned{d.month},
                      unsigned{d.day});
      break;
    }
    case flm::FLM_TIME_TYPE: {
      flm::FlmTime t{};
      if ((rc = flm::getTime(&field, &t)) == flm::FERR_OK)
        n = wsprintfA(piece, " %u:%02u:%02u.%02u", unsigned{t.hour}, unsigned{t.minute},
                      unsigned{t.second}, unsigned{t.hundredth});
      break;
    }
    case flm::FLM_TMSTAMP_TYPE: {
      flm::FlmTimestamp s{};
      if ((rc = flm::getTimestamp(&field, &s)) == flm::FERR_OK)
        n = wsprintfA(piece, " %u-%02u-%02u %u:%02u:%02u.%02u", unsigned{s.date.year},
                      unsigned{s.date.month}, unsigned{s.date.day}, unsigned{s.time.hour},
                      unsigned{s.time.minute}, unsigned{s.time.second},
                      unsigned{s.time.hundredth});
      break;
    }
    default:
      return flm::FERR_BAD_FIELD_TYPE;
  }
  if (!rc && n > 0 && !appendFormatted(line, piece, n)) rc = flm::FERR_MEM;
  return rc;
}

// One field's line. A value that cannot be read puts its error on the line
// and the dump goes on; only the output can end it, or, in a dump that is to
// be read back, the value.
RCODE writeField(Output& out, const Node& field, unsigned level, const flm::NameTable* names,
                 uint32_t codePage, DumpStyle style) {
  Line line;
  char piece[kPieceSize];
  bool ok = line.appendSpaces(size_t{level} * 2) &&
            appendFormatted(line, piece, wsprintfA(piece, "%u ", level));
  const flm::SourceNode* source = flm::nodeSource(&field);
  if (ok && level == 0 && source && source->drn)
    ok = appendFormatted(line, piece, wsprintfA(piece, "@%lu@ ", source->drn));
  if (ok) {
    std::string name;
    if (names && names->getFromTagNum(field.tag, &name))
      ok = line.append(name.data(), name.size());
    else
      ok = appendFormatted(line, piece, wsprintfA(piece, "TAG_%u", unsigned{field.tag}));
  }
  RCODE valueError = ok ? appendValue(line, field, codePage, style) : flm::FERR_MEM;
  if (valueError && style == DumpStyle::Reload) return valueError;

  RCODE rc = out.write(line.data(), line.size());
  if (rc) return rc;
  // The ending goes out on its own so that it always fits, whatever became
  // of the line before it; the output is the same as one piece.
  int n = valueError ? wsprintfA(piece, "%s%s\r\n", kErrorNote, flm::errorName(valueError))
                     : wsprintfA(piece, "\r\n");
  return out.write(piece, static_cast<size_t>(n));
}

RCODE formatInto(Output& out, uint32_t trees, const Node* first, const flm::NameTable* names,
                 uint32_t codePage, DumpStyle style = DumpStyle::Inspect) {
  if (!first) return flm::FERR_NULL_RECORD;
  uint32_t done = 0;
  for (const Node* tree = first; tree; tree = flm::nodeNextSibling(tree)) {
    for (const Node* f = tree; f; f = flm::nodeWalkNext(flm::GED_TREE, tree, f)) {
      RCODE rc = writeField(out, *f, static_cast<unsigned>(f->level - tree->level), names,
                            codePage, style);
      if (rc) return rc;
    }
    if (trees && ++done == trees) break;
  }
  return flm::FERR_OK;
}

}  // namespace

RCODE formatTrees(uint32_t trees, const Node* first, char* buffer, uint16_t* size,
                  const flm::NameTable* names, uint32_t codePage) {
  BufferOutput out(buffer, *size);
  RCODE rc = formatInto(out, trees, first, names, codePage);
  *size = static_cast<uint16_t>(*size - out.remaining());
  return rc;
}

RCODE formatTreesToFile(uint32_t trees, const Node* first, int fd, const flm::NameTable* names,
                        uint32_t codePage) {
  FileOutput out(fd);
  return formatInto(out, trees, first, names, codePage);
}

RCODE formatTreesToString(uint32_t trees, const Node* first, std::string* text,
                          const flm::NameTable* names, uint32_t codePage, DumpStyle style) {
  StringOutput out(text);
  return formatInto(out, trees, first, names, codePage, style);
}

}  // namespace storage
