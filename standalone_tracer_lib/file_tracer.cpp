#include "standalone_tracer_lib/file_tracer.h"

#include <exception>

#include "oru/rtl/object_impl.h"
#include "standalone_tracer_lib/empty_tracer.h"
#include "standalone_tracer_lib/file_channel.h"
#include "standalone_tracer_lib/simple_channel_tracer.h"

namespace standalone::trace {
namespace {

oru::ObjectPtr<oru::ITracer> MakeFileTracer(const oru::String16& path, const char* commandLine,
                                            std::uint32_t maxLevel) {
  // The tracer adds a reference of its own; this one goes, so the file closes with the tracer.
  const oru::ObjectPtr<FileChannel> channel = oru::CreateObject<FileChannel>(path, commandLine);
  return oru::CreateObject<detail::SimpleChannelTracer>(channel.Get(), maxLevel);
}

}  // namespace

oru::ObjectPtr<oru::ITracer> CreateFileTracer(const oru::String16& path, const char* commandLine,
                                              const TraceSettings& settings) {
  if (!settings.enabled) return CreateEmptyTracer();
  try {
    return MakeFileTracer(path, commandLine, settings.maxLevel);
  } catch (const std::exception&) {
    // A run without a trace is better than no run, and there is nobody to tell.
  }
  return CreateEmptyTracer();
}

}  // namespace standalone::trace
