// Converts registry files by the host layer, for reg_exchange.py, which holds it against another
// reader and writer of the format:
//
//   host_reg_file_tool sample FILE   writes a registry with every kind of value
//   host_reg_file_tool dump FILE     shows what a file says, a key or a value a line
//
// A file that can't be read gives the exit status 1 and a line on the standard error stream.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/text.h"
#include "winapi/host/reg_file_reader.h"
#include "winapi/host/reg_file_writer.h"
#include "winapi/host/registry_tree.h"

namespace {

namespace host = winapi::host;
using tests::Utf16Bytes;

const std::u16string kRoot = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\ZumExchange";

std::vector<std::uint8_t> Without(std::vector<std::uint8_t> bytes) {
  bytes.pop_back();
  return bytes;
}

std::vector<std::uint8_t> Counting(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i);
  return bytes;
}

// Texts with a terminator, which every reader must give back as they are.
void AddTexts(host::RegistryKey& key) {
  key.SetValue(u"", 1, Utf16Bytes(u"the default value"));
  key.SetValue(u"plain", 1, Utf16Bytes(u"C:\\windows\\Installer\\1a2b.msi"));
  key.SetValue(u"empty text", 1, Utf16Bytes(u""));
  key.SetValue(u"quotes \" and \\", 1, Utf16Bytes(u"say \"so\" \\"));
  key.SetValue(u"semicolon;#=", 1, Utf16Bytes(u"; no comment # = [x]"));
  key.SetValue(u"blanks", 1, Utf16Bytes(u"  two \t and one "));
  key.SetValue(u"tab", 1, Utf16Bytes(u"a\tb"));
  key.SetValue(u"cr", 1, Utf16Bytes(u"a\rb"));
  key.SetValue(u"lf", 1, Utf16Bytes(u"a\nb"));
  key.SetValue(u"crlf", 1, Utf16Bytes(u"a\r\nb"));
  key.SetValue(u"control", 1, Utf16Bytes(u"\u0001\u001f\u007f"));
  key.SetValue(u"line separators", 1, Utf16Bytes(u"\u0085\u2028\u2029"));
  key.SetValue(u"letters", 1, Utf16Bytes(u"\u00e4\u0436\u03b1\u4e2d\U0001F600"));
  key.SetValue(u"lone surrogates", 1, Utf16Bytes(u"\xd800x\xdc00"));
  key.SetValue(u"mark", 1, Utf16Bytes(u"\ufeffa\ufffe\uffff"));
  key.SetValue(u"long", 1, Utf16Bytes(std::u16string(40000, u'l')));
  key.SetValue(u"\u00e4\u0436 name", 1, Utf16Bytes(u"x"));
  key.SetValue(u"name\nwith\rbreaks", 1, Utf16Bytes(u"x"));
  key.SetValue(u"0", 1, Utf16Bytes(u"-"));
}

// Texts that quotes don't carry.
void AddOddTexts(host::RegistryKey& key) {
  key.SetValue(u"no terminator", 1, Utf16Bytes(u"abcd", 0));
  key.SetValue(u"two terminators", 1, Utf16Bytes(u"abcd", 2));
  key.SetValue(u"odd", 1, Without(Utf16Bytes(u"abcd", 0)));
  key.SetValue(u"odd zero", 1, Without(Utf16Bytes(u"abcd")));
  key.SetValue(u"one byte", 1, {'a'});
  key.SetValue(u"embedded zero", 1, Utf16Bytes({u"ab\0cd", 5}));
  key.SetValue(u"no data", 1, {});
  key.SetValue(u"only zeros", 1, Utf16Bytes(u"", 2));
}

void AddOtherTypes(host::RegistryKey& key) {
  key.SetValue(u"none", 0, {1, 2, 3});
  key.SetValue(u"none empty", 0, {});
  key.SetValue(u"expand", 2, Utf16Bytes(u"%TEMP%\\x"));
  key.SetValue(u"expand no terminator", 2, Utf16Bytes(u"%TEMP%", 0));
  key.SetValue(u"expand empty", 2, {});
  key.SetValue(u"binary", 3, Counting(256));
  key.SetValue(u"binary empty", 3, {});
  key.SetValue(u"binary one", 3, {0xFF});
  for (std::size_t count = 15; count < 40; ++count) {  // ends of lines at every place
    key.SetValue(u"b" + std::u16string(count, u'x'), 3, Counting(count));
  }
  key.SetValue(u"dword", 4, {0x78, 0x56, 0x34, 0x12});
  key.SetValue(u"dword small", 4, {1, 0, 0, 0});
  key.SetValue(u"dword three bytes", 4, {1, 2, 3});
  key.SetValue(u"dword five bytes", 4, {1, 2, 3, 4, 5});
  key.SetValue(u"dword empty", 4, {});
  key.SetValue(u"dword big endian", 5, {1, 2, 3, 4});
  key.SetValue(u"link", 6, Utf16Bytes(u"\\Registry", 0));
  key.SetValue(u"multi", 7, Utf16Bytes({u"a\0b\0", 4}));
  key.SetValue(u"multi empty", 7, {});
  key.SetValue(u"multi one terminator", 7, Utf16Bytes(u"abc"));
  key.SetValue(u"multi no terminator", 7, Utf16Bytes(u"abc", 0));
  key.SetValue(u"qword", 11, {1, 2, 3, 4, 5, 6, 7, 8});
  key.SetValue(u"qword short", 11, {1, 2, 3});
  key.SetValue(u"type 77", 77, {1, 2, 3});
  key.SetValue(u"type large", 0xFFFF1234, {1, 2, 3});
}

void AddKeys(host::RegistryTree& tree) {
  for (const std::u16string name :
       {u"Empty", u"with ] bracket", u"[both]", u" blanks ", u"\u00e4\u0436", u"-minus", u"a;b#c",
        u"quote\"d", u"Deep\\er\\still", u"\xd800"}) {
    (void)tree.Create(kRoot + u"\\Keys\\" + name);  // these are fine names
  }
  (void)tree.Create(kRoot + u"\\Keys\\" + std::u16string(255, u'k'));
}

int Sample(const char* file) {
  host::RegistryTree tree;
  AddTexts(*tree.Create(kRoot + u"\\Texts"));
  AddOddTexts(*tree.Create(kRoot + u"\\OddTexts"));
  AddOtherTypes(*tree.Create(kRoot + u"\\Others"));
  AddKeys(tree);
  std::ofstream stream(file, std::ios::binary);
  stream << host::WriteRegFile(tree);
  return stream.flush() ? 0 : 1;
}

void ShowText(std::u16string_view text) {
  for (const char16_t unit : text) {
    if (unit > u' ' && unit < 0x7F && unit != u'%') {
      std::putchar(unit);
    } else {
      std::printf("%%%04x", static_cast<unsigned>(unit));
    }
  }
}

void ShowKey(const std::u16string& path, const host::RegistryKey& key) {
  std::printf("key ");
  ShowText(path);
  std::putchar('\n');
  for (const auto& value : key.Values()) {
    std::printf("value ");
    ShowText(value.name);
    std::printf(" %u ", static_cast<unsigned>(value.type));
    for (const std::uint8_t byte : value.data) std::printf("%02x", byte);
    std::putchar('\n');
  }
  for (const auto& child : key.SubKeys()) ShowKey(path + u"\\" + child->Name(), *child);
}

int Dump(const char* file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  host::RegistryTree tree;
  host::RegFileError error;
  std::vector<host::RegFileError> warnings;
  const bool isRead = host::ParseRegFile(bytes, tree, error, &warnings);
  for (const host::RegFileError& told : warnings) {
    std::fprintf(stderr, "%s:%zu: warning: %s\n", file, told.line, told.reason.c_str());
  }
  if (!isRead) {
    std::fprintf(stderr, "%s:%zu: %s\n", file, error.line, error.reason.c_str());
    return 1;
  }
  for (const host::RegistryKeyPtr& hive : tree.Hives()) ShowKey(hive->Name(), *hive);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view command = argc == 3 ? argv[1] : "";
  if (command == "sample") return Sample(argv[2]);
  if (command == "dump") return Dump(argv[2]);
  (void)std::fputs("usage: host_reg_file_tool sample|dump FILE\n", stderr);
  return 2;
}
