#include "verify/claim_batch.h"

#include <cstddef>

#include "app/tessel_gen.h"
#include "harness/compile_harness.h"

const char kVerifyTest[] = "tmp_verify";

// Counts compiles for the stage's summary; the stage runs on the main
// thread only.
static int compile_count = 0;

std::string claim_typedef(const std::string& name, const std::string& claim) {
  return "typedef char " + name + "[(" + claim + ")*2-1];\n";
}

bool compiles_alone(TesselGen& tg, const std::string& prelude,
                    const std::string& snippet) {
  ++compile_count;
  return compileTest(tg, prelude + snippet, kVerifyTest, nullptr, nullptr);
}

// Decides snippets [first, last) of `snippets` into `results`.
static void decide_range(TesselGen& tg, const std::string& prelude,
                         const std::vector<std::string>& snippets,
                         std::size_t first, std::size_t last,
                         std::vector<bool>* results) {
  if (first >= last) {
    return;
  }
  std::string text;
  for (std::size_t i = first; i < last; ++i) {
    text += snippets[i];
  }
  if (compiles_alone(tg, prelude, text)) {
    for (std::size_t i = first; i < last; ++i) {
      (*results)[i] = true;
    }
    return;
  }
  if (last - first == 1) {
    return;
  }
  const std::size_t middle = first + (last - first) / 2;
  decide_range(tg, prelude, snippets, first, middle, results);
  decide_range(tg, prelude, snippets, middle, last, results);
}

std::vector<bool> compile_claims(TesselGen& tg, const std::string& prelude,
                                 const std::vector<std::string>& snippets) {
  std::vector<bool> results(snippets.size(), false);
  decide_range(tg, prelude, snippets, 0, snippets.size(), &results);
  return results;
}

int verify_compile_count() { return compile_count; }

void reset_verify_compile_count() { compile_count = 0; }
