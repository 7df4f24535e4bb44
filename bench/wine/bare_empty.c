/* Starts and ends. Imports advapi32 as the product does: a system library that isn't loaded would make it cheaper. */
#include <windows.h>

int main(int argc, char** argv) {
  (void)argv;
  /* Never true, which the compiler doesn't know. */
  if (argc < 0) (void)RegCloseKey(NULL);
  return 0;
}
