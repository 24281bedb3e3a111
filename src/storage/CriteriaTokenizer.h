// The criteria language of FlmCursor::SetCriteria: its tokens, how each is
// read from the criteria text, and what kind of cursor piece it becomes.
//
// Reading and classifying touch nothing but the text, the caller's buffer and
// an optional name table, so the language can be exercised without a cursor.
#ifndef CORVID5_STORAGE_CRITERIATOKENIZER_H
#define CORVID5_STORAGE_CRITERIATOKENIZER_H

#include <cstddef>
#include <cstdint>

namespace flm {
class NameTable;
}

namespace storage {

// The token buffer's size: the criteria's length plus its terminator, kept as
// an unsigned 16-bit number as it always was. A string of 65535 bytes or more
// wraps it round: 65535 bytes leave no room at all (the criteria end at once),
// 65539 bytes a buffer of 4, whose tokens are cut after 3 bytes (the rest of a
// cut token reads as the next one).
uint16_t criteriaBufferSize(size_t criteriaLength);

// One token, classified.
struct CriteriaToken {
  enum Kind : uint8_t { End, Operator, Text, Number, Field };
  Kind kind = End;
  uint16_t op = 0;             // Operator: the engine's operator code
  uint16_t field = 0;          // Field: the field number
  uint32_t number = 0;         // Number
  const char* text = nullptr;  // Text: the token's bytes as read (terminated)
  uint16_t length = 0;         // Text: their count
};

// Reads the criteria one token at a time into a buffer of the caller's, which
// must hold `bufferSize` bytes. A token never grows past bufferSize - 1 bytes
// and is always terminated; a buffer of no bytes holds no token, so the
// criteria end at once.
class CriteriaTokenizer {
 public:
  CriteriaTokenizer(const char* criteria, char* buffer, uint16_t bufferSize);

  // The next token's bytes into the buffer; its length, 0 at the end of the
  // criteria. An empty token ends the criteria wherever it comes from: a
  // bracket where a token would begin, an empty quoted string, an escape that
  // yields nothing.
  uint16_t read();
  // Whether the token last read was quoted.
  bool quoted() const { return quoted_; }
  const char* token() const { return buffer_; }
  // The text not read yet.
  const char* rest() const { return next_; }
  // Where the token last read began, past the white space before it: for an
  // empty token, where the criteria ended.
  const char* tokenStart() const { return start_; }

  // read(), then classifyCriteriaToken().
  CriteriaToken next(const flm::NameTable* names);

 private:
  bool take(char c);
  // One character or escape at next_ into the buffer; false when the token
  // ends inside an escape.
  bool takeOne();

  const char* next_;
  const char* start_;
  char* buffer_;
  uint16_t size_;
  uint16_t length_ = 0;
  bool quoted_ = false;
};

// The operator code of a token, compared with the language's operator names
// ignoring letter case; 0 when it names none.
uint16_t criteriaOperator(const char* token);

// What a token read from the criteria stands for, in this order: quoted text;
// an operator; a field named in `names` (may be null: no names); "#" and a
// field number; a number of decimal digits; else text as typed. Numbers too
// large for 32 bits read as 4294967295, as the C library's reading always
// gave; a field number above 65535 reads as 0, which no cursor accepts, rather
// than as some other field.
CriteriaToken classifyCriteriaToken(const char* token, uint16_t length, bool quoted,
                                    const flm::NameTable* names);

}  // namespace storage

#endif
