#include "winapi/host/reg_file_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "winapi/host/control.h"

namespace winapi::host {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Values = std::vector<RegistryValue>;

const std::string kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";
const std::string kKey = "[HKEY_USERS\\k]\r\n";

std::string Utf16(std::u16string_view text) {
  std::string bytes = "\xFF\xFE";
  for (const char16_t unit : text) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

// The values of HKEY_USERS\k after reading `bytes`.
Values Read(const std::string& bytes) {
  RegistryTree tree;
  RegFileError error;
  EXPECT_TRUE(ParseRegFile(bytes, tree, error)) << error.line << ": " << error.reason;
  Values values;
  const RegistryKeyPtr key = tree.Find(u"HKEY_USERS\\k");
  if (key == nullptr) return values;
  for (const auto& [upper, value] : key->Values()) values.push_back(value);
  return values;
}

Values ReadLine(const std::string& line) { return Read(kHeader + kKey + line + "\r\n"); }

TEST(HostRegFileReader, FormsOfData) {
  struct Case {
    const char* name;
    std::string data;
    Dword type;
    Bytes bytes;
  };
  const Case cases[] = {
      {"Text", "\"ab\"", 1, {'a', 0, 'b', 0, 0, 0}},
      {"EmptyText", "\"\"", 1, {0, 0}},
      {"Escapes", R"("\\\"\r\n\0x")", 1, {'\\', 0, '"', 0, '\r', 0, '\n', 0, 0, 0, 'x', 0, 0, 0}},
      {"BareLineBreak", "\"a\r\nb\"", 1, {'a', 0, '\r', 0, '\n', 0, 'b', 0, 0, 0}},
      {"CommentSignsInText", "\";#\"", 1, {';', 0, '#', 0, 0, 0}},
      {"TextAndComment", "\"\"  ; why", 1, {0, 0}},
      {"Dword", "dword:12345678", 4, {0x78, 0x56, 0x34, 0x12}},
      {"DwordUpperCase", "dword:ABCDEF01", 4, {0x01, 0xEF, 0xCD, 0xAB}},
      {"DwordShort", "dword:1f", 4, {0x1F, 0, 0, 0}},
      {"DwordBlanks", "dword: 2 ;x", 4, {2, 0, 0, 0}},
      {"Binary", "hex:00,1f,FF", 3, {0x00, 0x1F, 0xFF}},
      {"BinaryOneDigit", "hex:1,f", 3, {0x01, 0x0F}},
      {"BinaryEmpty", "hex:", 3, {}},
      {"BinaryEmptyAndComment", "hex: ; none", 3, {}},
      {"BinaryBlanks", "hex: 01 , 02 ", 3, {1, 2}},
      {"BinaryContinued", "hex:01,\\\r\n  02,\\\r\n\t03", 3, {1, 2, 3}},
      {"BinaryContinuedAtOnce", "hex:\\\r\n  01", 3, {1}},
      {"BinaryContinuedOverComments", "hex:01,\\\r\n\r\n ; why\r\n02", 3, {1, 2}},
      {"TypedNone", "hex(0):01", 0, {1}},
      {"TypedText", "hex(1):61", 1, {'a'}},
      {"TypedTextEmpty", "hex(1):", 1, {}},
      {"TypedExpand", "hex(2):25,00", 2, {'%', 0}},
      {"TypedDword", "hex(4):01,02,03", 4, {1, 2, 3}},
      {"TypedMulti", "hex(7):00,00", 7, {0, 0}},
      {"TypedQword", "hex(b):01,00,00,00,00,00,00,00", 11, {1, 0, 0, 0, 0, 0, 0, 0}},
      {"TypedUpperCase", "hex(B):01", 11, {1}},
      {"TypedLarge", "hex(ffff1234):01", 0xFFFF1234, {1}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ReadLine("\"v\"=" + c.data), (Values{{u"v", c.type, c.bytes}})) << c.name;
  }
}

TEST(HostRegFileReader, NamesOfValues) {
  struct Case {
    const char* name;
    std::string written;
    std::u16string read;
  };
  const Case cases[] = {
      {"Default", "@", u""},
      {"DefaultInQuotes", "\"\"", u""},
      {"Escapes", R"("\\\"\n")", u"\\\"\n"},
      {"Equals", "\"a=b\"", u"a=b"},
      {"Blanks", "  \"a\" ", u"a"},
      {"Brackets", "\"[a]\"", u"[a]"},
      {"Letters", "\"\xC3\xA4\"", u"\u00e4"},
      {"At", "\"@\"", u"@"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ReadLine(c.written + "= hex:01"), (Values{{c.read, 3, {1}}})) << c.name;
  }
}

TEST(HostRegFileReader, DeletionsOfValues) {
  EXPECT_EQ(ReadLine("\"v\"=hex:01\r\n\"V\"=-"), Values{});
  EXPECT_EQ(ReadLine("@=hex:01\r\n@=- ; gone"), Values{});
  EXPECT_EQ(ReadLine("\"none\"=-"), Values{});
  EXPECT_EQ(ReadLine("\"v\"=-\r\n\"v\"=hex:01"), (Values{{u"v", 3, {1}}}));
}

TEST(HostRegFileReader, DeletionsOfKeys) {
  const Values one = {{u"v", 3, {1}}};
  EXPECT_EQ(ReadLine("\"v\"=hex:01\r\n[-HKEY_USERS\\K]"), Values{});
  EXPECT_EQ(ReadLine("[-HKEY_USERS\\none]"), Values{});
  EXPECT_EQ(ReadLine("\"v\"=hex:01\r\n[-HKEY_USERS\\x]\r\n\"w\"=hex:01"), one)
      << "values below a deletion mean nothing";
  EXPECT_EQ(ReadLine("\"w\"=hex:01\r\n[-HKEY_USERS\\k]\r\n" + kKey + "\"v\"=hex:01"), one);
}

TEST(HostRegFileReader, KeysByTheirLines) {
  struct Case {
    const char* name;
    std::string line;
    std::u16string path;
  };
  const Case cases[] = {
      {"Plain", "[HKEY_LOCAL_MACHINE\\SOFTWARE\\a]", u"HKEY_LOCAL_MACHINE\\SOFTWARE\\a"},
      {"Indented", " \t[HKEY_USERS\\a]  ", u"HKEY_USERS\\a"},
      {"Comment", "[HKEY_USERS\\a] ; why", u"HKEY_USERS\\a"},
      {"BracketInTheName", "[HKEY_USERS\\a]b]", u"HKEY_USERS\\a]b"},
      {"Blanks", "[HKEY_USERS\\ a ]", u"HKEY_USERS\\ a "},
      {"MinusInTheName", "[HKEY_USERS\\-a]", u"HKEY_USERS\\-a"},
      {"CurrentUser", "[HKEY_CURRENT_USER\\a]", u"HKEY_CURRENT_USER\\a"},
      {"ClassesRoot", "[HKEY_CLASSES_ROOT\\a]", u"HKEY_CLASSES_ROOT\\a"},
      {"CurrentConfig", "[HKEY_CURRENT_CONFIG\\a]", u"HKEY_CURRENT_CONFIG\\a"},
      {"Letters", "[HKEY_USERS\\\xC3\xA4]", u"HKEY_USERS\\\u00e4"},
      {"TrailingBackslash", "[HKEY_USERS\\a\\]", u"HKEY_USERS\\a"},
  };
  for (const Case& c : cases) {
    RegistryTree tree;
    RegFileError error;
    EXPECT_TRUE(ParseRegFile(kHeader + c.line, tree, error)) << c.name << error.reason;
    EXPECT_NE(tree.Find(c.path), nullptr) << c.name;
  }
}

TEST(HostRegFileReader, Encodings) {
  const std::u16string wide =
      u"Windows Registry Editor Version 5.00\r\n[HKEY_USERS\\k]\r\n\"\u00e4\"=hex:";
  const std::string narrow =
      "Windows Registry Editor Version 5.00\r\n[HKEY_USERS\\k]\r\n\"\xC3\xA4\"=hex:";
  const Values expected = {{u"\u00e4", 3, {}}};
  EXPECT_EQ(Read(Utf16(wide)), expected);
  EXPECT_EQ(Read(narrow), expected);
  EXPECT_EQ(Read("\xEF\xBB\xBF" + narrow), expected);
}

TEST(HostRegFileReader, LoneSurrogatesPass) {
  const std::u16string file =
      u"Windows Registry Editor Version 5.00\n[HKEY_USERS\\k]\n\"\xD800\"=\"\xDC00\"\n";
  EXPECT_EQ(Read(Utf16(file)), (Values{{u"\xD800", 1, {0x00, 0xDC, 0, 0}}}));
}

TEST(HostRegFileReader, EachKindOfLineEnd) {
  for (const std::string end : {"\r\n", "\n", "\r"}) {
    const std::string file = "Windows Registry Editor Version 5.00" + end + end +
                             "[HKEY_USERS\\k]" + end + "; c" + end + "# d" + end +
                             "\"v\"=hex:01,\\" + end + " 02" + end;
    EXPECT_EQ(Read(file), (Values{{u"v", 3, {1, 2}}}));
  }
}

TEST(HostRegFileReader, TheLastLineNeedsNoEnd) {
  EXPECT_EQ(Read(kHeader + kKey + "\"v\"=dword:1"), (Values{{u"v", 4, {1, 0, 0, 0}}}));
  EXPECT_EQ(Read("Windows Registry Editor Version 5.00"), Values{});
  EXPECT_EQ(Read(kHeader + "; end"), Values{});
}

TEST(HostRegFileReader, LaterLinesWin) {
  EXPECT_EQ(ReadLine("\"V\"=hex:01\r\n\"v\"=dword:2"), (Values{{u"V", 4, {2, 0, 0, 0}}}));
}

TEST(HostRegFileReader, DamageIsToldWithItsLine) {
  struct Case {
    const char* name;
    std::string bytes;
    std::size_t line;
    const char* reason;
  };
  const std::string start = kHeader + kKey;  // three lines
  const Case cases[] = {
      {"Empty", "", 1, "the file is empty"},
      {"OnlyAMark", "\xFF\xFE", 1, "the file is empty"},
      {"NoHeader", kKey, 1, "the header \"Windows Registry Editor Version 5.00\" is missing"},
      {"HeaderCut", "Windows Registry Ed", 1,
       "the header \"Windows Registry Editor Version 5.00\" is missing"},
      {"HeaderGoesOn", "Windows Registry Editor Version 5.001\r\n", 1,
       "there is text behind the header"},
      {"OlderForm", "REGEDIT4\r\n", 1, "this is the older form (REGEDIT4), which isn't supported"},
      {"Zeros", kHeader + std::string(10, '\0'), 3,
       "this is neither a key nor a value nor a comment"},
      {"OddUtf16", std::string("\xFF\xFEW", 3), 1, "the UTF-16 text has an odd number of bytes"},
      {"BigEndian", std::string("\xFE\xFF\0W", 4), 1,
       "UTF-16 with the high byte first isn't supported"},
      {"Latin1", kHeader + "; \xE4\r\n", 1, "the text is neither UTF-16 nor UTF-8"},
      {"Garbage", start + "garbage", 4, "this is neither a key nor a value nor a comment"},
      {"ValueBeforeAKey", kHeader + "\"v\"=hex:01", 3, "a value stands before the first key"},
      {"KeyOpen", start + "[HKEY_USERS\\x\r\n\"v\"=-", 4,
       "the bracket that closes the key is missing"},
      {"KeyAndMore", start + "[HKEY_USERS\\x] y", 4, "there is text behind the key"},
      {"HiveAbbreviated", kHeader + "[HKLM\\x]", 3, "no key can have this path"},
      {"HiveMissing", kHeader + "[]", 3, "no key can have this path"},
      {"NameOpen", start + "\"v", 4, "the quote that closes the text is missing"},
      {"NameWithZero", start + R"("a\0"=-)", 4, "there is a zero in the value's name"},
      {"NoEquals", start + "\"v\" \"x\"", 4, "the = behind the value's name is missing"},
      {"NoData", start + "\"v\"=", 4, "the value's data is of no known form"},
      {"UnknownData", start + "\"v\"=qword:1", 4, "the value's data is of no known form"},
      {"TextOpen", start + "\"v\"=\"abc\r\ndef\r\n", 4,
       "the quote that closes the text is missing"},
      {"TextRunsIntoTheNext", start + "\"v\"=\"abc\r\n\"w\"=\"def\"", 5,
       "there is text behind the value's data"},
      {"TextAndMore", start + "\"v\"=\"abc\"def", 4, "there is text behind the value's data"},
      {"UnknownEscape", start + R"("v"="C:\temp")", 4,
       "the backslash in the text begins no known escape"},
      {"EscapeAtTheEnd", start + "\"v\"=\"\\", 4,
       "the backslash in the text begins no known escape"},
      {"MinusAndMore", start + "\"v\"=-1", 4, "there is text behind the value's data"},
      {"DwordEmpty", start + "\"v\"=dword:", 4, "dword: needs one to eight hexadecimal digits"},
      {"DwordNine", start + "\"v\"=dword:123456789", 4,
       "dword: needs one to eight hexadecimal digits"},
      {"DwordOther", start + "\"v\"=dword:12x", 4, "there is text behind the value's data"},
      {"HexNoColon", start + "\"v\"=hex01", 4, "the colon behind hex is missing"},
      {"HexTypeEmpty", start + "\"v\"=hex():01", 4,
       "hex( needs a type of one to eight hexadecimal digits"},
      {"HexTypeOpen", start + "\"v\"=hex(1:01", 4, "the bracket behind the type is missing"},
      {"HexThreeDigits", start + "\"v\"=hex:012", 4,
       "a byte of one or two hexadecimal digits is missing"},
      {"HexCommaAtTheEnd", start + "\"v\"=hex:01,", 4,
       "a byte of one or two hexadecimal digits is missing"},
      {"HexTwoCommas", start + "\"v\"=hex:01,,02", 4,
       "a byte of one or two hexadecimal digits is missing"},
      {"HexOther", start + "\"v\"=hex:01,0g", 4, "there is text behind the value's data"},
      {"HexBackslashInside", start + "\"v\"=hex:01,\\ 02", 4,
       "there is text behind the backslash that continues the data"},
      {"HexCutBehindTheBackslash", start + "\"v\"=hex:01,\\\r\n", 5,
       "the file ends within the value's data"},
      {"HexRunsIntoTheNext", start + "\"v\"=hex:01,\\\r\n\"w\"=-", 5,
       "a byte of one or two hexadecimal digits is missing"},
      {"CountsLinesInTexts", start + "\"v\"=\"a\r\nb\nc\"\r\n?", 7,
       "this is neither a key nor a value nor a comment"},
  };
  for (const Case& c : cases) {
    RegistryTree tree;
    (void)tree.Create(u"HKEY_USERS\\before");
    RegFileError error;
    EXPECT_FALSE(ParseRegFile(c.bytes, tree, error)) << c.name;
    EXPECT_EQ(error.line, c.line) << c.name;
    EXPECT_EQ(error.reason, c.reason) << c.name;
    EXPECT_NE(tree.Find(u"HKEY_USERS\\before"), nullptr) << c.name << ": the tree is as before";
    EXPECT_EQ(tree.Find(u"HKEY_USERS\\k"), nullptr) << c.name << ": nothing was taken over";
  }
}

// Every cut of a good file either reads or is told; none crashes or hangs.
TEST(HostRegFileReader, EveryCutIsSafe) {
  const std::string file =
      kHeader + kKey +
      "@=\"d\\\\\"\r\n\"v\"=hex(7):61,00,\\\r\n  00,00 ; c\r\n\"w\"=dword:0000000f\r\n"
      "\"x\"=-\r\n[-HKEY_USERS\\k\\y]\r\n[HKEY_USERS\\k]z]\r\n";
  const std::string wide = Utf16(std::u16string(file.begin(), file.end()));
  std::size_t read = 0;
  for (const std::string& whole : {file, wide}) {
    for (std::size_t length = 0; length <= whole.size(); ++length) {
      RegistryTree tree;
      RegFileError error;
      const bool good = ParseRegFile(std::string_view(whole).substr(0, length), tree, error);
      if (good) ++read;
      EXPECT_EQ(good, error.reason.empty()) << length;
      EXPECT_EQ(good, error.line == 0) << length;
    }
  }
  EXPECT_GT(read, 10U);
}

// Each shape is one that takes a hundred times as long for ten times the size with a step that
// looks at all that was read so far: the sizes rise, so that it shows before it takes hours.
TEST(HostRegFileReader, LargeFilesTakeLinearTime) {
  struct Case {
    const char* name;
    std::string start, repeated, end;
  };
  const Case cases[] = {
      {"Brackets", "[HKEY_USERS\\", "]", "]"},
      {"OpenText", "[HKEY_USERS\\k]\n\"v\"=\"", "\\\\", "\""},
      {"Continuations", "[HKEY_USERS\\k]\n\"v\"=hex:", "1,\\\n\n", "2"},
      {"SameKey", "", "[HKEY_USERS\\k]\n", ""},
      {"DeletedKeys", "", "[-HKEY_USERS\\k]\n", ""},
      {"Backslashes", "[HKEY_USERS", "\\", "k]"},
      {"Comments", "", ";[\n", ""},
  };
  for (const Case& c : cases) {
    for (const std::size_t size : {100'000u, 300'000u, 1'000'000u, 4'000'000u}) {
      std::string file = kHeader + c.start;
      while (file.size() < size) file += c.repeated;
      RegistryTree tree;
      RegFileError error;
      const auto start = std::chrono::steady_clock::now();
      EXPECT_TRUE(ParseRegFile(file + c.end, tree, error)) << c.name << ": " << error.reason;
      const auto taken = std::chrono::steady_clock::now() - start;
      ASSERT_LT(taken, std::chrono::seconds(10)) << c.name << ", " << size;
    }
  }
}

TEST(HostRegFileReader, ManyKeysAndValues) {
  std::string file = kHeader;
  for (int i = 0; i < 50'000; ++i) {
    const std::string number = std::to_string(i * 7919 % 50'000);
    file += "[HKEY_USERS\\k\\" + number + "]\n\"" + number + "\"=dword:1\n";
  }
  RegistryTree tree;
  RegFileError error;
  ASSERT_TRUE(ParseRegFile(file, tree, error)) << error.reason;
  EXPECT_EQ(tree.Find(u"HKEY_USERS\\k")->SubKeys().size(), 50'000U);
}

}  // namespace
}  // namespace winapi::host
