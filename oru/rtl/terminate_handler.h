// What runs when nobody takes an exception.
#ifndef ORU_RTL_TERMINATE_HANDLER_H_
#define ORU_RTL_TERMINATE_HANDLER_H_

// Tells on the standard error stream what was thrown, in the standard library's words, and aborts.
// The type's name is in the compiler's own spelling ("St9bad_alloc"): the library's handler spells
// it out, for which it carries a twentieth of the Windows program along. The programs that are
// given out are linked with this in its place (cmake/ZumTargets.cmake), so it is at work from the
// start.
extern "C" [[noreturn]] void OruTerminateHandler() noexcept;

#endif  // ORU_RTL_TERMINATE_HANDLER_H_
