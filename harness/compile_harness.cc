#include "harness/compile_harness.h"

#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "app/tessel_gen.h"
#include "harness/globals.h"

const char kCompileScript[] = "compile.sh";
const char kPassFile[] = "pass.txt";
const char kStdoutLog[] = "stdout.log";
const char kStderrLog[] = "stderr.log";
const char kExeExt[] = ".exe";

const char kIncludeStddef[] = "#include <stddef.h>\n";
const char kIncludeStdio[] = "#include <stdio.h>\n";
const char kIncludeStdlib[] = "#include <stdlib.h>\n";
const char kMainStart[] = "int main(void) {";
const char kReturnZero[] = "return 0;";
const char kCloseBrace[] = "}";
const char kIfdef[] = "#ifdef ";
const char kIfndef[] = "#ifndef ";
const char kEndif[] = "#endif";
const char kStringifyS[] = "#define S(X) #X";
const char kStringifyM[] = "#define M(X) S(X)";
const char kMissingHeader[] = "ak12345";

std::string sourceExtension(const TesselGen& tg) {
  return tg.isC ? ".c" : ".cpp";
}

std::string printfDeclaration(const TesselGen& tg) {
  return tg.isC ? "int printf(char *, ...);"
                : "extern \"C\" int printf(char *, ...);";
}

// Replaces the first occurrence of `placeholder`. A missing placeholder makes
// find() return npos, and replace() then throws std::out_of_range: the order
// string is deliberately not validated beforehand.
static void fill(std::string& command, const char* placeholder,
                 const std::string& value) {
  command.replace(command.find(placeholder), 2, value);
}

std::string buildCommand(const TesselGen& tg, const std::string& source,
                         bool buildProgram, const std::string& extraDefine) {
  std::string command = tg.orderStr;
  fill(command, "%c", tg.compilerExe);
  fill(command, "%s", source);
  std::string::size_type dot = source.rfind('.');
  std::string base = dot == std::string::npos ? source : source.substr(0, dot);
  if (buildProgram) {
    fill(command, "%j", "");
    fill(command, "%o", tg.exeFlag);
    fill(command, "%e", base + kExeExt);
  } else {
    fill(command, "%j", tg.objFlag);
    bool named = !tg.exeFlag.empty() && !tg.objExt.empty();
    fill(command, "%o", named ? tg.exeFlag : std::string());
    fill(command, "%e", named ? base + tg.objExt : std::string());
  }
  bool bracketed = tg.defFlag == "DF" || tg.defFlag == "DF ";
  auto define = [&](const std::string& text) {
    return bracketed ? tg.defFlag + "(" + text + ") " : tg.defFlag + text + " ";
  };
  std::string defines;
  for (const std::string& sw : tg.implicitSwitches) {
    defines += sw + " ";
  }
  for (const std::string& def : tg.implicitDefines) {
    defines += define(def);
  }
  if (!extraDefine.empty()) {
    defines += define(extraDefine);
  }
  fill(command, "%d", defines);
  return command;
}

bool runCommand(TesselGen& tg, const std::string& command,
                const std::string& shown) {
  if (tg.shell->Run(command) != Shell::kTimedOut) {
    return true;
  }
  const std::string message = "Command stopped at the time limit of " +
                              std::to_string(tg.timeoutSeconds) +
                              " s: " + shown;
  *tg.err << message << std::endl;
  tg.log.warn(message);
  return false;
}

bool runCompileScript(TesselGen& tg, const std::string& command) {
  // The script and the capture files are made afresh rather than emptied:
  // on ext4, a file emptied by truncation and written again is flushed to
  // disk when it is closed, which costs more than the compile script
  // itself. A new file stays in memory.
  std::remove(kCompileScript);
  std::remove(kStdoutLog);
  std::remove(kStderrLog);
  {
    std::ofstream script(kCompileScript, std::ios::out | std::ios::trunc);
    script << "#!/bin/sh\n"
              "if [ -f pass.txt ]; then\n"
              "   rm -f pass.txt\n"
              "fi\n"
           << command
           << "\n"
              "if [ $? -eq 0 ]; then\n"
              "   echo \"Pass\" > pass.txt\n"
              "fi\n";
  }
  chmod(kCompileScript, 0777);
  return runCommand(tg,
                    std::string("./") + kCompileScript + " >" + kStdoutLog +
                        " 2>" + kStderrLog,
                    command);
}

std::string readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  if (!in) {
    return std::string();
  }
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool writeWholeFile(const std::string& path, const std::string& text) {
  // A new file rather than an emptied one; see runCompileScript.
  std::remove(path.c_str());
  std::ofstream file(path, std::ios::out | std::ios::trunc | std::ios::binary);
  if (!file) {
    return false;
  }
  file << text;
  return static_cast<bool>(file);
}

bool canOpen(const std::string& path) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  return static_cast<bool>(in);
}

std::string readCompilerOutput() {
  return readWholeFile(kStdoutLog) + readWholeFile(kStderrLog);
}

uint32_t objectSize(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    return 0xFFFFFFFFu;
  }
  return static_cast<uint32_t>(status.st_size);
}

bool compileTest(TesselGen& tg, const std::string& text,
                 const std::string& base, uint32_t* size, std::string* output) {
  std::string object = base + S_OBJEXT;
  std::string source = base + sourceExtension(tg);
  writeWholeFile(source, text);
  std::remove(object.c_str());
  const bool finished =
      runCompileScript(tg, buildCommand(tg, source, false, ""));
  if (output != nullptr) {
    *output = readCompilerOutput();
  }
  bool passed = finished && canOpen(object);
  if (size != nullptr) {
    *size = passed ? objectSize(object) : 0;
  }
  return passed;
}

bool compileTypeTest(TesselGen& tg, const std::string& text, uint32_t* size,
                     std::string* output) {
  return compileTest(tg, text, "tmp_typetest", size, output);
}

// The text after the first ":" of `line`.
static std::string after_colon(const std::string& line) {
  return line.substr(line.find(':') + 1);
}

bool runTestFile(TesselGen& tg, const std::string& path,
                 const std::string& extraDefine, std::string* message) {
  std::string failure;
  std::string success;
  bool execute = false;
  {
    std::ifstream in(path);
    std::string line;
    if (in && std::getline(in, line) &&
        line.find("Error:") != std::string::npos) {
      failure = after_colon(line);
    }
    if (in && std::getline(in, line) &&
        line.find("Success:") != std::string::npos) {
      success = after_colon(line);
    }
    if (in && std::getline(in, line) &&
        line.find("Execute") != std::string::npos) {
      execute = true;
    }
  }
  std::string::size_type slash = path.rfind('/');
  std::string fileName =
      slash == std::string::npos ? path : path.substr(slash + 1);
  std::string testName = fileName.substr(0, fileName.rfind('.'));
  std::string besideSource = path.substr(0, path.rfind('.')) + S_OBJEXT;
  std::remove(besideSource.c_str());
  // The asterisk is literal here: this removes a file actually named so.
  std::remove((testName + "*").c_str());

  bool buildProgram = execute && !tg.isCross;
  const bool finished =
      runCompileScript(tg, buildCommand(tg, path, buildProgram, extraDefine));

  std::string result;
  bool passed = false;
  if (!finished) {
    result = failure;
  } else if (!execute) {
    std::string local = testName + S_OBJEXT;
    if (canOpen(local) || canOpen(besideSource)) {
      passed = true;
      result = success;
      std::remove(local.c_str());
      std::remove(besideSource.c_str());
    } else {
      result = failure;
    }
  } else if (!tg.isCross) {
    std::string program = testName + kExeExt;
    result = run_program(tg, program, true, &passed);
    if (!passed || result.find("-bits") == std::string::npos) {
      result.clear();
    }
    // The command built the program beside the source, while the program
    // that is run is the one named after the test in the current directory;
    // both are removed so that no program outlives its test.
    std::remove(program.c_str());
    std::remove((path.substr(0, path.rfind('.')) + kExeExt).c_str());
  }
  if (message != nullptr) {
    *message = result;
  }
  return passed;
}

void removeMatching(TesselGen& tg, const std::string& prefix) {
  const std::string command = "rm  " + prefix + "* -f";
  runCommand(tg, command, command);
}

std::string run_program(TesselGen& tg, const std::string& program,
                        bool captureErrors, bool* finished) {
  std::string command = "./" + program + " >" + kStdoutLog;
  if (captureErrors) {
    command += std::string(" 2>") + kStderrLog;
  }
  const bool ended = runCommand(tg, command, "./" + program);
  if (finished != nullptr) {
    *finished = ended;
  }
  return captureErrors ? readCompilerOutput() : readWholeFile(kStdoutLog);
}

std::optional<std::string> build_and_run_program(
    TesselGen& tg, const std::string& source, const std::string& text,
    const ProgramRunOptions& options) {
  const std::string::size_type dot = source.rfind('.');
  const std::string program =
      (dot == std::string::npos ? source : source.substr(0, dot)) + kExeExt;
  writeWholeFile(source, text);
  if (options.removeOldProgram) {
    std::remove(program.c_str());
  }
  runCompileScript(tg, buildCommand(tg, source, true, ""));
  std::remove(kStdoutLog);
  if (options.dropBuildErrors) {
    std::remove(kStderrLog);
  }
  if (!canOpen(program)) {
    return std::nullopt;
  }
  return run_program(tg, program, options.captureErrors);
}
