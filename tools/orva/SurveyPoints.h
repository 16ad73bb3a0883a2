/// @file
/// Survey points and the text file that lists them: number, northing, easting, elevation, description.
#ifndef TARNU_TOOLS_ORVA_SURVEYPOINTS_H
#define TARNU_TOOLS_ORVA_SURVEYPOINTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orva {

/// One surveyed point; lengths in the unit of the survey.
struct SurveyPoint {
    std::uint32_t number = 0;
    double northing = 0;
    double easting = 0;
    std::optional<double> elevation;
    std::wstring description;
};

/// A line that cannot be used.
struct BadLine {
    std::size_t line; ///< counted from 1
    std::wstring reason;
};

struct SurveyFile {
    std::vector<SurveyPoint> points;
    std::vector<BadLine> badLines;
};

/// The highest number that a point may have.
inline constexpr std::uint32_t highestPointNumber = 2147483647;

/// Reads the bytes of a point file: UTF-8, with or without its mark; lines end as on any system.
///
/// Fields stand between commas, blanks around them do not count; a field in quotes may hold commas, and quotes written
/// twice. Lines that begin with '#' or ';', blank lines and a heading ("number,northing,…") are passed over. The
/// elevation may be empty, the description missing. Each number may stand once.
SurveyFile ReadSurvey(std::string_view bytes);

/// The point as a line of such a file, without the line end.
std::wstring FormatSurveyLine(const SurveyPoint& point);

} // namespace orva

#endif // TARNU_TOOLS_ORVA_SURVEYPOINTS_H
