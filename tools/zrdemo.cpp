// zrdemo - the library's main job as a user sees it.
#include <cstdio>

#include "zrframe.h"

int main() {
  std::printf("zrshr demonstration\n");
  std::printf("runtime environment: %u\n", ZR_RT_GetEnvironment());
  return 0;
}
