#include "verify/verify_report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

FactResult Fact(const std::string& kind, const std::string& name,
                const std::string& written, const std::string& now,
                FactStatus status) {
  FactResult fact;
  fact.kind = kind;
  fact.name = name;
  fact.written = written;
  fact.now = now;
  fact.status = status;
  fact.test = "t";
  return fact;
}

TEST(VerifyReport, FactLinesAreWrittenAsTheStagesWriteThem) {
  EXPECT_EQ("-s ldouble=128", fact_line(Fact("size", "ldouble", "96", "128",
                                             FactStatus::kCorrected),
                                        true, true));
  EXPECT_EQ("-a int=4", fact_line(Fact("alignment", "int", "4", "8",
                                       FactStatus::kCorrected),
                                  false, true));
  EXPECT_EQ("-u+", fact_line(Fact("char-sign", "char", "+", "-",
                                  FactStatus::kCorrected),
                             false, true));
  EXPECT_EQ("-it \"wchar_t=signed int\"",
            fact_line(Fact("intrinsic-type", "wchar_t", "unsigned int",
                           "signed int", FactStatus::kCorrected),
                      true, true));
  EXPECT_EQ("-na 31", fact_line(Fact("identifier-length", "internal", "40",
                                     "31", FactStatus::kCorrected),
                                true, true));
  EXPECT_EQ("-sd __inline=inline",
            fact_line(Fact("keyword", "__inline", "inline", "",
                           FactStatus::kCorrected),
                      false, false));
  FactResult removed = Fact("keyword", "__x", "", "", FactStatus::kCorrected);
  removed.hasNow = false;
  EXPECT_EQ("(none)", fact_line(removed, true, true));
}

TEST(VerifyReport, TableCountsEachKindAndListsCorrections) {
  std::vector<FactResult> facts = {
      Fact("size", "int", "32", "32", FactStatus::kConfirmed),
      Fact("size", "ldouble", "96", "128", FactStatus::kCorrected),
      Fact("keyword", "__asm", "asm", "asm", FactStatus::kConfirmed),
      Fact("alignment", "short", "", "2", FactStatus::kAdded),
      Fact("alignment", "longlong", "8", "8", FactStatus::kUnchecked)};
  facts[3].hadWritten = false;
  EXPECT_EQ(
      "Verification of the personality with the compiler:\n"
      "fact               confirmed corrected     added unchecked\n"
      "size                       1         1         0         0\n"
      "alignment                  0         0         1         1\n"
      "keyword                    1         0         0         0\n"
      "Corrections: 1\n"
      "-s ldouble=96 -> -s ldouble=128\n",
      verify_table(facts, true));
}

TEST(VerifyReport, JsonHoldsNullForMissingLines) {
  FactResult added = Fact("size", "short", "", "16", FactStatus::kAdded);
  added.hadWritten = false;
  FactResult removed = Fact("keyword", "__x", "", "", FactStatus::kCorrected);
  removed.hasNow = false;
  EXPECT_EQ(
      "{\"format\": \"tesselgen-verify\", \"version\": 1,\n"
      " \"personality\": \"p/x.p_c\",\n"
      " \"checked\": true,\n"
      " \"facts\": [\n"
      "  {\"kind\": \"size\", \"name\": \"short\", \"written\": null, "
      "\"now\": \"16\", \"status\": \"added\", \"test\": \"t\"},\n"
      "  {\"kind\": \"keyword\", \"name\": \"__x\", \"written\": \"\", "
      "\"now\": null, \"status\": \"corrected\", \"test\": \"t\"}\n"
      " ]}\n",
      verify_json("p/x.p_c", true, "", {added, removed}));
  EXPECT_EQ(
      "{\"format\": \"tesselgen-verify\", \"version\": 1,\n"
      " \"personality\": \"p\",\n"
      " \"checked\": false,\n"
      " \"reason\": \"why\",\n"
      " \"facts\": []}\n",
      verify_json("p", false, "why", {}));
}

}  // namespace
