// What the checks may use without asking: a branch below HKEY_CURRENT_USER, and a folder below the
// temporary directory, which is the temporary directory of this process and of those that it starts
// for as long as it is there.
#ifndef TESTS_WINDOWS_CHECK_SCRATCH_H_
#define TESTS_WINDOWS_CHECK_SCRATCH_H_

#include <windows.h>

#include <string>

namespace windows_check {

class Scratch {
 public:
  // Throws std::runtime_error where one of the two can't be made.
  Scratch();
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { (void)Remove(); }

  // Without a separator at the end.
  [[nodiscard]] const std::wstring& Folder() const { return m_folder; }
  // A new empty folder in it, of that name.
  [[nodiscard]] std::wstring NewFolder(const std::wstring& name) const;
  // A key of the checks' own, open for everything.
  [[nodiscard]] HKEY Key() const { return m_key; }
  // Its path below HKEY_CURRENT_USER.
  [[nodiscard]] static std::wstring KeyPath();

  // Removes both; the empty text, or what stays and why.
  [[nodiscard]] std::string Remove();

 private:
  std::wstring m_folder;
  HKEY m_key = nullptr;
};

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_SCRATCH_H_
