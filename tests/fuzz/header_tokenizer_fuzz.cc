// Feeds the text of a header file to the header scan's tokenisers: the
// line scanner, the identifier splitter, and the whole file scan, which
// picks the text or the binary reading by the file's bytes.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>

#include "probes/header_scan.h"
#include "probes/name_table.h"
#include "tests/fuzz/fuzz_support.h"

// Whether `name` is a C identifier.
static bool is_identifier(const std::string& name) {
  if (name.empty() || (name[0] >= '0' && name[0] <= '9')) {
    return false;
  }
  for (char c : name) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (!letter && c != '_' && !(c >= '0' && c <= '9')) {
      return false;
    }
  }
  return true;
}

// The ignore list of the scans: a few names a real list holds.
static const NameTable& ignore_table() {
  static const NameTable* table = [] {
    auto* built = new NameTable(4);
    for (const char* name : {"int", "char", "__attribute__", "define"}) {
      built->Insert(name, NameTable::Hash(name), true);
    }
    return built;
  }();
  return *table;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);

  LineScanner scanner(ignore_table());
  scanner.ScanText(text);
  (void)scanner.Identifiers();

  std::set<std::string> pieces;
  SplitPrintable(text, pieces);
  for (const std::string& piece : pieces) {
    if (!is_identifier(piece)) {
      std::fprintf(stderr, "not an identifier: '%s'\n", piece.c_str());
      std::abort();
    }
  }

  // The file scan, with shared tables as the stage gives it; a fresh
  // merge table per input, small so that its growth is exercised too. (The
  // tables that a scan without them builds for itself cost more than the
  // rest of an input.)
  static ScanTables tables({"int", "char"}, {});
  tables.merged = NameTable();
  tessel_fuzz::FuzzRun run;
  tessel_fuzz::WriteBytes("scanned.dat", data, size);
  ScanFile(*run.tg, "scanned.dat", &tables);
  return 0;
}
