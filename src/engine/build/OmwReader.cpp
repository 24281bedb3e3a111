#include "engine/build/OmwReader.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <unordered_map>

#include "engine/build/BuildError.h"
#include "engine/build/TextFile.h"
#include "engine/build/WordNetReader.h"

namespace build {
namespace {

namespace fs = std::filesystem;

enum class Kind { Lemma, Definition, Example, Other };

constexpr std::string_view kLexicalGap = "GAP!";

bool isOmwFile(const fs::path& p) {
  std::string name = p.filename().string();
  return name.starts_with("wn-data-") && name.ends_with(".tab");
}

// The header's language; the rest of it is about the project.
std::string parseHeader(const TextFile& file, std::string_view line) {
  std::vector<std::string_view> f = splitFields(line, '\t');
  std::string_view language = f.size() >= 2 ? f[1] : std::string_view();
  while (!language.empty() && language.back() == ' ') language.remove_suffix(1);
  if (!line.starts_with("# ") || language.empty())
    throw file.error("not an OMW header (\"# name<TAB>lang<TAB>url<TAB>licence\")");
  return std::string(language);
}

// "fra:lemma", and in some files a bare "lemma". A prefix naming another
// language is a kind of line this file's language has no use for.
Kind kindOf(std::string_view type, const std::string& language) {
  size_t colon = type.find(':');
  if (colon != std::string_view::npos) {
    if (type.substr(0, colon) != language) return Kind::Other;
    type.remove_prefix(colon + 1);
  }
  if (type == "lemma") return Kind::Lemma;
  if (type == "def") return Kind::Definition;
  if (type == "exe") return Kind::Example;
  return Kind::Other;
}

// "02084071-n" -> the synset's offset and data file.
void parseSynsetId(const TextFile& file, std::string_view id, OmwSynset* s) {
  auto [end, ec] = std::from_chars(id.data(), id.data() + id.size(), s->offset);
  size_t digits = static_cast<size_t>(end - id.data());
  s->file =
      ec == std::errc() && digits == 8 && id.size() == 10 && id[8] == '-' ? dataFileOf(id[9]) : 0;
  if (!s->file) throw file.error("bad synset '" + std::string(id) + "' (want offset-pos)");
}

// Definitions and examples come as "<n><TAB>text"; the number orders them.
using Numbered = std::vector<std::pair<uint32_t, std::string>>;

void addNumbered(const TextFile& file, const std::vector<std::string_view>& f, Numbered* to) {
  uint32_t n = 0;
  auto [end, ec] = std::from_chars(f[2].data(), f[2].data() + f[2].size(), n);
  if (f.size() != 4 || ec != std::errc() || end != f[2].data() + f[2].size())
    throw file.error("want offset-pos<TAB>kind<TAB>number<TAB>text");
  if (f[3].empty()) throw file.error("empty text");
  to->emplace_back(n, std::string(f[3]));
}

std::vector<std::string> inOrder(Numbered* numbered) {
  std::stable_sort(numbered->begin(), numbered->end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> texts;
  for (auto& [n, text] : *numbered) texts.push_back(std::move(text));
  return texts;
}

// Gathers a file's lines by synset.
class SynsetTable {
 public:
  OmwSynset& at(const TextFile& file, std::string_view id) {
    OmwSynset s;
    parseSynsetId(file, id, &s);
    uint64_t key = (uint64_t{static_cast<unsigned char>(s.file)} << 32) | s.offset;
    auto [it, added] = index_.emplace(key, synsets_.size());
    if (added) {
      synsets_.push_back(std::move(s));
      definitions_.emplace_back();
      examples_.emplace_back();
    }
    current_ = it->second;
    return synsets_[current_];
  }
  uint32_t current() const { return static_cast<uint32_t>(current_); }
  Numbered& definitions() { return definitions_[current_]; }
  Numbered& examples() { return examples_[current_]; }

  std::vector<OmwSynset> take() {
    for (size_t i = 0; i < synsets_.size(); ++i) {
      synsets_[i].definitions = inOrder(&definitions_[i]);
      synsets_[i].examples = inOrder(&examples_[i]);
    }
    return std::move(synsets_);
  }

 private:
  std::unordered_map<uint64_t, size_t> index_;
  std::vector<OmwSynset> synsets_;
  std::vector<Numbered> definitions_, examples_;
  size_t current_ = 0;
};

void readLine(const TextFile& file, std::string_view line, OmwWordNet* wn, SynsetTable* table) {
  std::vector<std::string_view> f = splitFields(line, '\t');
  if (f.size() < 3) throw file.error("want offset-pos<TAB>kind<TAB>text");
  Kind kind = kindOf(f[1], wn->language);
  if (kind == Kind::Other) {
    ++wn->otherLines;
    return;
  }
  // Some wordnets mark a meaning their language has no word for with this
  // lemma; it names no word, and the meaning gets none from it.
  if (kind == Kind::Lemma && f.size() == 3 && f[2] == kLexicalGap) return;
  OmwSynset& s = table->at(file, f[0]);
  if (kind == Kind::Definition) return addNumbered(file, f, &table->definitions());
  if (kind == Kind::Example) return addNumbered(file, f, &table->examples());
  if (f.size() != 3 || f[2].empty()) throw file.error("want offset-pos<TAB>lemma<TAB>a lemma");
  std::string lemma(f[2]);
  if (std::find(s.lemmas.begin(), s.lemmas.end(), lemma) != s.lemmas.end()) return;
  wn->lemmaLines.push_back({table->current(), static_cast<uint32_t>(s.lemmas.size())});
  s.lemmas.push_back(std::move(lemma));
}

}  // namespace

std::vector<std::string> findOmwFiles(const std::vector<std::string>& dirs) {
  std::vector<std::string> files;
  for (const std::string& dir : dirs) {
    std::error_code ec;
    fs::recursive_directory_iterator it(dir, fs::directory_options::follow_directory_symlink, ec);
    if (ec) throw BuildError(dir + ": cannot search for OMW files: " + ec.message());
    for (; it != fs::recursive_directory_iterator(); it.increment(ec)) {
      if (ec) throw BuildError(dir + ": cannot search for OMW files: " + ec.message());
      if (isOmwFile(it->path()) && it->is_regular_file())
        files.push_back(fs::weakly_canonical(it->path()).string());
    }
  }
  std::sort(files.begin(), files.end());
  files.erase(std::unique(files.begin(), files.end()), files.end());
  return files;
}

OmwWordNet readOmw(const std::string& path) {
  OmwWordNet wn;
  wn.path = path;
  TextFile file(path);
  std::string_view line;
  if (!file.next(&line)) throw inputError(path, 1, "empty file, want an OMW header");
  wn.language = parseHeader(file, line);
  SynsetTable table;
  while (file.next(&line))
    if (!line.empty()) readLine(file, line, &wn, &table);
  wn.synsets = table.take();
  return wn;
}

}  // namespace build
