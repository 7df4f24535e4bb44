// One machine's rehearsal in all the forms that were asked for.
#ifndef ZUM_REHEARSE_RENDER_H_
#define ZUM_REHEARSE_RENDER_H_

#include <string>

#include "zum_rehearse/inputs.h"
#include "zum_rehearse/options.h"
#include "zum_rehearse/table.h"

namespace zum_rehearse {

// What one machine adds to the output.
struct Rendered {
  int status = 0;
  std::string screen;  // for the standard output
  std::string page;    // rows of the page
  std::string errors;  // lines for the standard error stream
};

struct RenderForm {
  TableForm table;
  bool several = false;  // more than one machine: files go into folders
  std::string time;      // as it stands in the files
};

// Loads and rehearses the machine and writes the files that are its own. Throws std::exception when
// memory runs out and the like.
[[nodiscard]] Rendered Render(const Source& source, const Options& options, const RenderForm& form);

// In place of a machine whose rehearsal didn't come to its end.
[[nodiscard]] Rendered RenderFailure(const Source& source, const Options& options,
                                     const RenderForm& form, const std::string& reason);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_RENDER_H_
