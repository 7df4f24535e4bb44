#include "oru/rtl/exception_guard.h"

#include <cstring>
#include <new>
#include <stdexcept>

#include "oru/rtl/check.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/exception_text.h"
#include "oru/rtl/last_error_keeper.h"
#include "oru/rtl/object_ptr.h"
#include "oru/rtl/trace.h"

namespace oru {
namespace {

// The always-false condition of a check that stands where nothing is to be compared. Its name is
// part of the check's text.
constexpr bool IgnoreC4127(bool value) noexcept { return value; }

// The library's name for a failed allocation differs between libraries; the trace has one text.
const char* WhatOf(const std::exception& exception) noexcept {
  const char* const what = exception.what();
  if (what == nullptr || dynamic_cast<const std::bad_alloc*>(&exception) == nullptr) return what;
  return std::strcmp(what, std::bad_alloc().what()) == 0 ? "bad allocation" : what;
}

void InsertException(TraceStream& stream, const std::exception& exception) noexcept {
  if (const auto* const member = dynamic_cast<const Exception*>(&exception)) {
    stream << *member;
  } else {
    stream << WhatOf(exception);
  }
}

ResultCode ReportForeignException() noexcept {
  ORU_CHECK(IgnoreC4127(false));
  return errUnknownException;
}

ResultCode CodeOf(const ResultCodeException& exception) noexcept {
  const ResultCode result = exception.Code();
  ORU_CHECK(result != oru::sOk);
  // Only 0 is caught: another value without the top bit leaves as it is, though it reads as a
  // success.
  return result != sOk ? result : errUnexpected;
}

}  // namespace

void TraceException(ITracer* tracer, std::uint32_t level, const char* prefix,
                    const std::exception& exception) noexcept {
  detail::TraceStatement(tracer, level, [&](TraceStream& stream) {
    if (prefix != nullptr) stream << prefix;
    InsertException(stream, exception);
  });
}

ResultCode ExceptionGuard(ITracer* tracer, std::uint32_t level, const char* prefix) noexcept {
  // Whoever handles the exception may still want the error of the call that failed, and tracing
  // makes calls that set it.
  const LastErrorKeeper keeper;
  // A rethrow of nothing would end the process.
  if (std::current_exception() == nullptr) return ReportForeignException();
  try {
    throw;
  } catch (const ResultCodeException& exception) {
    TraceException(tracer, level, prefix, exception);
    return CodeOf(exception);
  } catch (const Exception& exception) {
    TraceException(tracer, level, prefix, exception);
    return errUnknownException;
  } catch (const std::bad_alloc& exception) {
    TraceException(tracer, level, prefix, exception);
    return errOutOfMemory;
  } catch (const std::length_error& exception) {
    // A text or list beyond its greatest length is a lack of memory to whoever asked for it.
    TraceException(tracer, level, prefix, exception);
    return errOutOfMemory;
  } catch (const std::exception& exception) {
    TraceException(tracer, level, prefix, exception);
    return errUnknownException;
  } catch (...) {
    // Nothing can be said of it, so there is no record; the check tells of it.
    return ReportForeignException();
  }
}

ResultCode ExceptionGuard(ITracer* tracer, const char* prefix) noexcept {
  return ExceptionGuard(tracer, kTraceLevelError, prefix);
}

ResultCode ExceptionGuard() noexcept {
  return ExceptionGuard(static_cast<ITracer*>(nullptr), kTraceLevelError, /*prefix=*/nullptr);
}

ResultCode ExceptionGuard(IServiceLocator* locator, std::uint32_t level,
                          const char* prefix) noexcept {
  const LastErrorKeeper keeper;
  if (locator == nullptr) return ExceptionGuard();
  void* found = nullptr;
  if (ORU_FAILED(GetService(locator, ITracer::kInterfaceNumber, 0, &found)))
    return ExceptionGuard();
  const auto tracer = ObjectPtr<ITracer>::Adopt(static_cast<ITracer*>(found));
  return ExceptionGuard(tracer.Get(), level, prefix);
}

}  // namespace oru
