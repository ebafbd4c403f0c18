#ifndef TESSEL_OUTPUT_TEMPLATE_MERGE_H_
#define TESSEL_OUTPUT_TEMPLATE_MERGE_H_

#include <string>

class TesselGen;

/// Merges the template personality into the closed personality file and
/// prints the lines to review.
void MergeTemplate(TesselGen& tg, const std::string& personalityPath);

#endif  // TESSEL_OUTPUT_TEMPLATE_MERGE_H_
