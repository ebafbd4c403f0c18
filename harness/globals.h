#ifndef TESSEL_HARNESS_GLOBALS_H_
#define TESSEL_HARNESS_GLOBALS_H_

#include <string>

/// The object-file extension of the compiler under test, with its leading
/// "."; empty until the object-file extension discovery has run. Read by
/// every test that looks at an object file.
extern std::string S_OBJEXT;

/// 1 when the compiler's object files are binary, 0 when they are text
/// (some embedded compilers write ".rel" text objects).
extern unsigned char S_OBJ_IS_BINARY;

/// Puts every process-wide global back to its start value, so that tests
/// that run several stages in one process start alike.
void reset_globals_for_testing();

#endif  // TESSEL_HARNESS_GLOBALS_H_
