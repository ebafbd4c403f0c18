#ifndef TESSEL_HARNESS_OBJECT_CHECKS_H_
#define TESSEL_HARNESS_OBJECT_CHECKS_H_

#include <string>

class TesselGen;

/// Compiles "tmp_obj_test" (one line, "char c;") with the define "XXX" and
/// walks the current directory in the order it lists its entries: the first
/// entry other than the source whose extension equals `userExt` is the
/// object. Files that have that extension before the compile are named in
/// a warning (on `tg.err` and in the run log), since one of them may be
/// taken. When `userExt` is empty, only a file that the compile created
/// counts: "tmp_obj_test" with any extension if there is one, else the
/// first created file with a "." in its name; the run log, the compile
/// script and its capture files are never taken. A compile stopped at the
/// time limit finds nothing. Stores the extension in `objExt`
/// (S_OBJEXT in a run), logs it with `userExt`, and decides
/// S_OBJ_IS_BINARY: ".asm" counts as ".rel", and a ".rel" object that reads
/// as text makes it 0. Returns false, after printing the two failure lines,
/// when nothing was found: the run must then end with status 1.
[[nodiscard]] bool discoverObjectExtension(TesselGen& tg, std::string& objExt,
                                           const std::string& userExt);

/// Builds and runs a "hello world" program. Prints "Native compilation OK."
/// when its output (standard output then standard error) is exactly
/// "hello world"; when it cannot be built or prints anything else, prints
/// why and switches the run to cross-compiler mode. The build's own
/// messages are discarded before the program runs. Nothing is logged.
void checkHostExecution(TesselGen& tg);

/// True when the file at `path` is to be read as text: its extension (from
/// the last "." anywhere in the path) occurs in
/// ".c|.cc|.cpp|.cxx|.h|.hh|.hpp|.hxx|.txt|.text", or it cannot be opened,
/// or its first 1,024 bytes are all white space, printable, 174 or 169.
/// A path without any "." raises std::out_of_range.
bool isTextFile(const std::string& path);

#endif  // TESSEL_HARNESS_OBJECT_CHECKS_H_
