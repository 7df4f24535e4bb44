// The caller of the whole correction, for the black-box tests and for use by hand. The program that
// is shipped doesn't reach that entry.
//
//   correct_setup_run [--trace-output=DIR] OPERATION PACKAGE [GUID] ARGUMENT ...
//
// Prints one line and ends with the same number: "value 0x00000bc2" where the correction returned
// (the installer's exit code), "code 0xa1780007 (Problem with check signature)" where it ended in
// an exception. That is all of the number under Windows, and what a process status can hold of it
// elsewhere.
#include <cstdint>
#include <exception>
#include <iostream>
#include <utility>

#include "oru/rtl/check.h"
#include "oru/rtl/exception_guard.h"
#include "oru/rtl/number_format.h"
#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"
#include "oru/rtl/string_sink.h"
#include "oru/rtl/text_conversion.h"
#include "winapi/exceptions.h"
#include "winapi/process.h"
#include "zum_setup_util/command_line.h"
#include "zum_setup_util/dll_search.h"
#include "zum_setup_util/trace_setup.h"
#include "zum_setup_util/vectored_handler_guard.h"
#include "zum_setup_util_lib/correct_setup.h"
#include "zum_setup_util_lib/tool_result_codes.h"

namespace {

struct Outcome {
  std::int32_t number = 0;
  oru::String16 line;
};

Outcome Correct() {
  zum_setup_util::ArgumentList args = zum_setup_util::ReadCommandLineArguments();
  zum_setup_util::SetUpTracing(args);
  std::erase_if(args, [](const std::u16string& argument) {
    return argument.starts_with(zum_setup_util::kTraceOutputKey);
  });
  const std::uint32_t value = correct_setup::ExecuteCorrectSetup(std::move(args));
  const oru::ResultCode number = oru::MakeResultCode(value);
  oru::String16 line(u"value ");
  line << oru::ResultCodeText{number};
  return {number, line};
}

Outcome CorrectOrFail() {
  try {
    return Correct();
  } catch (const std::exception&) {
    const oru::ResultCode code = oru::ExceptionGuard();
    oru::String16 line(u"code ");
    line << oru::ResultCodeText{code} << u" (" << correct_setup::GetResultText(code) << u")";
    return {code, line};
  }
}

}  // namespace

int main() {
  // A system that can't narrow the search is served all the same.
  (void)zum_setup_util::EnableSystemDllSearch(zum_setup_util::kLoadLibrarySearchSystem32);
  const zum_setup_util::VectoredHandlerGuard handler(
      winapi::AddVectoredExceptionHandler(/*first=*/1, oru::AssertionHandler));
  const Outcome outcome = CorrectOrFail();
  oru::String8 bytes;
  oru::ThrowOnConversionFailure(oru::Utf16ToAnsi(outcome.line.view(), bytes));
  std::cout << bytes.c_str() << '\n';
  return winapi::ProcessExitStatus(outcome.number);
}
