// Feeds a template personality to its three readers: the section reader
// and the merge into a personality file, and the "<test>" keyword reader of
// the header scan.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "output/template_merge.h"
#include "probes/header_scan.h"
#include "tests/fuzz/fuzz_support.h"

// A few lines of a generated personality for the template to modify,
// remove from and add to.
static const char kPersonality[] =
    "-cpp_ext .cpp\n"
    "-d __GNUC__=12\n"
    "-d \"__VERSION__=12.2.0 (Debian)\"\n"
    "-d F(a)=a\n"
    "-si 4\n"
    "+rw __inline\n";

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tessel_fuzz::FuzzRun run;
  const std::string text(reinterpret_cast<const char*>(data), size);

  std::istringstream in(text);
  const TemplateSections sections = ReadTemplateSections(in);
  // The option comparison on every entry read against a fixed line.
  for (const auto* list :
       {&sections.ModifyLines, &sections.AddLines, &sections.RemoveLines}) {
    for (const std::string& entry : *list) {
      (void)SameOption("-d F(a)=a", entry);
    }
  }

  tessel_fuzz::WriteBytes("template.p_c", data, size);
  tessel_fuzz::WriteBytes("personality.p_c",
                          reinterpret_cast<const uint8_t*>(kPersonality),
                          sizeof kPersonality - 1);
  run.tg->templatePath = "template.p_c";
  run.tg->ReviewLines = {"+rw __inline", "-si 4"};
  AddTemplateKeywords(*run.tg);
  MergeTemplate(*run.tg, "personality.p_c");
  return 0;
}
