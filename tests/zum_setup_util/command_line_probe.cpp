// Prints what the program's own reading makes of the command line of this process, in hexadecimal
// digits: a line "argument " for each argument with four digits a character, then a line "masked "
// with the bytes of the masked command line.

#include <cstdio>

#include "zum_setup_util/command_line.h"
#include "zum_setup_util/trace_setup.h"

int main() {
  for (const std::u16string& argument : zum_setup_util::ReadCommandLineArguments()) {
    std::printf("argument ");
    for (const char16_t unit : argument) std::printf("%04x", static_cast<unsigned>(unit));
    std::printf("\n");
  }
  std::printf("masked ");
  const oru::String8 masked = zum_setup_util::GetMaskedCommandLine();
  for (const char byte : masked.view()) {
    std::printf("%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  }
  std::printf("\n");
}
