#include "app/command_line.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <fstream>
#include <optional>
#include <utility>
#include <vector>

#include "app/run_lock.h"
#include "app/tessel_gen.h"

const char kUsageText[] =
    "Usage: TesselGen <vellc|vellcpp> <ccmp|cmp> <compiler_command> "
    "<compiler_exe_flag> <compiler_obj_flag> <compiler_def_flag> "
    "<object_file_extension> <compiler_order_str> <-i <search__dir>... [-if "
    "include_paths_file ] [-op peronality_destination_file] [-xd "
    "comma_separated_implicit_compiler_defines] [-xs "
    "comma_separated_implicit_compiler_switches] [-rfs]";

// The current directory, however long it is: the buffer grows until getcwd
// fits, so deep working directories are not cut off.
static std::string current_directory() {
  std::vector<char> buffer(256);
  while (getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) {
      return std::string();
    }
    buffer.resize(buffer.size() * 2);
  }
  return buffer.data();
}

std::string makeAbsolute(const std::string& path) {
  if (!path.empty() && path[0] == '/') {
    return path;
  }
  std::string cwd = current_directory();
  if (path == ".") {
    return cwd;
  }
  return cwd + "/" + path;
}

void readIncludesFile(TesselGen& tg, const std::string& path) {
  std::string absolute = makeAbsolute(path);
  *tg.out << "Reading include file " << absolute << std::endl;
  std::ifstream in(absolute);
  if (!in) {
    *tg.err << "Unable to open includes file " << absolute << std::endl;
    return;
  }
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty()) {
      *tg.err << "Empty line in include file " << std::endl;
      continue;
    }
    std::string dir = makeAbsolute(line);
    *tg.out << " -i " << dir << std::endl;
    tg.includeDirs.insert(dir);
  }
}

// Cuts the "-xd" value at every comma and keeps the non-empty pieces.
static void add_defines(TesselGen& tg, const std::string& value) {
  std::string::size_type start = 0;
  while (true) {
    std::string::size_type comma = value.find(',', start);
    std::string piece = value.substr(
        start, comma == std::string::npos ? std::string::npos : comma - start);
    if (!piece.empty()) {
      *tg.out << "-xd " << piece << std::endl;
      tg.implicitDefines.push_back(piece);
    }
    if (comma == std::string::npos) {
      break;
    }
    start = comma + 1;
  }
}

// The value of "-timeout": whole seconds, digits only; nothing when the text
// is empty, holds anything else or is too large.
static std::optional<int> parse_seconds(const char* text) {
  const std::string value = text;
  int seconds = 0;
  const auto [end, error] =
      std::from_chars(value.data(), value.data() + value.size(), seconds);
  if (value.empty() || value[0] == '-' || value[0] == '+' ||
      error != std::errc() || end != value.data() + value.size()) {
    return std::nullopt;
  }
  return seconds;
}

bool applyOptions(TesselGen& tg, int argc, const char* const* argv, int first) {
  static const char* const kValueOptions[] = {
      "-i", "-if", "-op", "-xd", "-xs", "-tpl", "-fi", "-sub", "-timeout"};
  for (int i = first; i < argc; ++i) {
    const std::string option = argv[i];
    bool takesValue = false;
    for (const char* name : kValueOptions) {
      takesValue = takesValue || option == name;
    }
    if (takesValue && (i + 1 >= argc ||
                       (option == "-timeout" && !parse_seconds(argv[i + 1])))) {
      // No value is invented: the run stops here, and the log (already open)
      // says why as well.
      const std::string message = "Missing value for option " + option;
      *tg.err << message << std::endl;
      tg.log.crit(message);
      return false;
    }
    if (option == "-i") {
      std::string dir = makeAbsolute(argv[++i]);
      *tg.out << " -i " << dir << std::endl;
      tg.includeDirs.insert(dir);
    } else if (option == "-if") {
      readIncludesFile(tg, argv[++i]);
    } else if (option == "-op") {
      tg.outputPath = argv[++i];
      *tg.out << "-op " << tg.outputPath << std::endl;
    } else if (option == "-xd") {
      add_defines(tg, argv[++i]);
    } else if (option == "-xs") {
      // One switch, even when it holds commas.
      tg.implicitSwitches.push_back(argv[++i]);
      *tg.out << "-xs " << tg.implicitSwitches.back() << std::endl;
    } else if (option == "-tpl") {
      tg.templatePath = argv[++i];
      *tg.out << "-tpl " << tg.templatePath << std::endl;
    } else if (option == "-fi") {
      tg.forceIncludePath = argv[++i];
      *tg.out << "-fi " << tg.forceIncludePath << std::endl;
    } else if (option == "-sub") {
      tg.subPersonalityPath = argv[++i];
      *tg.out << "-sub " << tg.subPersonalityPath << std::endl;
    } else if (option == "-timeout") {
      tg.timeoutSeconds = *parse_seconds(argv[++i]);
      tg.timeoutGiven = true;
      *tg.out << "-timeout " << tg.timeoutSeconds << std::endl;
    } else if (option == "-rfs") {
      tg.reducedFileSize = true;
      *tg.out << "-rfs " << std::endl;
    } else if (option == "-verify") {
      // A repeated "-verify" changes nothing and is not echoed again.
      if (!tg.verify) {
        tg.verify = true;
        *tg.out << "-verify" << std::endl;
      }
    } else {
      *tg.out << "Ignoring unknown option: " << option << std::endl;
    }
  }
  return true;
}

int run_command_line(int argc, const char* const* argv, Shell& shell,
                     std::ostream& out, std::ostream& err, MicrosClock clock,
                     const std::function<void(TesselGen&)>& prepare) {
  out << "Start personality generation using Tessel" << std::endl;
  if (argc <= 10) {
    if (argc == 2) {
      const std::string arg = argv[1];
      if (arg == "-v" || arg == "--version") {
        out << "TesselGen v" << kTesselVersion << std::endl;
      } else {
        out << kUsageText << std::endl;
      }
    }
    return 0;
  }
  // Every run uses the same file names in the current directory, so a
  // second one here would destroy the first's work. No run log is opened
  // for the refusal: it would be named after the same second as the
  // other run's and could replace it.
  RunLock lock;
  if (!lock.Acquire()) {
    err << "Another TesselGen run is going on in this directory; run in "
           "another directory or wait until it ends."
        << std::endl;
    return 2;
  }
  static const char* const kLabels[] = {
      "[1] Product:              ", "[2] CrossCompiler:        ",
      "[3] CompilerExe:          ", "[4] CompilerExeFlag:      ",
      "[5] CompilerCmpFlag:      ", "[6] CompilerDefFlag:      ",
      "[7] Object File Ext Flag: ", "[8] Compiler Order Str:   "};
  for (int i = 1; i <= 8; ++i) {
    out << kLabels[i - 1];
    if (i == 8) {
      out << '"' << argv[i] << '"';
    } else {
      out << argv[i];
    }
    out << std::endl;
  }
  TesselGen tg(argv[1], argv[2], argv[3], argv[4], argv[5], argv[6], argv[7],
               argv[8], shell, std::move(clock));
  tg.out = &out;
  tg.err = &err;
  out << "\nAdditional Options:\n" << std::endl;
  if (!applyOptions(tg, argc, argv, 9)) {
    return 2;
  }
  out << std::endl;
  if (prepare) {
    prepare(tg);
  }
  return tg.run();
}
