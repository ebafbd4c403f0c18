#include "verify/compiler_files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/test_support.h"

TEST(CompilerFiles, NamesSplitIntoTargetAndWord) {
  CompilerName gcc = split_compiler_name("x86_64-linux-gnu-gcc-12");
  EXPECT_EQ("gcc", gcc.word);
  EXPECT_EQ("x86_64-linux-gnu", gcc.target);
  CompilerName mingw = split_compiler_name("x86_64-w64-mingw32-gcc-win32");
  EXPECT_EQ("gcc", mingw.word);
  EXPECT_EQ("x86_64-w64-mingw32", mingw.target);
  CompilerName clang = split_compiler_name("clang-14");
  EXPECT_EQ("clang", clang.word);
  EXPECT_EQ("", clang.target);
  EXPECT_EQ("tcc", split_compiler_name("tcc").word);
}

TEST(CompilerFiles, CppDriversRelateToTheirCDrivers) {
  EXPECT_EQ((std::set<std::string>{"g++", "gcc"}),
            related_words(split_compiler_name("x86_64-linux-gnu-g++-12")));
  EXPECT_EQ((std::set<std::string>{"clang", "clang++"}),
            related_words(split_compiler_name("clang++")));
}

// An installation laid out like a cross gcc's: the driver in bin, the
// compiler proper under lib/gcc/TARGET/VERSION beside other targets and
// another language's compiler, a tree of other targets' compilers, a
// library that names the compiler under lib, and files that do not belong.
TEST(CompilerFiles, InstallationFilesThatHoldTheCompiler) {
  tessel_test::ScratchDir scratch;
  const std::string top =
      std::filesystem::canonical(scratch.work()).string() + "/inst";
  auto make = [&](const std::string& path, bool program) {
    tessel_test::WriteFile(top + "/" + path, "x");
    if (program) {
      tessel_test::RunProcess("chmod +x " +
                              tessel_test::ShellQuote(top + "/" + path));
    }
  };
  make("bin/avr-gcc", true);
  make("bin/avr-ccom", true);
  make("bin/avr-as", true);
  make("lib/gcc/avr/5.4.0/cc1", true);
  make("lib/gcc/avr/5.4.0/f951", true);
  make("lib/gcc/avr/5.4.0/cc1plus", true);
  make("lib/gcc-cross/arm-none-eabi/12/cc1", true);
  make("lib/gcc/avr/5.4.0/include/stdint.h", false);
  make("lib/gcc/arm-none-eabi/12/cc1", true);
  make("lib/libgcc-tools.so.1", false);
  make("lib/libother.so", false);
  make("libexec/gcc/avr/5.4.0/cc1plus", true);
  EXPECT_EQ((std::vector<std::string>{
                top + "/bin/avr-gcc", top + "/bin/avr-ccom",
                top + "/lib/libgcc-tools.so.1", top + "/lib/gcc/avr/5.4.0/cc1",
                top + "/libexec/gcc/avr/5.4.0/cc1plus"}),
            compiler_files_of(top + "/bin/avr-gcc", true));
  // The C++ product reads cc1plus where both stand.
  EXPECT_EQ(top + "/lib/gcc/avr/5.4.0/cc1plus",
            compiler_files_of(top + "/bin/avr-gcc", false)[3]);
}

// A driver that runs its preprocessor or compiler proper from its own
// directory names it in full: that program is read too; programs it names
// that hold neither "cc" nor "cpp" (its assembler), and compilers it does
// not name, are not.
TEST(CompilerFiles, ProgramsTheDriverNamesBesideIt) {
  tessel_test::ScratchDir scratch;
  const std::string top =
      std::filesystem::canonical(scratch.work()).string() + "/inst";
  auto make = [&](const std::string& path, const std::string& text) {
    tessel_test::WriteFile(top + "/" + path, text);
    tessel_test::RunProcess("chmod +x " +
                            tessel_test::ShellQuote(top + "/" + path));
  };
  const char driver[] = "ELF\0\0sdcpp\0sdas8051\0-mmcs51";
  make("bin/sdcc", std::string(driver, sizeof driver));
  make("bin/sdcpp", "x");
  make("bin/sdas8051", "x");
  make("bin/cc65", "x");
  EXPECT_EQ((std::vector<std::string>{top + "/bin/sdcc", top + "/bin/sdcpp"}),
            compiler_files_of(top + "/bin/sdcc", true));
  // A cross gcc that names the host's driver does not read it.
  const char cross[] = "ELF\0gcc-12\0";
  make("bin/x86_64-w64-mingw32-gcc", std::string(cross, sizeof cross));
  make("bin/gcc-12", "x");
  EXPECT_EQ((std::vector<std::string>{top + "/bin/x86_64-w64-mingw32-gcc"}),
            compiler_files_of(top + "/bin/x86_64-w64-mingw32-gcc", true));
}
