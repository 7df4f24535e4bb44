// What each writer of a report must have made of it. Each ends the program where it hasn't.
#ifndef FUZZ_REPORT_CHECKS_H_
#define FUZZ_REPORT_CHECKS_H_

#include "zum_rehearse/report.h"

namespace fuzz {

// The object parses back to the report's values.
void CheckJson(const zum_rehearse::Report& report, bool all);
// The lines parse back, by RFC 4180, to the report's texts, and none begins a formula.
void CheckCsv(const zum_rehearse::Report& report, bool all);
// No markup comes from a value: the tags are those of a report with harmless texts, and the texts
// are the report's.
void CheckHtml(const zum_rehearse::Report& report, bool all);
// Read behind the machine's state, the first file gives the state after the changes, and the second
// one takes them back.
void CheckRegFiles(const zum_rehearse::Report& report);

}  // namespace fuzz

#endif  // FUZZ_REPORT_CHECKS_H_
