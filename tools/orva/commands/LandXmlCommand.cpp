#include "orva/Command.h"
#include "orva/Console.h"
#include "orva/PointSelection.h"
#include "orva/SurveyPoints.h"
#include "orva/XmlFile.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring pointsFile;
    std::wstring outputFile;
    std::wstring readFile;
    std::wstring points;
    std::wstring name;
    std::string units = "meter";
    bool skipsBad = false;
};

using Attributes = std::vector<std::pair<const wchar_t*, const wchar_t*>>;

struct Units {
    const char* name;
    const wchar_t* element;
    Attributes attributes;
};

const Units& UnitsOf(const std::string& name) {
    static const Units units[] = {{"meter",
                                   L"Metric",
                                   {{L"linearUnit", L"meter"},
                                    {L"areaUnit", L"squareMeter"},
                                    {L"volumeUnit", L"cubicMeter"},
                                    {L"temperatureUnit", L"celsius"},
                                    {L"pressureUnit", L"milliBars"}}},
                                  {"foot",
                                   L"Imperial",
                                   {{L"linearUnit", L"foot"},
                                    {L"areaUnit", L"squareFoot"},
                                    {L"volumeUnit", L"cubicYard"},
                                    {L"temperatureUnit", L"fahrenheit"},
                                    {L"pressureUnit", L"inHG"}}},
                                  {"us-survey-foot",
                                   L"Imperial",
                                   {{L"linearUnit", L"USSurveyFoot"},
                                    {L"areaUnit", L"squareFoot"},
                                    {L"volumeUnit", L"cubicYard"},
                                    {L"temperatureUnit", L"fahrenheit"},
                                    {L"pressureUnit", L"inHG"}}}};
    return *std::find_if(std::begin(units), std::end(units), [&name](const Units& unit) { return name == unit.name; });
}

/// Prints the first complaints of many, and how many more there are.
class Complaints {
public:
    void Add(const std::wstring& text) {
        if (++m_count <= shown) PrintError(text + L"\n");
    }
    /// @param what what is wrong, as in "bad line", "bad lines"
    void Finish(const wchar_t* what, const wchar_t* whats) const {
        if (m_count > shown) PrintError(L"orva: and " + Counted(m_count - shown, what, whats) + L" more\n");
    }
    std::size_t Count() const { return m_count; }

private:
    static constexpr std::size_t shown = 10;
    std::size_t m_count = 0;
};

/// Appends an element with attributes; empty when the document refuses it.
OrvaXml::NodePointer AddElement(IXMLDOMDocument* document, IXMLDOMNode* parent, const wchar_t* name,
                                const std::vector<std::pair<const wchar_t*, std::wstring>>& attributes) {
    OrvaXml::NodePointer node = OrvaXml::CreateElement(document, parent, name);
    OrvaXml::ElementPointer element;
    if (!node || FAILED(node->QueryInterface(IID_IXMLDOMElement, reinterpret_cast<void**>(element.GetAddressOf())))) {
        return {};
    }
    for (const auto& [attribute, value] : attributes) {
        if (FAILED(OrvaXml::SetString(element.Get(), attribute, value.c_str()))) return {};
    }
    return node;
}

bool SetText(IXMLDOMNode* node, const std::wstring& text) {
    const BSTR copy = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    const bool isSet = copy != nullptr && SUCCEEDED(node->put_text(copy));
    ::SysFreeString(copy);
    return isSet;
}

/// The declaration, which makes the document UTF-8.
bool AddDeclaration(IXMLDOMDocument* document) {
    const BSTR target = ::SysAllocString(L"xml");
    const BSTR data = ::SysAllocString(L"version=\"1.0\" encoding=\"UTF-8\"");
    Microsoft::WRL::ComPtr<IXMLDOMProcessingInstruction> declaration;
    OrvaXml::NodePointer appended;
    const bool isAdded = SUCCEEDED(document->createProcessingInstruction(target, data, declaration.GetAddressOf())) &&
                         declaration && SUCCEEDED(document->appendChild(declaration.Get(), appended.GetAddressOf()));
    ::SysFreeString(target);
    ::SysFreeString(data);
    return isAdded;
}

/// Builds the document: header, units, project, application, points.
bool BuildDocument(IXMLDOMDocument* document, const Options& options, const std::wstring& project,
                   const std::vector<SurveyPoint>& points) {
    if (!AddDeclaration(document)) return false;
    const OrvaXml::ElementPointer root = OrvaXml::CreateLandXMLRoot(document);
    if (!root) return false;

    const Units& units = UnitsOf(options.units);
    const OrvaXml::NodePointer unitsNode = AddElement(document, root.Get(), L"Units", {});
    if (!unitsNode) return false;
    std::vector<std::pair<const wchar_t*, std::wstring>> names(units.attributes.begin(), units.attributes.end());
    if (!AddElement(document, unitsNode.Get(), units.element, names) ||
        !AddElement(document, root.Get(), L"Project", {{L"name", project}}) ||
        !AddElement(document, root.Get(), L"Application", {{L"name", L"orva"}})) {
        return false;
    }
    const OrvaXml::NodePointer group = AddElement(document, root.Get(), L"CgPoints", {});
    if (!group) return false;
    const auto number = [](double value) { return std::wstring(tarnu::FormatXmlDouble(value)); };
    for (const SurveyPoint& point : points) {
        names = {{L"name", std::to_wstring(point.number)}};
        if (!point.description.empty()) names.emplace_back(L"desc", point.description);
        const OrvaXml::NodePointer node = AddElement(document, group.Get(), L"CgPoint", names);
        std::wstring coordinates = number(point.northing) + L' ' + number(point.easting);
        if (point.elevation) coordinates += L' ' + number(*point.elevation);
        if (!node || !SetText(node.Get(), coordinates)) return false;
    }
    return true;
}

/// The compact text of the numbers: "1-5,7".
std::wstring Numbering(const std::vector<SurveyPoint>& points) {
    OrvaSortedPointString numbers;
    for (const SurveyPoint& point : points)
        numbers.Add(point.number);
    numbers.BuildText();
    return numbers.GetText().GetString();
}

int Write(const Options& options) {
    const PointSelection selection(options.points);
    const std::wstring& source = options.pointsFile;
    const std::wstring& target = options.outputFile;
    std::vector<unsigned char> bytes;
    if (OrvaReadFile(source.c_str(), bytes) != 0) {
        const DWORD error = ::GetLastError();
        PrintError(L"orva: " + Named(source) + L": " + ErrorText(error) + L"\n");
        return exitFailure;
    }
    SurveyFile survey = ReadSurvey({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    Complaints complaints;
    for (const BadLine& bad : survey.badLines)
        complaints.Add(Format(L"%s(%u): %s", source.c_str(), static_cast<unsigned>(bad.line), bad.reason.c_str()));
    complaints.Finish(L"bad line", L"bad lines");
    if (!survey.badLines.empty() && !options.skipsBad) {
        PrintError(L"orva: nothing was written; --skip-bad leaves bad lines out\n");
        return exitFailure;
    }
    std::vector<SurveyPoint>& points = survey.points;
    std::erase_if(points, [&selection](const SurveyPoint& point) { return !selection.Holds(point.number); });
    if (points.empty()) {
        PrintError(L"orva: no point is left to write\n");
        return exitFailure;
    }

    std::wstring project = options.name;
    if (project.empty()) {
        project = source.substr(source.find_last_of(L"\\/:") + 1);
        const std::size_t point = project.rfind(L'.');
        if (point != std::wstring::npos && point != 0) project.resize(point);
    }
    const OrvaXml xml(L"", /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    if (!BuildDocument(xml.GetDocument().Get(), options, project, points)) {
        PrintError(L"orva: the XML parser refused the document\n");
        return exitFailure;
    }
    // Saved beside the target first, so that a failure leaves what stands there.
    const std::wstring temporary = target + L"." + std::to_wstring(::GetCurrentProcessId()) + L".tmp";
    const HRESULT saved = xml.Save(temporary.c_str());
    DWORD error = static_cast<DWORD>(saved);
    if (SUCCEEDED(saved)) {
        error = ::MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)
                    ? ERROR_SUCCESS
                    : ::GetLastError();
    }
    if (error != ERROR_SUCCESS) {
        ::DeleteFileW(temporary.c_str());
        PrintError(L"orva: " + target + L": " + ErrorText(error) + L"\n");
        return exitFailure;
    }
    Print(Format(L"%s: %u points: %s\n", target.c_str(), static_cast<unsigned>(points.size()),
                 Numbering(points).c_str()));
    return exitSuccess;
}

// Reading

/// Reads one point; the reason is empty when it is one.
std::wstring ReadPoint(IXMLDOMNode* node, SurveyPoint& point) {
    const std::wstring name = OrvaXmlGetAttributes(node, L"name").GetString();
    const UINT number = OrvaPointStringParseNumber(name.c_str());
    if (name.empty() || name.find_first_not_of(L"0123456789") != std::wstring::npos || number == 0 ||
        number > highestPointNumber) {
        return L"the name \"" + name + L"\" is no point number";
    }
    point.number = number;
    point.description = OrvaXmlGetAttributes(node, L"desc").GetString();
    const std::wstring text = TextIn(node);
    std::vector<double> values;
    constexpr const wchar_t* blanks = L" \t\r\n";
    for (std::size_t at = text.find_first_not_of(blanks); at != std::wstring::npos;) {
        const std::size_t end = std::min(text.find_first_of(blanks, at), text.size());
        double value = 0;
        if (!tarnu::ParseXmlDouble(text.substr(at, end - at).c_str(), value)) {
            return L"point " + name + L": \"" + text.substr(at, end - at) + L"\" is no coordinate";
        }
        values.push_back(value);
        at = text.find_first_not_of(blanks, end);
    }
    if (values.size() != 2 && values.size() != 3) {
        return L"point " + name + L": " + std::to_wstring(values.size()) + L" coordinates instead of 2 or 3";
    }
    point.northing = values[0];
    point.easting = values[1];
    if (values.size() == 3) point.elevation = values[2];
    return {};
}

int Read(const Options& options) {
    const std::wstring& path = options.readFile;
    OrvaXml xml(path.c_str(), /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    if (!LoadXml(xml)) return exitFailure;
    const OrvaXml::ElementPointer root = OrvaXml::GetLandXMLRoot(xml.GetDocument().Get());
    if (!root) {
        PrintError(L"orva: " + path + L": this is no LandXML document\n");
        return exitFailure;
    }
    std::vector<SurveyPoint> points;
    OrvaPointArray plan; // x is the easting, y the northing
    Complaints complaints;
    try {
        OrvaXmlNodeArray groups;
        OrvaXmlGetChildNodes(static_cast<IXMLDOMNode*>(root.Get()), L"CgPoints", &groups);
        for (const OrvaXmlNode& group : groups) {
            OrvaXmlNodeArray nodes;
            OrvaXmlGetChildNodes(group.Get(), L"CgPoint", &nodes);
            for (const OrvaXmlNode& node : nodes) {
                SurveyPoint point;
                const std::wstring reason = ReadPoint(node.Get(), point);
                if (!reason.empty()) {
                    complaints.Add(L"orva: " + path + L": " + reason);
                    continue;
                }
                plan.Append({point.easting, point.northing, point.elevation.value_or(0.0)});
                points.push_back(std::move(point));
            }
        }
    } catch (const CString& text) {
        PrintError(L"orva: " + path + L": " + text.GetString() + L"\n");
        return exitFailure;
    }

    complaints.Finish(L"bad point", L"bad points");
    std::wstring output;
    for (const SurveyPoint& point : points)
        output += FormatSurveyLine(point) + L"\n";
    output += Format(L"# %u points: %s\n", static_cast<unsigned>(points.size()), Numbering(points).c_str());
    if (!points.empty()) {
        OrvaSingleFaceReader reader(&plan);
        double minX = 0;
        double minY = 0;
        double maxX = 0;
        double maxY = 0;
        reader.GetExtents(&minX, &minY, &maxX, &maxY);
        const auto number = [](double value) { return std::wstring(tarnu::FormatXmlDouble(value)); };
        output += L"# northing " + number(minY) + L" to " + number(maxY) + L", easting " + number(minX) + L" to " +
                  number(maxX) + L"\n";
    }
    Print(output);
    return complaints.Count() == 0 ? exitSuccess : exitFailure;
}

} // namespace

void AddLandXmlCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "landxml", "Makes a LandXML 1.0 document of a survey point file, or lists the points of one.\n\nEach line of "
                   "a point file has number, northing, easting, elevation and description between commas; the "
                   "elevation may be empty, the description missing or in quotes. Lines that begin with # or ; are "
                   "comments. While any line is bad, nothing is written. Coordinates survive to the last digit.");
    command.Synopsis({"POINTS OUT [--points LIST] [--name TEXT] [--units UNIT] [--skip-bad]", "--read FILE"});
    const Option& points = command.Text("POINTS", options->pointsFile, "the point file, in UTF-8");
    const Option& output = command.Text("OUT", options->outputFile, "the document to write");
    Option& read = command.Text("-r,--read", options->readFile, "FILE",
                                "list the points of this document, as a point file, and their extents");
    const Option& selected = command.Text("-p,--points", options->points, "LIST",
                                          "write the points with these numbers, as in 1-100,205 (default: all)");
    const Option& name =
        command.Text("-n,--name", options->name, "TEXT", "name of the project (default: that of the point file)");
    const Option& units = command.Choice("-u,--units", options->units, {"meter", "foot", "us-survey-foot"},
                                         "unit of the coordinates; it is noted, nothing is converted");
    const Option& skip = command.Flag("-s,--skip-bad", options->skipsBad, "leave bad lines out and write the others");
    for (const Option* writing : {&points, &output, &selected, &name, &units, &skip})
        read.Excludes(*writing);
    command.Example("survey.csv survey.xml --points 1-100,205", "a part of a survey");
    command.Example("--read survey.xml", "what is in it");
    command.Statuses("all points were written or listed", "some line or point is bad, or a file cannot be used");
    command.Run([options, &read] {
        if (read.isGiven) return Read(*options);
        if (options->pointsFile.empty() || options->outputFile.empty()) {
            throw UsageError("POINTS and OUT, or --read FILE, are required");
        }
        return Write(*options);
    });
}

} // namespace orva
