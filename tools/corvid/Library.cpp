#include "Library.h"

#include <corvid5/CorvidEngine.h>
#include <corvid5/Language.h>
#include <corvid5/PLXException.h>
#include <corvid5/Platform.h>
#include <corvid5/Relations.h>

#include <filesystem>

#include "Arguments.h"

namespace corvid {

std::string takeText(unsigned short* text) {
  if (!text) return "";
  std::string out;
  const int length = static_cast<int>(SysStringLen(text));
  if (length > 0) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    out.resize(static_cast<size_t>(size > 0 ? size : 0));
    WideCharToMultiByte(CP_UTF8, 0, text, length, out.data(), size, nullptr, nullptr);
  }
  SysFreeString(text);
  return out;
}

Database::Database(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error))
    throw Failure{"no database at " + path + " (give one with --db or CORVID_DB)"};
  CorvidEngine::GetInstance();
  try {
    polylex_.Open(path.c_str(), nullptr, 1, 0);
  } catch (const PLXException& e) {
    if (e.GetError() == errIncompatibleDatabase)
      throw Failure{path + ": not a database of a layout this version reads"};
    throw Failure{path + ": cannot open: " + static_cast<const char*>(e)};
  }
}

Database::~Database() {
  // An incompatible file stays open after its refusal; closing can throw,
  // and nothing useful is left to say about it here.
  try {
    polylex_.Close();
  } catch (const PLXException&) {
  }
  CorvidEngine::DestroyInstance();
}

std::string Database::codeOf(LanguageWordNet& wordnet) {
  Owned<Language> language(wordnet.GetLanguage());
  return takeText(language->GetCode());
}

std::vector<Owned<LanguageWordNet>> Database::languages() {
  Owned<LanguageWordNets> wordnets(polylex_.GetLanguageWordNets());
  std::vector<Owned<LanguageWordNet>> out;
  forEach(*wordnets, [&](Owned<LanguageWordNet> wordnet) {
    if (wordnet->GetStoreID() != 0) out.push_back(std::move(wordnet));
  });
  return out;
}

Owned<LanguageWordNet> Database::language(const std::string& code) {
  std::string known;
  for (Owned<LanguageWordNet>& wordnet : languages()) {
    const std::string stored = codeOf(*wordnet);
    if (stored == code) return std::move(wordnet);
    known += (known.empty() ? "" : " ") + stored;
  }
  throw Failure{"unknown language " + code + " (this database has: " + known + ")"};
}

void* Database::handle() {
  // Every collection the database hands out names the database it reads.
  Owned<Relations> relations(polylex_.GetRelations());
  return relations->GetDatabase();
}

}  // namespace corvid
