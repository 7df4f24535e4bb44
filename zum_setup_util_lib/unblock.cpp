#include "zum_setup_util_lib/unblock.h"

#include "zum_setup_util_lib/registry_rewrite.h"

namespace correct_setup {

void Unblock() { detail::DisableProtectiveMeasuresUpgrade(); }

}  // namespace correct_setup
