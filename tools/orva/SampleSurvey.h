/// @file
/// The survey that orva carries along to show what it does with one: examples/data/survey.csv.
#ifndef TARNU_TOOLS_ORVA_SAMPLESURVEY_H
#define TARNU_TOOLS_ORVA_SAMPLESURVEY_H

#include <string_view>

namespace orva {

/// The bytes of the point file.
extern const std::string_view sampleSurvey;

} // namespace orva

#endif // TARNU_TOOLS_ORVA_SAMPLESURVEY_H
