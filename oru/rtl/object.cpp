#include "oru/rtl/object.h"

#include "oru/rtl/object_impl.h"

namespace oru::detail {

std::atomic<std::int32_t>& LiveObjectCounter() noexcept {
  // Constant-initialised: objects may be made by other files' static initialisers.
  static constinit std::atomic<std::int32_t> counter{0};
  return counter;
}

}  // namespace oru::detail
