// The record dump without a buffer's limit, for tools that show records of
// any size.
#include <corvid5/FlmRecord.h>
#include <corvid5/Platform.h>
#include <corvid5/RecordText.h>

#include "flm/Database.h"
#include "storage/RecordFormat.h"

uint32_t FormatRecordText(FlmRecord& record, std::string* text) {
  void* current = record.GetCurrentField();
  record.GotoRoot();
  const node* root = static_cast<const node*>(record.GetCurrentField());
  record.SetCurrentField(current);
  // Format names the fields from the record's database, as here; a record
  // without a live one shows TAG_n.
  const flm::Database* database = flm::Database::fromHandle(record.GetDatabase());
  return storage::formatTreesToString(1, root, text, database ? &database->nameTable() : nullptr,
                                      CP_ACP);
}
