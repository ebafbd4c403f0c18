#include "output/force_include.h"

#include <sys/stat.h>

#include <cerrno>
#include <fstream>

#include "app/tessel_gen.h"

// Writes one "int NAME;" line per register identifier, in sorted order.
static void write_declarations(const TesselGen& tg, std::ostream& header) {
  for (const std::string& name : tg.registerIdentifiers) {
    header << "int " << name << ";\n";
  }
}

// Copies the user's force-include template to `outputPath`, adding the
// declarations after each "Any other items" line. False only when the copy
// could not be written whole (a file that cannot be opened is passed over).
static bool copy_template(const TesselGen& tg, const std::string& outputPath) {
  // std::ifstream opens a directory on Linux but cannot read it; such a
  // template counts as one that cannot be opened.
  struct stat status;
  if (stat(tg.forceIncludePath.c_str(), &status) == 0 &&
      S_ISDIR(status.st_mode)) {
    return true;
  }
  std::ifstream in(tg.forceIncludePath);
  if (!in.is_open()) {
    return true;
  }
  std::ofstream out(outputPath, std::ios::out | std::ios::trunc);
  if (!out.is_open()) {
    return true;
  }
  // The copy reads until end of file is seen, so a template ending in a
  // newline gains one empty line, and an empty template becomes one.
  std::string line;
  while (!in.eof()) {
    std::getline(in, line);
    if (in.bad() || (in.fail() && !in.eof())) {
      break;  // A read error would otherwise never reach end of file.
    }
    out << line << "\n";
    if (line.find("Any other items") != std::string::npos) {
      write_declarations(tg, out);
    }
  }
  out.close();
  return !out.fail();
}

// Writes the generated header to `outputPath`. False only when it could
// not be written whole.
static bool generate_header(const TesselGen& tg,
                            const std::string& outputPath) {
  std::ofstream out(outputPath, std::ios::out | std::ios::trunc);
  if (!out.is_open()) {
    return true;
  }
  out << "#ifndef KIV_FORCECINCLUDE_H\n";
  out << "#define KIV_FORCECINCLUDE_H\n";
  out << "/*file containing declarations for identifiers deemed to be direct "
         "access registers*/\n";
  write_declarations(tg, out);
  out << "#endif /*KIV_FORCECINCLUDE_H*/\n";
  out.close();
  return !out.fail();
}

bool WriteForceInclude(TesselGen& tg, const std::string& directory,
                       const std::string& fileName, std::ostream& personality,
                       std::string* failedFile) {
  // EACCES and EIO are let through on purpose: the lines are still written
  // and the header is simply not found where they point.
  if (mkdir(directory.c_str(), 0775) != 0 && errno != EEXIST &&
      errno != EACCES && errno != EIO) {
    *tg.out << "Couldn't create directory to write a force include file too."
            << std::endl;
    return true;
  }

  std::string outputPath;
  bool written = true;
  if (fileName == tg.forceIncludePath) {
    const std::string& path = tg.forceIncludePath;
    std::string::size_type slash = path.rfind('/');
    outputPath = directory + "/" +
                 (slash == std::string::npos ? path : path.substr(slash + 1));
    written = copy_template(tg, outputPath);
  } else if (!tg.registerIdentifiers.empty()) {
    outputPath = directory + "/" + fileName;
    written = generate_header(tg, outputPath);
  }

  personality << "-q \"" << directory << "\"\n";
  personality << "-fi \"" << outputPath << "\"\n";
  if (!written && failedFile != nullptr) {
    *failedFile = outputPath;
  }
  return written;
}
