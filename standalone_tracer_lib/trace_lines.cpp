#include "standalone_tracer_lib/trace_lines.h"

#include <cstdint>
#include <iomanip>
#include <ios>
#include <ostream>
#include <utility>

#include "oru/rtl/trace_level.h"
#include "standalone_tracer_lib/line_stream.h"
#include "winapi/time.h"

namespace standalone::trace::detail {
namespace {

using oru::datetime::DateTime;

// Day and minute: all that the header tells.
void InsertDayAndMinute(std::ostream& stream, const winapi::SystemTime& time) {
  stream << std::setw(2) << time.wDay << '.' << std::setw(2) << time.wMonth << '.' << std::setw(4)
         << time.wYear << ' ' << std::setw(2) << time.wHour << ':' << std::setw(2) << time.wMinute;
}

// Of the ticks, and so the same in every time zone.
std::uint64_t MillisecondsOf(std::uint64_t ticks) noexcept {
  return ticks / oru::datetime::kTicksPerMillisecond % 1000;
}

}  // namespace

std::string ComposeHeader(DateTime now, winapi::Dword processId, const char* commandLine) {
  LineStream stream;
  // The spelling is fixed, the blanks before line ends included.
  stream << "TVX TRACE FILE\tTime: ";
  InsertDayAndMinute(stream, oru::datetime::ToLocalSystemTime(now));
  stream << "  PID: " << processId << "(0x" << std::hex << processId << std::dec << ")\r\n";
  stream << "Command line: " << commandLine << "\r\n";
  stream << "Time(UTC) : ";
  InsertDayAndMinute(stream, oru::datetime::ToSystemTime(now));
  stream << "  \r\n\r\n";
  return std::move(stream).str();
}

std::string ComposeRecord(const oru::tracer::TraceRecord& record) {
  const winapi::SystemTime time = oru::datetime::ToLocalSystemTime({record.time});
  LineStream stream;
  stream << std::setw(2) << time.wHour << ':' << std::setw(2) << time.wMinute << ':' << std::setw(2)
         << time.wSecond << '.' << std::setw(3) << MillisecondsOf(record.time);
  // Left in base 16, since no further number stands in the line.
  stream << "\t0x" << std::hex << record.threadId;
  stream << '\t' << oru::LevelName(record.level) << '\t';
  // Unformatted: the text isn't zero-terminated and may hold zeros.
  stream.write(record.textBegin, record.textEnd - record.textBegin);
  return std::move(stream).str();
}

std::string ComposeFooter(DateTime now) {
  const winapi::SystemTime time = oru::datetime::ToLocalSystemTime(now);
  LineStream stream;
  stream << "End of trace file, time: ";
  InsertDayAndMinute(stream, time);
  stream << ':' << std::setw(2) << time.wSecond;
  return std::move(stream).str();
}

}  // namespace standalone::trace::detail
