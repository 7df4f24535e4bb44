#include "winapi/arguments.h"
#include "zum_rehearse/run.h"

int main(int argc, char** argv) {
  return zum_rehearse::RunRehearse(winapi::Utf8Arguments(argc, argv));
}
