#include "oru/system/datetime/time_system_error.h"

#include <utility>

#include "oru/rtl/error_mapping.h"

namespace oru::datetime {
namespace {

constexpr char kSourceFile[] = "oru/system/datetime/windows/datetime";

}  // namespace

const char* TimeSystemError::what() const noexcept { return "TimeSystemError"; }

void detail::ThrowTimeSystemError(String16 message, winapi::Error error, std::uint32_t line) {
  throw TimeSystemError() << SetMessage{std::move(message)} << SetResultCode{FailureOf(error)}
                          << SetFile{kSourceFile} << SetLine{line};
}

}  // namespace oru::datetime
