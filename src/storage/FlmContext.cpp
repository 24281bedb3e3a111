#include <corvid5/FlmContext.h>

FlmContext::FlmContext(void* database, unsigned short container, uint32_t store)
    : m_hDatabase(database), m_nContainer(container), m_nStore(store) {}

FlmContext::FlmContext(const FlmContext& other) = default;

FlmContext& FlmContext::operator=(const FlmContext& other) = default;

FlmContext::~FlmContext() = default;

void FlmContext::SetSource(void* database, unsigned short container, uint32_t store) {
  m_hDatabase = database;
  m_nContainer = container;
  m_nStore = store;
}

void FlmContext::SetSource(const FlmContext& other) {
  SetSource(other.m_hDatabase, other.m_nContainer, other.m_nStore);
}

void FlmContext::ClearSource() { SetSource(nullptr, 0, 0); }
