// The installer's product codes.
#ifndef ZUM_REHEARSE_PRODUCT_CODE_H_
#define ZUM_REHEARSE_PRODUCT_CODE_H_

#include <string>
#include <string_view>

namespace zum_rehearse {

// The readable form of a packed product code, such as "{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}" for
// u"26F1C3B745A9D0E4C812D5E6F708192A": the first three groups backwards, then the digits of each
// byte swapped. Empty for a text of any other form.
[[nodiscard]] std::string ReadableProductCode(std::u16string_view packed);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_PRODUCT_CODE_H_
