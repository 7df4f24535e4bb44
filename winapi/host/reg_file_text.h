// The text of a registry file, whatever it is written in.
#ifndef WINAPI_HOST_REG_FILE_TEXT_H_
#define WINAPI_HOST_REG_FILE_TEXT_H_

#include <string>
#include <string_view>

namespace winapi::host {

struct RegFileText {
  std::u16string text;
  bool isOlderForm = false;  // REGEDIT4, whose texts are in a code page, also inside hex data
};

// Taken: UTF-16 of both byte orders, with and without its mark (told by the header then); UTF-8
// with and without one; and for the older form, which says nothing of its code page, 1252. Null on
// success, else the reason, a constant, with `text` as before.
[[nodiscard]] const char* DecodeRegFile(std::string_view bytes, RegFileText& text);

// Appends the text in UTF-16 of the lower byte first.
void AppendUtf16(std::string& bytes, std::u16string_view text);

// The five bytes that the code page leaves open stand for the control characters of their numbers,
// as on Windows. Never fails.
[[nodiscard]] std::u16string FromCodePage1252(std::string_view bytes);

}  // namespace winapi::host

#endif  // WINAPI_HOST_REG_FILE_TEXT_H_
