#include "oru/rtl/exception.h"

#include <utility>

#include "oru/rtl/number_format.h"
#include "oru/rtl/result_text.h"

namespace oru {
namespace {

constexpr FormatSpec kEightDigits{.width = 8, .base = 16, .fill = u'0'};

}  // namespace

Exception::Exception(const char* file, std::uint32_t line) noexcept : m_file(file), m_line(line) {}

Exception::Exception(const Exception& other)
    : std::exception(other),
      m_file(other.m_file),
      m_line(other.m_line),
      m_reserved(other.m_reserved),
      m_message(other.m_message) {
  if (other.m_inner != nullptr) m_inner = CloneChain(*other.m_inner);
}

// Takes the chain apart link by link: left to the members, each link's end would stand on the stack
// of the one before.
Exception::~Exception() {
  std::unique_ptr<Exception> link = std::move(m_inner);
  while (link != nullptr) link = std::move(link->m_inner);
}

// Each link is copied while its cause is off it, so that its slot copies the one link: the cost is
// one copy a link, and no link's copy stands on the stack of another's.
std::unique_ptr<Exception> Exception::CloneLink(const Exception& link) {
  struct PutBack {
    const Exception& m_link;
    std::unique_ptr<Exception> m_cause;
    ~PutBack() { m_link.m_inner = std::move(m_cause); }
  };
  const PutBack putBack{link, std::move(link.m_inner)};
  return link.Clone();
}

std::unique_ptr<Exception> Exception::CloneChain(const Exception& first) {
  std::unique_ptr<Exception> head;
  std::unique_ptr<Exception>* tail = &head;
  for (const Exception* link = &first; link != nullptr; link = link->m_inner.get()) {
    *tail = CloneLink(*link);
    tail = &(*tail)->m_inner;
  }
  return head;
}

const char* Exception::what() const noexcept { return "Unknown exception"; }

String16 Exception::GetDescription() const { return m_message; }

void Exception::Rethrow() const { throw Exception(*this); }

std::unique_ptr<Exception> Exception::Clone() const { return std::make_unique<Exception>(*this); }

ResultCodeException::ResultCodeException(const char* file, std::uint32_t line, ResultCode code,
                                         String16 message)
    : ExceptionBase(file, line), m_resultCode(code) {
  m_message = std::move(message);
}

const char* ResultCodeException::what() const noexcept { return "ResultCodeException"; }

String16 ResultCodeException::GetDescription() const {
  String16 text = m_message;
  if (!text.empty()) text << u": ";
  text << ResultCodeText{m_resultCode} << u" (" << GetFrameworkResultText(m_resultCode) << u")";
  return text;
}

const char* CheckResultFailedException::what() const noexcept {
  return "CheckResultFailedException";
}

const char* CheckFailedException::what() const noexcept { return "CheckFailedException"; }

const char* SystemException::what() const noexcept { return "SystemException"; }

CreateInstanceException::CreateInstanceException(std::uint32_t classId, const char* file,
                                                 std::uint32_t line, ResultCode code)
    : ExceptionBase(file, line, code), m_classId(classId) {}

const char* CreateInstanceException::what() const noexcept { return "CreateInstanceException"; }

String16 CreateInstanceException::GetDescription() const {
  String16 text = ResultCodeException::GetDescription();
  if (!text.empty()) text << u": ";
  text << u"iid:" << Format(m_classId, kEightDigits);
  return text;
}

}  // namespace oru
