#include "standalone_tracer_lib/trace_file_path.h"

#include <iomanip>
#include <utility>

#include "standalone_tracer_lib/line_stream.h"
#include "winapi/time.h"

namespace standalone::trace {
namespace {

bool EndsInSeparator(const oru::String16& directory) noexcept {
  return directory.back() == u'\\' || directory.back() == u'/';
}

// Byte by byte, for text that is ASCII.
void AppendWidened(oru::String16& target, const std::string& text) {
  for (const char byte : text) target.push_back(static_cast<unsigned char>(byte));
}

}  // namespace

namespace detail {

// The rule of JoinPath of the Windows wrappers, which this folder doesn't see.
oru::String16 JoinName(const oru::String16& directory, std::u16string_view name) {
  oru::String16 path = directory;
  if (name.empty()) return path;
  if (!directory.empty() && !EndsInSeparator(directory)) path.push_back(u'\\');
  path.append(name);
  return path;
}

}  // namespace detail

oru::String16 MakeTraceFilePath(const oru::String16& directory, const oru::String16& component) {
  oru::String16 name;
  name.append(u"zum-setup-util-");
  AppendWidened(name, MakeFileTimeStamp(oru::datetime::Now()));
  name.append(u"-").append(component.view()).append(u".log");
  return detail::JoinName(directory, name.view());
}

// Seconds and no more: a second run within the same one takes the same file.
std::string MakeFileTimeStamp(oru::datetime::DateTime time) {
  const winapi::SystemTime local = oru::datetime::ToLocalSystemTime(time);
  detail::LineStream stream;
  stream << std::setw(4) << local.wYear;
  for (const std::uint16_t field :
       {local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond}) {
    stream << '-' << std::setw(2) << field;
  }
  return std::move(stream).str();
}

}  // namespace standalone::trace
