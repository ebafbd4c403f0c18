#include "harness/object_checks.h"

#include <dirent.h>

#include <cctype>
#include <fstream>
#include <optional>
#include <set>
#include <vector>

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

// The names in the current directory, in the order the directory lists
// them.
static std::vector<std::string> list_current_directory() {
  std::vector<std::string> names;
  if (DIR* dir = opendir(".")) {
    while (dirent* entry = readdir(dir)) {
      names.push_back(entry->d_name);
    }
    closedir(dir);
  }
  return names;
}

// The text from the last "." of `name`; empty when it has none.
static std::string extension_of(const std::string& name) {
  const std::string::size_type dot = name.rfind('.');
  return dot == std::string::npos ? std::string() : name.substr(dot);
}

// Warns about files that already have the extension `userExt` before the
// check compiles: the check could take one of them for the compiler's own.
static void warn_existing_objects(TesselGen& tg, const std::string& userExt,
                                  const std::string& source) {
  std::set<std::string> found;
  for (const std::string& name : list_current_directory()) {
    if (name != source && extension_of(name) == userExt) {
      found.insert(name);
    }
  }
  if (found.empty()) {
    return;
  }
  std::string names;
  for (const std::string& name : found) {
    names += (names.empty() ? "" : ", ") + name;
  }
  const std::string message = "Files with the object extension " + userExt +
                              " are already here and may be taken for the "
                              "compiler's output: " +
                              names;
  *tg.err << message << std::endl;
  tg.log.warn(message);
}

// The entry that shows the object's extension, or "". With `userExt`
// given, the first entry with that extension. Without, only a file that
// the compile created counts (one that is not in `before` and is none of
// the harness's own files), and one named after the test source is
// preferred: the run log, the compile script and the capture files all
// have extensions too.
static std::string find_object_entry(const std::string& userExt,
                                     const std::string& base,
                                     const std::string& source,
                                     const std::set<std::string>& before) {
  std::string created;
  for (const std::string& name : list_current_directory()) {
    const std::string ext = extension_of(name);
    if (name == source || ext.empty()) {
      continue;
    }
    if (!userExt.empty()) {
      if (ext == userExt) {
        return name;
      }
      continue;
    }
    if (before.count(name) > 0 || name == kCompileScript ||
        name == kStdoutLog || name == kStderrLog || name == kPassFile) {
      continue;
    }
    if (name == base + ext) {
      return name;
    }
    if (created.empty()) {
      created = name;
    }
  }
  return created;
}

bool discoverObjectExtension(TesselGen& tg, std::string& objExt,
                             const std::string& userExt) {
  const std::string base = "tmp_obj_test";
  const std::string source = base + sourceExtension(tg);
  removeMatching(tg, base);
  writeWholeFile(source, "char c;\n");
  if (!userExt.empty()) {
    warn_existing_objects(tg, userExt, source);
  }
  const std::vector<std::string> listed = list_current_directory();
  const std::set<std::string> before(listed.begin(), listed.end());
  const bool finished =
      runCompileScript(tg, buildCommand(tg, source, false, "XXX"));

  const std::string foundName =
      finished ? find_object_entry(userExt, base, source, before) : "";
  if (foundName.empty()) {
    *tg.out << "Can't discover object file extension, or the compile command "
               "failed to produce an object file of the specified extension!"
            << std::endl;
    *tg.out << "Please check the specified compile flags if this command is "
               "malformed."
            << std::endl;
    return false;
  }
  objExt = extension_of(foundName);
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
