#include "oru/rtl/object.h"

#include "oru/rtl/object_impl.h"

namespace oru::detail {

std::atomic<std::int32_t>& LiveObjectCounter() noexcept {
  static constinit std::atomic<std::int32_t> counter{0};
  return counter;
}

}  // namespace oru::detail
