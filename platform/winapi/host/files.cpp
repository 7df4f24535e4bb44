#include "platform/winapi/winapi/files.h"

#include <string>
#include <string_view>

#include "platform/winapi/host/call.h"
#include "platform/winapi/host/paths.h"
#include "platform/winapi/winapi/errors.h"

namespace winapi {
namespace {

// The mapping drops a separator at the end, and a file of that name could be opened.
bool NamesFolder(std::u16string_view path) { return path.ends_with(u'\\') || path.ends_with(u'/'); }

bool OpenPath(std::ofstream& stream, const char16_t* path) {
  std::string hostPath;
  if (path == nullptr || NamesFolder(path)) return false;
  if (host::HostPath(path, hostPath) != kErrorSuccess) return false;
  stream.open(hostPath, std::ios::out | std::ios::binary | std::ios::trunc);
  return stream.is_open();
}

}  // namespace

void OpenOutputStream(std::ofstream& stream, const char16_t* path) {
  host::Call call("OpenOutputStream");
  call.Argument("path", path);
  if (call.Fault() || !OpenPath(stream, path)) stream.setstate(std::ios::failbit);
}

}  // namespace winapi
