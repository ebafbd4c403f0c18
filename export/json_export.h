#ifndef TESSEL_EXPORT_JSON_EXPORT_H_
#define TESSEL_EXPORT_JSON_EXPORT_H_

#include <string>

#include "export/export_facts.h"

/// The JSON document of every fact in `facts`: one object with "format":
/// "tesselgen-personality" and "version": 1, laid out two spaces per level,
/// ending in a newline. The fields are described in docs/export-json.md.
std::string personality_json(const ExportFacts& facts);

#endif  // TESSEL_EXPORT_JSON_EXPORT_H_
