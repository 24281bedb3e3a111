#include "Json.h"

#include <cinttypes>

namespace corvid {

std::string jsonString(std::string_view text) {
  std::string out = "\"";
  for (char c : text) {
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
