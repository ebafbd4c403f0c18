#include "probes/macro_discovery.h"

#include <algorithm>
#include <set>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"
#include "util/text.h"

const char kDefineTestBase[] = "tmp_def_test";

std::vector<std::string> macro_candidates(const TesselGen& tg) {
  std::set<std::string> userNames;
  for (const std::string& define : tg.implicitDefines) {
    userNames.insert(define.substr(0, define.find('=')));
  }
  std::vector<std::string> candidates;
  for (const std::string& name : tg.candidateKeywords) {
    if (tg.languageKeywords.count(name) == 0 && userNames.count(name) == 0) {
      candidates.push_back(name);
    }
  }
  return candidates;
}

int32_t macro_batch_size(const TesselGen& tg) {
  return tg.reducedFileSize ? 1024 : 16384;
}

void AppendPossibleDefines(std::string& text, const std::string& name) {
  appendPieces(text, kIfdef, name, "\n#include \"", kMissingHeader, "\"\n",
               kEndif, "\n");
}

std::string PrintPossibleDefines(const std::string& name) {
  std::string text;
  AppendPossibleDefines(text, name);
  return text;
}

// Tests `names` in consecutive chunks of `batch` names, one compile per
// chunk, and returns the names of the chunks whose compile complained about
// the missing header: only those can hold a defined macro.
static std::vector<std::string> sweep(TesselGen& tg,
                                      const std::vector<std::string>& names,
                                      int32_t batch) {
  const std::string source = kDefineTestBase + sourceExtension(tg);
  const std::string command = buildCommand(tg, source, false, "");
  const std::size_t step = static_cast<std::size_t>(batch);
  std::vector<std::string> hits;
  for (std::size_t first = 0; first < names.size(); first += step) {
    const std::size_t last = std::min(names.size(), first + step);
    std::string text;
    for (std::size_t i = first; i < last; ++i) {
      AppendPossibleDefines(text, names[i]);
    }
    // An unwritable file leaves no source behind (the stage removed it), so
    // the compile complains about the source, not about the header.
    writeWholeFile(source, text);
    runCompileScript(tg, command);
    if (readCompilerOutput().find(kMissingHeader) != std::string::npos) {
      hits.insert(hits.end(), names.begin() + first, names.begin() + last);
    }
  }
  return hits;
}

void DiscoverPredefinedMacros(TesselGen& tg) {
  removeMatching(tg, kDefineTestBase);
  const std::string count = std::to_string(tg.candidateKeywords.size());
  *tg.out << "\nScanning for compiler defines(" << count << ")...\n"
          << std::endl;
  tg.log.info("Scanning for compiler defines(" + count + ")...");

  std::vector<std::string> working = macro_candidates(tg);
  int32_t batch = macro_batch_size(tg);
  tg.log.info("Max number of implicit defines tested per file: " +
              std::to_string(batch));
  tg.progressStart(halving_count(batch));
  // Each sweep re-tests only the names of chunks that showed a hit, in
  // chunks half as large, so the last sweep tests every survivor alone.
  while (batch > 0) {
    if (!working.empty() && static_cast<std::size_t>(batch) <= working.size()) {
      working = sweep(tg, working, batch);
    }
    batch /= 2;
    tg.progressStep();
  }
  tg.progressEnd();
  tg.PredefinedMacros = working;
}
