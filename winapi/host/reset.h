// The parts of ResetMachine (control.h) that no function of the test face does. Each is called with
// a SeamMark alive.
#ifndef WINAPI_HOST_RESET_H_
#define WINAPI_HOST_RESET_H_

namespace winapi::host {

void ForgetSleeps();
void ForgetFileRules();
void ForgetDescriptors();
void ResetToken();
void ResetSystemVersion();

}  // namespace winapi::host

#endif  // WINAPI_HOST_RESET_H_
