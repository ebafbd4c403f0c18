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

/// Numbers the functions and namespaces that the extension keyword stage's
/// typedef emitters write, so that every emitted definition in one test file
/// has a name of its own. Starts at 0, counts across the whole run, is
/// written only by that stage and is only reset by
/// `reset_globals_for_testing()`. Declared here, beside the other globals,
/// so that the reset needs no stage header.
extern unsigned int S_TEST_NUMBER;

/// Puts every process-wide global back to its start value, so that tests
/// that run several stages in one process start alike.
void reset_globals_for_testing();

#endif  // TESSEL_HARNESS_GLOBALS_H_
