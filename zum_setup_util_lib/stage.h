// What the stages of the correction share: how each of them fails.
#ifndef ZUM_SETUP_UTIL_LIB_STAGE_H_
#define ZUM_SETUP_UTIL_LIB_STAGE_H_

#include <cstdint>

#include "oru/rtl/result_code.h"

namespace correct_setup::detail {

// The source file that the failures of all stages name, whichever file they stand in.
inline constexpr char kStageSourceFile[] = "zum_setup_util_lib/correct_setup";

// For use inside a stage's handler: traces the exception that is being handled at level 300 under
// `prefix`, and throws oru::CheckResultFailedException with the stage's own code in its place. So
// the cause stands in the trace alone.
[[noreturn]] void FailStage(const char* prefix, std::uint32_t line, oru::ResultCode code);

}  // namespace correct_setup::detail

#endif  // ZUM_SETUP_UTIL_LIB_STAGE_H_
