// The program's entry with an action that fails in the way that the command line names:
// "/fail=NAME".

#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>

#include "oru/rtl/check.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "standalone_tracer_lib/tracers.h"
#include "zum_setup_util/command_line.h"
#include "zum_setup_util_lib/unblock.h"

namespace {

constexpr char kFile[] = "tests/zum_setup_util/run_probe";

[[noreturn]] void ThrowCode(std::uint32_t code) {
  throw oru::CheckResultFailedException(kFile, 7, oru::MakeResultCode(code));
}

// An aborted process loses what lies in the stream's buffer: the tracer ends its file first.
// Nothing unwinds for an exception that nobody catches, so the run's scope still has its reference.
[[noreturn]] void EndWithTheTrace() {
  oru::ITracer* const tracer = GetTracer();
  if (oru::IsTraceLevelAllowed(tracer, oru::kTraceLevelInfo)) (void)tracer->Release();
  standalone::trace::TracerHolder::Instance().Install(standalone::trace::CreateEmptyTracer());
  std::abort();
}

void Fail(const std::u16string& how) {
  if (how == u"check") ORU_CHECK(how.empty());
  if (how == u"tool") ThrowCode(0xA1780003);
  if (how == u"gap") ThrowCode(0xA1780002);
  if (how == u"denied") ThrowCode(0x80000045);
  if (how == u"win32") ThrowCode(0x800703E8);
  if (how == u"ok") ThrowCode(0);
  if (how == u"false") ThrowCode(1);
  if (how == u"lowzero") ThrowCode(0x80000100);
  if (how == u"base") throw oru::ResultCodeException(kFile, 8, oru::MakeResultCode(0x80010102));
  if (how == u"system") throw oru::SystemException(kFile, 9, oru::MakeResultCode(0x80010101));
  if (how == u"codeless") throw oru::CheckFailedException(kFile, 10);
  if (how == u"plain") throw oru::Exception(kFile, 11);
  if (how == u"runtime") throw std::runtime_error("broken");
  if (how == u"memory") throw std::bad_alloc();
  if (how == u"length") throw std::length_error("too long");
  if (how == u"int") {
    std::set_terminate(EndWithTheTrace);
    throw 42;
  }
}

}  // namespace

void correct_setup::Unblock() {
  Fail(zum_setup_util::FindOptionValue(zum_setup_util::ReadCommandLineArguments(), u"/fail="));
}
