#include "zum_rehearse/output_file.h"

#include <cerrno>
#include <system_error>

#include "winapi/process.h"
#include "zum_rehearse/files.h"

namespace zum_rehearse {
namespace {

namespace fs = std::filesystem;

constexpr std::ios::openmode kAnew = std::ios::binary | std::ios::trunc;

// The plain file that a path leads to, or the path where nothing is; empty for everything else.
fs::path PlainFileAt(const fs::path& path) {
  std::error_code error;
  const fs::file_type type = fs::status(path, error).type();
  if (type == fs::file_type::regular) return fs::canonical(path, error);
  const bool isFree = type == fs::file_type::not_found &&
                      fs::symlink_status(path, error).type() == fs::file_type::not_found;
  return isFree ? path : fs::path();
}

// To take a file's place needs no right to the file: who may not write to it shall not.
bool MayBeWritten(const fs::path& file) {
  std::error_code error;
  if (!fs::exists(file, error)) return true;
  return std::fstream(file, std::ios::binary | std::ios::in | std::ios::out).is_open();
}

// The new file keeps the old one's access rights.
void CopyRights(const fs::path& from, const fs::path& to) {
  std::error_code error;
  const fs::file_status status = fs::status(from, error);
  if (fs::exists(status)) fs::permissions(to, status.permissions(), error);
}

}  // namespace

OutputFile::OutputFile(const fs::path& path) {
  if (!OpenBeside(path)) {
    errno = 0;
    m_stream.open(path, kAnew);
    if (!m_stream) m_reason = LastReason();
  }
  errno = 0;  // for a later failure of the stream
}

bool OutputFile::OpenBeside(const fs::path& path) {
  m_target = PlainFileAt(path);
  if (m_target.empty() || !MayBeWritten(m_target)) return false;
  fs::path beside = m_target;
  beside += ".";
  beside += std::to_string(winapi::GetCurrentProcessId());
  beside += ".new";
  std::error_code error;
  fs::remove(beside, error);  // what a killed process of the same number left, or a planted link
  m_stream.open(beside, kAnew);
  if (!m_stream) return false;
  m_beside = beside;
  CopyRights(m_target, m_beside);
  return true;
}

bool OutputFile::Commit(std::string& reason) {
  m_stream.close();
  if (!m_stream) {
    reason = m_reason.empty() ? LastReason() : m_reason;
    return false;
  }
  if (m_beside.empty()) return true;
  std::error_code error;
  fs::rename(m_beside, m_target, error);
  if (error) {
    reason = error.message();
    return false;
  }
  m_beside.clear();
  return true;
}

void OutputFile::Drop() {
  m_stream.close();
  std::error_code error;
  if (!m_beside.empty()) fs::remove(m_beside, error);
  m_beside.clear();
}

bool WriteWholeFile(const fs::path& path, std::string_view bytes, std::string& reason) {
  OutputFile file(path);
  file.Stream().write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return file.Commit(reason);
}

}  // namespace zum_rehearse
