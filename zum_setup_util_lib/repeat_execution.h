// Running an action again when it fails: other processes hold a file or a key for a moment only.
#ifndef ZUM_SETUP_UTIL_LIB_REPEAT_EXECUTION_H_
#define ZUM_SETUP_UTIL_LIB_REPEAT_EXECUTION_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace correct_setup::helpers {

using Milliseconds = std::chrono::duration<std::int64_t, std::milli>;

namespace detail {

void TryExecuteWithRepeat(void (*run)(void* action), void* action, std::uint16_t repeatCount,
                          const Milliseconds& delay);

}  // namespace detail

// Runs `action`, and when it fails by an exception of the standard base runs it again after
// `delay`, up to `repeatCount` times; the last failure leaves as it is. Each failed run is traced,
// and each repeat is told by its number. A delay of 0 or less doesn't sleep. Any other exception
// passes through at once.
//
// The greatest count, 65535, is a limit like any other: the run number 65536 is the last one.
template <typename Action>
void TryExecuteWithRepeat(Action&& action, std::uint16_t repeatCount, const Milliseconds& delay) {
  // A const action loses its const on the way through the pointer and gets it back in the cast.
  using Callable = std::remove_reference_t<Action>;
  detail::TryExecuteWithRepeat([](void* context) { (*static_cast<Callable*>(context))(); },
                               const_cast<void*>(static_cast<const void*>(std::addressof(action))),
                               repeatCount, delay);
}

}  // namespace correct_setup::helpers

#endif  // ZUM_SETUP_UTIL_LIB_REPEAT_EXECUTION_H_
