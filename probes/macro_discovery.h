#ifndef TESSEL_PROBES_MACRO_DISCOVERY_H_
#define TESSEL_PROBES_MACRO_DISCOVERY_H_

#include <cstdint>
#include <string>
#include <vector>

class TesselGen;

/// Base name of every macro test file ("tmp_def_test"); the source is this
/// plus ".c" or ".cpp", the test program this plus ".exe".
extern const char kDefineTestBase[];

/// The first half of the macro stage: tests the candidates in files of many
/// "#ifdef" blocks, halving the files that report a hit until single names
/// remain, and stores those names, byte-ordered, in `tg.PredefinedMacros`.
/// Prints the stage's first console line and logs the batch size.
void DiscoverPredefinedMacros(TesselGen& tg);

/// The names worth testing: `tg.candidateKeywords` less the language's
/// keywords and less the names of the user's "-xd" defines (the text before
/// the first "=", or the whole entry), in byte order.
std::vector<std::string> macro_candidates(const TesselGen& tg);

/// The number of candidates per test file: 1024 with "-rfs", else 16384.
int32_t macro_batch_size(const TesselGen& tg);

/// The three-line block that tests one candidate `name`: an "#ifdef" around
/// an include of the header "ak12345", which never exists, so that only a
/// defined name makes the compiler complain about that header.
std::string PrintPossibleDefines(const std::string& name);

/// Appends `PrintPossibleDefines(name)` to `text`.
void AppendPossibleDefines(std::string& text, const std::string& name);

#endif  // TESSEL_PROBES_MACRO_DISCOVERY_H_
