#ifndef TESSEL_VERIFY_COMPILER_FILES_H_
#define TESSEL_VERIFY_COMPILER_FILES_H_

#include <set>
#include <string>
#include <vector>

class TesselGen;

/// How the compiler's program is named: `word` is the compiler family's
/// word ("gcc", "g++", "clang", "tcc"), `target` the target prefix in
/// front of it ("x86_64-linux-gnu", "avr", empty for none).
struct CompilerName {
  /// The family word, without a version suffix.
  std::string word;
  /// The target prefix, without the "-" before the word.
  std::string target;
};

/// Splits a program's file name ("x86_64-linux-gnu-gcc-12",
/// "arm-none-eabi-gcc", "clang-14") into family word and target prefix:
/// the word is the last "-" separated part that is not a version (digits
/// and dots, or "win32"/"posix"-like thread-model suffixes after it).
CompilerName split_compiler_name(const std::string& fileName);

/// The words a file or directory name must contain to belong to the
/// compiler: the family word, and for a C++ driver ("g++", "clang++") the
/// C driver's word as well ("gcc", "clang").
std::set<std::string> related_words(const CompilerName& name);

/// The files that hold the compiler proper, found from the resolved
/// program `program` (an absolute path, links followed): the program; the
/// programs beside it named with its target prefix and "cc..." (a
/// separate compiler proper such as "x86_64-linux-gnu-ccom"), and those
/// whose whole name, holding "cc" or "cpp", is a string of the program (a
/// driver naming the compiler proper it runs: sdcc's "sdcpp", cl65's
/// "cc65"); and, under
/// the "lib*" and "libexec" directories of its prefix (the directory above
/// the program's), the shared libraries whose names contain a related word
/// and the programs named "cc..." or with a related word inside
/// directories whose names contain one (for a directory that has a
/// subdirectory named after the target, only that one; a directory
/// directly below "lib*" whose target subdirectories do not include this
/// one is left out). Of a pair such as "cc1" and "cc1plus", the C product
/// (`isC`) takes the first, the C++ product the second. Each file once, by
/// its real path, in the order found.
std::vector<std::string> compiler_files_of(const std::string& program,
                                           bool isC);

/// The absolute path of the program that the compile command runs: the
/// command's first word, looked up on the PATH by the shell when it holds
/// no "/", with links followed. Empty when it cannot be found.
std::string resolve_compiler_program(TesselGen& tg);

#endif  // TESSEL_VERIFY_COMPILER_FILES_H_
