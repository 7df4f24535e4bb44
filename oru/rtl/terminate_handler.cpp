#include "oru/rtl/terminate_handler.h"

#include <cxxabi.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <typeinfo>

namespace {

void Tell(const char* text) noexcept { (void)std::fputs(text, stderr); }

void TellWhat() noexcept {
  try {
    throw;
  } catch (const std::exception& exception) {
    Tell("  what():  ");
    Tell(exception.what());
    Tell("\n");
  } catch (...) {
    // Its type is all that is known of it.
  }
}

}  // namespace

extern "C" void OruTerminateHandler() noexcept {
  static std::atomic<bool> isTelling{false};
  if (isTelling.exchange(true)) {
    Tell("terminate called recursively\n");
    std::abort();
  }
  const std::type_info* const type = abi::__cxa_current_exception_type();
  if (type == nullptr) {
    Tell("terminate called without an active exception\n");
    std::abort();
  }
  Tell("terminate called after throwing an instance of '");
  Tell(type->name());
  Tell("'\n");
  TellWhat();
  std::abort();
}
