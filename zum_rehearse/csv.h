// The report as comma-separated values.
#ifndef ZUM_REHEARSE_CSV_H_
#define ZUM_REHEARSE_CSV_H_

#include <string>

#include "zum_rehearse/report.h"

namespace zum_rehearse {

// The line with the columns' names.
[[nodiscard]] std::string CsvHeading();

// A line a product; without `all` ordinary ones are left out, and a machine that has none to show
// has one line of its own. Lines end in CR LF when they reach the standard output. What a
// spreadsheet would take for a formula has an apostrophe before it; control characters show
// escaped.
[[nodiscard]] std::string CsvLines(const Report& report, bool all);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_CSV_H_
