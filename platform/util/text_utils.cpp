#include "platform/util/text_utils.h"

#include <cstdint>

#include "oru/rtl/exception.h"

namespace text_utils {
namespace {

// A fixed position: part of what is shown, so it doesn't move with the code.
constexpr char kSourceFile[] = "platform/util/text_utils";
constexpr std::uint32_t kConversionLine = 53;

}  // namespace

oru::String8 Utf16ToUtf8(std::u16string_view source) {
  oru::String8 target;
  const oru::ResultCode rc = oru::Utf16ToUtf8(source, target);
  if (ORU_FAILED(rc)) throw oru::CheckResultFailedException(kSourceFile, kConversionLine, rc);
  return target;
}

}  // namespace text_utils
