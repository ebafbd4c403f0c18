#include "app/input_guard.h"

#include <sys/stat.h>

#include <climits>
#include <cstdlib>

#include "app/tessel_gen.h"

// True when `a` and `b` both exist and are the same file.
static bool same_file(const std::string& a, const std::string& b) {
  struct stat first;
  struct stat second;
  return !a.empty() && !b.empty() && stat(a.c_str(), &first) == 0 &&
         stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

// The resolved absolute form of the existing directory `dir`; "" when it
// cannot be resolved.
static std::string resolved(const std::string& dir) {
  char buffer[PATH_MAX];
  return realpath(dir.empty() ? "." : dir.c_str(), buffer) == nullptr
             ? std::string()
             : std::string(buffer);
}

// True when the directory `inner` is `outer` or lies below it.
static bool inside(const std::string& inner, const std::string& outer) {
  const std::string in = resolved(inner);
  const std::string out = resolved(outer);
  if (in.empty() || out.empty()) {
    return false;
  }
  const std::string prefix = out == "/" ? out : out + "/";
  return in == out || in.compare(0, prefix.size(), prefix) == 0;
}

std::string findInputConflict(const TesselGen& tg, const OutputPaths& paths) {
  const std::string& output = tg.outputPath;
  if (same_file(output, tg.templatePath)) {
    return "The personality file " + output + " is the template personality " +
           tg.templatePath +
           "; the run would overwrite it. Choose another -op or -tpl.";
  }
  if (same_file(output, tg.forceIncludePath)) {
    return "The personality file " + output + " is the force-include header " +
           tg.forceIncludePath +
           "; the run would overwrite it. Choose another -op or -fi.";
  }
  if (!tg.forceIncludePath.empty()) {
    const std::string::size_type slash = tg.forceIncludePath.rfind('/');
    const std::string written =
        paths.forceInclude + "/" +
        (slash == std::string::npos ? tg.forceIncludePath
                                    : tg.forceIncludePath.substr(slash + 1));
    if (same_file(written, tg.forceIncludePath)) {
      return "The force-include header " + tg.forceIncludePath +
             " is the file the run writes from it (" + written +
             "); the run would empty it. Move it or choose another -op.";
    }
  }
  if (!tg.subPersonalityPath.empty() &&
      inside(paths.directory, tg.subPersonalityPath)) {
    return "The sub-personality tree " + tg.subPersonalityPath +
           " holds the output directory of " + output +
           "; the run would copy the tree into itself and overwrite its "
           "files. Choose another -op or -sub.";
  }
  return "";
}
