#include "zum_setup_util_lib/unblock.h"

#include "zum_setup_util_lib/registry_rewrite.h"

namespace correct_setup {

// One stage by itself: there is no package to check and no installer to wait for.
void Unblock() { detail::DisableProtectiveMeasuresUpgrade(); }

}  // namespace correct_setup
