#include "winapi/host/reg_file_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
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

// The same with the high byte first.
std::string Swapped(std::string bytes) {
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
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
  for (const auto& value : key->Values()) values.push_back(value);
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

// Not to one that the deletion took away with it.
TEST(HostRegFileReader, AKeyBehindADeletionIsANewOne) {
  RegistryTree tree;
  RegFileError error;
  ASSERT_TRUE(
      ParseRegFile("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_USERS\\k\\a]\r\n"
                   "\"v\"=hex:01\r\n[-HKEY_USERS\\k]\r\n[HKEY_USERS\\k\\b]\r\n",
                   tree, error))
      << error.reason;
  ASSERT_NE(tree.Find(u"HKEY_USERS\\k\\b"), nullptr);
  EXPECT_EQ(tree.Find(u"HKEY_USERS\\k\\a"), nullptr);
}

TEST(HostRegFileReader, KeysByTheirLines) {
  struct Case {
    const char* name;
    std::string line;
    std::u16string path;
  };
  const Case cases[] = {
      {"LineFeed", "[HKEY_USERS\\a\nb]", u"HKEY_USERS\\a\nb"},
      {"CarriageReturn", "[HKEY_USERS\\a\rb]", u"HKEY_USERS\\a\rb"},
      {"LineEnds", "[HKEY_USERS\\a\r\n\r\nb]", u"HKEY_USERS\\a\r\n\r\nb"},
      {"LineEndAtTheEnd", "[HKEY_USERS\\a\r\n] ; why", u"HKEY_USERS\\a\r\n"},
      {"BracketInTheSecondLine", "[HKEY_USERS\\a\nb]c]", u"HKEY_USERS\\a\nb]c"},
      {"CommentSignInTheSecondLine", "[HKEY_USERS\\a\n;b]", u"HKEY_USERS\\a\n;b"},
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
    EXPECT_TRUE(ParseRegFile(kHeader + c.line + "\n", tree, error)) << c.name << error.reason;
    EXPECT_NE(tree.Find(c.path), nullptr) << c.name;
  }
}

TEST(HostRegFileReader, Encodings) {
  const std::u16string wide =
      u"Windows Registry Editor Version 5.00\r\n[HKEY_USERS\\k]\r\n\"\u00e4\"=hex:\r\n";
  const std::string narrow =
      "Windows Registry Editor Version 5.00\r\n[HKEY_USERS\\k]\r\n\"\xC3\xA4\"=hex:\r\n";
  const Values expected = {{u"\u00e4", 3, {}}};
  EXPECT_EQ(Read(Utf16(wide)), expected);
  EXPECT_EQ(Read(Utf16(wide).substr(2)), expected) << "without a mark";
  EXPECT_EQ(Read(Swapped(Utf16(wide))), expected);
  EXPECT_EQ(Read(Swapped(Utf16(wide)).substr(2)), expected) << "without a mark";
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

TEST(HostRegFileReader, SurrogatesInKeysPass) {
  const std::u16string pair = u"HKEY_USERS\\\U0001F600";
  const std::u16string lone = u"HKEY_USERS\\a\xDC00\xD800";
  const std::u16string file =
      u"Windows Registry Editor Version 5.00\n[" + pair + u"]\n[" + lone + u"]\n";
  RegistryTree tree;
  RegFileError error;
  ASSERT_TRUE(ParseRegFile(Utf16(file), tree, error)) << error.reason;
  EXPECT_NE(tree.Find(pair), nullptr);
  EXPECT_NE(tree.Find(lone), nullptr);
}

// What is read and told, as text.
std::string Warnings(const std::string& bytes) {
  RegistryTree tree;
  RegFileError error;
  std::vector<RegFileError> warnings;
  EXPECT_TRUE(ParseRegFile(bytes, tree, error, &warnings)) << error.line << ": " << error.reason;
  std::string text;
  for (const RegFileError& told : warnings) {
    text += std::to_string(told.line) + ": " + told.reason + "\n";
  }
  return text;
}

TEST(HostRegFileReader, KeysOfUnknownHivesAreLeftOut) {
  const std::string file = kHeader + "[HKLM\\a]\n\"v\"=hex:01\n[-HKLM\\b]\n" + kKey +
                           "\"w\"=hex:02\n[hklm\\c]\n\"x\"=hex:03\n[HKEY_DYN_DATA]\n@=\"\"\n";
  EXPECT_EQ(Read(file), (Values{{u"w", 3, {2}}}));
  EXPECT_EQ(Warnings(file),
            "3: the hive HKLM isn't known; its keys are left out\n"
            "10: the hive HKEY_DYN_DATA isn't known; its keys are left out\n");
  EXPECT_EQ(Warnings(kHeader + kKey), "");
}

// The older form is in a code page, and so are the texts in its hex data.
TEST(HostRegFileReader, TheOlderForm) {
  const std::string file =
      "REGEDIT4\r\n\r\n" + kKey +
      "\"\xE4\"=\"\x80\x81\"\r\n\"b\"=hex:80\r\n\"d\"=dword:1\r\n\"e\"=hex(2):25,80,00\r\n"
      "\"m\"=hex(7):61,00,9f,00,00\r\n\"s\"=hex(1):61,00\r\n";
  const Values expected = {{u"b", 3, {0x80}},
                           {u"d", 4, {1, 0, 0, 0}},
                           {u"e", 2, {0x25, 0, 0xAC, 0x20, 0, 0}},
                           {u"m", 7, {'a', 0, 0, 0, 0x78, 0x01, 0, 0, 0, 0}},
                           {u"s", 1, {'a', 0}},
                           {u"\u00e4", 1, {0xAC, 0x20, 0x81, 0, 0, 0}}};
  EXPECT_EQ(Read(file), expected);
  EXPECT_EQ(Warnings(file), "4: a file of this form doesn't name its code page; 1252 is taken\n");
  EXPECT_EQ(Warnings("REGEDIT4\n" + kKey + "\"a\"=\"b\"\n"), "");
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
      {"OlderFormInUtf16", Utf16(u"REGEDIT4\r\n"), 1,
       "the header \"Windows Registry Editor Version 5.00\" is missing"},
      {"OlderFormGoesOn", "REGEDIT45\r\n", 1, "there is text behind the header"},
      {"Zeros", kHeader + std::string(10, '\0'), 3,
       "this is neither a key nor a value nor a comment"},
      {"OddUtf16", std::string("\xFF\xFEW", 3), 1, "the UTF-16 text has an odd number of bytes"},
      {"OddUtf16WithoutAMark", std::string("W\0i\0n", 5), 1,
       "the UTF-16 text has an odd number of bytes"},
      {"Latin1", kHeader + "; \xE4\r\n", 1, "the text is neither UTF-16 nor UTF-8"},
      {"Garbage", start + "garbage", 4, "this is neither a key nor a value nor a comment"},
      {"ValueBeforeAKey", kHeader + "\"v\"=hex:01", 3, "a value stands before the first key"},
      {"KeyOpen", start + "[HKEY_USERS\\x\r\n\"v\"=-", 4,
       "the bracket that closes the key is missing"},
      {"KeyOpenBeforeAKey", start + "[HKEY_USERS\\x\r\n\r\n[HKEY_USERS\\y]\r\n", 4,
       "the bracket that closes the key is missing"},
      {"KeyOpenAtTheEnd", start + "[HKEY_USERS\\x\r\nabc\r\n", 4,
       "the bracket that closes the key is missing"},
      {"KeyAndMore", start + "[HKEY_USERS\\x] y", 4, "there is text behind the key"},
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
      {"HexThreeDigits", start + "\"v\"=hex:012", 4, "a byte of two hexadecimal digits is missing"},
      {"HexOneDigit", start + "\"v\"=hex:01,2,03\r\n", 4,
       "a byte of two hexadecimal digits is missing"},
      {"HexOneDigitAtTheEnd", start + "\"v\"=hex:01,2\r\n", 4,
       "a byte of two hexadecimal digits is missing"},
      {"HexCommaAtTheEnd", start + "\"v\"=hex:01,", 4,
       "a byte of two hexadecimal digits is missing"},
      {"HexTwoCommas", start + "\"v\"=hex:01,,02", 4,
       "a byte of two hexadecimal digits is missing"},
      {"HexOther", start + "\"v\"=hex:01,0g", 4, "a byte of two hexadecimal digits is missing"},
      {"HexBackslashInside", start + "\"v\"=hex:01,\\ 02", 4,
       "there is text behind the backslash that continues the data"},
      {"HexCutBehindTheBackslash", start + "\"v\"=hex:01,\\\r\n", 5,
       "the file ends within the value's data"},
      {"HexRunsIntoTheNext", start + "\"v\"=hex:01,\\\r\n\"w\"=-", 5,
       "a byte of two hexadecimal digits is missing"},
      {"LastLineWithoutAnEnd", start + "\"v\"=dword:1", 4,
       "the last line has no end: the file is torn"},
      {"LastTextWithoutAnEnd", start + "\"v\"=\"a\r\nb\"", 5,
       "the last line has no end: the file is torn"},
      {"HeaderWithoutAnEnd", "Windows Registry Editor Version 5.00", 1,
       "the last line has no end: the file is torn"},
      {"CommentWithoutAnEnd", kHeader + "; end", 3, "the last line has no end: the file is torn"},
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

// A cut of a good file reads where it leaves whole lines, and is told elsewhere.
TEST(HostRegFileReader, EveryCutIsSafe) {
  const std::string file =
      kHeader + kKey +
      "@=\"d\\\\\"\r\n\"v\"=hex(7):61,00,\\\r\n  00,00 ; c\r\n\"w\"=dword:0000000f\r\n"
      "\"x\"=-\r\n[-HKEY_USERS\\k\\y]\r\n[HKEY_USERS\\k]z]\r\n";
  const std::string wide = Utf16(std::u16string(file.begin(), file.end()));
  for (const std::string& whole : {file, wide}) {
    const std::size_t width = whole == wide ? 2 : 1;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
      const std::string cut = whole.substr(0, length);
      RegistryTree tree;
      RegFileError error;
      const bool good = ParseRegFile(cut, tree, error);
      std::string text;
      for (std::size_t i = width == 2 ? 2 : 0; i < length; i += width) text += cut[i];
      const bool endsLine = text.ends_with('\r') || text.ends_with('\n');
      const bool goesOn = text.ends_with("\\\r") || text.ends_with("\\\r\n");
      const bool isWhole = length % width == 0 && endsLine && !goesOn;
      EXPECT_EQ(good, isWhole) << length << ": " << error.reason;
      EXPECT_EQ(good, error.reason.empty()) << length;
      EXPECT_EQ(good, error.line == 0) << length;
    }
  }
}

// Each shape is one that takes hours with a step that looks at all that was read so far: such a
// case doesn't end before the limit that the tests' runner sets.
TEST(HostRegFileReader, LargeFilesComeToAnEnd) {
  struct Case {
    const char* name;
    std::string start, repeated, end;
  };
  const Case cases[] = {
      {"Brackets", "[HKEY_USERS\\", "]", "]\n"},
      {"OpenText", "[HKEY_USERS\\k]\n\"v\"=\"", "\\\\", "\"\n"},
      {"OpenKey", "[HKEY_USERS\\", "\n", "]\n"},
      {"Continuations", "[HKEY_USERS\\k]\n\"v\"=hex:", "01,\\\n\n", "02\n"},
      {"UnknownHives", "", "[X]\n", "\n"},
      {"SameKey", "", "[HKEY_USERS\\k]\n", ""},
      {"DeletedKeys", "", "[-HKEY_USERS\\k]\n", ""},
      {"Backslashes", "[HKEY_USERS", "\\", "k]\n"},
      {"Comments", "", ";[\n", ""},
  };
  for (const Case& c : cases) {
    std::string file = kHeader + c.start;
    while (file.size() < 4'000'000) file += c.repeated;
    RegistryTree tree;
    RegFileError error;
    EXPECT_TRUE(ParseRegFile(file + c.end, tree, error)) << c.name << ": " << error.reason;
  }
}

TEST(HostRegFileReader, ABranchIsKnownByItsPartsHoweverThePathIsSpelled) {
  const std::string file = kHeader + "[HKEY_USERS\\\\K\\a]\n\"v\"=dword:1\n[\\HKEY_USERS\\k\\b]\n" +
                           "[HKEY_USERS\\k\\\\c\\]\n[HKEY_USERS\\kk]\n";
  RegistryTree tree;
  RegFileError error;
  ASSERT_TRUE(ParseRegFile(file, tree, error, nullptr, {u"HKEY_USERS\\k"})) << error.reason;
  ASSERT_NE(tree.Find(u"HKEY_USERS\\k\\a"), nullptr);
  EXPECT_NE(tree.Find(u"HKEY_USERS\\k\\a")->Value(u"v"), nullptr);
  EXPECT_EQ(tree.Find(u"HKEY_USERS\\k")->SubKeys().size(), 3U);
  EXPECT_EQ(tree.Find(u"HKEY_USERS")->SubKeys().size(), 1U);
}

TEST(HostRegFileReader, APathThatNoKeyCanHaveIsDamageOutsideTheBranchesToo) {
  std::string deep = "HKEY_USERS";
  for (int i = 0; i < 512; ++i) deep += "\\x";
  for (const std::string& path : {deep, std::string("\\HKEY_NONE\\x"), std::string()}) {
    RegistryTree tree;
    RegFileError error;
    EXPECT_FALSE(
        ParseRegFile(kHeader + "[" + path + "]\n", tree, error, nullptr, {u"HKEY_USERS\\k"}))
        << path;
    EXPECT_EQ(error.reason, "no key can have this path");
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
