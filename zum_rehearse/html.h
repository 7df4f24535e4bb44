// The report as one page that asks nothing of anybody.
#ifndef ZUM_REHEARSE_HTML_H_
#define ZUM_REHEARSE_HTML_H_

#include <string>

#include "zum_rehearse/report.h"

namespace zum_rehearse {

// The page is HtmlHead, the rows of each machine in a group of their own, HtmlTail. It is readable
// without scripts; with them it can be sorted and filtered. Its policy lets run nothing but its own
// script, and no request leaves it. Values are hostile: what is special to HTML or turns the
// direction of text is escaped, each value is isolated, and long ones are folded away.
[[nodiscard]] std::string HtmlHead(const std::string& time);
[[nodiscard]] std::string HtmlRows(const Report& report, bool all);
[[nodiscard]] std::string HtmlTail(std::size_t machines, int status);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_HTML_H_
