// A source file read whole and handed out line by line, so that every
// complaint about its content can name the line.
#ifndef CORVID5_ENGINE_BUILD_TEXTFILE_H
#define CORVID5_ENGINE_BUILD_TEXTFILE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "engine/build/BuildError.h"

namespace build {

class TextFile {
 public:
  // Throws when the file cannot be read.
  explicit TextFile(std::string path);

  const std::string& path() const { return path_; }
  // The whole file, for readers that take it as one text.
  const std::string& contents() const { return text_; }
  // The next line without its "\n" or "\r\n"; false at the end. A line that
  // is not UTF-8 is refused here, before anything stores it.
  bool next(std::string_view* line);
  // The number of the line `next` gave last, from 1.
  size_t lineNumber() const { return line_; }
  // An error about the line `next` gave last.
  BuildError error(const std::string& message) const;

 private:
  std::string path_;
  std::string text_;
  size_t pos_ = 0;
  size_t line_ = 0;
};

// Whether `text` is well-formed UTF-8 (an ASCII NUL is).
bool isUtf8(std::string_view text);

// The pieces of `line` between the separators; n separators give n+1 pieces.
std::vector<std::string_view> splitFields(std::string_view line, char separator);

}  // namespace build

#endif
