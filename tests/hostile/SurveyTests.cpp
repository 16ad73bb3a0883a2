// Mutated survey files: what is read is well formed and can be written and read again.

#include "hostile/Random.h"
#include "orva/Console.h"
#include "orva/SurveyPoints.h"
#include "support/CrashName.h"

#include <cmath>
#include <gtest/gtest.h>
#include <set>

namespace tarnu::test::hostile {
namespace {

const std::string survey = "\xEF\xBB\xBFnumber,northing,easting,elevation,description\r\n"
                           "# a comment\r\n"
                           "1,5000.125,3000.25,12.5,corner\r\n"
                           "2, 5001.5 , 3001 ,,\"wall, \"\"old\"\"\"\n"
                           "17,-0.5,1e3,.25\r"
                           "2147483647,5e-324,1.7976931348623157e308,0,gr\xC3\xBCn\n"
                           "\n"
                           "; another comment\n"
                           "99,1,2,3,\xF0\x9F\x98\x80";

std::string Mutated(Random& random) {
    static const std::string pieces[] = {",",
                                         "\"",
                                         "\"\"",
                                         "\r\n",
                                         "\r",
                                         "\n",
                                         "#",
                                         ";",
                                         " ",
                                         "\t",
                                         "-",
                                         "+",
                                         ".",
                                         "e",
                                         "e999",
                                         "0x10",
                                         "INF",
                                         "NaN",
                                         "1e-400",
                                         "4294967297",
                                         "2147483648",
                                         "0",
                                         "18446744073709551617",
                                         std::string(1, '\0'),
                                         "\xFF",
                                         "\xC3",
                                         "\xED\xA0\x80",
                                         "\xEF\xBF\xBF",
                                         "\xEF\xBB\xBF",
                                         "number,northing,x,y\n",
                                         std::string(400, '9'),
                                         std::string(1000, ','),
                                         std::string(500, '"')};
    std::string bytes = survey;
    for (std::size_t count = random.Below(6); count > 0; --count) {
        const std::size_t at = random.Below(bytes.size() + 1);
        switch (random.Below(4)) {
        case 0:
            bytes.insert(at, random.Pick(pieces));
            break;
        case 1:
            bytes.erase(at, 1 + random.Below(30));
            break;
        case 2:
            if (at < bytes.size()) bytes[at] = static_cast<char>(bytes[at] ^ (1 << random.Below(8)));
            break;
        default:
            bytes.insert(at, bytes.substr(random.Below(bytes.size() + 1), random.Below(60)));
            break;
        }
    }
    return bytes;
}

} // namespace

TEST(HostileSurveys, MutationsAreReadOrReported) {
    std::size_t points = 0;
    std::size_t badLines = 0;
    for (std::uint64_t seed = 1; seed <= 100'000 && !::testing::Test::HasFailure(); ++seed) {
        Random random(seed);
        const std::string bytes = Mutated(random);
        NameInput("seed %llu", seed);
        const orva::SurveyFile file = orva::ReadSurvey(bytes);
        std::set<std::uint32_t> numbers;
        std::string written;
        for (const orva::SurveyPoint& point : file.points) {
            EXPECT_TRUE(numbers.insert(point.number).second) << InputName();
            EXPECT_TRUE(point.number >= 1 && point.number <= orva::highestPointNumber) << InputName();
            EXPECT_TRUE(std::isfinite(point.northing) && std::isfinite(point.easting)) << InputName();
            EXPECT_TRUE(std::isfinite(point.elevation.value_or(0))) << InputName();
            written += orva::Utf8(orva::FormatSurveyLine(point)) + "\n";
        }
        std::size_t line = 0;
        for (const orva::BadLine& bad : file.badLines) {
            EXPECT_GT(bad.line, line) << InputName();
            EXPECT_FALSE(bad.reason.empty()) << InputName();
            line = bad.line;
        }
        EXPECT_LE(file.points.size() + file.badLines.size(), bytes.size() + 1) << InputName();
        const orva::SurveyFile again = orva::ReadSurvey(written);
        EXPECT_TRUE(again.badLines.empty()) << InputName();
        ASSERT_EQ(file.points.size(), again.points.size()) << InputName();
        for (std::size_t index = 0; index < file.points.size(); ++index) {
            const orva::SurveyPoint& before = file.points[index];
            const orva::SurveyPoint& after = again.points[index];
            EXPECT_TRUE(before.number == after.number && before.northing == after.northing &&
                        before.easting == after.easting && before.elevation == after.elevation &&
                        before.description == after.description)
                << InputName();
        }
        points += file.points.size();
        badLines += file.badLines.size();
    }
    EXPECT_GT(points, 100'000u);
    EXPECT_GT(badLines, 10'000u);
}

} // namespace tarnu::test::hostile
