// Where records live: a database handle, a container and a store.
#ifndef CORVID5_FLMCONTEXT_H
#define CORVID5_FLMCONTEXT_H

#include <corvid5/Export.h>

#include <stdint.h>

// A context names a place and owns nothing: the database handle belongs to
// whoever opened it and must outlive every context that names it.
class CORVID5_API FlmContext {
 public:
  FlmContext(void* database, unsigned short container, uint32_t store);
  FlmContext(const FlmContext& other);
  FlmContext& operator=(const FlmContext& other);
  virtual ~FlmContext();

  void SetSource(void* database, unsigned short container, uint32_t store);
  void SetSource(const FlmContext& other);
  void ClearSource();

  void* GetDatabase() const { return m_hDatabase; }
  unsigned short GetContainer() const { return m_nContainer; }
  uint32_t GetStore() const { return m_nStore; }

 protected:
  void* m_hDatabase;
  unsigned short m_nContainer;
  uint32_t m_nStore;
};

#endif
