#include <windows.h>

#include "winapi/rehearsal.h"
#include "winapi/win32/wide.h"

namespace winapi::rehearsal {

// There is one machine, and the system knows it.
Machine Machine::ThisOne() { return Machine(nullptr); }

std::u16string NameOfThisMachine() {
  char16_t name[MAX_COMPUTERNAME_LENGTH + 1] = {};
  DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
  return ::GetComputerNameW(win32::Wide(name), &size) != 0 ? std::u16string(name)
                                                           : std::u16string();
}

}  // namespace winapi::rehearsal
