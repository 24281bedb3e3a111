// One JSON document written as it is made: commas, quoting and escaping are
// the writer's business, so that a command only says what goes where.
#ifndef CORVID_TOOL_JSON_H
#define CORVID_TOOL_JSON_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace corvid {

class JsonWriter {
 public:
  explicit JsonWriter(std::FILE* out) : out_(out) {}
  // Ends the document with a line feed.
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void beginObject();
  void endObject();
  void beginArray();
  void endArray();
  // The name of the next member of the open object.
  JsonWriter& key(std::string_view name);

  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(int64_t number);
  void null();
  void values(const std::vector<std::string>& texts);

 private:
  void separate();
  void writeString(std::string_view text);

  std::FILE* out_;
  // Per open container: whether a value has been written in it yet.
  std::vector<bool> started_;
  bool afterKey_ = false;
};

// `text` as a JSON string literal, quotes included. Bytes are taken as
// UTF-8 and passed through; control characters, quotes and backslashes are
// escaped, and what is not well-formed UTF-8 becomes U+FFFD, one for each
// ill-formed start, so that the document is always UTF-8.
std::string jsonString(std::string_view text);

}  // namespace corvid

#endif
