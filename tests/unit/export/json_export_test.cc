#include "export/json_export.h"

#include <gtest/gtest.h>

#include "tests/unit/export/export_samples.h"

namespace {

using tessel_test::SampleFacts;

TEST(JsonExport, EveryFactOfAPersonalityIsInTheDocument) {
  const std::string expected = R"json({
  "format": "tesselgen-personality",
  "version": 1,
  "personality": "p/TesselPerson.p_c",
  "language": "c",
  "includeDirectories": [
    "/opt/sdcc/include/mcs51",
    "/opt/sdcc/include"
  ],
  "systemIncludeDirectories": [
    "/opt/sdcc/include/mcs51",
    "/opt/sdcc/include",
    "personality/kivforceinclude"
  ],
  "macros": [
    {"name": "DEBUG", "value": "1", "userGiven": false},
    {"name": "__SDCC_mcs51", "value": "1", "userGiven": false},
    {"name": "__SDCC_VERSION_STR", "value": "_KIV_STRINGIFY(4.2.0)", "userGiven": false},
    {"name": "__STDC_VERSION__", "value": "199901L", "userGiven": false},
    {"name": "__LINE__", "value": "3", "userGiven": false}
  ],
  "sizes": [
    {"type": "int", "bits": 16},
    {"type": "char", "bits": 8},
    {"type": "long", "bits": 32},
    {"type": "dataptr", "bits": 24}
  ],
  "alignments": [
    {"type": "int", "bytes": 1}
  ],
  "charSign": "unsigned",
  "intrinsicTypes": [
    {"name": "size_t", "type": "unsigned int", "bits": 16},
    {"name": "wchar_t", "type": "unsigned long", "bits": 32}
  ],
  "identifierLengths": {"external": 31, "internal": 31},
  "extensions": [
    "binconst"
  ],
  "keywords": [
    {"name": "kiv_ignore_paren", "value": "_ignore_paren", "treatment": "analyser"},
    {"name": "__xdata", "value": "", "treatment": "remove"},
    {"name": "__at", "value": "kiv_ignore_paren", "treatment": "remove-with-argument"},
    {"name": "__inline", "value": "inline", "treatment": "keyword"},
    {"name": "__sfr", "value": "unsigned char", "treatment": "type"}
  ],
  "forceInclude": {"path": "personality/kivforceinclude/kiv_forceinclude.h", "found": null},
  "otherLines": [],
  "compiler": null,
  "verification": null
}
)json";
  EXPECT_EQ(personality_json(SampleFacts()), expected);
}

TEST(JsonExport, SettingsAndVerificationAreIncludedWhenFound) {
  ExportFacts facts = SampleFacts("-d A\n-zz other\n", "x.p_c");
  facts.settings = parse_run_settings(tessel_test::kSdccLog);
  facts.settings->logPath = "TesselGen_1.log";
  facts.macros[0].userGiven = true;
  facts.verification = "{\"checked\": false,\n \"reason\": \"r\"}\n";
  const std::string expected = R"json({
  "format": "tesselgen-personality",
  "version": 1,
  "personality": "x.p_c",
  "language": "c",
  "includeDirectories": [],
  "systemIncludeDirectories": [],
  "macros": [
    {"name": "A", "value": null, "userGiven": true}
  ],
  "sizes": [],
  "alignments": [],
  "charSign": null,
  "intrinsicTypes": [],
  "identifierLengths": {"external": null, "internal": null},
  "extensions": [],
  "keywords": [],
  "forceInclude": null,
  "otherLines": [
    "-zz other"
  ],
  "compiler": {
    "runLog": "TesselGen_1.log",
    "toolVersion": "0.1 ()",
    "product": "vellc",
    "executable": "sdcc",
    "outputFlag": "-o ",
    "compileFlag": "-c",
    "defineFlag": "-D",
    "objectExtension": ".rel",
    "orderString": "%c %j %d%s %o%e",
    "cross": true,
    "switches": [
      "-mmcs51"
    ],
    "userDefines": [
      "DEBUG=1"
    ],
    "includeOptions": [
      "/opt/sdcc/include"
    ]
  },
  "verification": {"checked": false,
   "reason": "r"}
}
)json";
  EXPECT_EQ(personality_json(facts), expected);
}

}  // namespace
