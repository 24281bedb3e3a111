// A build stops at the first thing it cannot use. What reaches the user is
// one line that says what is wrong and, for bad input, where.
#ifndef CORVID5_ENGINE_BUILD_BUILDERROR_H
#define CORVID5_ENGINE_BUILD_BUILDERROR_H

#include <cstddef>
#include <stdexcept>
#include <string>

namespace build {

class BuildError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "file:line: message", the form editors and compilers use.
inline BuildError inputError(const std::string& file, size_t line, const std::string& message) {
  return BuildError(file + ":" + std::to_string(line) + ": " + message);
}

}  // namespace build

#endif
