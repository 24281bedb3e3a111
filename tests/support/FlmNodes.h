// Field trees made and read through the storage engine's own calls, for the
// tests of the engine and of what is built on it. Header-only, so that the
// test programs that do not use it need not build it.
#ifndef CORVID5_TESTS_FLMNODES_H
#define CORVID5_TESTS_FLMNODES_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "flm/Database.h"
#include "flm/ErrorCodes.h"
#include "flm/Node.h"
#include "flm/Pool.h"
#include "flm/Session.h"
#include "flm/Value.h"
#include "support/TestFiles.h"

namespace testflm {

// A dictionary with a field of every value type, a container, and a field
// whose name is longer than any working line.
enum : uint16_t {
  kEntry = 1, kTitle = 2, kCount = 3, kBlob = 4, kLink = 5, kRatio = 6, kDay = 7, kClock = 8,
  kStamp = 9, kNested = 10, kLongName = 11,
};
constexpr uint16_t kSide = 7;
inline const std::string kLongFieldName(600, 'n');

inline flm::Dictionary everyType() {
  flm::Dictionary d;
  d.fields = {{kEntry, "entry", flm::FLM_TEXT_TYPE},    {kTitle, "title", flm::FLM_TEXT_TYPE},
              {kCount, "count", flm::FLM_NUMBER_TYPE},  {kBlob, "blob", flm::FLM_BINARY_TYPE},
              {kLink, "link", flm::FLM_CONTEXT_TYPE},   {kRatio, "ratio", flm::FLM_REAL_TYPE},
              {kDay, "day", flm::FLM_DATE_TYPE},        {kClock, "clock", flm::FLM_TIME_TYPE},
              {kStamp, "stamp", flm::FLM_TMSTAMP_TYPE}, {kNested, "nested", flm::FLM_TEXT_TYPE},
              {kLongName, kLongFieldName, flm::FLM_TEXT_TYPE}};
  d.containers = {{kSide, "side"}};
  return d;
}

inline flm::RCODE putText(flm::PoolMemoryManager* pool, flm::Node* n, std::u16string_view text) {
  return flm::putUnicode(pool, n, reinterpret_cast<const uint16_t*>(text.data()), text.size());
}

// A pool that lets go of its blocks when the test ends, whatever happened,
// and makes fields in it.
class ScopedPool {
 public:
  explicit ScopedPool(uint16_t blockSize = 512) { flm::poolInit(&pool_, blockSize); }
  ~ScopedPool() { flm::poolFree(&pool_); }
  ScopedPool(const ScopedPool&) = delete;
  ScopedPool& operator=(const ScopedPool&) = delete;
  flm::PoolMemoryManager* operator&() { return &pool_; }

  flm::Node* make(uint16_t tag) {
    flm::RCODE rc = flm::FERR_FAILURE;
    flm::Node* n = flm::nodeMake(&pool_, tag, &rc);
    EXPECT_EQ(rc, flm::FERR_OK);
    EXPECT_NE(n, nullptr);
    return n;
  }
  // A new last child of `parent`, optionally with text or a number.
  flm::Node* child(flm::Node* parent, uint16_t tag) {
    flm::Node* n = make(tag);
    flm::nodeChildGraft(parent, n, flm::GED_LAST);
    return n;
  }
  flm::Node* text(flm::Node* parent, uint16_t tag, std::u16string_view value) {
    return field(parent, tag, [&](flm::Node* n) { return putText(&pool_, n, value); });
  }
  flm::Node* number(flm::Node* parent, uint16_t tag, int64_t value) {
    return field(parent, tag, [&](flm::Node* n) { return flm::putInt(&pool_, n, value); });
  }
  flm::Node* utf8(flm::Node* parent, uint16_t tag, std::string_view value) {
    return field(parent, tag,
                 [&](flm::Node* n) { return flm::putUtf8(&pool_, n, value.data(), value.size()); });
  }
  flm::Node* pointer(flm::Node* parent, uint16_t tag, uint32_t drn) {
    return field(parent, tag, [&](flm::Node* n) { return flm::putRecPtr(&pool_, n, drn); });
  }
  flm::Node* real(flm::Node* parent, uint16_t tag, double value) {
    return field(parent, tag, [&](flm::Node* n) { return flm::putReal(&pool_, n, value); });
  }
  flm::Node* binary(flm::Node* parent, uint16_t tag, std::string_view bytes) {
    return field(parent, tag,
                 [&](flm::Node* n) { return flm::putBinary(&pool_, n, bytes.data(), bytes.size()); });
  }

 private:
  // A child of `parent` holding what `put` stores in it.
  template <class Put>
  flm::Node* field(flm::Node* parent, uint16_t tag, Put put) {
    flm::Node* n = child(parent, tag);
    EXPECT_EQ(put(n), flm::FERR_OK);
    return n;
  }

  flm::PoolMemoryManager pool_;
};

// A session with one database made from `dictionary` in a scratch directory.
class ScratchDatabase {
 public:
  explicit ScratchDatabase(const flm::Dictionary& dictionary, uint32_t cacheKilobytes = 1024)
      : path_(dir_.file("test.db")) {
    EXPECT_EQ(flm::Session::create(cacheKilobytes, 0, &session_), flm::FERR_OK);
    EXPECT_EQ(session_->createDatabase(path_.c_str(), dictionary, &db_), flm::FERR_OK);
  }
  ~ScratchDatabase() { flm::Session::close(&session_); }
  ScratchDatabase(const ScratchDatabase&) = delete;
  ScratchDatabase& operator=(const ScratchDatabase&) = delete;

  flm::Database* db() const { return db_; }
  flm::Session* session() const { return session_; }
  const std::string& path() const { return path_; }
  const testfiles::ScratchDir& dir() const { return dir_; }
  void close() { EXPECT_EQ(db_ ? flm::Session::closeDatabase(&db_) : flm::FERR_OK, flm::FERR_OK); }
  flm::RCODE reopen(uint32_t flags = 0) {
    close();
    return session_->openDatabase(path_.c_str(), nullptr, flags, &db_);
  }

 private:
  testfiles::ScratchDir dir_;
  std::string path_;
  flm::Session* session_ = nullptr;
  flm::Database* db_ = nullptr;
};

// A field's text, checked to come back terminated and at its stated length;
// a marker in angle brackets when it does not.
inline std::u16string textOf(const flm::Node* n) {
  uint32_t bytes = 0;
  if (!n || flm::getUnicodeLength(n, &bytes)) return u"<no text>";
  std::vector<uint16_t> buffer(bytes / 2 + 1, 0xBEEF);
  uint32_t size = static_cast<uint32_t>(buffer.size() * 2);
  if (flm::getUnicode(n, buffer.data(), &size)) return u"<no text>";
  if (size != bytes) return u"<length differs>";
  if (buffer[bytes / 2] != 0) return u"<unterminated>";
  return std::u16string(buffer.begin(), buffer.begin() + bytes / 2);
}

inline std::string show(const flm::FlmDate& d) {
  return std::to_string(d.year) + "-" + std::to_string(d.month) + "-" + std::to_string(d.day);
}
inline std::string show(const flm::FlmTime& t) {
  return std::to_string(t.hour) + ":" + std::to_string(t.minute) + ":" +
         std::to_string(t.second) + "." + std::to_string(t.hundredth);
}
inline std::string show(const flm::FlmTimestamp& s) { return show(s.date) + " " + show(s.time); }
inline std::string show(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", v);
  return text;
}
inline std::string show(int64_t v) { return std::to_string(v); }
inline std::string show(int32_t v) { return std::to_string(v); }
inline std::string show(uint32_t v) { return std::to_string(v); }
inline std::string show(int16_t v) { return std::to_string(v); }
inline std::string show(uint16_t v) { return std::to_string(v); }

// What a typed getter reads from a field: the value, or the error's name.
template <class T>
std::string read(flm::RCODE (*get)(const flm::Node*, T*), const flm::Node* n) {
  T value{};
  const flm::RCODE rc = get(n, &value);
  return rc ? flm::errorName(rc) : show(value);
}

}  // namespace testflm

#endif
