#include "platform/util/windows/system_error.h"

#include <string_view>

#include "oru/rtl/check.h"
#include "oru/rtl/error_mapping.h"
#include "oru/rtl/number_format.h"
#include "oru/rtl/string_sink.h"
#include "winapi/errors.h"

namespace windows_helpers {
namespace {

// U.S. English, so that a text is in English or not there at all.
constexpr winapi::Dword kEnglish = 1033;

// A buffer that FormatMessageW made.
class MessageBuffer {
 public:
  MessageBuffer() noexcept = default;
  MessageBuffer(const MessageBuffer&) = delete;
  MessageBuffer& operator=(const MessageBuffer&) = delete;
  ~MessageBuffer() {
    // A buffer that the system doesn't take back is lost, which no caller could mend.
    if (m_text != nullptr) (void)winapi::LocalFree(m_text);
  }

  // Gives the number of characters, 0 for none.
  [[nodiscard]] winapi::Dword Format(winapi::Dword status) noexcept {
    return winapi::FormatMessageW(
        winapi::kFormatMessageAllocateBuffer | winapi::kFormatMessageIgnoreInserts |
            winapi::kFormatMessageFromSystem,
        /*source=*/nullptr, status, kEnglish, &m_text, /*size=*/0, /*arguments=*/nullptr);
  }
  [[nodiscard]] const char16_t* Text() const noexcept { return m_text; }

 private:
  char16_t* m_text = nullptr;
};

[[nodiscard]] bool IsTrimmed(char16_t character) noexcept {
  return character == u'\r' || character == u'\n' || character == u'.';
}

// A text of the system that can't be taken over is replaced: the exception is worth more than its
// words.
[[nodiscard]] oru::String16 ToFrameworkString(std::u16string_view text) {
  try {
    return oru::String16(text);
  } catch (const std::exception&) {
    ORU_CHECK(false);
    return oru::String16(u"<Exception display text conversion error>");
  }
}

// The text is left out where there is none; the full stop behind it stays.
[[nodiscard]] oru::String16 ComposeMessage(winapi::Dword status, const char* expression) {
  const oru::FormatSpec eightDigits{.width = 8, .base = 16, .fill = u'0'};
  const oru::String16 text = ToFrameworkString(FormatSystemMessage(status));
  oru::String16 message;
  message << u"System error: 0x" << oru::Format(status, eightDigits) << u". " << text
          << u". Expression: '" << expression << u"'";
  return message;
}

}  // namespace

void detail::TrimSystemMessage(std::u16string& text) noexcept {
  while (!text.empty() && IsTrimmed(text.back())) text.pop_back();
}

std::u16string FormatSystemMessage(winapi::Dword status) {
  std::u16string text;
  {
    MessageBuffer buffer;
    const winapi::Dword length = buffer.Format(status);
    if (length == 0) return text;
    text.assign(buffer.Text(), length);
  }
  detail::TrimSystemMessage(text);
  return text;
}

WindowsErrorException::WindowsErrorException(winapi::Dword status, const char* expression)
    : ExceptionBase(/*file=*/nullptr, /*line=*/0, oru::SystemErrorToResult(status),
                    ComposeMessage(status, expression)),
      systemError(status) {}

// Here, so that the class's table has one home.
WindowsErrorException::~WindowsErrorException() = default;

oru::CheckResultFailedException MakeWin32CheckFailure(const char* file, std::uint32_t line,
                                                      winapi::Error error) {
  return oru::CheckResultFailedException(file, line, oru::Win32ErrorToResult(error))
         << u"system result code: " << error;
}

}  // namespace windows_helpers
