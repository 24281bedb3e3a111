#include "engine/build/Gloss.h"

namespace build {
namespace {

constexpr std::string_view kExampleStart = "; \"";

std::string_view trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == ';')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == ';')) s.remove_suffix(1);
  return s;
}

// The text between a piece's first and last quote; an attribution after the
// closing quote ("... " - Shakespeare) is not part of the example.
std::string_view quoted(std::string_view piece) {
  piece = trim(piece);
  if (!piece.empty() && piece.front() == '"') piece.remove_prefix(1);
  size_t close = piece.rfind('"');
  if (close != std::string_view::npos) piece = piece.substr(0, close);
  return trim(piece);
}

}  // namespace

SplitGloss splitGloss(std::string_view gloss) {
  SplitGloss split;
  size_t start = gloss.starts_with('"') ? 0 : gloss.find(kExampleStart);
  split.definition = trim(gloss.substr(0, start));
  if (start == std::string_view::npos) return split;
  std::string_view rest = gloss.substr(start == 0 ? 0 : start + 2);
  while (!rest.empty()) {
    size_t next = rest.find(kExampleStart);
    std::string_view example = quoted(rest.substr(0, next));
    if (!example.empty()) split.examples.emplace_back(example);
    rest = next == std::string_view::npos ? std::string_view() : rest.substr(next + 2);
  }
  return split;
}

}  // namespace build
