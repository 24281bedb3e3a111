#include "flm/AnswerCache.h"

#include <cstring>
#include <functional>

namespace flm {
namespace {

// An entry: the question's length, the question, then the numbers.
int64_t idOf(std::string_view question) {
  return static_cast<int64_t>(std::hash<std::string_view>()(question));
}

}  // namespace

bool AnswerCache::findBytes(std::string_view question, std::string_view* answer) {
  std::string_view entry;
  if (!entries_.find(idOf(question), &entry)) return false;
  uint32_t asked;
  if (entry.size() < sizeof asked) return false;
  std::memcpy(&asked, entry.data(), sizeof asked);
  entry.remove_prefix(sizeof asked);
  if (entry.substr(0, asked) != question) return false;
  *answer = entry.substr(asked);
  return true;
}

void AnswerCache::putBytes(std::string_view question, std::string_view answer) {
  auto asked = static_cast<uint32_t>(question.size());
  entry_.assign(reinterpret_cast<const char*>(&asked), sizeof asked);
  entry_.append(question);
  entry_.append(answer);
  entries_.put(idOf(question), entry_);
}

bool AnswerCache::find(std::string_view question, std::vector<uint32_t>* drns) {
  std::string_view answer;
  if (!findBytes(question, &answer)) return false;
  size_t count = answer.size() / sizeof(uint32_t);
  size_t at = drns->size();
  drns->resize(at + count);
  if (count) std::memcpy(drns->data() + at, answer.data(), count * sizeof(uint32_t));
  return true;
}

void AnswerCache::put(std::string_view question, const std::vector<uint32_t>& drns) {
  putBytes(question, std::string_view(reinterpret_cast<const char*>(drns.data()),
                                      drns.size() * sizeof(uint32_t)));
}

void AnswerCache::clear() {
  if (entries_.bytes()) entries_.clear();
}

}  // namespace flm
