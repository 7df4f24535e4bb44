#include "zum_setup_util/trace_setup.h"

#include <string>
#include <string_view>
#include <utility>

#include "oru/rtl/trace_level.h"
#include "platform/util/text_utils.h"
#include "standalone_tracer_lib/tracers.h"
#include "winapi/process.h"
#include "zum_setup_util_lib/sensitive_data.h"

namespace zum_setup_util {
namespace {

void InstallTracer(const std::u16string& directory, const ArgumentList& args) {
  const standalone::trace::TraceSettings settings{/*enabled=*/true, oru::kTraceLevelInfo};
  // The directory is an argument, so there is one here and the word is "all".
  const char16_t* const component = args.empty() ? u"srv" : u"all";
  const oru::String16 suffix(component);
  // The whole line, the program's own path included, which the arguments haven't got.
  const oru::String8 commandLine = GetMaskedCommandLine();
  const oru::String16 path =
      standalone::trace::MakeTraceFilePath(oru::String16(std::u16string_view(directory)), suffix);
  // Before the holder's first use, which needs memory too: one that can't be made mustn't cost the
  // file.
  auto tracer = standalone::trace::CreateFileTracer(path, commandLine.c_str(), settings);
  // Stays installed to the process's end, when the file gets its footer.
  standalone::trace::TracerHolder::Instance().Install(std::move(tracer));
}

}  // namespace

void SetUpTracing(const ArgumentList& args) {
  const std::u16string directory = FindOptionValue(args, kTraceOutputKey);
  if (!directory.empty()) InstallTracer(directory, args);
}

oru::String8 GetMaskedCommandLine() {
  const std::u16string masked =
      correct_setup::helpers::HideSensitiveData(winapi::GetCommandLineW());
  oru::String8 text("Command line: ");
  text.append(text_utils::Utf16ToUtf8(masked).view());
  return text;
}

}  // namespace zum_setup_util
