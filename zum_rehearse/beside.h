// Work that takes its time, with somebody told meanwhile.
#ifndef ZUM_REHEARSE_BESIDE_H_
#define ZUM_REHEARSE_BESIDE_H_

#include <functional>

namespace zum_rehearse {

// Does `work` on a thread of its own, and calls `progress` on this one now and then until it is
// done. Throws what `work` throws. Without a second thread the work is done all the same, and
// nobody is told.
void WorkBeside(const std::function<void()>& work, const std::function<void()>& progress);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_BESIDE_H_
