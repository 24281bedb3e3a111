// A record's dump as text of any length. FlmRecord::Format writes into a
// caller's buffer of at most 65535 bytes, cuts what does not fit and does
// not say so; a record with a long text outgrows every buffer it can take.
#ifndef CORVID5_RECORDTEXT_H
#define CORVID5_RECORDTEXT_H

#include <corvid5/Export.h>
#include <stdint.h>

#include <string>

class FlmRecord;

// Appends to `text` the lines FlmRecord::Format writes for the whole of
// `record`, whatever their length. The names come from the record's database
// while it is open (Format keeps its own copy once made); without one the
// fields show as TAG_n. Answers the engine's code, 0 on success (an FlmError
// made of it gives its message); the record's current field stays.
CORVID5_API uint32_t FormatRecordText(FlmRecord& record, std::string* text);

#endif
