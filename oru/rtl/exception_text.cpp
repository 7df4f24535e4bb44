#include "oru/rtl/exception_text.h"

#include "oru/rtl/string_sink.h"
#include "oru/rtl/text_conversion.h"
#include "oru/rtl/trace_inserters.h"

namespace oru {
namespace {

// The display text as UTF-8. False when it can't be made or converted, whatever the reason: what a
// trace inserts doesn't throw.
bool GetLinkText(const Exception& link, String8& text) noexcept {
  try {
    return !ORU_FAILED(Utf16ToUtf8(GetDisplayText(link).view(), text));
  } catch (...) {
    return false;
  }
}

}  // namespace

// The blank at the end is part of the text. A null file inserts nothing, the rest stays.
String16 GetDisplayText(const Exception& exception) {
  String16 text;
  text << exception.what() << u" - " << exception.GetDescription() << u". At " << exception.File()
       << u"(" << exception.Line() << u") ";
  return text;
}

TraceStream& operator<<(TraceStream& stream, const Exception& exception) noexcept {
  // By a loop, since a chain may have any depth. Each link has a text of its own: one that can't be
  // made costs no other.
  for (const Exception* link = &exception; link != nullptr; link = link->Inner()) {
    if (link != &exception) stream << ";";
    String8 text;
    if (GetLinkText(*link, text)) {
      stream << text;
    } else {
      stream << "<Exception display text conversion error>";
    }
  }
  return stream;
}

}  // namespace oru
