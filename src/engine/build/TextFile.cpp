#include "engine/build/TextFile.h"

#include <unicode/utf8.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace build {

bool isUtf8(std::string_view s) {
  int32_t i = 0;
  auto length = static_cast<int32_t>(s.size());
  while (i < length) {
    UChar32 c;
    U8_NEXT(s.data(), i, length, c);
    if (c < 0) return false;
  }
  return true;
}

TextFile::TextFile(std::string path) : path_(std::move(path)) {
  // A folder opens, and reads as nothing at all.
  std::error_code ignored;
  if (std::filesystem::is_directory(path_, ignored))
    throw BuildError(path_ + ": a folder, not a file");
  std::ifstream in(path_, std::ios::binary);
  if (!in) throw BuildError(path_ + ": cannot read: " + std::strerror(errno));
  std::ostringstream bytes;
  bytes << in.rdbuf();
  if (in.bad()) throw BuildError(path_ + ": cannot read: " + std::strerror(errno));
  text_ = std::move(bytes).str();
}

bool TextFile::next(std::string_view* line) {
  if (pos_ >= text_.size()) return false;
  size_t end = text_.find('\n', pos_);
  if (end == std::string::npos) end = text_.size();
  std::string_view l(text_.data() + pos_, end - pos_);
  if (!l.empty() && l.back() == '\r') l.remove_suffix(1);
  pos_ = end + 1;
  ++line_;
  if (!isUtf8(l)) throw error("not UTF-8 text");
  *line = l;
  return true;
}

BuildError TextFile::error(const std::string& message) const {
  return inputError(path_, line_, message);
}

std::vector<std::string_view> splitFields(std::string_view line, char separator) {
  std::vector<std::string_view> fields;
  size_t start = 0;
  for (size_t i = line.find(separator); i != std::string_view::npos;
       i = line.find(separator, start)) {
    fields.push_back(line.substr(start, i - start));
    start = i + 1;
  }
  fields.push_back(line.substr(start));
  return fields;
}

}  // namespace build
