// An 8-bit text while it is composed.
#ifndef STANDALONE_TRACER_LIB_LINE_STREAM_H_
#define STANDALONE_TRACER_LIB_LINE_STREAM_H_

#include <ios>
#include <locale>
#include <sstream>

namespace standalone::trace::detail {

// A string stream whose numbers are filled with "0", in the classic locale whatever the process's
// is. What is thrown inside it, such as std::bad_alloc, comes out: a stream's own way is to swallow
// that and to leave a text that is cut.
class LineStream : public std::ostringstream {
 public:
  LineStream() {
    // What a stream knows of its locale is looked up anew by each imbue, the same one's too.
    if (getloc() != std::locale::classic()) imbue(std::locale::classic());
    fill('0');
    exceptions(std::ios::badbit);
  }
};

}  // namespace standalone::trace::detail

#endif  // STANDALONE_TRACER_LIB_LINE_STREAM_H_
