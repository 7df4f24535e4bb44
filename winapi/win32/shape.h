// Compares function-pointer types of the project with those of Windows' headers.
#ifndef WINAPI_WIN32_SHAPE_H_
#define WINAPI_WIN32_SHAPE_H_

#include <windows.h>

namespace winapi::win32 {

// Whether two types of functions called by WINAPI agree in the number of parameters and in the size
// of each and of the result. Another calling convention matches no specialisation.
template <class Ours, class Theirs>
inline constexpr bool kSameShape = false;

template <class Result, class... Parameters, class OtherResult, class... OtherParameters>
requires(sizeof...(Parameters) == sizeof...(OtherParameters)) inline constexpr bool kSameShape<
    Result(WINAPI*)(Parameters...), OtherResult(WINAPI*)(OtherParameters...)> =
    sizeof(Result) == sizeof(OtherResult) &&
    ((sizeof(Parameters) == sizeof(OtherParameters)) && ...);

}  // namespace winapi::win32

#endif  // WINAPI_WIN32_SHAPE_H_
