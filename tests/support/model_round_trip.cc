#include "tests/support/model_round_trip.h"

#include <sstream>

#include "model/personality.h"

namespace tessel_test {

std::string ModelRoundTripProblem(const std::string& text) {
  Personality personality;
  std::string err;
  if (!parse_personality(text, &personality, &err)) {
    return err;
  }
  const std::string written = write_personality(personality);
  if (written == text) {
    return "";
  }
  std::istringstream before(text);
  std::istringstream after(written);
  std::string a;
  std::string b;
  for (int number = 1;; ++number) {
    const bool moreBefore = static_cast<bool>(std::getline(before, a));
    const bool moreAfter = static_cast<bool>(std::getline(after, b));
    if (!moreBefore || !moreAfter || a != b) {
      return "line " + std::to_string(number) + " comes back as \"" + b +
             "\" instead of \"" + a + "\"";
    }
  }
}

}  // namespace tessel_test
