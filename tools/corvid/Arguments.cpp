#include "Arguments.h"

#include <charconv>

namespace corvid {

namespace {

const Option* findOption(std::initializer_list<Option> options, const std::string& name) {
  for (const Option& option : options)
    if (name == option.name) return &option;
  return nullptr;
}

}  // namespace

Arguments::Arguments(const std::vector<std::string>& args, std::initializer_list<Option> options,
                     size_t maxWords) {
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (optionsEnded || a.size() < 2 || a[0] != '-') {
      words_.push_back(a);
      continue;
    }
    if (a == "--") {
      optionsEnded = true;
      continue;
    }
    const Option* option = findOption(options, a);
    if (!option) throw UsageError{};
    std::vector<std::string>& seen = given_[a];
    if (option->kind != Option::kValues && !seen.empty()) throw UsageError{};
    if (option->kind == Option::kFlag) {
      seen.emplace_back();
      continue;
    }
    if (i + 1 >= args.size()) throw UsageError{};
    seen.push_back(args[++i]);
  }
  if (words_.size() > maxWords) throw UsageError{};
}

std::string Arguments::value(const std::string& option, const std::string& fallback) const {
  auto found = given_.find(option);
  return found == given_.end() ? fallback : found->second.front();
}

std::vector<std::string> Arguments::values(const std::string& option) const {
  auto found = given_.find(option);
  return found == given_.end() ? std::vector<std::string>{} : found->second;
}

const std::string& Arguments::word() const {
  if (words_.size() != 1 || words_[0].empty()) throw UsageError{};
  return words_[0];
}

uint32_t Arguments::number(const std::string& option, uint32_t max) const {
  const std::string text = value(option);
  uint64_t number = 0;
  const char* end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || error != std::errc() || stop != end || number > max) throw UsageError{};
  return static_cast<uint32_t>(number);
}

}  // namespace corvid
