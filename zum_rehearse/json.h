// The report as JSON; docs/rehearsal.schema.json tells its form.
#ifndef ZUM_REHEARSE_JSON_H_
#define ZUM_REHEARSE_JSON_H_

#include <string>

#include "zum_rehearse/report.h"

namespace zum_rehearse {

// One object in one line, with its line end. Without `all` ordinary products are left out.
[[nodiscard]] std::string JsonLine(const Report& report, bool all);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_JSON_H_
