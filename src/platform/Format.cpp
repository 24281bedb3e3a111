#include <corvid5/Platform.h>

#include "platform/WideText.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string.h>  // strnlen, which <cstring> need not declare
#include <string_view>

namespace {

// Callers hand over a 1024-byte buffer; one byte of it is the terminator's.
constexpr std::size_t kMaxOutput = 1023;

// Appends to the caller's buffer, silently dropping whatever would not fit.
class Output {
 public:
  explicit Output(char* buffer) : buffer_(buffer) {}

  void append(std::string_view text) {
    const std::size_t count = std::min(text.size(), room());
    std::copy_n(text.data(), count, buffer_ + used_);
    used_ += count;
  }

  void fill(char c, std::size_t count) {
    count = std::min(count, room());
    std::fill_n(buffer_ + used_, count, c);
    used_ += count;
  }

  int finish() {
    buffer_[used_] = '\0';
    return static_cast<int>(used_);
  }

 private:
  std::size_t room() const { return kMaxOutput - used_; }

  char* buffer_;
  std::size_t used_ = 0;
};

struct Directive {
  bool leftAlign = false;
  bool zeroPad = false;
  bool alternate = false;
  std::size_t width = 0;
  std::optional<std::size_t> precision;
  char size = '\0';        // 'h', 'l', 'w' or none
  char conversion = '\0';  // '\0' when the format ends inside the directive
  std::string_view source;
};

bool applyFlag(Directive& directive, char flag) {
  switch (flag) {
    case '-':
      directive.leftAlign = true;
      return true;
    case '0':
      directive.zeroPad = true;
      return true;
    case '#':
      directive.alternate = true;
      return true;
    default:
      return false;
  }
}

// Widths and precisions beyond the output cap cannot change what is printed,
// so capping them keeps the arithmetic small.
std::size_t parseCount(const char*& cursor) {
  std::size_t count = 0;
  for (; *cursor >= '0' && *cursor <= '9'; ++cursor) {
    count = std::min(count * 10 + static_cast<std::size_t>(*cursor - '0'), kMaxOutput);
  }
  return count;
}

// Reads one directive starting at its '%' and leaves `cursor` after it.
Directive parseDirective(const char*& cursor) {
  Directive directive;
  const char* const start = cursor++;
  while (applyFlag(directive, *cursor)) {
    ++cursor;
  }
  directive.width = parseCount(cursor);
  if (*cursor == '.') {
    ++cursor;
    directive.precision = parseCount(cursor);
  }
  if (*cursor == 'h' || *cursor == 'l' || *cursor == 'w') {
    directive.size = *cursor++;
  }
  directive.conversion = *cursor;
  if (*cursor != '\0') {
    ++cursor;
  }
  directive.source = std::string_view(start, static_cast<std::size_t>(cursor - start));
  return directive;
}

// Only ever called with formats built here, never with the caller's.
__attribute__((format(printf, 1, 2))) std::string printed(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  va_end(args);
  return text;
}

// Pads `prefix` + `body` to the field width; zeros go between the two, so
// that signs and radix markers stay in front.
void emitField(Output& out, const Directive& directive, std::string_view prefix,
               std::string_view body) {
  const std::size_t length = prefix.size() + body.size();
  const std::size_t padding = directive.width > length ? directive.width - length : 0;
  if (!directive.leftAlign && !directive.zeroPad) {
    out.fill(' ', padding);
  }
  out.append(prefix);
  if (!directive.leftAlign && directive.zeroPad) {
    out.fill('0', padding);
  }
  out.append(body);
  if (directive.leftAlign) {
    out.fill(' ', padding);
  }
}

int minimumDigits(const Directive& directive) {
  return static_cast<int>(directive.precision.value_or(1));
}

void formatSigned(Output& out, const Directive& directive, int value) {
  if (directive.size == 'h') {
    value = static_cast<short>(value);
  }
  const auto bits = static_cast<unsigned>(value);
  const unsigned magnitude = value < 0 ? 0u - bits : bits;
  emitField(out, directive, value < 0 ? "-" : "",
            printed("%.*u", minimumDigits(directive), magnitude));
}

void formatUnsigned(Output& out, const Directive& directive, unsigned value) {
  if (directive.size == 'h') {
    value = static_cast<unsigned short>(value);
  }
  if (directive.conversion == 'u') {
    emitField(out, directive, "", printed("%.*u", minimumDigits(directive), value));
    return;
  }
  const bool upper = directive.conversion == 'X';
  const char* radix = directive.alternate ? (upper ? "0X" : "0x") : "";
  emitField(out, directive, radix,
            printed(upper ? "%.*X" : "%.*x", minimumDigits(directive), value));
}

// Floating point keeps printf's own rules for signs, padding and infinities.
void formatDouble(Output& out, const Directive& directive, double value) {
  std::string format = "%";
  if (directive.leftAlign) {
    format += '-';
  }
  if (directive.zeroPad) {
    format += '0';
  }
  if (directive.alternate) {
    format += '#';
  }
  format += "*.*g";
  const auto width = static_cast<int>(directive.width);
  const auto precision = static_cast<int>(directive.precision.value_or(6));
  out.append(printed(format.c_str(), width, precision, value));
}

std::string toUtf8(const WCHAR* text, std::size_t length) {
  if (length == 0) {
    return {};  // converting nothing is a parameter error to the converter
  }
  const auto units = static_cast<int>(length);
  const int size = WideCharToMultiByte(CP_ACP, 0, text, units, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, text, units, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

// wsprintfA takes %S and %C as wide; an explicit size prefix overrides the case.
bool isWide(const Directive& directive) {
  if (directive.size == 'h') {
    return false;
  }
  return directive.size == 'l' || directive.size == 'w' || directive.conversion == 'S' ||
         directive.conversion == 'C';
}

// The precision bounds the read, so the text need not be terminated.
void formatNarrow(Output& out, const Directive& directive, const char* text) {
  if (text == nullptr) {
    text = "(null)";
  }
  emitField(out, directive, "", {text, ::strnlen(text, directive.precision.value_or(kMaxOutput))});
}

// The precision counts UTF-16 units. Every unit yields at least one byte, so
// reading past the output cap could never show.
void formatWide(Output& out, const Directive& directive, const WCHAR* text) {
  if (text == nullptr) {
    formatNarrow(out, directive, nullptr);
    return;
  }
  const std::size_t length = platform::wideLength(text, directive.precision.value_or(kMaxOutput));
  emitField(out, directive, "", toUtf8(text, length));
}

void formatChar(Output& out, const Directive& directive, int value) {
  if (isWide(directive)) {
    const auto unit = static_cast<WCHAR>(value);
    emitField(out, directive, "", toUtf8(&unit, 1));
  } else {
    const auto byte = static_cast<char>(value);
    emitField(out, directive, "", {&byte, 1});
  }
}

void formatString(Output& out, const Directive& directive, va_list& args) {
  if (isWide(directive)) {
    formatWide(out, directive, va_arg(args, const WCHAR*));
  } else {
    formatNarrow(out, directive, va_arg(args, const char*));
  }
}

// 'l' marks a 32-bit argument, as in the classic ABI, so integers are always
// read as int: reading a long would take eight bytes of a four-byte argument.
void formatOne(Output& out, const Directive& directive, va_list& args) {
  switch (directive.conversion) {
    case 'd':
    case 'i':
      return formatSigned(out, directive, va_arg(args, int));
    case 'u':
    case 'x':
    case 'X':
      return formatUnsigned(out, directive, va_arg(args, unsigned));
    case 'c':
    case 'C':
      return formatChar(out, directive, va_arg(args, int));
    case 's':
    case 'S':
      return formatString(out, directive, args);
    case 'g':
      return formatDouble(out, directive, va_arg(args, double));
    case '%':
      return out.append("%");
    default:
      return out.append(directive.source);
  }
}

void formatAll(Output& out, const char* format, va_list& args) {
  const char* cursor = format;
  while (const char* percent = std::strchr(cursor, '%')) {
    out.append(std::string_view(cursor, static_cast<std::size_t>(percent - cursor)));
    cursor = percent;
    formatOne(out, parseDirective(cursor), args);
  }
  out.append(cursor);
}

}  // namespace

int wsprintfA(LPSTR buffer, LPCSTR format, ...) {
  va_list args;
  va_start(args, format);
  Output out(buffer);
  formatAll(out, format, args);
  va_end(args);
  return out.finish();
}
