#include "zum_setup_util_lib/stage.h"

#include "oru/rtl/exception.h"
#include "zum_setup_util_lib/caught_exception.h"

namespace correct_setup::detail {

void FailStage(const char* prefix, std::uint32_t line, oru::ResultCode code) {
  (void)helpers::TraceCaughtException(prefix);  // the code of the cause doesn't leave the stage
  throw oru::CheckResultFailedException(kStageSourceFile, line, code);
}

}  // namespace correct_setup::detail
