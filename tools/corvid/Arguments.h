// The arguments after a command's name, read against the options that
// command takes. Anything else is a wrong usage, thrown as UsageError.
#ifndef CORVID_TOOL_ARGUMENTS_H
#define CORVID_TOOL_ARGUMENTS_H

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

namespace corvid {

// Wrong usage: the caller prints the command's usage line and exits with 2.
struct UsageError {};

// A failure to report as one line on standard error, exit status 1.
struct Failure {
  std::string message;
};

struct Option {
  enum Kind { kFlag, kValue, kValues };
  const char* name;  // with its dashes
  Kind kind;
};

class Arguments {
 public:
  // At most `maxWords` arguments that are not options; "--" ends the options.
  Arguments(const std::vector<std::string>& args, std::initializer_list<Option> options,
            size_t maxWords);

  bool has(const std::string& option) const { return given_.count(option) > 0; }
  // The value of a single-valued option, or `fallback`.
  std::string value(const std::string& option, const std::string& fallback = "") const;
  // Every value of a repeatable option, in the order given.
  std::vector<std::string> values(const std::string& option) const;
  // A non-negative whole number no larger than `max`; else wrong usage.
  uint32_t number(const std::string& option, uint32_t max) const;
  const std::vector<std::string>& words() const { return words_; }
  // The one word the command is about; wrong usage when there is not exactly
  // one, or when it is empty, which names no word form.
  const std::string& word() const;

 private:
  std::map<std::string, std::vector<std::string>> given_;
  std::vector<std::string> words_;
};

// The options every command that reads a database takes.
inline constexpr Option kDbOption = {"--db", Option::kValue};
inline constexpr Option kJsonOption = {"--json", Option::kFlag};

}  // namespace corvid

#endif
