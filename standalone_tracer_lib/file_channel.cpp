#include "standalone_tracer_lib/file_channel.h"

#include <cstdint>
#include <locale>

#include "oru/rtl/exception.h"
#include "oru/system/datetime/datetime.h"
#include "standalone_tracer_lib/trace_lines.h"
#include "winapi/files.h"
#include "winapi/process.h"

namespace standalone::trace {
namespace {

// The fixed position of a file that can't be opened: part of the exception's text, so it doesn't
// move with the code.
constexpr char kSourceFile[] = "zum_setup_util/standalone_tracer_lib/file_channel";
constexpr std::uint32_t kOpenLine = 101;

constexpr char kLineEnd[] = "\r\n";

}  // namespace

FileChannel::FileChannel(const oru::String16& path, const char* commandLine) {
  m_stream.imbue(std::locale::classic());
  winapi::OpenOutputStream(m_stream, path.c_str());
  if (!m_stream.is_open()) throw oru::CheckFailedException(kSourceFile, kOpenLine);
  // Composed whole before the first byte goes in, like every line: what can't be composed leaves no
  // half of it.
  m_stream << detail::ComposeHeader(oru::datetime::Now(), winapi::GetCurrentProcessId(),
                                    commandLine);
  m_stream << kLineEnd;
}

FileChannel::~FileChannel() {
  try {
    WriteFooter();
  } catch (...) {
    // Nobody is left to tell: this runs at process exit, and tracing must not end a process by
    // itself.
  }
}

void FileChannel::WriteFooter() {
  m_stream << detail::ComposeFooter(oru::datetime::Now());
  m_stream << kLineEnd;
}

// The state of the stream isn't looked at: a full disk costs the trace and nothing else.
oru::ResultCode FileChannel::WriteRecord(const oru::tracer::TraceRecord* record) {
  m_stream << detail::ComposeRecord(*record);
  m_stream << kLineEnd;
  return oru::sOk;
}

}  // namespace standalone::trace
