#ifndef TESSEL_HARNESS_OBJECT_CHECKS_H_
#define TESSEL_HARNESS_OBJECT_CHECKS_H_

#include <string>

class TesselGen;

/// Compiles a one-line source and finds, in directory order, the extension
/// of the object file that appeared (the first with `userExt` when that is
/// not empty). Stores it in `objExt` (S_OBJEXT in a run) and decides
/// S_OBJ_IS_BINARY; ".asm" objects count as ".rel". Returns false, after
/// printing the two failure lines, when no object was found: the run must
/// then end with status 1.
[[nodiscard]] bool discoverObjectExtension(TesselGen& tg, std::string& objExt,
                                           const std::string& userExt);

/// Builds and runs a "hello world" program. When it cannot be built or does
/// not print exactly "hello world", prints why and switches the run to
/// cross-compiler mode.
void checkHostExecution(TesselGen& tg);

/// True when the file at `path` is to be read as text: its extension (from
/// the last "." anywhere in the path) occurs in
/// ".c|.cc|.cpp|.cxx|.h|.hh|.hpp|.hxx|.txt|.text", or it cannot be opened,
/// or its first 1,024 bytes are all white space, printable, 174 or 169.
/// A path without any "." raises std::out_of_range.
bool isTextFile(const std::string& path);

#endif  // TESSEL_HARNESS_OBJECT_CHECKS_H_
