#include "platform/util/text_utils.h"

#include "oru/rtl/exception.h"

namespace text_utils {

oru::String8 Utf16ToUtf8(std::u16string_view source) {
  oru::String8 target;
  const oru::ResultCode rc = oru::Utf16ToUtf8(source, target);
  if (ORU_FAILED(rc)) {
    // The line is part of the message that a user sees, so it stays when the text moves.
    throw oru::CheckResultFailedException("platform/util/text_utils", 53, rc);
  }
  return target;
}

}  // namespace text_utils
