#ifndef TESSEL_PROBES_HEADER_SCAN_H_
#define TESSEL_PROBES_HEADER_SCAN_H_

#include <string>

class TesselGen;

/// Walks every header directory and scans its files, in parallel, for
/// candidate identifiers.
void ScanAllDirectories(TesselGen& tg);

#endif  // TESSEL_PROBES_HEADER_SCAN_H_
