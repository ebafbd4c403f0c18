#include "harness/globals.h"

std::string S_OBJEXT;
unsigned char S_OBJ_IS_BINARY = 1;
unsigned int S_TEST_NUMBER = 0;

void reset_globals_for_testing() {
  S_OBJEXT.clear();
  S_OBJ_IS_BINARY = 1;
  S_TEST_NUMBER = 0;
}
