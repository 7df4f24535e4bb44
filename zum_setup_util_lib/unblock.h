// The action of the program's "/unblock".
#ifndef ZUM_SETUP_UTIL_LIB_UNBLOCK_H_
#define ZUM_SETUP_UTIL_LIB_UNBLOCK_H_

namespace correct_setup {

// Puts the installer's records of this machine right. All failure leaves as an exception.
void Unblock();

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_UNBLOCK_H_
