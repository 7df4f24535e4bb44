// Directory searches: entries are read in portions, and a folder that is read to its end isn't held
// open, so that a deep tree doesn't use up the process's file descriptors and a large folder needs
// no memory for all of its names.
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/host/call.h"
#include "winapi/host/clock.h"
#include "winapi/host/file_status.h"
#include "winapi/host/folder_stream.h"
#include "winapi/host/last_error.h"
#include "winapi/host/live.h"
#include "winapi/host/locate.h"
#include "winapi/host/open_files.h"
#include "winapi/host/paths.h"
#include "winapi/host/text.h"

namespace winapi {
namespace {

constexpr std::size_t kPortion = 256;
constexpr Dword kSymbolicLinkTag = 0xA000000C;  // IO_REPARSE_TAG_SYMLINK

// With its status at the time of the reading: what happens to a file behind it isn't told, as on
// Windows.
struct Entry {
  std::u16string name;
  host::FileStatus status;
};

// One level of going back is enough: a later star can take over whatever an earlier one left.
bool MatchesMask(std::u16string_view name, std::u16string_view mask) {
  constexpr std::size_t kNone = std::u16string_view::npos;
  std::size_t n = 0;
  std::size_t m = 0;
  std::size_t star = kNone;
  std::size_t starName = 0;
  while (n < name.size()) {
    if (m < mask.size() && mask[m] == u'*') {
      star = m++;
      starName = n;
    } else if (m < mask.size() &&
               (mask[m] == u'?' || host::Upcase(mask[m]) == host::Upcase(name[n]))) {
      ++n;
      ++m;
    } else if (star != kNone) {
      m = star + 1;
      n = ++starName;
    } else {
      return false;
    }
  }
  return mask.find_first_not_of(u'*', m) == kNone;
}

FileTime TimeOf(const timespec& time) {
  const std::uint64_t ticks = host::kTicksFrom1601To1970 +
                              static_cast<std::uint64_t>(time.tv_sec) * host::kTicksPerSecond +
                              static_cast<std::uint64_t>(time.tv_nsec) / 100;
  return {.dwLowDateTime = static_cast<Dword>(ticks),
          .dwHighDateTime = static_cast<Dword>(ticks >> 32)};
}

// A name of more than 259 characters is cut; the host has none, its limit is 255 bytes.
void Fill(const Entry& entry, FindData& data) {
  const struct stat& status = entry.status.data;
  const std::uint64_t size =
      S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
  data = {};
  data.dwFileAttributes = host::AttributesOf(entry.status);
  data.ftCreationTime = TimeOf(status.st_mtim);
  data.ftLastAccessTime = TimeOf(status.st_atim);
  data.ftLastWriteTime = TimeOf(status.st_mtim);
  data.nFileSizeHigh = static_cast<Dword>(size >> 32);
  data.nFileSizeLow = static_cast<Dword>(size);
  data.dwReserved0 = entry.status.isLink ? kSymbolicLinkTag : 0;
  const std::size_t length = std::min(entry.name.size(), std::size(data.cFileName) - 1);
  std::copy_n(entry.name.begin(), length, data.cFileName);
}

class Search {
 public:
  // All entries of `folder` that match; "." and ".." are among them unless it is a drive's root.
  Error OpenFolder(const host::FileDescriptor& folder, std::u16string mask, bool isRoot) {
    m_mask = std::move(mask);
    if (m_mask == u"*.*") m_mask.resize(1);  // all, also those without a full stop
    m_stream = host::FolderStream(folder);
    if (!m_stream.IsOpen()) return host::ErrorOfErrno(errno);
    Hold(folder);
    if (isRoot) return kErrorSuccess;
    Add(folder.Get(), ".");
    Add(folder.Get(), "..");
    return kErrorSuccess;
  }

  // The one entry of that name.
  void OpenName(const host::FileDescriptor& folder, const std::string& name) {
    m_mask.assign(1, u'*');
    Hold(folder);
    Add(folder.Get(), name);
  }

  // 18 when there are no more, else what stops the reading.
  Error Next(FindData& data) {
    if (m_ready.empty()) {
      if (const Error error = ReadPortion(); error != kErrorSuccess) return error;
    }
    if (m_ready.empty()) return kErrorNoMoreFiles;
    Fill(m_ready.front(), data);
    m_ready.pop_front();
    return kErrorSuccess;
  }

 private:
  // Whatever is searched for, Windows opens the folder for it.
  void Hold(const host::FileDescriptor& folder) {
    struct stat data = {};
    if (::fstat(folder.Get(), &data) != 0) return;  // can't be, of an open one
    m_hold = host::OpenFile(data, host::OpenFile::Sharing::kReading);
  }

  // Files that have gone meanwhile are passed over.
  void Add(int folder, const std::string& name) {
    Entry entry{.name = host::ToUtf16(name), .status = {}};
    if (!MatchesMask(entry.name, m_mask)) return;
    if (host::StatusOf(folder, name, entry.status) != kErrorSuccess) return;
    m_ready.push_back(std::move(entry));
  }

  Error ReadPortion() {
    while (m_stream.IsOpen() && m_ready.size() < kPortion) {
      const dirent* entry = m_stream.Next();
      if (entry == nullptr) {
        const int number = errno;
        m_stream.Close();
        return number == 0 ? kErrorSuccess : host::ErrorOfErrno(number);
      }
      const std::string_view name(entry->d_name);
      if (name != "." && name != "..") Add(m_stream.Descriptor(), entry->d_name);
    }
    return kErrorSuccess;
  }

  std::u16string m_mask;
  host::FolderStream m_stream;  // closed when it is read to its end
  host::OpenFile m_hold;        // to the end of the search
  std::deque<Entry> m_ready;
};

// Searches have handles of their own, which CloseHandle refuses as Windows' does.
struct SearchTable {
  std::mutex mutex;
  std::uintptr_t lastHandle = 0x40000002;  // never that of a kernel object
  std::map<std::uintptr_t, std::shared_ptr<Search>> searches;
};

SearchTable& TheSearchTable() {
  static SearchTable& table = *new SearchTable;
  return table;
}

Handle AddSearch(std::shared_ptr<Search> search) {
  SearchTable& table = TheSearchTable();
  const std::lock_guard lock(table.mutex);
  table.lastHandle += 4;
  table.searches.emplace(table.lastHandle, std::move(search));
  ++host::liveCounters.handles;
  return reinterpret_cast<Handle>(table.lastHandle);
}

std::shared_ptr<Search> FindSearch(Handle handle) {
  SearchTable& table = TheSearchTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.searches.find(reinterpret_cast<std::uintptr_t>(handle));
  return found == table.searches.end() ? nullptr : found->second;
}

bool RemoveSearch(Handle handle) {
  SearchTable& table = TheSearchTable();
  const std::lock_guard lock(table.mutex);
  if (table.searches.erase(reinterpret_cast<std::uintptr_t>(handle)) == 0) return false;
  --host::liveCounters.handles;
  return true;
}

// Where the last component of a path begins.
std::size_t LastComponent(std::u16string_view path) {
  const std::size_t separator = path.find_last_of(u"\\/");
  if (separator != std::u16string_view::npos) return separator + 1;
  return path.size() >= 2 && path[1] == u':' ? 2 : 0;
}

Error OpenName(std::u16string_view path, Search& search) {
  host::Location location;
  if (const Error error = host::Locate(std::u16string(path).c_str(), location); error != 0) {
    return error;
  }
  if (location.endsInSeparator || location.isRoot) return kErrorFileNotFound;
  search.OpenName(location.folder, location.name);
  return kErrorSuccess;
}

// 267 where the folder of the pattern is a file.
Error OpenSearchedFolder(std::u16string_view path, std::u16string& full,
                         host::FileDescriptor& folder) {
  if (const Error error = host::FullPath(path, full); error != 0) return error;
  Error error = host::OpenFolder(full, folder);
  host::Location location;
  host::FileStatus status;
  if (error == kErrorPathNotFound &&
      host::Locate(std::u16string(path).c_str(), location) == kErrorSuccess &&
      host::StatusOf(location, status) == kErrorSuccess) {
    error = kErrorNotADirectory;
  }
  return error;
}

// Wildcards count in the last component only; elsewhere they are characters that no name may have.
Error OpenPattern(std::u16string_view pattern, Search& search) {
  const std::size_t begin = LastComponent(pattern);
  const std::u16string_view mask = pattern.substr(begin);
  if (mask.find_first_of(u"*?") == std::u16string_view::npos) return OpenName(pattern, search);
  if (mask.find_first_of(u"<>:\"|") != std::u16string_view::npos) return kErrorInvalidName;
  std::u16string full;
  host::FileDescriptor folder;
  const std::u16string_view path =
      begin == 0 ? std::u16string_view(u".") : pattern.substr(0, begin);
  if (const Error error = OpenSearchedFolder(path, full, folder); error != 0) return error;
  return search.OpenFolder(folder, std::u16string(mask), /*isRoot=*/full.size() == 3);
}

constexpr std::size_t kMaxPath = 260;  // of the pattern as a whole, as of all paths

Error Start(const char16_t* pattern, Search& search, FindData& data) {
  const std::u16string_view text = pattern == nullptr ? std::u16string_view() : pattern;
  if (text.empty() || host::ReachesLimit(text, kMaxPath)) return kErrorPathNotFound;
  if (const Error error = OpenPattern(text, search); error != 0) return error;
  const Error error = search.Next(data);
  return error == kErrorNoMoreFiles ? kErrorFileNotFound : error;
}

}  // namespace

Handle FindFirstFileExW(const char16_t* pattern, int level, FindData* data, int search,
                        void* filter, Dword flags) noexcept {
  host::Call call("FindFirstFileExW");
  call.Argument("pattern", pattern).Argument("level", static_cast<Dword>(level));
  call.Argument("search", static_cast<Dword>(search)).Argument("filter", filter);
  call.Mask("flags", flags);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, InvalidHandleValue());
  if (level != kFindExInfoStandard || search != kFindExSearchNameMatch || filter != nullptr ||
      flags != 0 || data == nullptr) {
    return host::FailWith(kErrorInvalidParameter, InvalidHandleValue());
  }
  auto started = std::make_shared<Search>();
  if (const Error error = Start(pattern, *started, *data); error != 0) {
    return host::FailWith(error, InvalidHandleValue());
  }
  return AddSearch(std::move(started));
}

Bool FindNextFileW(Handle search, FindData* data) noexcept {
  host::Call call("FindNextFileW");
  call.Argument("search", search);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const std::shared_ptr<Search> found = FindSearch(search);
  if (found == nullptr) return host::FailWith(kErrorInvalidHandle, Bool{0});
  const Error error = found->Next(*data);
  return error == 0 ? 1 : host::FailWith(error, Bool{0});
}

Bool FindClose(Handle search) noexcept {
  host::Call call("FindClose");
  call.Argument("search", search);
  const auto fault = call.Fault();
  const bool closed = RemoveSearch(search);
  if (fault) return host::FailWith(*fault, Bool{0});
  return closed ? 1 : host::FailWith(kErrorInvalidHandle, Bool{0});
}

}  // namespace winapi
