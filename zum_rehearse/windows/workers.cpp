#include "zum_rehearse/workers.h"

#include <exception>

namespace zum_rehearse {

// There is one machine: this one.
void RenderAll(const std::vector<Source>& sources, const Options& options, const RenderForm& form,
               const std::function<void(const Rendered&)>& take,
               const std::function<void(std::size_t)>& /*progress*/) {
  for (const Source& source : sources) {
    try {
      take(Render(source, options, form));
    } catch (const std::exception& error) {
      take(RenderFailure(source, options, form, error.what()));
    }
  }
}

}  // namespace zum_rehearse
