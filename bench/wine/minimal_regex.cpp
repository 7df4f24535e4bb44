// The smallest program with what is large in the product: a wide regular expression, and streams.
#include <iostream>
#include <regex>
#include <string>

int main(int argc, char** argv) {
  const std::string narrow(argc > 1 ? argv[1] : "");
  const std::wstring text(narrow.begin(), narrow.end());
  const std::wregex pattern(L"(a|ab)=([^\\s'\"]*)",
                            std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
  std::cout << std::regex_replace(text, pattern, L"$1=*").size() << "\n";
}
