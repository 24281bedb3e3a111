#include "Json.h"

#include <cinttypes>

namespace corvid {

namespace {

// U+FFFD REPLACEMENT CHARACTER in UTF-8.
constexpr char kReplacement[] = "\xEF\xBF\xBD";

// The bytes of the UTF-8 character that starts at `at` (its lead byte is at
// least 0x80), and whether they make a well-formed one. An ill-formed start
// takes its lead byte and those that could still have continued it, which
// become one replacement character: no overlong forms, no surrogates,
// nothing past U+10FFFF.
struct Utf8Character {
  size_t length;
  bool wellFormed;
};

Utf8Character utf8Character(std::string_view text, size_t at) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  size_t continuations = 0;
  unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    continuations = 1;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    continuations = 2;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    continuations = 3;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return {1, false};
  }
  size_t length = 1;
  for (; length <= continuations && at + length < text.size(); ++length) {
    const unsigned char c = byte(at + length);
    if (c < (length == 1 ? low : 0x80) || c > (length == 1 ? high : 0xBF)) break;
  }
  return {length, length == continuations + 1};
}

void appendEscaped(std::string& out, char c) {
  switch (c) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      if (static_cast<unsigned char>(c) < 0x20) {
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
        out += escaped;
      } else {
        out += c;
      }
  }
}

}  // namespace

std::string jsonString(std::string_view text) {
  std::string out = "\"";
  for (size_t at = 0; at < text.size();) {
    if (static_cast<unsigned char>(text[at]) < 0x80) {
      appendEscaped(out, text[at++]);
      continue;
    }
    const Utf8Character c = utf8Character(text, at);
    if (c.wellFormed)
      out.append(text.substr(at, c.length));
    else
      out += kReplacement;
    at += c.length;
  }
  return out + "\"";
}

JsonWriter::~JsonWriter() { std::fputc('\n', out_); }

void JsonWriter::separate() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (started_.empty()) return;
  if (started_.back()) std::fputc(',', out_);
  started_.back() = true;
}

void JsonWriter::writeString(std::string_view text) {
  const std::string quoted = jsonString(text);
  std::fwrite(quoted.data(), 1, quoted.size(), out_);
}

void JsonWriter::beginObject() {
  separate();
  std::fputc('{', out_);
  started_.push_back(false);
}

void JsonWriter::endObject() {
  started_.pop_back();
  std::fputc('}', out_);
}

void JsonWriter::beginArray() {
  separate();
  std::fputc('[', out_);
  started_.push_back(false);
}

void JsonWriter::endArray() {
  started_.pop_back();
  std::fputc(']', out_);
}

JsonWriter& JsonWriter::key(std::string_view name) {
  separate();
  writeString(name);
  std::fputc(':', out_);
  afterKey_ = true;
  return *this;
}

void JsonWriter::value(std::string_view text) {
  separate();
  writeString(text);
}

void JsonWriter::value(int64_t number) {
  separate();
  std::fprintf(out_, "%" PRId64, number);
}

void JsonWriter::null() {
  separate();
  std::fputs("null", out_);
}

void JsonWriter::values(const std::vector<std::string>& texts) {
  beginArray();
  for (const std::string& text : texts) value(text);
  endArray();
}

}  // namespace corvid
