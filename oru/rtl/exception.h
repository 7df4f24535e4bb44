// The exception family: how a failure travels with its result code, source position, message and
// cause.
//
// `file` is a static zero-terminated 8-bit text, the source's path in the tree without its
// extension, or null; `line` is 0 when unknown. Copying copies all fields, `inner` deeply; a chain
// of causes has no depth limit, neither for copying nor for destruction. An exception is built in
// place and thrown as its own type:
//
//   throw oru::CheckFailedException(kSourceFile, __LINE__) << u"path = " << path;
//   throw oru::datetime::TimeSystemError() << SetMessage(text) << SetResultCode(rc)
//                                          << SetFile(kSourceFile) << SetLine(kRefusedDateLine);
//
// Copying, composing a text and setting a cause throw std::bad_alloc when memory runs out, and
// leave the object as it was. Copying costs one copy a link, whatever other threads do. While a
// cause is copied by its slot, its own cause is off it, and back behind that on failure too: a
// derived class's copy constructor finds none there. So an exception isn't shared between threads,
// not even for copying.
#ifndef ORU_RTL_EXCEPTION_H_
#define ORU_RTL_EXCEPTION_H_

#include <concepts>
#include <cstdint>
#include <exception>
#include <memory>
#include <type_traits>
#include <utility>

#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"
#include "oru/rtl/string_sink.h"

namespace oru {

class Exception : public std::exception {
 public:
  Exception() noexcept = default;
  Exception(const char* file, std::uint32_t line) noexcept;
  Exception(const Exception& other);
  Exception(Exception&& other) noexcept = default;
  // Built in place and thrown; nobody assigns one.
  Exception& operator=(const Exception&) = delete;

  // Slot order is declaration order.
  ~Exception() override;
  // The class's name; "Unknown exception" for this class. Can't fail and allocates nothing.
  [[nodiscard]] const char* what() const noexcept override;
  // The text without name and position; of this class the message.
  [[nodiscard]] virtual String16 GetDescription() const;
  // Throws a copy, of the most derived type that ExceptionBase knows.
  [[noreturn]] virtual void Rethrow() const;
  // A copy on the host's heap, of that same type; std::bad_alloc when there is no memory.
  [[nodiscard]] virtual std::unique_ptr<Exception> Clone() const;

  [[nodiscard]] const char* File() const noexcept { return m_file; }
  [[nodiscard]] std::uint32_t Line() const noexcept { return m_line; }
  [[nodiscard]] const String16& Message() const noexcept { return m_message; }
  [[nodiscard]] String16& Message() noexcept { return m_message; }
  [[nodiscard]] const Exception* Inner() const noexcept { return m_inner.get(); }

  void SetFile(const char* file) noexcept { m_file = file; }
  void SetLine(std::uint32_t line) noexcept { m_line = line; }
  void SetMessage(String16 message) noexcept { m_message = std::move(message); }
  // The exception that caused this one, cloned.
  void SetInner(const Exception& inner) { m_inner = inner.Clone(); }
  // The same, taken over with its own causes; null takes the cause away.
  void SetInner(std::unique_ptr<Exception> inner) noexcept { m_inner = std::move(inner); }

 protected:
  // Layout: these five, in this order, behind the base.
  const char* m_file = nullptr;
  std::uint32_t m_line = 0;
  std::uint32_t m_reserved = 0;  // always 0 in this program, copied all the same
  String16 m_message;
  mutable std::unique_ptr<Exception> m_inner;  // off for the moment in which a copy is made of this

 private:
  [[nodiscard]] static std::unique_ptr<Exception> CloneLink(const Exception& link);
  [[nodiscard]] static std::unique_ptr<Exception> CloneChain(const Exception& first);
};

// Gives a class the two operations that have to know the most derived type. A class without new
// data may derive from a class that has them already and go without; a copy of it is then of that
// class.
template <typename Derived, typename Base>
class ExceptionBase : public Base {
 public:
  using Base::Base;
  [[noreturn]] void Rethrow() const override { throw Derived(static_cast<const Derived&>(*this)); }
  [[nodiscard]] std::unique_ptr<Exception> Clone() const override {
    return std::make_unique<Derived>(static_cast<const Derived&>(*this));
  }
};

class ResultCodeException : public ExceptionBase<ResultCodeException, Exception> {
 public:
  ResultCodeException() noexcept = default;
  ResultCodeException(const char* file, std::uint32_t line, ResultCode code, String16 message = {});
  [[nodiscard]] const char* what() const noexcept override;
  // Message and ": " (neither when the message is empty), the code as "0x" and eight digits, and
  // its text in parentheses. The text is the framework's, which doesn't know the tool's own
  // facility.
  [[nodiscard]] String16 GetDescription() const override;

  [[nodiscard]] ResultCode Code() const noexcept { return m_resultCode; }
  void SetResultCode(ResultCode code) noexcept { m_resultCode = code; }

 protected:
  ResultCode m_resultCode = sOk;
};

class CheckResultFailedException
    : public ExceptionBase<CheckResultFailedException, ResultCodeException> {
 public:
  using ExceptionBase::ExceptionBase;
  [[nodiscard]] const char* what() const noexcept override;
};

class CheckFailedException : public ExceptionBase<CheckFailedException, Exception> {
 public:
  using ExceptionBase::ExceptionBase;
  [[nodiscard]] const char* what() const noexcept override;
};

class SystemException : public ExceptionBase<SystemException, ResultCodeException> {
 public:
  using ExceptionBase::ExceptionBase;
  [[nodiscard]] const char* what() const noexcept override;
};

class CreateInstanceException : public ExceptionBase<CreateInstanceException, ResultCodeException> {
 public:
  CreateInstanceException() noexcept = default;
  CreateInstanceException(std::uint32_t classId, const char* file, std::uint32_t line,
                          ResultCode code);
  [[nodiscard]] const char* what() const noexcept override;
  // That of ResultCodeException, then ": ", "iid:" and the class number as eight digits.
  [[nodiscard]] String16 GetDescription() const override;

  [[nodiscard]] std::uint32_t ClassId() const noexcept { return m_classId; }

 private:
  std::uint32_t m_classId = 0;
};

// The four setters, as values to be inserted; each gives the exception in its own type, so that
// what is thrown isn't cut down to a base.
struct SetMessage {
  explicit SetMessage(String16 text) noexcept : value(std::move(text)) {}
  String16 value;
};
struct SetResultCode {
  explicit SetResultCode(ResultCode code) noexcept : value(code) {}
  ResultCode value;
};
struct SetFile {
  explicit SetFile(const char* file) noexcept : value(file) {}
  const char* value;
};
struct SetLine {
  explicit SetLine(std::uint32_t line) noexcept : value(line) {}
  std::uint32_t value;
};

template <typename E>
concept FamilyException = std::derived_from<std::remove_cvref_t<E>, Exception>;

template <FamilyException E>
E&& operator<<(E&& exception, SetMessage message) {
  exception.SetMessage(std::move(message.value));
  return std::forward<E>(exception);
}
template <FamilyException E>
E&& operator<<(E&& exception, SetResultCode code) {
  exception.SetResultCode(code.value);
  return std::forward<E>(exception);
}
template <FamilyException E>
E&& operator<<(E&& exception, SetFile file) {
  exception.SetFile(file.value);
  return std::forward<E>(exception);
}
template <FamilyException E>
E&& operator<<(E&& exception, SetLine line) {
  exception.SetLine(line.value);
  return std::forward<E>(exception);
}
// Everything else is appended to the message, as a 16-bit string takes it.
template <FamilyException E, typename T>
E&& operator<<(E&& exception, const T& value) {
  exception.Message() << value;
  return std::forward<E>(exception);
}

}  // namespace oru

#endif  // ORU_RTL_EXCEPTION_H_
