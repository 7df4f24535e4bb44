// Whether the package that a product names is there.
#ifndef ZUM_REHEARSE_PACKAGE_LOOKUP_H_
#define ZUM_REHEARSE_PACKAGE_LOOKUP_H_

#include <string>

#include "zum_rehearse/judge.h"

namespace zum_rehearse {

// A folder in its place is no package. Only errors that say that there is no such file make it
// missing; of a path whose folder may not be entered, whose server doesn't answer, or that is too
// long to be looked at nothing is known.
[[nodiscard]] PackageAnswer LookForPackage(const std::u16string& path);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_PACKAGE_LOOKUP_H_
