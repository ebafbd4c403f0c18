#include "probes/type_test_run.h"

#include <dirent.h>

#include <string>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "harness/globals.h"
#include "probes/type_sizes.h"

namespace {

const char kExternalTest[] = "tmp_id_e_test";
const char kInternalTest[] = "tmp_id_i_test";
// Probes of the identifier length search: 16384 first, then up to 13 more.
const uint32_t kIdentifierSteps = 14;

}  // namespace

// True when `path` holds only characters that the shell takes literally.
static bool shell_safe_path(const std::string& path) {
  for (char c : path) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                       (c >= '0' && c <= '9') || c == '_' || c == '-' ||
                       c == '.' || c == '/' || c == '+';
    if (!plain) {
      return false;
    }
  }
  return true;
}

std::set<std::string> ListTestDirectory(TesselGen& tg, const std::string& dir) {
  std::set<std::string> files;
  const char* marker = tg.isC ? ".c" : ".cpp";
  if (DIR* handle = opendir(dir.c_str())) {
    while (dirent* entry = readdir(handle)) {
      std::string name = entry->d_name;
      if (name.find(marker) == std::string::npos) {
        continue;
      }
      const std::string path = dir + "/" + name;
      // The path becomes part of a shell command: a name that the shell
      // would read as code is never let through.
      if (!shell_safe_path(path)) {
        const std::string message =
            "Test file skipped, its name holds characters the shell would "
            "read: " +
            path;
        *tg.err << message << std::endl;
        tg.log.warn(message);
        continue;
      }
      files.insert(path);
    }
    closedir(handle);
  }
  return files;
}

bool IdentifierLengthFails(TesselGen& tg, bool external, int length) {
  const std::string test = external ? kExternalTest : kInternalTest;
  removeMatching(tg, test);
  const std::string same(static_cast<std::string::size_type>(length - 1), 'a');
  std::string source;
  if (external) {
    source = "\nextern int " + same + "a;\nextern int " + same + "b;\n\n";
  } else {
    source = std::string(kMainStart) + "\nint " + same + "a;\nint " + same +
             "b;\n" + kCloseBrace + "\n";
  }
  return !compileTest(tg, source, test, nullptr, nullptr);
}

void FindIdentifierLength(TesselGen& tg, std::ostream& personality,
                          bool external) {
  if (!tg.isC) {
    return;
  }
  *tg.out << "\nConducting " << (external ? "External" : "Internal")
          << " Identifier Tests..." << std::endl;
  tg.progressStart(kIdentifierSteps);
  int best = 16384;
  if (IdentifierLengthFails(tg, external, best)) {
    tg.progressStep();
    // Binary search for the longest length whose two names differ.
    best = 3;
    int length = 8192;
    for (int step = 4096; step > 0; step >>= 1) {
      if (IdentifierLengthFails(tg, external, length)) {
        length -= step;
      } else {
        best = length;
        length += step;
      }
      tg.progressStep();
      if (length < 3) {
        break;
      }
    }
  }
  personality << (external ? "-xn " : "-na ") << best << "\n";
  tg.progressEnd();
}

// Runs one directory test; a result with a blank is quoted unless it is an
// "-ex " line.
static void run_directory_test(TesselGen& tg, const std::string& path,
                               std::set<std::string>& results) {
  std::string message;
  runTestFile(tg, path, "", &message);
  if (message.empty()) {
    return;
  }
  if (message.find(' ') != std::string::npos &&
      message.find("-ex ") == std::string::npos) {
    message = "\"" + message + "\"";
  }
  results.insert(message);
}

void RunTypeTests(TesselGen& tg, std::ostream& personality) {
  *tg.out << "Conduct Vell Tests..." << std::endl;
  // The warning level for this line is how the run log has always shown it.
  tg.log.warn("Conduct Vell Tests...");
  std::set<std::string> results;
  const std::string dir = tg.isC ? "../c_tests" : "../cpp_tests";
  for (const std::string& path : ListTestDirectory(tg, dir)) {
    run_directory_test(tg, path, results);
  }
  RunScalarPass(tg, personality);
  FindIdentifierLength(tg, personality, true);
  FindIdentifierLength(tg, personality, false);
  for (const std::string& line : results) {
    personality << line << "\n";
  }
}
