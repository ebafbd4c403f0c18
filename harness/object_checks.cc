#include "harness/object_checks.h"

#include <dirent.h>

#include <cctype>
#include <fstream>
#include <optional>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/globals.h"

bool isTextFile(const std::string& path) {
  // substr() throws std::out_of_range when the path holds no ".".
  std::string ext = path.substr(path.rfind('.'));
  for (char& c : ext) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  static const std::string kTextExtensions =
      ".c|.cc|.cpp|.cxx|.h|.hh|.hpp|.hxx|.txt|.text";
  if (kTextExtensions.find(ext) != std::string::npos) {
    return true;
  }
  std::ifstream in(path, std::ios::in | std::ios::binary);
  if (!in) {
    return true;
  }
  char buffer[1024];
  in.read(buffer, sizeof buffer);
  std::streamsize count = in.gcount();
  for (std::streamsize i = 0; i < count; ++i) {
    int c = static_cast<unsigned char>(buffer[i]);
    bool accepted = std::isspace(c) || std::isprint(c) || c == 174 || c == 169;
    if (!accepted) {
      return false;
    }
  }
  return true;
}

bool discoverObjectExtension(TesselGen& tg, std::string& objExt,
                             const std::string& userExt) {
  const std::string base = "tmp_obj_test";
  const std::string source = base + sourceExtension(tg);
  removeMatching(tg, base);
  writeWholeFile(source, "char c;\n");
  runCompileScript(tg, buildCommand(tg, source, false, "XXX"));

  std::string found;
  std::string foundName;
  if (DIR* dir = opendir(".")) {
    while (dirent* entry = readdir(dir)) {
      std::string name = entry->d_name;
      if (name == source) {
        continue;
      }
      std::string::size_type dot = name.rfind('.');
      if (dot == std::string::npos) {
        continue;
      }
      std::string ext = name.substr(dot);
      if (userExt.empty() || ext == userExt) {
        found = ext;
        foundName = name;
        break;
      }
    }
    closedir(dir);
  }
  if (found.empty()) {
    *tg.out << "Can't discover object file extension, or the compile command "
               "failed to produce an object file of the specified extension!"
            << std::endl;
    *tg.out << "Please check the specified compile flags if this command is "
               "malformed."
            << std::endl;
    return false;
  }
  objExt = found;
  tg.log.info("Discovered obj file extension: " + objExt);
  tg.log.info("User provided: " + userExt);
  S_OBJ_IS_BINARY = 1;
  if (objExt == ".asm") {
    objExt = ".rel";
  }
  if (objExt == ".rel") {
    S_OBJ_IS_BINARY = isTextFile(foundName) ? 0 : 1;
  }
  return true;
}

void checkHostExecution(TesselGen& tg) {
  const std::string base = "tmp_exe_test";
  const std::string source = base + sourceExtension(tg);
  removeMatching(tg, base);
  ProgramRunOptions options;
  // Every file of the base name was removed just above.
  options.removeOldProgram = false;
  options.captureErrors = true;
  const std::optional<std::string> printed = build_and_run_program(
      tg, source,
      printfDeclaration(tg) +
          "int main() { printf(\"hello world\"); return 0; }",
      options);
  if (!printed) {
    *tg.out << "Failed to compile a test file for execution! Please check the "
               "compile options used (or the compiler linker environment) for "
               "next time, however continuing in Cross Compiler mode"
            << std::endl;
    tg.isCross = true;
    return;
  }
  const std::string& output = *printed;
  if (output == "hello world") {
    *tg.out << "Native compilation OK.\n" << std::flush;
    return;
  }
  *tg.out << "Failed on executing a test file on this host system! Continuing "
             "in Cross Compiler mode"
          << std::endl;
  *tg.out << "Debug: " << output << std::endl;
  *tg.out << "Please set the Cross Compiler checkbox/parameter if this is "
             "indeed the case."
          << std::endl;
  tg.isCross = true;
}
