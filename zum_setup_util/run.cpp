#include "zum_setup_util/run.h"

#include <exception>
#include <iostream>

#include "oru/rtl/check.h"
#include "oru/rtl/exception_guard.h"
#include "oru/rtl/string_sink.h"
#include "oru/rtl/text_conversion.h"
#include "oru/rtl/trace.h"
#include "winapi/exceptions.h"
#include "zum_setup_util/command_line.h"
#include "zum_setup_util/dll_search.h"
#include "zum_setup_util/trace_setup.h"
#include "zum_setup_util/vectored_handler_guard.h"
#include "zum_setup_util_lib/caught_exception.h"
#include "zum_setup_util_lib/tool_result_codes.h"
#include "zum_setup_util_lib/unblock.h"

namespace zum_setup_util {
namespace {

// The tracer goes first: the scope's begin is to be its file's first record.
void ActOnArguments(const ArgumentList& args) {
  SetUpTracing(args);
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo, u"zs_util\t[main] ");
  if (HasOption(args, kUnblockToken)) correct_setup::Unblock();
}

// The region whose exceptions are the run's outcome. The arguments are gone when it ends.
void RunBody(oru::ResultCode& result) {
  try {
    const ArgumentList args = ReadCommandLineArguments();
    ActOnArguments(args);
  } catch (const std::exception&) {
    const oru::ResultCode code = correct_setup::helpers::TraceCaughtException("zs_util\t[main] ");
    // The first failure is the one that is reported.
    if (!ORU_FAILED(result)) result = code;
  }
}

void Report(oru::ResultCode result) { std::cout << detail::MakeReport(result).c_str(); }

}  // namespace

oru::String8 detail::MakeReport(oru::ResultCode result) {
  if (result == oru::sOk) return "Completed";
  oru::String16 text(u"Failed: ");
  text << oru::ResultCodeText{result} << u" (" << correct_setup::GetResultText(result) << u")";
  oru::String8 bytes;
  oru::ThrowOnConversionFailure(oru::Utf16ToAnsi(text.view(), bytes));
  return bytes;
}

oru::ResultCode RunSetupUtil() {
  // A system that can't narrow the search is served all the same.
  (void)EnableSystemDllSearch(kLoadLibrarySearchSystem32);
  oru::ResultCode result = oru::sOk;
  try {
    const VectoredHandlerGuard handler(
        winapi::AddVectoredExceptionHandler(/*first=*/1, oru::AssertionHandler));
    RunBody(result);
    Report(result);
    ORU_TRACE(oru::kTraceLevelInfo,
              "zs_util\t[main] exit with result = " << oru::ResultCodeText{result});
    return result;
  } catch (const std::exception&) {
    // Nothing is printed: it may be the report that failed.
    return oru::ExceptionGuard();
  }
}

}  // namespace zum_setup_util
