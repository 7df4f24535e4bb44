// All machines of a call, on all cores.
#ifndef ZUM_REHEARSE_WORKERS_H_
#define ZUM_REHEARSE_WORKERS_H_

#include <cstddef>
#include <functional>
#include <vector>

#include "zum_rehearse/render.h"

namespace zum_rehearse {

// Renders each source and gives the results to `take`, in the order of the sources. On the host
// processes of their own do the work, one a core: what a machine takes of memory is gone with the
// next, a machine that ends its process costs no other, and only so many results wait for their
// turn as there are processes, times four. `progress` is called with the number of results taken,
// now and then. Throws what `take` throws.
void RenderAll(const std::vector<Source>& sources, const Options& options, const RenderForm& form,
               const std::function<void(const Rendered&)>& take,
               const std::function<void(std::size_t)>& progress);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_WORKERS_H_
