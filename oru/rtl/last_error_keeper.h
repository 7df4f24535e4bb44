// Gives the thread's last error back as it was: for what runs between a failed call and the code
// that asks why it failed, such as a trace statement or a holder's destructor.
#ifndef ORU_RTL_LAST_ERROR_KEEPER_H_
#define ORU_RTL_LAST_ERROR_KEEPER_H_

#include "winapi/errors.h"

namespace oru {

class LastErrorKeeper {
 public:
  LastErrorKeeper() noexcept : m_error(winapi::GetLastError()) {}
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;
  ~LastErrorKeeper() { Restore(); }

  void Restore() const noexcept { winapi::SetLastError(m_error); }

 private:
  winapi::Error m_error;
};

}  // namespace oru

#endif  // ORU_RTL_LAST_ERROR_KEEPER_H_
