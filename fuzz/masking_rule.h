// What is hidden of a text with passwords in it, by a scan of its own.
#ifndef FUZZ_MASKING_RULE_H_
#define FUZZ_MASKING_RULE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

struct Masked {
  std::u16string text;                  // as it may be shown
  std::vector<std::u16string> secrets;  // what it no longer shows; empty ones left out
};

inline bool EndsSecret(char16_t unit) {
  return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'\'' || unit == u'"';
}

inline Masked Mask(std::u16string_view text) {
  static constexpr std::u16string_view kKeys[] = {u"QVPASSWD=", u"QVPASSWDHEX="};
  Masked masked;
  while (!text.empty()) {
    std::size_t length = 0;
    for (const std::u16string_view key : kKeys) {
      if (text.starts_with(key)) length = key.size();
    }
    if (length == 0) {
      masked.text += text.front();
      text.remove_prefix(1);
      continue;
    }
    masked.text.append(text.substr(0, length)).append(u"<sensitive data was hidden>");
    text.remove_prefix(length);
    std::u16string secret;
    for (; !text.empty() && !EndsSecret(text.front()); text.remove_prefix(1))
      secret += text.front();
    if (!secret.empty()) masked.secrets.push_back(secret);
  }
  return masked;
}

}  // namespace fuzz

#endif  // FUZZ_MASKING_RULE_H_
