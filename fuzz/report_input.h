// Reports of any content for the targets of the writers.
#ifndef FUZZ_REPORT_INPUT_H_
#define FUZZ_REPORT_INPUT_H_

#include <fuzzer/FuzzedDataProvider.h>

#include "zum_rehearse/report.h"

namespace fuzz {

// A report whose texts and values are the fuzzer's; its changes are consistent: what one leaves
// behind the next finds.
[[nodiscard]] zum_rehearse::Report TakeReport(FuzzedDataProvider& input);

}  // namespace fuzz

#endif  // FUZZ_REPORT_INPUT_H_
