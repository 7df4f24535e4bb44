#include "zum_rehearse/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <system_error>

namespace zum_rehearse {

std::string LastReason() { return errno == 0 ? "it can't be opened" : std::strerror(errno); }

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return lower;
}

bool IsNamedAsExport(const std::filesystem::path& path) {
  return LowerCase(Utf8Of(path.extension())) == ".reg";
}

std::filesystem::path PathOf(std::string_view utf8) {
#ifdef _WIN32
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
#else
  return std::filesystem::path(utf8);
#endif
}

std::string Utf8Of(const std::filesystem::path& path) {
#ifdef _WIN32
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
#else
  return path.native();
#endif
}

std::u16string SystemPath(const std::filesystem::path& path) {
  const std::u16string full = std::filesystem::absolute(path).u16string();
#ifdef _WIN32
  return full;
#else
  return u"Z:" + full;
#endif
}

bool ReadWholeFile(const std::filesystem::path& path, std::string& bytes, std::string& reason) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error)) {
    reason = "it is a folder";
    return false;
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    reason = LastReason();
    return false;
  }
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (!error) {
    bytes.resize(static_cast<std::size_t>(size));
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
  } else {  // no plain file, such as a pipe
    bytes.assign(std::istreambuf_iterator<char>(file), {});
  }
  if (file.bad()) {
    reason = LastReason();
    return false;
  }
  return true;
}

}  // namespace zum_rehearse
