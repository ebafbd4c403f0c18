#include "export/clang_target.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

const std::vector<std::string>& candidate_targets() {
  static const std::vector<std::string> kTargets = {
      "x86_64-linux-gnu",       "i386-linux-gnu",
      "x86_64-w64-windows-gnu", "i686-w64-windows-gnu",
      "aarch64-linux-gnu",      "arm-none-eabi",
      "thumbv7em-none-eabi",    "armv7-linux-gnueabihf",
      "riscv32-unknown-elf",    "riscv64-linux-gnu",
      "mips-linux-gnu",         "mips64el-linux-gnuabi64",
      "powerpc-linux-gnu",      "powerpc64le-linux-gnu",
      "s390x-linux-gnu",        "sparc-unknown-elf",
      "m68k-unknown-elf",       "msp430-unknown-elf",
      "avr-unknown-unknown",    "hexagon-unknown-elf",
      "xcore-unknown-unknown",  "lanai-unknown-unknown",
      "wasm32-unknown-unknown"};
  return kTargets;
}

// The C spelling of a personality type name; empty for one it cannot name.
static std::string c_type(const std::string& name) {
  static const std::pair<const char*, const char*> kTypes[] = {
      {"char", "char"},
      {"short", "short"},
      {"int", "int"},
      {"long", "long"},
      {"longlong", "long long"},
      {"float", "float"},
      {"double", "double"},
      {"ldouble", "long double"},
      {"dataptr", "void*"},
      {"codeptr", "void (*)(void)"},
      {"bool", "_Bool"}};
  for (const auto& type : kTypes) {
    if (name == type.first) {
      return type.second;
    }
  }
  return std::string();
}

std::vector<TargetFact> target_facts(const ExportFacts& facts) {
  std::vector<TargetFact> out;
  for (const auto& size : facts.sizes) {
    const std::string type = c_type(size.first);
    if (!type.empty()) {
      out.push_back({"-s " + size.first + "=" + std::to_string(size.second),
                     "sizeof(" + type +
                         ") * __CHAR_BIT__ == " + std::to_string(size.second)});
    }
  }
  for (const auto& align : facts.alignments) {
    const std::string type = c_type(align.first);
    if (!type.empty()) {
      out.push_back(
          {"-a " + align.first + "=" + std::to_string(align.second),
           "_Alignof(" + type + ") == " + std::to_string(align.second)});
    }
  }
  if (facts.charUnsigned) {
    out.push_back({*facts.charUnsigned ? "-u+" : "-u-",
                   std::string("((char)-1 < 0) == ") +
                       (*facts.charUnsigned ? "0" : "1")});
  }
  static const std::pair<const char*, const char*> kMacros[] = {
      {"size_t", "__SIZE_TYPE__"},
      {"ptrdiff_t", "__PTRDIFF_TYPE__"},
      {"wchar_t", "__WCHAR_TYPE__"}};
  for (const auto& type : facts.intrinsicTypes) {
    const std::optional<long> bits = size_in_bits(facts, type.second);
    for (const auto& macro : kMacros) {
      if (bits && type.first == macro.first) {
        out.push_back({"-it " + type.first + "=" + type.second,
                       std::string("sizeof(") + macro.second +
                           ") * __CHAR_BIT__ == " + std::to_string(*bits)});
      }
    }
  }
  return out;
}

std::string target_check_source(const std::vector<TargetFact>& facts) {
  std::string source;
  for (std::size_t i = 0; i < facts.size(); ++i) {
    source += "_Static_assert(" + facts[i].assertion + ", \"tessel-fact-" +
              std::to_string(i) + "\");\n";
  }
  return source;
}

std::string keyword_check_source(const std::vector<std::string>& keywords) {
  std::string source;
  for (std::size_t i = 0; i < keywords.size(); ++i) {
    source += "#if __is_identifier(" + keywords[i] + ")\ntypedef " +
              keywords[i] + " tessel_keyword_" + std::to_string(i) +
              ";\n#endif\n";
  }
  return source;
}

TargetCheck choose_target(const std::vector<TargetCheck>& checks) {
  TargetCheck best;
  for (const TargetCheck& check : checks) {
    if (check.usable &&
        (best.target.empty() || check.failed.size() < best.failed.size())) {
      best = check;
    }
  }
  return best;
}

std::map<std::string, std::string> parse_predefined(const std::string& text) {
  std::map<std::string, std::string> macros;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("#define ", 0) != 0) {
      continue;
    }
    const std::string rest = line.substr(8);
    const std::string::size_type blank = rest.find(' ');
    macros[rest.substr(0, blank)] =
        blank == std::string::npos ? "" : rest.substr(blank + 1);
  }
  return macros;
}

std::set<std::size_t> failed_facts(const std::string& errors) {
  static const std::string kTag = "\"tessel-fact-";
  std::set<std::size_t> failed;
  std::string::size_type at = 0;
  while ((at = errors.find(kTag, at)) != std::string::npos) {
    at += kTag.size();
    failed.insert(std::strtoul(errors.c_str() + at, nullptr, 10));
  }
  return failed;
}

static std::string read_all(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A fresh scratch directory, removed when the object goes.
namespace {
struct Scratch {
  Scratch() {
    std::error_code ec;
    std::string base = (fs::temp_directory_path(ec) / "tessel_export_XXXXXX");
    if (mkdtemp(base.data()) != nullptr) {
      dir = base;
    }
  }
  ~Scratch() {
    std::error_code ec;
    if (!dir.empty()) {
      fs::remove_all(dir, ec);
    }
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  fs::path dir;
};
}  // namespace

static std::string quote(const std::string& text) {
  std::string out = "'";
  for (const char c : text) {
    out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return out + "'";
}

// True when every error line of `errors` is a failed fact assertion.
static bool only_fact_errors(const std::string& errors) {
  std::istringstream in(errors);
  std::string line;
  while (std::getline(in, line)) {
    if (line.find("error:") != std::string::npos &&
        line.find("tessel-fact-") == std::string::npos &&
        line.find("errors generated") == std::string::npos) {
      return false;
    }
  }
  return true;
}

std::vector<TargetCheck> InstalledClang::CheckTargets(
    const std::vector<std::string>& targets, const std::string& source) {
  std::vector<TargetCheck> checks;
  Scratch scratch;
  if (scratch.dir.empty()) {
    return checks;
  }
  std::ofstream(scratch.dir / "check.c") << source;
  // One background compile per target, so that the checks take about as
  // long as the slowest one.
  std::string script = "cd " + quote(scratch.dir.string()) + " && {";
  for (std::size_t i = 0; i < targets.size(); ++i) {
    const std::string n = std::to_string(i);
    script += " (" + clang_ + " --target=" + quote(targets[i]) +
              " -x c -std=c11 -fsyntax-only -nostdinc -ferror-limit=0 -w"
              " check.c >/dev/null 2>t" +
              n + ".err; echo $? >t" + n + ".rc) &";
  }
  script += " wait; }";
  shell_.Run(script);
  for (std::size_t i = 0; i < targets.size(); ++i) {
    const std::string n = std::to_string(i);
    const std::string errors = read_all(scratch.dir / ("t" + n + ".err"));
    const std::string rc = read_all(scratch.dir / ("t" + n + ".rc"));
    TargetCheck check;
    check.target = targets[i];
    check.failed = failed_facts(errors);
    check.usable =
        (rc == "0\n" || !check.failed.empty()) && only_fact_errors(errors);
    checks.push_back(check);
  }
  return checks;
}

bool InstalledClang::DescribeTarget(const std::string& target,
                                    const std::vector<std::string>& keywords,
                                    TargetInfo* info) {
  Scratch scratch;
  if (scratch.dir.empty()) {
    return false;
  }
  std::ofstream(scratch.dir / "keywords.c") << keyword_check_source(keywords);
  const std::string common =
      clang_ + " --target=" + quote(target) + " -x c -std=gnu11 -nostdinc -w ";
  const std::string script =
      "cd " + quote(scratch.dir.string()) + " && { (" + common +
      "-E -dM /dev/null >macros.txt 2>/dev/null; echo $? >macros.rc) & (" +
      common + "-fsyntax-only -ferror-limit=0 keywords.c 2>keywords.err) & " +
      "wait; }";
  shell_.Run(script);
  if (read_all(scratch.dir / "macros.rc") != "0\n") {
    return false;
  }
  info->predefined = parse_predefined(read_all(scratch.dir / "macros.txt"));
  std::set<long> errorLines;
  std::istringstream errors(read_all(scratch.dir / "keywords.err"));
  std::string line;
  while (std::getline(errors, line)) {
    if (line.rfind("keywords.c:", 0) == 0 &&
        line.find(": error:") != std::string::npos) {
      errorLines.insert(std::strtol(line.c_str() + 11, nullptr, 10));
    }
  }
  info->knownKeywords.clear();
  for (std::size_t i = 0; i < keywords.size(); ++i) {
    if (errorLines.count(static_cast<long>(3 * i + 2)) == 0) {
      info->knownKeywords.insert(keywords[i]);
    }
  }
  return true;
}
