// The report for a terminal.
#ifndef ZUM_REHEARSE_TABLE_H_
#define ZUM_REHEARSE_TABLE_H_

#include <cstddef>
#include <string>

#include "zum_rehearse/report.h"

namespace zum_rehearse {

struct TableForm {
  std::size_t columns = 80;  // at least 40 are used
  bool colour = false;
  bool all = false;  // ordinary products too
};

// Lines with their line ends. Nothing of the machine's data reaches them unescaped.
[[nodiscard]] std::string Table(const Report& report, const TableForm& form);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_TABLE_H_
