#include "export/export_command.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "export/clang_export.h"
#include "export/cppcheck_export.h"
#include "export/json_export.h"

namespace fs = std::filesystem;

const char kExportUsage[] =
    "Usage: TesselExport FORMAT PERSONALITY [-o DIR]\n"
    "\n"
    "Writes the facts of a TesselGen personality for other tools.\n"
    "  FORMAT       json, clang, cppcheck or all\n"
    "  PERSONALITY  a personality file written by TesselGen\n"
    "  -o DIR       where to write (default: the personality's directory)\n"
    "\n"
    "  json      tessel_personality.json\n"
    "  clang     compile_flags.txt, .clangd, tessel_compat.h\n"
    "  cppcheck  tessel.cppcheck, tessel_platform.xml, tessel_includes.txt,\n"
    "            tessel_cppcheck_compat.h\n";

bool write_file_replacing(const std::string& path, const std::string& text,
                          std::string* err) {
  const fs::path target(path);
  std::string temp =
      (target.parent_path().empty() ? fs::path(".") : target.parent_path()) /
      ("." + target.filename().string() + ".XXXXXX");
  const int fd = mkstemp(temp.data());
  if (fd < 0) {
    *err = path + ": cannot be written";
    return false;
  }
  bool ok = true;
  std::size_t done = 0;
  while (ok && done < text.size()) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    ok = n > 0;
    done += ok ? static_cast<std::size_t>(n) : 0;
  }
  ok = close(fd) == 0 && ok;
  // mkstemp makes the file private; the exports are ordinary files.
  ok = ok && chmod(temp.c_str(), 0644) == 0;
  if (!ok || std::rename(temp.c_str(), path.c_str()) != 0) {
    std::remove(temp.c_str());
    *err = path + ": cannot be written";
    return false;
  }
  return true;
}

namespace {
// One export run: where the files go and what has been said so far.
struct ExportRun {
  fs::path dir;
  std::ostream& out;
  std::ostream& err;
  bool ok = true;

  void Write(const std::string& name, const std::string& text) {
    std::string message;
    const std::string path = (dir / name).string();
    if (write_file_replacing(path, text, &message)) {
      out << "Wrote " << path << "\n";
    } else {
      err << "TesselExport: " << message << "\n";
      ok = false;
    }
  }
};
}  // namespace

static void export_clang(const ExportFacts& facts, ClangTool& clang,
                         ExportRun& run) {
  const ClangPlan plan = plan_clang_export(facts, clang);
  std::error_code ec;
  const std::string compat =
      (fs::absolute(run.dir, ec) / "tessel_compat.h").lexically_normal();
  const std::vector<std::string> args = clang_arguments(facts, plan, compat);
  run.Write("compile_flags.txt", compile_flags_text(args));
  run.Write(".clangd", clangd_fragment(facts, plan, args));
  run.Write("tessel_compat.h", compat_header(facts, plan));
  if (plan.target.empty()) {
    run.out << "clang target: none (clang could use no candidate)\n";
    return;
  }
  run.out << "clang target: " << plan.target << " (holds "
          << plan.factCount - plan.unheld.size() << " of " << plan.factCount
          << " facts)\n";
  if (!plan.unheld.empty()) {
    run.out << "Facts no clang target can hold:\n";
    for (const std::string& line : plan.unheld) {
      run.out << "  " << line << "\n";
    }
  }
}

static void export_cppcheck(const ExportFacts& facts, ExportRun& run) {
  const CppcheckFiles files;
  std::vector<std::string> notes;
  run.Write(files.platform, cppcheck_platform(facts, &notes));
  run.Write(files.includes, cppcheck_includes(facts));
  run.Write(files.project, cppcheck_project(facts, files));
  // cppcheck knows no clang target: the header defines every macro and
  // keyword.
  run.Write(files.compat, compat_header(facts, ClangPlan()));
  for (const std::string& note : notes) {
    run.out << "Note: " << note << "\n";
  }
}

int run_export(int argc, const char* const* argv, ClangTool& clang,
               std::ostream& out, std::ostream& err) {
  std::vector<std::string> args(argv + 1, argv + argc);
  if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
    out << kExportUsage;
    return 0;
  }
  std::string dir;
  if (args.size() == 4 && args[2] == "-o") {
    dir = args[3];
  } else if (args.size() != 2) {
    err << "TesselExport: expected FORMAT PERSONALITY [-o DIR]\n"
        << kExportUsage;
    return 2;
  }
  const std::string& format = args[0];
  if (format != "json" && format != "clang" && format != "cppcheck" &&
      format != "all") {
    err << "TesselExport: unknown format \"" << format
        << "\" (use json, clang, cppcheck or all)\n";
    return 2;
  }
  ExportFacts facts;
  std::string message;
  if (!load_export_facts(args[1], &facts, &message)) {
    err << "TesselExport: " << message << "\n";
    return 1;
  }
  if (dir.empty()) {
    dir = fs::path(args[1]).parent_path().string();
    dir = dir.empty() ? "." : dir;
  }
  std::error_code ec;
  fs::create_directories(dir, ec);
  if (ec || !fs::is_directory(dir, ec)) {
    err << "TesselExport: " << dir << ": cannot create the directory\n";
    return 1;
  }
  ExportRun run{fs::path(dir), out, err};
  if (format == "json" || format == "all") {
    run.Write("tessel_personality.json", personality_json(facts));
  }
  if (format == "clang" || format == "all") {
    export_clang(facts, clang, run);
  }
  if (format == "cppcheck" || format == "all") {
    export_cppcheck(facts, run);
  }
  return run.ok ? 0 : 1;
}
