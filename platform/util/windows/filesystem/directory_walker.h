// A walk over the entries of a directory, on a stack of open searches; a policy decides whether it
// goes into the directories that it meets.
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_DIRECTORY_WALKER_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_DIRECTORY_WALKER_H_

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "oru/rtl/check.h"
#include "oru/rtl/result_code.h"
#include "platform/util/windows/filesystem/find_context.h"
#include "platform/util/windows/filesystem/path.h"
#include "winapi/files.h"

namespace product_platform::filesystem {

// Stays in the one directory.
struct FlatPolicy {
  void Start() noexcept {}
  [[nodiscard]] static constexpr bool Descends() noexcept { return false; }
  void Enter() noexcept {}
  void Leave(const std::u16string& /*directory*/) noexcept {}
};

// Goes into every plain directory, never through a link, and removes each but the first when it
// leaves it.
struct RemovalPolicy {
  void Start() noexcept { m_depth = 1; }
  [[nodiscard]] static constexpr bool Descends() noexcept { return true; }
  void Enter() noexcept { ++m_depth; }
  void Leave(const std::u16string& directory) noexcept {
    --m_depth;
    ORU_CHECK_TEXT(m_depth >= 0, "m_depth>=0");
    // What can't be removed shows when the directory above can't be.
    if (m_depth > 0) (void)winapi::RemoveDirectoryW(directory.c_str());
  }

  std::int32_t m_depth = 0;  // directories entered and not left
};

// Memory grows with the depth only. Throws std::bad_alloc; all other failures are result codes.
template <typename Policy>
class DirectoryWalker {
 public:
  DirectoryWalker() = default;
  DirectoryWalker(const DirectoryWalker&) = delete;
  DirectoryWalker& operator=(const DirectoryWalker&) = delete;
  ~DirectoryWalker() { Close(); }

  // sOk when the walker stands at the first entry. It must have no open search, which is checked.
  [[nodiscard]] oru::ResultCode Open(const std::u16string& path) {
    ORU_CHECK_TEXT(m_findStack.empty(), "m_findStack.IsEmpty()");
    auto context = std::make_unique<FindContext>();
    if (const oru::ResultCode rc = context->OpenFind(path); ORU_FAILED(rc)) return rc;
    m_policy.Start();
    m_findStack.push_back({std::move(context), path});
    DescendAll();
    return oru::sOk;
  }

  // sOk when the walker stands at a further entry, sFalse when the walk is over, else a failure,
  // which leaves the stack as it is.
  [[nodiscard]] oru::ResultCode Next() {
    while (!m_findStack.empty()) {
      const oru::ResultCode rc = m_findStack.back().context->FindNext();
      if (ORU_FAILED(rc)) return rc;
      if (rc == oru::sOk) {
        DescendAll();
        return oru::sOk;
      }
      const std::u16string directory = std::move(m_findStack.back().directory);
      m_findStack.pop_back();
      m_policy.Leave(directory);
    }
    return oru::sFalse;
  }

  // The innermost search, or null.
  [[nodiscard]] const FindContext* Current() const noexcept {
    return m_findStack.empty() ? nullptr : m_findStack.back().context.get();
  }
  [[nodiscard]] bool IsValid() const noexcept {
    return !m_findStack.empty() && m_findStack.back().context->IsValid();
  }
  [[nodiscard]] bool IsEmpty() const noexcept { return m_findStack.empty(); }
  // The path of the current entry; reading it from an empty stack is reported, and gives an empty
  // one.
  [[nodiscard]] std::u16string CurrentPath() const {
    ORU_CHECK(!IsEmpty());
    if (IsEmpty()) return {};
    return JoinPath(m_findStack.back().directory, m_findStack.back().context->Name());
  }

  // Closes all searches, innermost first.
  void Close() noexcept {
    while (!m_findStack.empty()) m_findStack.pop_back();
  }

 private:
  struct FindStackEntry {
    std::unique_ptr<FindContext> context;
    std::u16string directory;
  };

  void DescendAll() {
    while (Descend()) {
    }
  }

  // One step down; a directory that can't be listed is simply not entered.
  bool Descend() {
    if constexpr (!Policy::Descends()) return false;
    const winapi::FindData& entry = m_findStack.back().context->Data();
    if (ClassifyEntry(entry.dwFileAttributes) != EntryClass::kDirectory ||
        IsDotName(entry.cFileName)) {
      return false;
    }
    std::u16string path = CurrentPath();
    auto context = std::make_unique<FindContext>();
    if (ORU_FAILED(context->OpenFind(path))) return false;
    m_policy.Enter();
    m_findStack.push_back({std::move(context), std::move(path)});
    return true;
  }

  Policy m_policy;
  std::deque<FindStackEntry> m_findStack;
};

}  // namespace product_platform::filesystem

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_DIRECTORY_WALKER_H_
