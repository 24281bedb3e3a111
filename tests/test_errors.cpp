// FLAIM error codes and the library's exception: codes, names, every message
// shape, and the lifetime of the message buffer across copies.
#include <corvid5/corvid5.h>
#include <gtest/gtest.h>

#include <string>

#include "flm/ErrorCodes.h"

#if defined(__SANITIZE_ADDRESS__)
#define CORVID5_TEST_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CORVID5_TEST_LSAN 1
#endif
#endif
#ifdef CORVID5_TEST_LSAN
#include <sanitizer/lsan_interface.h>
#endif

namespace {

std::string MessageOf(const PLXException& e) { return static_cast<const char*>(e); }
std::string NameOf(uint32_t code) { return static_cast<const char*>(FlmError(code)); }
uint32_t CodeOf(const FlmError& e) { return static_cast<uint32_t>(e); }

}  // namespace

TEST(FlmErrorTest, CodeSuccessAndAssignment) {
  FlmError e(0x1C037u);
  EXPECT_EQ(CodeOf(e), 0x1C037u);
  EXPECT_EQ(e.GetError(), 0xC037u);
  EXPECT_EQ(e.Success(), 0);
  EXPECT_EQ(e.Success(0), 1);
  EXPECT_EQ(CodeOf(e), 0u);
  EXPECT_EQ(e.Success(flm::FERR_EOF_HIT), 0);
  EXPECT_EQ(CodeOf(e), uint32_t{flm::FERR_EOF_HIT});
}

// The names themselves are the engine's (see test_flm_tree); the message
// wraps them.
TEST(FlmErrorTest, Message) {
  EXPECT_EQ(FlmError(flm::FERR_MEM).GetMessage(), "FLAIM error (0xC037): MEM");
  EXPECT_EQ(FlmError(0u).GetMessage(), "FLAIM error (0x0): OK");
  // The whole code is shown and named, not only its low bits.
  EXPECT_EQ(FlmError(0x1C006u).GetMessage(), "FLAIM error (0x1C006): " + NameOf(0x1C006u));
  EXPECT_NE(NameOf(0x1C006u), "NOT_FOUND");
}

// The table's ends, the row listed out of order, and numbers past it.
TEST(PLXExceptionTest, FormatsTheRowTextAndNumber) {
  const struct {
    ePLXError error;
    const char* message;
  } rows[] = {
      {errUndefined, "PLX API: Undefined error [0]"},
      {errIncompatibleDatabase, "PLX API: This database is incompatible [107]"},
      {errLink, "PLX API: Unexpected error [2]"},
      {static_cast<ePLXError>(108), "PLX API: Unexpected error [108]"},
      {static_cast<ePLXError>(999), "PLX API: Unexpected error [999]"}};
  for (const auto& row : rows) {
    PLXException e(row.error, nullptr, 0);
    EXPECT_EQ(MessageOf(e), row.message);
    EXPECT_EQ(e.GetError(), row.error);
    EXPECT_EQ(e.GetFLAIMError(), 0u);
  }
}

TEST(PLXExceptionTest, FlaimAndLinkKinds) {
  PLXException flaim(uint32_t{flm::FERR_MEM}, nullptr, 0);
  EXPECT_EQ(flaim.GetError(), errFlaim);
  EXPECT_EQ(MessageOf(flaim), "FLAIM: MEM [0xC037]");
  EXPECT_EQ(MessageOf(PLXException(0x7u, nullptr, 0)), "FLAIM: " + NameOf(7) + " [0x0007]");

  PLXException wide(0xABCDC006u, nullptr, 0);
  EXPECT_EQ(wide.GetFLAIMError(), 0xC006u);
  EXPECT_EQ(MessageOf(wide), "FLAIM: " + NameOf(0xABCDC006u) + " [0xABCDC006]");

  // The number alone chooses the shape, whichever constructor set it.
  EXPECT_EQ(MessageOf(PLXException(errFlaim, nullptr, 0)), "FLAIM: OK [0x0000]");

  PLXException link(linkUndefined, nullptr, 0);
  EXPECT_EQ(link.GetError(), errLink);
  EXPECT_EQ(link.GetFLAIMError(), 0u);
}

TEST(PLXExceptionTest, FileAndLineFollowTheMessage) {
  EXPECT_EQ(MessageOf(PLXException(errOutOfMemory, "Concept", 58)),
            "PLX API: Out of memory [100] -- Concept (58)");
  EXPECT_EQ(MessageOf(PLXException(uint32_t{flm::FERR_NOT_FOUND}, "Polylex", 12)),
            "FLAIM: NOT_FOUND [0xC006] -- Polylex (12)");
  // A file alone is shown; a line alone is not.
  EXPECT_EQ(MessageOf(PLXException(errOutOfMemory, "Concept", 0)),
            "PLX API: Out of memory [100] -- Concept");
  EXPECT_EQ(MessageOf(PLXException(errOutOfMemory, nullptr, 58)), "PLX API: Out of memory [100]");
  EXPECT_EQ(MessageOf(PLXException(uint32_t{flm::FERR_MEM}, nullptr, 58)), "FLAIM: MEM [0xC037]");

  const std::string file(1000, 'x');
  const std::string head = "PLX API: Out of memory [100] -- ";
  EXPECT_EQ(MessageOf(PLXException(errOutOfMemory, file.c_str(), 3)),
            head + file.substr(0, 399 - head.size()));
}

TEST(PLXExceptionTest, ReformattingLeavesTheEarlierTextReadable) {
  PLXException e(errNoSiteRecord, "Polylex", 0);
  const char* first = e;
#ifdef CORVID5_TEST_LSAN
  __lsan_ignore_object(first);  // dropped, not freed, by the second formatting
#endif
  const char* second = e;
  EXPECT_NE(first, second);
  EXPECT_STREQ(first, "PLX API: Site record could not be retrieved from database [103] -- Polylex");
  EXPECT_STREQ(second, first);
}

TEST(PLXExceptionTest, CopiesShareTheBufferAndOutliveEachOther) {
  const char* kExpected = "FLAIM: MEM [0xC037] -- Concept (9)";
  auto* source = new PLXException(uint32_t{flm::FERR_MEM}, "Concept", 9);
  const char* shared = *source;
  PLXException formatted(*source);
  PLXException unformatted(*source);
  EXPECT_EQ(MessageOf(formatted), kExpected);
  // Formatting a copy must not take the buffer from under its source.
  EXPECT_STREQ(shared, kExpected);

  // The source goes first; the copy that never formatted still holds the
  // shared buffer, and frees it at the end, once.
  delete source;
  PLXException assigned(errUndefined, nullptr, 0);
  assigned = unformatted;
  const PLXException& self = assigned;
  assigned = self;
  EXPECT_EQ(assigned.GetError(), errFlaim);
  EXPECT_EQ(MessageOf(assigned), kExpected);
  EXPECT_STREQ(shared, kExpected);

  // Assigning over a formatted exception gives its buffer back.
  PLXException target(errOutOfMemory, "Concept", 1);
  EXPECT_EQ(MessageOf(target), "PLX API: Out of memory [100] -- Concept (1)");
  target = PLXException(errDataLayout, nullptr, 0);
  EXPECT_EQ(MessageOf(target), "PLX API: Internal data layout error [105]");
}
