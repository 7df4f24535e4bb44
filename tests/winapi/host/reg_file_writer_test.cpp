#include "winapi/host/reg_file_writer.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/text.h"
#include "winapi/host/reg_file_reader.h"

namespace winapi::host {
namespace {

using Bytes = std::vector<std::uint8_t>;

// Without a zero behind it.
Bytes Units(std::u16string_view text) { return tests::Utf16Bytes(text, /*zeros=*/0); }

// The file's text, byte-order mark and all.
std::u16string Written(const RegistryTree& tree) {
  const std::string bytes = WriteRegFile(tree);
  EXPECT_EQ(bytes.size() % 2, 0U);
  std::u16string text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                  (static_cast<unsigned char>(bytes[i + 1]) << 8));
  }
  return text;
}

// The line or lines of one value named "v".
std::u16string ValueLines(Dword type, Bytes data) {
  RegistryTree tree;
  tree.Create(u"HKEY_USERS\\k")->SetValue(u"v", type, std::move(data));
  const std::u16string text = Written(tree);
  const std::u16string start =
      u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n[HKEY_USERS\\k]\r\n\"v\"=";
  EXPECT_EQ(text.substr(0, start.size()), start);
  EXPECT_TRUE(text.ends_with(u"\r\n\r\n"));
  return text.substr(start.size(), text.size() - start.size() - 4);
}

TEST(HostRegFileWriter, FormsOfData) {
  struct Case {
    const char* name;
    Dword type;
    Bytes data;
    std::u16string written;
  };
  const Case cases[] = {
      {"Text", 1, Units(std::u16string_view(u"ab\0", 3)), u"\"ab\""},
      {"TextEscapes", 1, Units(std::u16string_view(u"\\\"\0", 3)), u"\"\\\\\\\"\""},
      {"TextEmpty", 1, Units(std::u16string_view(u"\0", 1)), u"\"\""},
      {"TextLetters", 1, Units(std::u16string_view(u"\u00e4\xD800\0", 3)), u"\"\u00e4\xD800\""},
      {"TextNoTerminator", 1, Units(u"ab"), u"hex(1):61,00,62,00"},
      {"TextTwoTerminators", 1, Units(std::u16string_view(u"a\0\0", 3)),
       u"hex(1):61,00,00,00,00,00"},
      {"TextEmbeddedZero", 1, Units(std::u16string_view(u"a\0b\0", 4)),
       u"hex(1):61,00,00,00,62,00,00,00"},
      {"TextOdd", 1, {'a', 0, 0}, u"hex(1):61,00,00"},
      {"TextNoData", 1, {}, u"hex(1):"},
      {"TextLineFeed", 1, Units(std::u16string_view(u"\n\0", 2)), u"hex(1):0a,00,00,00"},
      {"TextCarriageReturn", 1, Units(std::u16string_view(u"\r\0", 2)), u"hex(1):0d,00,00,00"},
      {"TextTab", 1, Units(std::u16string_view(u"\t\0", 2)), u"hex(1):09,00,00,00"},
      {"Expand", 2, Units(std::u16string_view(u"a\0", 2)), u"hex(2):61,00,00,00"},
      {"Binary", 3, {0, 0x1F, 0xFF}, u"hex:00,1f,ff"},
      {"BinaryEmpty", 3, {}, u"hex:"},
      {"Dword", 4, {0x78, 0x56, 0x34, 0x12}, u"dword:12345678"},
      {"DwordZeros", 4, {1, 0, 0, 0}, u"dword:00000001"},
      {"DwordShort", 4, {1, 2, 3}, u"hex(4):01,02,03"},
      {"None", 0, {1}, u"hex(0):01"},
      {"Qword", 11, {1, 0, 0, 0, 0, 0, 0, 0}, u"hex(b):01,00,00,00,00,00,00,00"},
      {"Large", 0xFFFF1234, {1}, u"hex(ffff1234):01"},
  };
  for (const Case& c : cases) EXPECT_EQ(ValueLines(c.type, c.data), c.written) << c.name;
}

// As the system's own export breaks them: 25 bytes behind "v"=hex: and 25 a line further on, no
// line longer than 80 characters.
TEST(HostRegFileWriter, LongDataIsBroken) {
  const std::u16string lines = ValueLines(3, Bytes(60, 0xAB));
  std::size_t start = 0;
  std::size_t count = 0;
  for (std::size_t end = 0; end != std::u16string::npos; start = end + 2, ++count) {
    end = lines.find(u"\r\n", start);
    const std::u16string line = lines.substr(start, end - start);
    EXPECT_LE(line.size() + (count == 0 ? 4U : 0U), 80U);
    EXPECT_EQ(line.ends_with(u",\\"), end != std::u16string::npos);
    EXPECT_EQ(line.starts_with(u"  "), count != 0);
  }
  EXPECT_EQ(count, 3U);
}

TEST(HostRegFileWriter, KeysStandInOrderWithTheirParents) {
  RegistryTree tree;
  (void)tree.Create(u"HKEY_USERS\\b\\c");
  (void)tree.Create(u"HKEY_USERS\\A");
  tree.Create(u"HKEY_LOCAL_MACHINE")->SetValue(u"", 4, {1, 0, 0, 0});
  tree.Create(u"HKEY_USERS\\b")->SetValue(u"q\"\\\r\n", 3, {1});
  EXPECT_EQ(Written(tree),
            u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n"
            u"[HKEY_LOCAL_MACHINE]\r\n@=dword:00000001\r\n\r\n"
            u"[HKEY_USERS\\A]\r\n\r\n"
            u"[HKEY_USERS\\b]\r\n\"q\\\"\\\\\\r\\n\"=hex:01\r\n\r\n"
            u"[HKEY_USERS\\b\\c]\r\n\r\n");
}

TEST(HostRegFileWriter, AnEmptyRegistryIsAHeader) {
  EXPECT_EQ(Written(RegistryTree()), u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n");
}

std::u16string RandomText(std::mt19937& random, std::size_t most) {
  constexpr std::u16string_view kNasty = u"\"\\[]=-;#@ \t\r\nx\u00e4\xD800\xDC00\uFEFF\uFFFF";
  std::u16string text(random() % (most + 1), u'\0');
  for (char16_t& unit : text) {
    unit =
        random() % 2 == 0 ? kNasty[random() % kNasty.size()] : static_cast<char16_t>(random() | 1);
  }
  return text;
}

Bytes RandomData(std::mt19937& random) {
  if (random() % 2 == 0) {
    Bytes text = Units(RandomText(random, 8));
    text.resize(text.size() + random() % 5, 0);
    return text;
  }
  Bytes bytes(random() % 60);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

void Fill(RegistryTree& tree, std::mt19937& random) {
  for (int i = 0; i < 12; ++i) {
    const RegistryKeyPtr key =
        tree.Create(u"HKEY_USERS\\" + RandomText(random, 5) + u"\\" + RandomText(random, 3));
    if (key == nullptr) continue;  // a line break where the file can't carry it
    for (int j = 0; j < 6; ++j) {
      key->SetValue(RandomText(random, 4), static_cast<Dword>(random() % 13), RandomData(random));
    }
  }
}

void ExpectEqual(const RegistryKey& left, const RegistryKey& right) {
  EXPECT_EQ(left.Name(), right.Name());
  EXPECT_EQ(left.Values(), right.Values());
  ASSERT_EQ(left.SubKeys().size(), right.SubKeys().size());
  auto other = right.SubKeys().begin();
  for (const auto& child : left.SubKeys()) ExpectEqual(*child, **other++);
}

TEST(HostRegFileWriter, WhatIsWrittenReadsBackEqual) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    std::mt19937 random(seed);
    RegistryTree tree;
    Fill(tree, random);
    RegistryTree back;
    RegFileError error;
    ASSERT_TRUE(ParseRegFile(WriteRegFile(tree), back, error))
        << "seed " << seed << ", line " << error.line << ": " << error.reason;
    for (std::size_t i = 0; i < tree.Hives().size(); ++i) {
      ExpectEqual(*tree.Hives()[i], *back.Hives()[i]);
    }
    ASSERT_FALSE(HasFailure()) << "seed " << seed;
  }
}

// More than one portion has room for.
RegistryTree LargeTree() {
  RegistryTree tree;
  const RegistryKeyPtr key = tree.Create(u"HKEY_USERS\\k");
  for (char16_t name = u'a'; name <= u'z'; ++name) {
    key->SetValue(std::u16string(1, name), /*type=*/3, Bytes(5000, 0x5A));
  }
  return tree;
}

TEST(HostRegFileWriter, PortionsAreTheWholeFile) {
  const RegistryTree tree = LargeTree();
  std::vector<std::string> portions;
  EXPECT_TRUE(WriteRegFile(tree, [&portions](std::string_view portion) {
    portions.emplace_back(portion);
    return true;
  }));
  EXPECT_GT(portions.size(), 3U);
  std::string whole;
  for (const std::string& portion : portions) whole += portion;
  EXPECT_EQ(whole, WriteRegFile(tree));
  RegistryTree back;
  RegFileError error;
  ASSERT_TRUE(ParseRegFile(whole, back, error)) << error.reason;
  for (std::size_t i = 0; i < tree.Hives().size(); ++i) {
    ExpectEqual(*tree.Hives()[i], *back.Hives()[i]);
  }
}

TEST(HostRegFileWriter, NothingMoreIsHandedOnBehindARefusal) {
  const RegistryTree tree = LargeTree();
  int handedOn = 0;
  EXPECT_FALSE(WriteRegFile(tree, [&handedOn](std::string_view) { return ++handedOn < 2; }));
  EXPECT_EQ(handedOn, 2);
}

}  // namespace
}  // namespace winapi::host
