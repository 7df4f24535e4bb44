#include "zum_rehearse/workers.h"

#include <exception>

#include "zum_rehearse/beside.h"

namespace zum_rehearse {

// There is one machine: this one. A package on a server that is gone may keep it for a while.
void RenderAll(const std::vector<Source>& sources, const Options& options, const RenderForm& form,
               const std::function<void(const Rendered&)>& take,
               const std::function<void(std::size_t)>& progress) {
  std::size_t taken = 0;
  for (const Source& source : sources) {
    Rendered rendered;
    try {
      WorkBeside([&] { rendered = Render(source, options, form); }, [&] { progress(taken); });
    } catch (const std::exception& error) {
      rendered = RenderFailure(source, options, form, error.what());
    }
    take(rendered);
    ++taken;
  }
}

}  // namespace zum_rehearse
