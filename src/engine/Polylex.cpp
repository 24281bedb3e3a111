#include <corvid5/CorvidEngine.h>
#include <corvid5/FlmRecord.h>
#include <corvid5/ILIRecord.h>
#include <corvid5/LanguageWordNet.h>
#include <corvid5/PLXException.h>
#include <corvid5/Platform.h>
#include <corvid5/Polylex.h>
#include <corvid5/Relations.h>
#include <corvid5/Site.h>
#include <corvid5/TopConcept.h>

#include <cstring>
#include <memory>
#include <new>

#include "engine/Layout.h"
#include "engine/ReadFailure.h"
#include "flm/Path.h"
#include "flm/Session.h"

using namespace layout;

namespace {

constexpr unsigned short kCodeVersion = 0x09B1;
constexpr unsigned char kExclusive = 0x01;
constexpr unsigned char kReadOnly = 0x04;
constexpr unsigned short kPoolBlock = 256;
constexpr short kLastField = 32767;

// The stored layout version, read as narrow text into `size` bytes; 0 when
// the version record or its text is missing.
int readLayoutVersion(void* database, char* buffer, unsigned short size) {
  std::memset(buffer, 0, size);
  FlmRecord version(static_cast<unsigned short>(0), kPoolBlock);
  if (!version.Retrieve(database, kDatabaseStore, kData, kVersionRecord)) {
    engine::throwIfReadFailed(version.GetFlmError(), nullptr, 0);
    return 0;
  }
  return version.FindGetString(buffer, size, kPos, 1, fsRoot, faSubtree) > 0;
}

bool recordExists(void* database, uint32_t recordNumber) {
  FlmRecord record(static_cast<unsigned short>(0), kPoolBlock);
  if (record.Retrieve(database, kDatabaseStore, kData, recordNumber)) return true;
  engine::throwIfReadFailed(record.GetFlmError(), nullptr, 0);
  return false;
}

}  // namespace

Polylex::Polylex() : m_Error(0), m_hDatabase(nullptr), m_CreateOptions{}, m_szPath{}, m_nFlags(0) {}

Polylex::~Polylex() noexcept(false) { Close(); }

void Polylex::Open(const char* path, const char* directory, int readOnly, int exclusive) {
  CorvidEngine* engine = CorvidEngine::GetInstance();
  // A path that does not fit leaves the buffer empty and the open fails.
  flm::pathBuild(reinterpret_cast<char*>(m_szPath), nullptr, nullptr, path, nullptr);
  m_nFlags = static_cast<unsigned char>((exclusive ? kExclusive : 0) | (readOnly ? kReadOnly : 0));
  // The fields are packed: the handle is written through an aligned copy.
  void* handle = nullptr;
  Create_Options options = m_CreateOptions;
  m_Error = engine->OpenDatabase(&m_szPath,
                                 reinterpret_cast<unsigned char*>(const_cast<char*>(directory)),
                                 m_nFlags, &handle, &options);
  m_hDatabase = handle;
  if (!m_Error.Success()) throw PLXException(static_cast<uint32_t>(m_Error), nullptr, 0);

  // Byte order on the first three characters: "1.3", "1.4" and "2.0" pass,
  // and so does "10", whose second character orders after the point.
  char version[20];
  const bool compatible = readLayoutVersion(m_hDatabase, version, sizeof version) &&
                          std::memcmp(version, kLayoutVersion, 3) >= 0 &&
                          recordExists(m_hDatabase, kSiteRecord) &&
                          recordExists(m_hDatabase, kDatabaseRecord);
  if (!compatible) throw PLXException(errIncompatibleDatabase, nullptr, 0);
}

void Polylex::Close() {
  if (!m_hDatabase) {
    m_Error = 0;
    return;
  }
  flm::Database* database = static_cast<flm::Database*>(m_hDatabase);
  m_Error = flm::Session::closeDatabase(&database);
  m_hDatabase = database;
  if (!m_Error.Success()) throw PLXException(static_cast<uint32_t>(m_Error), nullptr, 0);
}

unsigned short* Polylex::GetPath() {
  const char* path = reinterpret_cast<const char*>(m_szPath);
  const int length = static_cast<int>(strnlen(path, sizeof m_szPath));
  const int units = MultiByteToWideChar(CP_ACP, 0, path, length, nullptr, 0);
  BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(units));
  if (text && units > 0) MultiByteToWideChar(CP_ACP, 0, path, length, text, units);
  return text;
}

unsigned short Polylex::GetCodeVersion() { return kCodeVersion; }

unsigned short Polylex::GetDataVersion() {
  char version[10];
  // The failure carries the last open's or close's code, as callers have
  // always been told.
  if (!readLayoutVersion(m_hDatabase, version, sizeof version))
    throw PLXException(static_cast<uint32_t>(m_Error), nullptr, 0);
  return static_cast<unsigned short>((static_cast<unsigned char>(version[0]) << 8) |
                                     static_cast<unsigned char>(version[2]));
}

Site* Polylex::GetSite() {
  Site* site = new (std::nothrow) Site;
  if (!site) throw PLXException(errOutOfMemory, nullptr, 0);
  if (!site->Retrieve(m_hDatabase, kDatabaseStore, kData, kSiteRecord)) {
    const FlmError error = site->GetFlmError();
    site->Destroy();
    engine::throwIfReadFailed(error, nullptr, 0);
    throw PLXException(errNoSiteRecord, nullptr, 0);
  }
  return site;
}

namespace {

template <class C>
C* made(C* collection) {
  if (!collection) throw PLXException(errOutOfMemory, nullptr, 0);
  return collection;
}

}  // namespace

LanguageWordNets* Polylex::GetLanguageWordNets() {
  return made(new (std::nothrow) LanguageWordNets(m_hDatabase, kDescriptors, kSystemStore));
}

LanguageWordNet* Polylex::GetILILanguageWordNet() {
  std::unique_ptr<LanguageWordNet> wordnet(made(new (std::nothrow) LanguageWordNet));
  FlmRecord descriptor(kDescriptor, kPoolBlock);
  descriptor.AssignField(kCode, "xx", 1, kLastField, fsRoot, faSubtree);
  descriptor.AssignField(kStoreId, static_cast<int32_t>(kIliWordNetStore), 1, kLastField, fsRoot,
                         faSubtree);
  descriptor.AssignField(kName, "ili_v", 1, kLastField, fsRoot, faSubtree);
  descriptor.SetSource(m_hDatabase, kDescriptorSource, kIliWordNetStore, 0);
  *wordnet = descriptor;
  return wordnet.release();
}

ILIRecords* Polylex::GetILIRecords() {
  return made(new (std::nothrow) ILIRecords(m_hDatabase, kData, kIliStore));
}

Relations* Polylex::GetRelations() {
  Relations* relations = made(new (std::nothrow) Relations(m_hDatabase, kData, kSystemStore));
  relations->SetMasterIndex(kRelationsByCode, 1);
  return relations;
}

TopConcepts* Polylex::GetTopConcepts() {
  return made(new (std::nothrow) CursorTopConcepts(m_hDatabase, kTopConcepts, kIliStore));
}
