// Modules of the system that are loaded at their first use, by their full path.
//
// A static import would be resolved before the entry, where a file of that name beside the program
// wins over the system's own; a full path into the system directory means the system's own
// whenever it is loaded.
#ifndef PLATFORM_UTIL_WINDOWS_SYSTEM_LIBRARY_H_
#define PLATFORM_UTIL_WINDOWS_SYSTEM_LIBRARY_H_

#include <atomic>

#include "winapi/types.h"

namespace windows_helpers {

// One such module. It stays loaded for as long as the process lives; an object is made once, as a
// static one.
class SystemLibrary {
 public:
  // `fileName` is a literal, without a folder.
  constexpr explicit SystemLibrary(const char16_t* fileName) noexcept : m_fileName(fileName) {}
  SystemLibrary(const SystemLibrary&) = delete;
  SystemLibrary& operator=(const SystemLibrary&) = delete;

  // Finds a function, whose type the caller knows, loading the module when that wasn't done. On
  // failure `function` is null: 126 where there is no such module, 127 no such function, or the
  // error of the call that failed; never 0. A failure isn't remembered. Allocates nothing.
  template <typename Function>
  [[nodiscard]] winapi::Error Find(const char* name, Function& function) noexcept {
    winapi::Procedure procedure = nullptr;
    const winapi::Error error = FindAny(name, procedure);
    function = reinterpret_cast<Function>(procedure);
    return error;
  }

 private:
  [[nodiscard]] winapi::Error FindAny(const char* name, winapi::Procedure& procedure) noexcept;
  [[nodiscard]] winapi::Error Load() noexcept;

  const char16_t* m_fileName;
  std::atomic<winapi::Module> m_module{nullptr};
};

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_SYSTEM_LIBRARY_H_
