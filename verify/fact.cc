#include "verify/fact.h"

const char* fact_status_name(FactStatus status) {
  switch (status) {
    case FactStatus::kConfirmed:
      return "confirmed";
    case FactStatus::kCorrected:
      return "corrected";
    case FactStatus::kAdded:
      return "added";
    case FactStatus::kUnchecked:
      return "unchecked";
  }
  return "unchecked";
}
