// One open directory search.
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_FIND_CONTEXT_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_FIND_CONTEXT_H_

#include <string_view>

#include "oru/rtl/result_code.h"
#include "winapi/files.h"
#include "winapi/types.h"

namespace product_platform::filesystem {

// What an entry's attributes make it; the reparse bit goes first.
enum class EntryClass { kLink, kDirectory, kFile };
[[nodiscard]] EntryClass ClassifyEntry(winapi::Dword attributes) noexcept;

// "." or "..".
[[nodiscard]] bool IsDotName(std::u16string_view name) noexcept;

struct FindHandleTraits {
  [[nodiscard]] static bool IsValid(winapi::Handle h) noexcept;
  // Reports an invalid handle and closes it all the same.
  [[nodiscard]] static oru::ResultCode Close(winapi::Handle h) noexcept;
};

// A search and the entry at which it stands. A search that can't be closed is reported; the end of
// one leaves the thread's last error as it was.
class FindContext {
 public:
  FindContext() noexcept = default;
  FindContext(const FindContext&) = delete;
  FindContext& operator=(const FindContext&) = delete;
  ~FindContext();

  [[nodiscard]] bool IsValid() const noexcept { return FindHandleTraits::IsValid(m_handle); }
  // The current entry; reading it from an invalid search is reported, and gives an empty one.
  [[nodiscard]] const winapi::FindData& Data() const noexcept;
  [[nodiscard]] std::u16string_view Name() const noexcept { return Data().cFileName; }

  // Searches `directory`, in place of what was searched before; a long or relative path by way of
  // its absolute form. sOk when the search stands at the first entry. On a failure no search is
  // open, except that the one before goes on where the absolute form can't be told.
  [[nodiscard]] oru::ResultCode OpenFind(std::u16string_view directory);
  // The next entry: sOk, sFalse at the end, a failure code otherwise.
  [[nodiscard]] oru::ResultCode FindNext() noexcept;

 private:
  [[nodiscard]] oru::ResultCode SearchDirectly(std::u16string_view directory);
  [[nodiscard]] oru::ResultCode Close() noexcept;

  winapi::Handle m_handle = winapi::InvalidHandleValue();
  winapi::FindData m_data{};
};

}  // namespace product_platform::filesystem

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_FIND_CONTEXT_H_
