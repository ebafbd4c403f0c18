// The console progress indicator of TesselGen: one growing line of
// percentages, "[  0%]~[ 33%]~[ 66%]~[100%]~".
#include <iomanip>

#include "app/tessel_gen.h"

void TesselGen::progressStart(uint32_t items) {
  if (items == 0) {
    return;
  }
  progressTotal = items;
  progressDone = 0;
  progressPercent = 0;
  *out << "[  0%]" << std::right << std::flush;
}

void TesselGen::progressStep() {
  if (progressTotal == 0) {
    // Deliberately at the information level.
    log.info("warning: 0 items in progress indicator");
    return;
  }
  ++progressDone;
  uint32_t percent = progressDone * 100u / progressTotal;
  if (percent > progressPercent) {
    progressPercent = percent;
    *out << "~[" << std::setw(3) << percent << "%]" << std::flush;
  }
}

void TesselGen::progressEnd() {
  if (progressTotal == 0) {
    return;
  }
  *out << "~" << std::endl;
  progressTotal = 0;
  progressDone = 0;
  progressPercent = 0;
}
