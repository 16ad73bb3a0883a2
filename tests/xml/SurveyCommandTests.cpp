// orva landxml and orva xml, run as programs: point files good and bad, round trips, and the printed tree.

#include "support/Program.h"
#include "support/TempFolder.h"
#include "tarnu/xml/OrvaXml.h"
#include "tarnu/xml/XmlNumbers.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

using namespace tarnu::test;

struct Outcome {
    DWORD status;
    std::string output;
    std::string errors;
};

/// Runs orva in a folder to its end.
Outcome Orva(const TempFolder& folder, const std::wstring& arguments) {
    OrvaProcess orva(arguments, folder.Path());
    const DWORD status = orva.Wait(120000);
    return {status, orva.Output(), orva.Errors()};
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(SurveyCommand, EveryCoordinateComesBackToTheLastBit) {
    const TempFolder folder;
    std::mt19937_64 random(77);
    std::string lines;
    const auto number = [&] {
        std::string text;
        double value;
        do {
            const std::uint64_t pattern = random();
            std::memcpy(&value, &pattern, sizeof(value));
        } while (!(value > -1e300 && value < 1e300));
        const CString shortest = tarnu::FormatXmlDouble(value);
        for (int index = 0; index < shortest.GetLength(); ++index)
            text += static_cast<char>(shortest[index]);
        return text;
    };
    for (int point = 1; point <= 300; ++point) {
        lines += std::to_string(point) + ',' + number() + ',' + number() + ',' + (point % 7 == 0 ? "" : number()) +
                 (point % 3 == 0 ? ",\"a, \"\"b\"\" <&> \xC3\xA4\"" : "") + '\n';
    }
    folder.MakeFile(L"in.csv", "\xEF\xBB\xBF# heading\r\nNumber,Northing,Easting,Elevation\r\n\r\n" + lines);
    const Outcome written = Orva(folder, L"landxml in.csv out.xml");
    EXPECT_EQ(0u, written.status) << written.errors;
    EXPECT_TRUE(Contains(written.output, "300 points: 1-300")) << written.output;
    const Outcome read = Orva(folder, L"landxml --read out.xml");
    EXPECT_EQ(0u, read.status) << read.errors;
    EXPECT_EQ(lines, read.output.substr(0, read.output.find('#')));
    EXPECT_TRUE(Contains(read.output, "# 300 points: 1-300\n# northing "));

    // What is listed is a point file again.
    for (const wchar_t* name : {L"again", L".again"}) {
        folder.MakeFile(name, read.output);
        EXPECT_EQ(0u, Orva(folder, std::wstring(L"landxml ") + name + L" again.xml").status);
        EXPECT_TRUE(Contains(ReadFile(folder / L"again.xml"), CString(name) == L"again" ? "\"again\"" : "\".again\""));
        EXPECT_EQ(read.output, Orva(folder, L"landxml --read again.xml").output);
    }
}

TEST(SurveyCommand, WritesTheSelectionInTheOrderThatTheSchemaAsksFor) {
    const TempFolder folder;
    folder.MakeFile(L"in.csv", "3,1,2,3,c\n1,4,5,6,a\n2,7,8,,b\n9,1,1,1\n");
    const Outcome written =
        Orva(folder, L"landxml in.csv out.xml --points 9,3-2,50,2-3,3 --units foot --name \"A & B\"");
    EXPECT_EQ(0u, written.status) << written.errors;
    EXPECT_TRUE(Contains(written.output, "3 points: 2-3,9"));
    const Outcome tree = Orva(folder, L"xml out.xml");
    EXPECT_EQ(0u, tree.status);
    std::size_t at = 0;
    for (const char* part : {"#document\n",
                             "\n  xml ",
                             "\n  LandXML\n",
                             "@version = \"1.0\"",
                             "\n    Units\n",
                             "\n      Imperial\n",
                             "@linearUnit = \"foot\"",
                             "@areaUnit = ",
                             "@volumeUnit = ",
                             "@temperatureUnit = ",
                             "@pressureUnit = ",
                             "\n    Project\n",
                             "@name = \"A & B\"",
                             "\n    Application\n",
                             "\n    CgPoints\n",
                             "\n      CgPoint\n",
                             "@name = \"3\"",
                             "@desc = \"c\"",
                             "#text \"1 2 3\"",
                             "@name = \"2\"",
                             "#text \"7 8\"",
                             "@name = \"9\""}) {
        at = tree.output.find(part, at);
        ASSERT_NE(std::string::npos, at) << part << " in\n" << tree.output;
    }
    EXPECT_FALSE(Contains(tree.output, "@name = \"1\""));
}

TEST(SurveyCommand, BadLinesAreReportedAndNothingIsWritten) {
    const TempFolder folder;
    const struct {
        const char *line, *reason;
    } cases[] = {{"5,1,2", "3 of the fields"},
                 {"5,1,2,3,a,b", "6 fields"},
                 {"x,1,2,3", "\"x\" is no point number"},
                 {",1,2,3", "the point number is missing"},
                 {"0,1,2,3", "not between 1 and 2147483647"},
                 {"2147483648,1,2,3", "not between"},
                 {"99999999999999999999999,1,2,3", "not between"},
                 {"5,,2,3", "the northing is missing"},
                 {"5,1,2m,3", "the easting \"2m\" is no number"},
                 {"5,1,2,INF", "the elevation \"INF\" is no number"},
                 {"5,\"1,5\",2,3", "the northing \"1,5\" is no number"},
                 {"5,1,2,3,\"open", "a quoted field does not end"},
                 {"5,1,2,3,\"a\" b", "there is text behind a quoted field"},
                 {"5,1,2,3,a\x01", "(U+0001) that XML does not allow"},
                 {"5,1,2,3,\xE4", "not UTF-8"},
                 {"1,1,2,3", "point 1 stands in line 2 already"}};
    // Ten are shown in full, so the cases go in portions of that size.
    constexpr std::size_t shown = 10;
    folder.MakeFile(L"out.xml", "kept");
    for (std::size_t first = 0; first < std::size(cases); first += shown) {
        const std::size_t last = std::min(first + shown, std::size(cases));
        std::string text = "# points\n1,1,2,3,first\n";
        for (std::size_t index = first; index < last; ++index)
            text += std::string(cases[index].line) + "\n";
        text += "6,1,2,3,last";
        folder.MakeFile(L"in.csv", text);
        const Outcome refused = Orva(folder, L"landxml in.csv out.xml");
        EXPECT_EQ(1u, refused.status);
        EXPECT_EQ("kept", ReadFile(folder / L"out.xml"));
        EXPECT_FALSE(Contains(refused.errors, " more\n")) << refused.errors;
        std::size_t at = 0;
        for (std::size_t index = first; index < last; ++index) {
            at = refused.errors.find("in.csv(" + std::to_string(3 + index - first) + "): ", at);
            ASSERT_NE(std::string::npos, at) << cases[index].line << "\n" << refused.errors;
            const std::string message = refused.errors.substr(at, refused.errors.find('\n', at) - at);
            EXPECT_TRUE(Contains(message, cases[index].reason)) << message;
        }
    }
    std::string many = "1,1,2,3\n6,1,2,3\n";
    for (int line = 0; line < 1000; ++line)
        many += "x\n";
    folder.MakeFile(L"in.csv", many);
    const Outcome counted = Orva(folder, L"landxml in.csv out.xml");
    EXPECT_EQ(1u, counted.status);
    EXPECT_TRUE(Contains(counted.errors, "in.csv(12): ")) << counted.errors;
    EXPECT_FALSE(Contains(counted.errors, "in.csv(13): ")) << counted.errors;
    EXPECT_TRUE(Contains(counted.errors, "\norva: and 990 bad lines more\n")) << counted.errors;
    const Outcome skipped = Orva(folder, L"landxml in.csv out.xml --skip-bad");
    EXPECT_EQ(0u, skipped.status) << skipped.errors;
    EXPECT_TRUE(Contains(skipped.output, "2 points: 1,6"));
    EXPECT_NE("kept", ReadFile(folder / L"out.xml"));

    folder.MakeFile(L"empty.csv", "# nothing\n\n");
    folder.MakeFolder(L"a-folder");
    for (const wchar_t* arguments :
         {L"landxml empty.csv none.xml", L"landxml missing.csv none.xml",
          L"landxml in.csv none.xml --skip-bad --points 77", L"landxml in.csv missing\\none.xml --skip-bad",
          L"landxml in.csv a-folder --skip-bad", L"landxml --read missing.xml", L"landxml --read in.csv", L"xml in.csv",
          L"xml ."}) {
        const Outcome outcome = Orva(folder, arguments);
        EXPECT_EQ(1u, outcome.status) << CString(arguments).GetString();
        EXPECT_TRUE(outcome.errors.starts_with("orva: ") || Contains(outcome.errors, "\norva: ")) << outcome.errors;
        EXPECT_FALSE(Exists(folder / L"none.xml"));
    }
    for (const wchar_t* arguments : {L"landxml", L"landxml in.csv", L"landxml in.csv none.xml --points 1-",
                                     L"landxml --read out.xml --skip-bad", L"landxml in.csv none.xml --units mile"}) {
        EXPECT_EQ(2u, Orva(folder, arguments).status) << CString(arguments).GetString();
    }
}

TEST(XmlCommand, ValuesAndTextsAreQuotedUnambiguously) {
    const TempFolder folder;
    folder.MakeFile(
        L"in.xml",
        "<a b='say \"x\" \\ &#10;&#13;&#9;&#x200E;' c='\xC3\xA4\xF0\x9F\x98\x80' "
        "d='&#x7E;&#x7F;&#x9F;&#xA0;&#xA1;&#xAD;&#x61C;&#x200A;&#x200B;&#x200F;' "
        "e='&#x2027;&#x2028;&#x202E;&#x202F;&#x2060;&#x2066;&#x2069;&#x206F;&#x2070;&#xFEFF;'>p\" = \"q</a>");
    const Outcome tree = Orva(folder, L"xml in.xml");
    EXPECT_EQ(0u, tree.status) << tree.errors;
    EXPECT_EQ("#document\n"
              "  a\n"
              "    @b = \"say \\\"x\\\" \\\\ \\n\\r\\t\\u200E\"\n"
              "    @c = \"\xC3\xA4\xF0\x9F\x98\x80\"\n"
              "    @d = \"~\\u007F\\u009F\\u00A0\xC2\xA1\\u00AD\\u061C\xE2\x80\x8A\\u200B\\u200F\"\n"
              "    @e = \"\xE2\x80\xA7\\u2028\\u202E\xE2\x80\xAF\\u2060\\u2066\\u2069\\u206F\xE2\x81\xB0\\uFEFF\"\n"
              "    #text \"p\\\" = \\\"q\"\n",
              tree.output);
}

TEST(XmlCommand, LargeAndDeepDocumentsAreComplete) {
    const TempFolder folder;
    std::string document;
    std::string expected = "#document\n";
    for (int level = 1; level <= 45; ++level) {
        document += "<n>";
        expected += std::string(static_cast<std::size_t>(2 * std::min(level, 40)), ' ') +
                    (level > 40 ? "[" + std::to_string(level) + "] n\n" : "n\n");
    }
    for (int leaf = 0; leaf < 1000; ++leaf) {
        document += "<leaf/>";
        expected += std::string(80, ' ') + "[46] leaf\n";
    }
    for (int level = 1; level <= 45; ++level)
        document += "</n>";
    folder.MakeFile(L"in.xml", document);
    const Outcome tree = Orva(folder, L"xml in.xml");
    EXPECT_EQ(0u, tree.status) << tree.errors;
    EXPECT_EQ(expected, tree.output);
}

TEST(SurveyCommand, ReadsWhatOthersWrote) {
    const TempFolder folder;
    folder.MakeFile(L"other.xml", "<LandXML xmlns='http://www.landxml.org/schema/LandXML-1.0' version='1.0'>"
                                  "<CgPoints><CgPoint name='7' desc=' x'>\n 1.50  2e1\t3 </CgPoint>"
                                  "<CgPoint name='A1'>1 2 3</CgPoint><CgPoint name='8'>1 two</CgPoint>"
                                  "<CgPoint>1 2</CgPoint><CgPoint name='0'>1 2</CgPoint>"
                                  "<CgPoint name='2147483648'>1 2</CgPoint></CgPoints>"
                                  "<CgPoints><CgPoint name='6'>4 5</CgPoint><CgPoint name='9' pntRef='7'/></CgPoints>"
                                  "</LandXML>");
    const Outcome read = Orva(folder, L"landxml --read other.xml");
    EXPECT_EQ(1u, read.status) << "some points could not be read";
    EXPECT_EQ("7,1.5,20,3,\" x\"\n6,4,5,\n# 2 points: 6-7\n# northing 1.5 to 4, easting 5 to 20\n", read.output);
    for (const char* reason : {"\"A1\" is no point number", "\"\" is no point number", "\"0\" is no",
                               "\"2147483648\" is no", "point 8: \"two\" is no coordinate", "point 9: 0 coordinates"})
        EXPECT_TRUE(Contains(read.errors, reason)) << read.errors;
    folder.MakeFile(L"empty.xml", "<LandXML xmlns='http://www.landxml.org/schema/LandXML-1.0' version='1.0'/>");
    const Outcome empty = Orva(folder, L"landxml --read empty.xml");
    EXPECT_EQ(0u, empty.status) << empty.errors;
    EXPECT_EQ("# 0 points: \n", empty.output);
    folder.MakeFile(L"none.xml", "<Other/>");
    EXPECT_EQ(1u, Orva(folder, L"landxml --read none.xml").status);
}
