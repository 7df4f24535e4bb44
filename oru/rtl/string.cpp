#include "oru/rtl/string.h"

#include "oru/rtl/string_impl.h"

namespace oru {

// The only two kinds of text there are: what uses them needn't compile the members.
template class block_keeper<char>;
template class block_keeper<char16_t>;
template class basic_string_t<char>;
template class basic_string_t<char16_t>;

}  // namespace oru
