// The smallest program with what is large in the product: a wide regular expression, and streams.
// Without an argument it only starts and ends.
#include <iostream>
#include <regex>
#include <string>

int main(int argc, char** argv) {
  if (argc < 2) return 0;
  const std::string narrow(argv[1]);
  const std::wstring text(narrow.begin(), narrow.end());
  const std::wregex pattern(L"(a|ab)=([^\\s'\"]*)",
                            std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
  std::cout << std::regex_replace(text, pattern, L"$1=*").size() << "\n";
}
