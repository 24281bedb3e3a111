#include "engine/build/RecordDumpLoader.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "engine/build/TextFile.h"
#include "flm/Node.h"
#include "flm/Pool.h"
#include "flm/Value.h"
#include "storage/RecordFormat.h"

namespace build {
namespace {

using flm::Node;
using flm::RCODE;

constexpr int kMaxLevel = 255;
constexpr uint32_t kNullDrn = 0xFFFFFFFF;
constexpr std::string_view kBinary = "[-binary-]";

// Whether a value was in the form asked for, and if so whether it fitted.
enum class Form { Absent, Read, Unfit };

bool isDigits(std::string_view s) {
  if (s.empty()) return false;
  for (char c : s)
    if (c < '0' || c > '9') return false;
  return true;
}

Form readUnsigned(std::string_view s, uint64_t max, uint64_t* out) {
  if (!isDigits(s)) return Form::Absent;
  uint64_t v = 0;
  for (char c : s) {
    auto digit = static_cast<uint64_t>(c - '0');
    if (v > (max - digit) / 10) return Form::Unfit;
    v = v * 10 + digit;
  }
  *out = v;
  return Form::Read;
}

Form readNumber(std::string_view s, int64_t* out) {
  bool negative = !s.empty() && s.front() == '-';
  if (negative) s.remove_prefix(1);
  uint64_t magnitude = 0;
  uint64_t max = uint64_t{std::numeric_limits<int64_t>::max()} + (negative ? 1 : 0);
  Form f = readUnsigned(s, max, &magnitude);
  if (f == Form::Read)
    *out = negative ? static_cast<int64_t>(0 - magnitude) : static_cast<int64_t>(magnitude);
  return f;
}

Form readPointer(std::string_view s, uint32_t* out) {
  if (s.size() < 3 || s.front() != '@' || s.back() != '@') return Form::Absent;
  uint64_t v = 0;
  Form f = readUnsigned(s.substr(1, s.size() - 2), kNullDrn, &v);
  *out = static_cast<uint32_t>(v);
  return f;
}

// Digit groups split by the given separators, each within its own limit:
// the pieces of a date or a time.
Form readGroups(std::string_view s, const char* separators, const uint64_t* limits, size_t count,
                uint64_t* out) {
  Form result = Form::Read;
  for (size_t i = 0; i < count; ++i) {
    size_t end = i + 1 < count ? s.find(separators[i]) : s.size();
    if (end == std::string_view::npos) return Form::Absent;
    Form f = readUnsigned(s.substr(0, end), limits[i], &out[i]);
    if (f == Form::Absent) return f;
    if (f == Form::Unfit) result = f;  // the rest must still be in the form
    s.remove_prefix(i + 1 < count ? end + 1 : end);
  }
  return result;
}

Form readDate(std::string_view s, flm::FlmDate* out) {
  const uint64_t limits[] = {0xFFFF, 0xFF, 0xFF};
  uint64_t v[3] = {};
  Form f = readGroups(s, "--", limits, 3, v);
  *out = {static_cast<uint16_t>(v[0]), static_cast<uint8_t>(v[1]), static_cast<uint8_t>(v[2])};
  return f;
}

Form readTime(std::string_view s, flm::FlmTime* out) {
  const uint64_t limits[] = {0xFF, 0xFF, 0xFF, 0xFF};
  uint64_t v[4] = {};
  Form f = readGroups(s, "::.", limits, 4, v);
  *out = {static_cast<uint8_t>(v[0]), static_cast<uint8_t>(v[1]), static_cast<uint8_t>(v[2]),
          static_cast<uint8_t>(v[3])};
  return f;
}

Form readTimestamp(std::string_view s, flm::FlmTimestamp* out) {
  size_t space = s.find(' ');
  if (space == std::string_view::npos) return Form::Absent;
  Form date = readDate(s.substr(0, space), &out->date);
  Form time = readTime(s.substr(space + 1), &out->time);
  if (date == Form::Absent || time == Form::Absent) return Form::Absent;
  return date == Form::Read && time == Form::Read ? Form::Read : Form::Unfit;
}

Form readReal(std::string_view s, double* out) {
  // strtod would skip the blanks itself; the dump never writes them.
  if (s.empty() || s.front() == ' ' || s.front() == '\t') return Form::Absent;
  std::string copy(s);
  char* end = nullptr;
  *out = std::strtod(copy.c_str(), &end);
  return end == copy.c_str() + copy.size() ? Form::Read : Form::Absent;
}

// The dump doubles a double quote at either end of a text.
std::string_view unquote(std::string_view s) {
  if (!s.empty() && s.front() == '"') s.remove_prefix(1);
  if (!s.empty() && s.back() == '"') s.remove_suffix(1);
  return s;
}

// Enough of a value to recognise it in a message. Built front to back:
// putting the quote before a finished string makes GCC 12 at -O3 see an
// overlapping copy of an impossible size in the insert.
std::string shown(std::string_view s) {
  constexpr size_t kShown = 60;
  std::string out = "'";
  out.append(s.substr(0, kShown));
  out.append(s.size() > kShown ? "...'" : "'");
  return out;
}

class Loader {
 public:
  Loader(flm::Database* db, const std::string& source) : db_(db), source_(source) {
    flm::poolInit(&pool_, 2048);
  }
  ~Loader() { flm::poolFree(&pool_); }
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;

  RCODE run(const std::string& text) {
    size_t start = 0;
    while (start < text.size()) {
      size_t end = text.find('\n', start);
      if (end == std::string::npos) end = text.size();
      std::string_view line(text.data() + start, end - start);
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      ++lineNo_;
      RCODE rc = oneLine(line);
      if (rc) return rc;
      start = end + 1;
    }
    return finishRecord();
  }

  const std::string& error() const { return error_; }

 private:
  RCODE fail(RCODE rc, size_t line, const std::string& message) {
    error_ = source_ + ":" + std::to_string(line) + ": " + message;
    return rc;
  }
  RCODE fail(RCODE rc, const std::string& message) { return fail(rc, lineNo_, message); }

  RCODE oneLine(std::string_view line) {
    if (line.find_first_not_of(" \t") == std::string_view::npos) return flm::FERR_OK;
    if (line.front() == '#') return flm::FERR_OK;
    if (line.substr(0, 5) == "STORE") return groupLine(line);
    return fieldLine(line);
  }

  RCODE groupLine(std::string_view line) {
    RCODE rc = finishRecord();
    if (rc) return rc;
    constexpr std::string_view kStore = "STORE ", kContainer = " CONTAINER ";
    size_t middle = line.find(kContainer);
    uint64_t store = 0, container = 0;
    Form s = Form::Absent, c = Form::Absent;
    if (line.substr(0, kStore.size()) == kStore && middle != std::string_view::npos) {
      s = readUnsigned(line.substr(kStore.size(), middle - kStore.size()), UINT32_MAX, &store);
      c = readUnsigned(line.substr(middle + kContainer.size()), UINT16_MAX, &container);
    }
    if (s == Form::Absent || c == Form::Absent)
      return fail(flm::FERR_SYNTAX, "expected STORE <n> CONTAINER <n>, found " + shown(line));
    if (s == Form::Unfit || store > flm::kMaxStore)
      return fail(flm::FERR_INVALID_PARM,
                  "store past the highest there is (" + std::to_string(flm::kMaxStore) + ")");
    if (c == Form::Unfit || !db_->dictionary().hasContainer(static_cast<uint16_t>(container)))
      return fail(
          flm::FERR_BAD_CONTAINER,
          "the database has no container " + std::string(line.substr(middle + kContainer.size())));
    store_ = static_cast<uint32_t>(store);
    container_ = static_cast<uint16_t>(container);
    inGroup_ = true;
    return flm::FERR_OK;
  }

  RCODE fieldLine(std::string_view line) {
    if (!inGroup_)
      return fail(flm::FERR_SYNTAX, "a record line before any STORE <n> CONTAINER <n> line");
    size_t pos = line.find_first_not_of(' ');
    size_t digitsEnd = line.find_first_not_of("0123456789", pos);
    if (digitsEnd == pos)
      return fail(flm::FERR_BAD_FIELD_LEVEL, "expected a level number, found " + shown(line));
    if (digitsEnd == std::string_view::npos) digitsEnd = line.size();
    uint64_t level = 0;
    if (readUnsigned(line.substr(pos, digitsEnd - pos), kMaxLevel, &level) != Form::Read)
      return fail(flm::FERR_GED_MAXLVLNUM, "level " + shown(line.substr(pos, digitsEnd - pos)) +
                                               " is deeper than a record goes (" +
                                               std::to_string(kMaxLevel) + ")");
    if (digitsEnd == line.size() || line[digitsEnd] != ' ')
      return fail(flm::FERR_SYNTAX, "expected a space and a field name after the level");
    std::string_view rest = line.substr(digitsEnd + 1);

    uint32_t drn = 0;
    if (!rest.empty() && rest.front() == '@') {
      if (level != 0)
        return fail(flm::FERR_GED_BAD_RECID, "only a level-0 line carries a record number");
      size_t close = rest.find('@', 1);
      uint64_t number = 0;
      if (close == std::string_view::npos ||
          readUnsigned(rest.substr(1, close - 1), kNullDrn - 1, &number) != Form::Read ||
          number == 0)
        return fail(flm::FERR_GED_BAD_RECID,
                    "bad record number " +
                        shown(rest.substr(0, close == rest.npos ? close : close + 1)) + " (1 to " +
                        std::to_string(kNullDrn - 1) + ")");
      if (close + 1 >= rest.size() || rest[close + 1] != ' ')
        return fail(flm::FERR_SYNTAX, "expected a space and a field name after the record number");
      drn = static_cast<uint32_t>(number);
      rest.remove_prefix(close + 2);
    }

    size_t nameEnd = std::min(rest.find(' '), rest.size());
    std::string_view name = rest.substr(0, nameEnd);
    if (name.empty()) return fail(flm::FERR_SYNTAX, "missing field name");
    uint16_t tag = 0;
    if (!lookUp(name, &tag))
      return fail(flm::FERR_BAD_FIELD_NUM, "unknown field name " + shown(name));
    rest.remove_prefix(nameEnd);

    RCODE rc = flm::FERR_OK;
    if (level == 0) {
      if ((rc = finishRecord()) != flm::FERR_OK) return rc;
    } else if (!root_) {
      return fail(flm::FERR_GED_SKIP_LEVEL, "a record starts at level 0");
    } else if (level > uint64_t{last_->level} + 1) {
      return fail(flm::FERR_GED_SKIP_LEVEL, "level " + std::to_string(level) +
                                                " skips a level after level " +
                                                std::to_string(last_->level));
    }
    Node* field = flm::nodeMake(&pool_, tag, &rc);
    if (!field) return fail(rc, "out of memory");
    field->level = static_cast<uint8_t>(level);
    if ((rc = putValue(field, name, rest)) != flm::FERR_OK) return rc;

    // Lines come in document order, which is the order of the field list: a
    // field always goes at its end.
    if (level == 0) {
      root_ = field;
      drn_ = drn;
      recordLine_ = lineNo_;
    } else {
      field->prev = last_;
      last_->next = field;
    }
    last_ = field;
    return flm::FERR_OK;
  }

  bool lookUp(std::string_view name, uint16_t* tag) const {
    if (name.find('\0') != std::string_view::npos) return false;
    if (db_->nameTable().getFromTagName(std::string(name).c_str(), tag)) return true;
    constexpr std::string_view kTag = "TAG_";
    if (name.size() <= kTag.size()) return false;
    for (size_t i = 0; i < kTag.size(); ++i)
      if (std::toupper(static_cast<unsigned char>(name[i])) != kTag[i]) return false;
    uint64_t number = 0;
    if (readUnsigned(name.substr(kTag.size()), UINT16_MAX, &number) != Form::Read) return false;
    *tag = static_cast<uint16_t>(number);
    return true;
  }

  // `rest` is what follows the name: nothing, or a space and the value.
  RCODE putValue(Node* field, std::string_view name, std::string_view rest) {
    if (rest.empty()) return flm::FERR_OK;
    constexpr std::string_view kNote = storage::kErrorNote;
    if (rest.substr(0, kNote.size()) == kNote)
      return fail(flm::FERR_GED_BAD_VALUE, "the dump could not read this value (" +
                                               std::string(rest.substr(kNote.size(), 40)) + ")");
    std::string_view value = rest.substr(1);
    const flm::FieldDef* def = db_->dictionary().field(field->tag);
    flm::ValueType type = def ? def->type : flm::FLM_TEXT_TYPE;
    if (def && type != flm::FLM_TEXT_TYPE) {
      Form f = Form::Absent;
      RCODE rc = putTyped(field, type, value, &f);
      if (f == Form::Unfit) return badValue(type, name, value);
      if (f == Form::Read) return stored(rc);
    }
    return def && type == flm::FLM_TEXT_TYPE ? putText(field, value)
                                             : putByShape(field, name, value);
  }

  RCODE putTyped(Node* field, flm::ValueType type, std::string_view value, Form* form) {
    switch (type) {
      case flm::FLM_NUMBER_TYPE: {
        int64_t v = 0;
        if ((*form = readNumber(value, &v)) == Form::Read) return flm::putInt(&pool_, field, v);
        break;
      }
      case flm::FLM_CONTEXT_TYPE: {
        uint32_t v = 0;
        if ((*form = readPointer(value, &v)) == Form::Read) return flm::putRecPtr(&pool_, field, v);
        break;
      }
      case flm::FLM_BINARY_TYPE:
        if (value == kBinary) {
          *form = Form::Read;
          return flm::putBinary(&pool_, field, nullptr, 0);
        }
        break;
      case flm::FLM_REAL_TYPE: {
        double v = 0;
        if ((*form = readReal(value, &v)) == Form::Read) return flm::putReal(&pool_, field, v);
        break;
      }
      case flm::FLM_DATE_TYPE: {
        flm::FlmDate v{};
        if ((*form = readDate(value, &v)) == Form::Read) return flm::putDate(&pool_, field, v);
        break;
      }
      case flm::FLM_TIME_TYPE: {
        flm::FlmTime v{};
        if ((*form = readTime(value, &v)) == Form::Read) return flm::putTime(&pool_, field, v);
        break;
      }
      case flm::FLM_TMSTAMP_TYPE: {
        flm::FlmTimestamp v{};
        if ((*form = readTimestamp(value, &v)) == Form::Read)
          return flm::putTimestamp(&pool_, field, v);
        break;
      }
      default:
        break;
    }
    return flm::FERR_OK;
  }

  RCODE putByShape(Node* field, std::string_view name, std::string_view value) {
    for (flm::ValueType type :
         {flm::FLM_CONTEXT_TYPE, flm::FLM_NUMBER_TYPE, flm::FLM_BINARY_TYPE}) {
      Form f = Form::Absent;
      RCODE rc = putTyped(field, type, value, &f);
      if (f == Form::Unfit) return badValue(type, name, value);
      if (f == Form::Read) return stored(rc);
    }
    return putText(field, value);
  }

  // Text goes in as written or not at all: nothing is replaced on the way.
  RCODE putText(Node* field, std::string_view value) {
    if (value.find('\0') != std::string_view::npos)
      return fail(flm::FERR_GED_BAD_VALUE, "a NUL byte in the value");
    if (!isUtf8(value)) return fail(flm::FERR_GED_BAD_VALUE, "the value is not UTF-8 text");
    value = unquote(value);
    RCODE rc = flm::putUtf8(&pool_, field, value.data(), value.size());
    return stored(rc);
  }

  RCODE stored(RCODE rc) {
    return rc ? fail(rc, std::string("the value could not be stored: ") + flm::errorName(rc)) : rc;
  }

  RCODE badValue(flm::ValueType type, std::string_view name, std::string_view value) {
    const char* what = type == flm::FLM_NUMBER_TYPE    ? "number (past 64 bits)"
                       : type == flm::FLM_CONTEXT_TYPE ? "record pointer (past 32 bits)"
                       : type == flm::FLM_DATE_TYPE    ? "date"
                       : type == flm::FLM_TIME_TYPE    ? "time"
                                                       : "timestamp";
    return fail(flm::FERR_GED_BAD_VALUE,
                std::string("bad ") + what + " " + shown(value) + " for " + std::string(name));
  }

  RCODE finishRecord() {
    if (!root_) return flm::FERR_OK;
    uint32_t drn = drn_;
    RCODE rc = flm::FERR_OK;
    if (drn) {
      bool taken = false;
      rc = db_->exists(store_, container_, drn, &taken);
      if (!rc && taken)
        return fail(flm::FERR_EXISTS, recordLine_,
                    "record @" + std::to_string(drn) + "@ is already in store " +
                        std::to_string(store_) + " container " + std::to_string(container_));
    }
    if (!rc) rc = db_->add(store_, container_, &drn, root_);
    if (rc)
      return fail(rc, recordLine_,
                  std::string("the record could not be added: ") + flm::errorName(rc));
    flm::poolReset(&pool_, nullptr);
    root_ = last_ = nullptr;
    return flm::FERR_OK;
  }

  flm::Database* db_;
  const std::string& source_;
  std::string error_;
  size_t lineNo_ = 0;
  bool inGroup_ = false;
  uint32_t store_ = 0;
  uint16_t container_ = 0;
  flm::PoolMemoryManager pool_;
  Node* root_ = nullptr;
  Node* last_ = nullptr;
  uint32_t drn_ = 0;
  size_t recordLine_ = 0;
};

}  // namespace

RCODE loadRecordDump(flm::Database* db, const std::string& text, const std::string& sourceName,
                     std::string* error) {
  std::string message;
  RCODE rc = flm::FERR_OK;
  if (!db) {
    rc = flm::FERR_INVALID_PARM;
    message = sourceName + ": no database";
  } else if (db->transActive()) {
    // Its records could not be taken back without undoing the caller's own.
    rc = flm::FERR_TRANS_ACTIVE;
    message = sourceName + ": a transaction is already open; the text needs one of its own";
  } else if ((rc = db->transBegin()) != flm::FERR_OK) {
    message = sourceName + ": no transaction could be begun: " + flm::errorName(rc);
  } else {
    Loader loader(db, sourceName);
    rc = loader.run(text);
    message = loader.error();
    if (!rc && (rc = db->transCommit()) != flm::FERR_OK)
      message = sourceName + ": the records could not be committed: " + flm::errorName(rc);
    if (rc && db->transActive()) db->transAbort();
  }
  if (error) *error = rc ? message : std::string();
  return rc;
}

}  // namespace build
