// Hiding what is secret in a command line, by the product's pattern, against a scan written by
// hand.
#include <cstddef>
#include <string>
#include <string_view>

#include "bench/cases.h"
#include "zum_setup_util_lib/sensitive_data.h"

namespace {

constexpr std::u16string_view kHidden = u"<sensitive data was hidden>";

bool EndsValue(char16_t character) {
  return character == u'\'' || character == u'"' || character == u' ' ||
         (character >= u'\t' && character <= u'\r');
}

// The peer: a key, its value up to a blank or a quote.
std::u16string HideByScan(std::u16string_view text) {
  std::u16string result;
  for (std::size_t at = 0;;) {
    const std::size_t key = text.find(u"QVPASSWD", at);
    if (key == std::u16string_view::npos) return result.append(text.substr(at));
    std::size_t end = key + 8;
    if (text.substr(end, 3) == u"HEX") end += 3;
    if (text.substr(end, 1) != u"=") {
      result.append(text.substr(at, key + 1 - at));
      at = key + 1;
      continue;
    }
    result.append(text.substr(at, end + 1 - at)).append(kHidden);
    at = end + 1;
    while (at < text.size() && !EndsValue(text[at])) ++at;
  }
}

std::u16string Repeated(std::u16string_view piece, std::size_t length) {
  std::u16string text;
  while (text.size() < length) text.append(piece);
  text.resize(length);
  return text;
}

void AddCases(const std::string& row, const std::u16string& text) {
  const std::size_t length = text.size();
  if (correct_setup::helpers::HideSensitiveData(text) != HideByScan(text)) {
    bench::AddFailure(row, "ours", length);
    return;
  }
  bench::Add(row, "ours", length,
             [text] { bench::Keep(correct_setup::helpers::HideSensitiveData(text)); });
  bench::Add(row, "scan", length, [text] { bench::Keep(HideByScan(text)); });
}

}  // namespace

int main(int argc, char** argv) {
  for (const std::size_t length : {100u, 1000u, 32'767u}) {
    AddCases("masking_plain", Repeated(u"C:\\Program Files\\a\\tool.exe /unblock ", length));
    AddCases("masking_secret",
             Repeated(u"QVPASSWD=", /*length=*/9) + std::u16string(length - 9, u'x'));
    AddCases("masking_many", Repeated(u"QVPASSWDHEX=1 QVPASSWD=\"2\" ", length));
  }
  return bench::Run(argc, argv);
}
