#ifndef TESSEL_TESTS_SUPPORT_MODEL_ROUND_TRIP_H_
#define TESSEL_TESTS_SUPPORT_MODEL_ROUND_TRIP_H_

#include <string>

namespace tessel_test {

/// Reads `text` with the personality model and writes it back: "" when the
/// result is `text` byte for byte, else the parse error or the first line
/// that came back different.
std::string ModelRoundTripProblem(const std::string& text);

}  // namespace tessel_test

#endif  // TESSEL_TESTS_SUPPORT_MODEL_ROUND_TRIP_H_
