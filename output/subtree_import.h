#ifndef TESSEL_OUTPUT_SUBTREE_IMPORT_H_
#define TESSEL_OUTPUT_SUBTREE_IMPORT_H_

#include <ostream>
#include <string>

class TesselGen;

/// Copies the sub-personality tree `source` under `parent` and writes an
/// include pair per directory created.
void CopySubPersonality(const std::string& source, const std::string& parent,
                        std::ostream& personality);

#endif  // TESSEL_OUTPUT_SUBTREE_IMPORT_H_
