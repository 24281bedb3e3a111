#include <corvid5/Platform.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/Files.h"
#include "support/TestFiles.h"

namespace {

std::vector<WCHAR> wide(std::u16string_view text) {
  std::vector<WCHAR> units(text.begin(), text.end());
  units.push_back(0);
  return units;
}

std::u16string units(const WCHAR* text, std::size_t count) { return {text, text + count}; }

uint32_t prefixOf(BSTR text) {
  uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - sizeof bytes, sizeof bytes);
  return bytes;
}

// Converts into a buffer with a guard byte after `size`; the guard must survive.
std::string toNarrow(const std::vector<WCHAR>& text, int length, int size, int* result,
                     const char* defaultChar = nullptr, BOOL* used = nullptr) {
  std::string out(static_cast<std::size_t>(size) + 1, '#');
  *result = WideCharToMultiByte(CP_ACP, WC_COMPOSITECHECK, text.data(), length, out.data(), size,
                                defaultChar, used);
  EXPECT_EQ(out.back(), '#');
  out.pop_back();
  return out;
}

std::u16string toWide(std::string_view text, int length, int size, int* result, DWORD flags = 0) {
  std::vector<WCHAR> out(static_cast<std::size_t>(size) + 1, 0xBEEF);
  *result = MultiByteToWideChar(CP_UTF8, flags, text.data(), length, out.data(), size);
  EXPECT_EQ(out.back(), 0xBEEF);
  return units(out.data(), static_cast<std::size_t>(size));
}

template <typename... Args>
std::string format(const char* pattern, Args... args) {
  char buffer[1025];
  const int count = wsprintfA(buffer, pattern, args...);
  EXPECT_EQ(count, static_cast<int>(std::strlen(buffer)));
  return buffer;
}

}  // namespace

TEST(PlatformStrings, LengthPrefixTerminatorAndOddArguments) {
  const auto text = wide(u"h\u00e9llo");
  BSTR copy = SysAllocString(text.data());
  EXPECT_EQ(prefixOf(copy), 10u);
  EXPECT_EQ(SysStringLen(copy), 5u);
  EXPECT_EQ(SysStringByteLen(copy), 10u);
  EXPECT_EQ(units(copy, 6), units(text.data(), 6));
  SysFreeString(copy);

  // An explicit length keeps embedded zeros and stops at the length.
  const auto zeros = wide(std::u16string(u"a\0bcd", 5));
  BSTR part = SysAllocStringLen(zeros.data(), 3);
  EXPECT_EQ(SysStringLen(part), 3u);
  EXPECT_EQ(units(part, 4), std::u16string(u"a\0b\0", 4));
  SysFreeString(part);

  // Without text the units are zeroed.
  BSTR blank = SysAllocStringLen(nullptr, 4);
  EXPECT_EQ(prefixOf(blank), 8u);
  EXPECT_EQ(units(blank, 5), std::u16string(5, u'\0'));
  SysFreeString(blank);

  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  EXPECT_EQ(SysStringByteLen(nullptr), 0u);
  SysFreeString(nullptr);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);  // bytes overflow the prefix
  BSTR empty = SysAllocString(wide(u"").data());
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(prefixOf(empty), 0u);
  EXPECT_EQ(empty[0], 0);
  SysFreeString(empty);
}

TEST(PlatformVariants, InitEmptiesAndClearReleasesStrings) {
  VARIANT value;
  std::memset(&value, 0xAB, sizeof value);
  VariantInit(&value);
  EXPECT_EQ(value.vt, VT_EMPTY);
  EXPECT_EQ(value.wReserved1 | value.wReserved2 | value.wReserved3, 0);
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(wide(u"leak me").data());  // LeakSanitizer reports it if kept
  EXPECT_EQ(VariantClear(&value), S_OK);
  EXPECT_EQ(value.vt, VT_EMPTY);
  value.vt = VT_I4;
  EXPECT_EQ(VariantClear(&value), S_OK);
  EXPECT_EQ(value.vt, VT_EMPTY);
  // Unknown types are refused and left alone.
  value.vt = 9;  // a dispatch pointer in the wider world; not ours to release
  value.lVal = 42;
  EXPECT_EQ(VariantClear(&value), DISP_E_BADVARTYPE);
  EXPECT_EQ(value.vt, 9);
  EXPECT_EQ(value.lVal, 42);
  EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

// A terminated input counts and converts its terminator; an explicit length
// converts embedded zeros and adds none.
TEST(PlatformCodePage, TerminatedAndExplicitLengths) {
  const auto text = wide(u"h\u00e9\U0001F600");
  int result = 0;
  EXPECT_EQ(toNarrow(text, -1, 0, &result), "");
  EXPECT_EQ(result, 8);
  EXPECT_EQ(toNarrow(text, -1, 8, &result), std::string("h\xC3\xA9\xF0\x9F\x98\x80", 8));
  EXPECT_EQ(toWide("h\xC3\xA9\xF0\x9F\x98\x80", -1, 5, &result),
            std::u16string(u"h\u00e9\U0001F600", 5));
  EXPECT_EQ(result, 5);
  EXPECT_EQ(toNarrow(wide(std::u16string(u"a\0b", 3)), 3, 3, &result), std::string("a\0b", 3));
  EXPECT_EQ(toWide(std::string_view("a\0bc", 4), 3, 3, &result), std::u16string(u"a\0b", 3));
  EXPECT_EQ(result, 3);
}

TEST(PlatformCodePage, ShortBuffersFailWithoutWritingPastThem) {
  const auto text = wide(u"h\u00e9llo");
  int result = 0;
  SetLastError(0);
  toNarrow(text, -1, 6, &result);  // seven bytes needed
  EXPECT_EQ(result, 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  SetLastError(0);
  toWide("\xF0\x9F\x98\x80", 4, 1, &result);  // a pair cannot be split
  EXPECT_EQ(result, 0);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
}

TEST(PlatformCodePage, BadInputBecomesDefaultOrReplacementOrFailsOnRequest) {
  const auto text = wide(u"a\xD800" u"b\xDC00\xDC00\xD800");
  int result = 0;
  BOOL used = 0;
  EXPECT_EQ(toNarrow(text, 6, 6, &result, nullptr, &used), "a?b???");
  EXPECT_TRUE(used);
  EXPECT_EQ(toNarrow(text, 2, 2, &result, "\xA4z", &used), "a\xA4");  // one byte, as given
  EXPECT_EQ(toWide("a\xFF" "b\xE2\x82", 5, 4, &result, MB_PRECOMPOSED), u"a\uFFFDb\uFFFD");
  EXPECT_EQ(toWide("\xC0\xAF\xED\xA0\x80", 5, 5, &result), u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
  SetLastError(0);
  toWide("a\xFF", 2, 2, &result, MB_ERR_INVALID_CHARS);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(GetLastError(), ERROR_NO_UNICODE_TRANSLATION);
}

TEST(PlatformCodePage, UnusableArgumentsAreParameterErrors) {
  const auto text = wide(u"abc");
  char narrow[8] = {};
  WCHAR units[8];
  const auto fails = [](int result) {
    return result == 0 && GetLastError() == ERROR_INVALID_PARAMETER;
  };
  const auto toNarrowWith = [&](UINT page, const WCHAR* in, int length, char* out, int size) {
    SetLastError(0);
    return WideCharToMultiByte(page, 0, in, length, out, size, nullptr, nullptr);
  };
  EXPECT_TRUE(fails(toNarrowWith(1252, text.data(), -1, narrow, 8)));
  EXPECT_TRUE(fails(toNarrowWith(CP_ACP, nullptr, -1, narrow, 8)));
  EXPECT_TRUE(fails(toNarrowWith(CP_ACP, text.data(), -2, narrow, 8)));
  EXPECT_TRUE(fails(toNarrowWith(CP_ACP, text.data(), -1, narrow, -1)));
  SetLastError(0);
  EXPECT_TRUE(fails(MultiByteToWideChar(CP_ACP, 0, nullptr, -1, units, 8)));
  SetLastError(0);
  auto* sameBuffer = reinterpret_cast<WCHAR*>(narrow);
  EXPECT_TRUE(fails(MultiByteToWideChar(CP_ACP, 0, narrow, -1, sameBuffer, 4)));
  SetLastError(1234);  // success leaves the previous error alone
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, text.data(), -1, narrow, 8, nullptr, nullptr), 4);
  EXPECT_EQ(GetLastError(), 1234u);
}

TEST(PlatformFormat, IntegersNarrowStringsAndCharacters) {
  EXPECT_EQ(format("%04X", 0xC005u), "C005");
  EXPECT_EQ(format("%lu %d", 4294967295u, 7), "4294967295 7");
  EXPECT_EQ(format("%ld|%i", -5, INT_MIN), "-5|-2147483648");
  EXPECT_EQ(format("%x %X %#x %#X", 255u, 255u, 255u, 255u), "ff FF 0xff 0XFF");
  EXPECT_EQ(format("%hd %hu %hx", 0x18765, 70000u, 0x12345678u), "-30875 4464 5678");
  EXPECT_EQ(format("[%5d][%-5d][%05d][%#06x]", -5, -5, -5, 255u), "[   -5][-5   ][-0005][0x00ff]");

  const char unterminated[] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(format("%s|%s", "abc", static_cast<const char*>(nullptr)), "abc|(null)");
  EXPECT_EQ(format("[%5s][%-5s][%.3s]", "ab", "ab", unterminated), "[   ab][ab   ][abc]");
  EXPECT_EQ(format("%c%3c%hs", 'x', 'y', "z"), "x  yz");
}

TEST(PlatformFormat, WideStringsAndCharactersBecomeUtf8) {
  const auto text = wide(u"gr\u00fc\u00dfe \U0001F600");
  EXPECT_EQ(format("%ws|%ls|%S", text.data(), text.data(), text.data()),
               "gr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x98\x80|gr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x98\x80|"
               "gr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x98\x80");
  const WCHAR* none = nullptr;
  EXPECT_EQ(format("%.3ws|%ws", text.data(), none), "gr\xC3\xBC|(null)");
  EXPECT_EQ(format("%lc%C%ws", 0xE9, 0xE9, wide(u"\xD800").data()), "\xC3\xA9\xC3\xA9?");
}

TEST(PlatformFormat, FloatingPointPercentUnknownsAndTheLimit) {
  EXPECT_EQ(format("%g %g %.3g [%6g]", 0.5, 1e20, 3.14159, -0.5), "0.5 1e+20 3.14 [  -0.5]");
  EXPECT_EQ(format("100%% %q %5q %d", 7), "100% %q %5q 7");  // unknowns take no argument
  EXPECT_EQ(format("tail %l"), "tail %l");

  // Output stops at 1023 bytes and a terminator.
  char buffer[1100];
  std::memset(buffer, '#', sizeof buffer);
  const std::string longText(2000, 'a');
  EXPECT_EQ(wsprintfA(buffer, "%s", longText.c_str()), 1023);
  EXPECT_EQ(buffer[1023], '\0');
  EXPECT_EQ(buffer[1024], '#');
  EXPECT_EQ(wsprintfA(buffer, "x%2000dy", 5), 1023);
}

TEST(PlatformLastError, IsPerThread) {
  SetLastError(5);
  DWORD seenByOther = 1;
  std::thread other([&] {
    seenByOther = GetLastError();
    SetLastError(9);
  });
  other.join();
  EXPECT_EQ(seenByOther, 0u);
  EXPECT_EQ(GetLastError(), 5u);
}

// A finished file takes its name only where that name is free: whatever holds
// it already, of any kind, stays as it was.
TEST(PlatformFiles, RenameNoReplaceTakesOnlyAFreeName) {
  namespace fs = std::filesystem;
  testfiles::ScratchDir dir;
  const std::string from = dir.file("new"), file = dir.file("file"), fifo = dir.file("fifo"),
                    link = dir.file("link"), folder = dir.file("folder");
  testfiles::writeFile(from, "new");
  testfiles::writeFile(file, "old");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::create_symlink("nowhere", link);
  fs::create_directory(folder);
  for (const std::string& taken : {file, fifo, link, folder}) {
    const std::error_code error = platform::renameNoReplace(from, taken);
    EXPECT_TRUE(error == std::errc::file_exists) << taken << ": " << error.message();
  }
  EXPECT_EQ(testfiles::readFile(from), "new");
  EXPECT_EQ(testfiles::readFile(file), "old");
  EXPECT_TRUE(fs::is_fifo(fifo));
  EXPECT_EQ(fs::read_symlink(link), "nowhere");
  EXPECT_TRUE(fs::is_empty(folder));

  const std::string to = dir.file("free");
  EXPECT_FALSE(platform::renameNoReplace(from, to));
  EXPECT_EQ(testfiles::readFile(to), "new");
  EXPECT_FALSE(fs::exists(from));
  EXPECT_TRUE(platform::renameNoReplace(from, dir.file("other")) ==
              std::errc::no_such_file_or_directory);
}
