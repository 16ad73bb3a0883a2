// orva tour: the program's main jobs one after the other on real input, each result checked.

#include "orva/Command.h"
#include "orva/Console.h"
#include "orva/PointSelection.h"
#include "orva/SampleSurvey.h"
#include "orva/SurveyPoints.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring folder = L".";
    std::wstring keep;
};

/// A step whose result is not what it must be.
[[noreturn]] void Fail(const std::wstring& reason) {
    throw std::runtime_error(Utf8(reason));
}

std::wstring Absolute(const std::wstring& text) {
    OrvaPath path(text.c_str(), OrvaPath::Normalized);
    OrvaPath current;
    current.GetCurrentDirectory();
    if (!path.MakeAbsolute(current, /*baseIsFile=*/false, /*tryNameOnly=*/false, /*mustExist=*/false)) {
        Fail(Named(text) + L" is no path");
    }
    path.RemoveTrailingSeparators();
    return path.GetText().GetString();
}

/// The folder in which the tour works; taken away at the end unless the user wants to keep it.
class WorkFolder {
public:
    /// @param toured the folder that gets packed; the archive must not have to hold itself
    WorkFolder(const std::wstring& keep, const std::wstring& toured) : m_isKept(!keep.empty()) {
        OrvaPath temporary;
        temporary.GetTempPath();
        const std::wstring name = L"orva-tour-" + std::to_wstring(::GetCurrentProcessId());
        const std::wstring path = m_isKept ? Absolute(keep) : Absolute(std::wstring(temporary / name.c_str()));
        const std::wstring above = toured + L"\\";
        if (::_wcsnicmp(path.c_str(), above.c_str(), above.size()) == 0) {
            Fail(path + L", the tour's own work folder, is in " + toured);
        }
        if (OrvaFileExists(path.c_str())) Fail(path + L" exists already");
        if (OrvaCreateDirectoryPath(path.c_str()) != 0) Fail(path + L" cannot be made");
        m_path = path;
    }
    ~WorkFolder() {
        if (!m_isKept) OrvaRemoveTree(m_path.c_str(), {});
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    std::wstring operator/(const wchar_t* name) const { return m_path + L"\\" + name; }
    const std::wstring& Path() const { return m_path; }
    bool IsKept() const { return m_isKept; }

private:
    std::wstring m_path;
    const bool m_isKept;
};

/// Prints the headings of the steps and runs orva's own commands.
class Guide {
public:
    void Step(const std::wstring& title) { Print(Format(L"\n%d. ", ++m_step) + title + L"\n"); }

    /// Shows a command line and runs it; returns what it printed.
    std::wstring Run(const std::vector<std::wstring>& arguments) {
        std::wstring line = L"   $ orva";
        for (const std::wstring& argument : arguments)
            line += L" " + (argument.find(L' ') == std::wstring::npos ? argument : L'"' + argument + L'"');
        Print(line + L"\n");
        const CapturedOutput output;
        if (RunProgram(arguments) != exitSuccess) Fail(L"orva " + arguments.front() + L" failed");
        return output.Text();
    }

    /// Shows the first and the last lines of an output.
    void Show(const std::wstring& output, std::size_t first, std::size_t last) const {
        std::vector<std::wstring> lines;
        for (std::size_t at = 0; at < output.size();) {
            const std::size_t end = std::min(output.find(L'\n', at), output.size());
            lines.push_back(output.substr(at, end - at));
            at = end + 1;
        }
        for (std::size_t index = 0; index < lines.size(); ++index) {
            if (index == first && lines.size() > first + last + 1) {
                index = lines.size() - last;
                Print(Format(L"     … %u more lines …\n", static_cast<unsigned>(index - first)));
            }
            Print(L"     " + lines[index] + L"\n");
        }
    }

private:
    int m_step = 0;
};

// Archives

struct File {
    std::wstring name; ///< relative to the folder
    std::wstring path;
    FILETIME written;
};

/// The files in and below a folder, by name.
std::vector<File> FilesBelow(const std::wstring& folder) {
    std::vector<File> files;
    OrvaBFSFileTree walk;
    walk.Open(folder.c_str(), L"*", 0x20);
    for (const OrvaFileEntry& entry : OrvaWalk(walk)) {
        files.push_back(
            {entry.name.GetText().GetString(), entry.path.GetText().GetString(), entry.findData->ftLastWriteTime});
    }
    std::sort(files.begin(), files.end(), [](const File& left, const File& right) { return left.name < right.name; });
    return files;
}

std::vector<unsigned char> Contents(const std::wstring& path) {
    std::vector<unsigned char> bytes;
    if (OrvaReadFile(path.c_str(), bytes) != 0) {
        const DWORD error = ::GetLastError();
        Fail(path + L": " + ErrorText(error));
    }
    return bytes;
}

std::uint64_t Ticks(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

/// Compares every byte of two trees, and the times of the files; returns the number of bytes.
std::uint64_t Compare(const std::vector<File>& originals, const std::vector<File>& copies) {
    constexpr std::uint64_t timeUnit = 20'000'000; // DOS times, the coarsest in an archive, count in two seconds
    std::uint64_t total = 0;
    for (std::size_t index = 0; index < std::max(originals.size(), copies.size()); ++index) {
        if (index == copies.size() || (index < originals.size() && originals[index].name < copies[index].name)) {
            Fail(originals[index].name + L" is missing");
        }
        if (index == originals.size() || originals[index].name != copies[index].name) {
            Fail(copies[index].name + L" has come from nowhere");
        }
        const std::vector<unsigned char> original = Contents(originals[index].path);
        if (original != Contents(copies[index].path)) Fail(originals[index].name + L" has changed on the way");
        const std::uint64_t before = Ticks(originals[index].written);
        const std::uint64_t after = Ticks(copies[index].written);
        if (std::max(before, after) - std::min(before, after) > timeUnit) {
            Fail(originals[index].name + L" has lost its time stamp");
        }
        total += original.size();
    }
    return total;
}

void TourArchive(Guide& guide, const WorkFolder& work, const std::wstring& folder) {
    const OrvaPath folderPath(folder.c_str());
    const std::wstring name(folderPath.GetNameAndExtension()); // empty for a drive
    const std::wstring archive = work / L"demo.zip";
    const std::wstring unpacked = work / L"unpacked";

    guide.Step(L"Walk " + (name.empty() ? folder : name));
    guide.Show(guide.Run({L"tree", folder, L"--files"}), 12, 2);
    const std::vector<File> originals = FilesBelow(folder);
    if (originals.empty()) Fail(folder + L" holds no files");

    guide.Step(L"Pack it");
    OrvaTimer timer((work / L"times.txt").c_str(), /*addTimeStamp=*/0, /*overwrite=*/1);
    timer.Start();
    guide.Show(guide.Run({L"zip", archive, folder}), 1, 1);
    timer.Stop();
    const std::wstring seconds(timer.GetElapsedText(/*reset=*/false));
    timer.WriteReport(L"packing", /*reset=*/true);

    guide.Step(L"Unpack it elsewhere");
    timer.Start();
    guide.Show(guide.Run({L"unzip", archive, unpacked}), 1, 1);
    timer.Stop();
    timer.WriteReport(L"unpacking", /*reset=*/true);
    timer.Close();

    guide.Step(L"Compare every byte");
    const std::uint64_t bytes = Compare(originals, FilesBelow(name.empty() ? unpacked : unpacked + L"\\" + name));
    Print(L"   " + Counted(originals.size(), L"file", L"files") + L", " + FormatSize(bytes) +
          L": all equal, time stamps kept\n");

    OrvaFileAttributeData data{};
    OrvaGetFileAttributeData(archive.c_str(), /*infoLevel=*/0, &data);
    const std::uint64_t packed = (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
    const double share = bytes == 0 ? 1 : static_cast<double>(packed) / static_cast<double>(bytes);
    const auto filled = static_cast<std::size_t>(std::lround(std::min(share, 1.0) * 40));
    Print(L"\n   " + FormatSize(bytes) + L" became " + FormatSize(packed) + L"   " + std::wstring(filled, L'█') +
          std::wstring(40 - filled, L'░') + Format(L" %.0f %%   packed in ", share * 100) + seconds + L"\n");
}

// Surveys

/// Equal to the last bit.
bool AreSame(double left, double right) {
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

bool AreSame(const SurveyPoint& left, const SurveyPoint& right) {
    return left.number == right.number && AreSame(left.northing, right.northing) &&
           AreSame(left.easting, right.easting) && left.elevation.has_value() == right.elevation.has_value() &&
           AreSame(left.elevation.value_or(0), right.elevation.value_or(0)) && left.description == right.description;
}

void TourSurvey(Guide& guide, const WorkFolder& work) {
    const std::wstring selection = L"1-4,101-140,405,501-506";
    const std::wstring survey = work / L"survey.csv";
    const std::wstring document = work / L"survey.xml";
    if (OrvaWriteFile(survey.c_str(), sampleSurvey.data(), sampleSurvey.size()) != 0) {
        Fail(survey + L" cannot be written");
    }
    std::vector<SurveyPoint> wanted = ReadSurvey(sampleSurvey).points;
    const std::size_t all = wanted.size();
    const PointSelection selected(selection);
    std::erase_if(wanted, [&selected](const SurveyPoint& point) { return !selected.Holds(point.number); });

    guide.Step(Format(L"Make a LandXML document of a survey: %u of %u points", static_cast<unsigned>(wanted.size()),
                      static_cast<unsigned>(all)));
    guide.Show(guide.Run({L"landxml", survey, document, L"--points", selection}), 1, 1);

    guide.Step(L"List its points back and compare every digit");
    const std::wstring listed = guide.Run({L"landxml", L"--read", document});
    guide.Show(listed, 6, 4);
    const std::vector<SurveyPoint> points = ReadSurvey(Utf8(listed)).points;
    if (points.size() != wanted.size()) {
        Fail(Counted(points.size(), L"point", L"points") + L" came back instead of " + std::to_wstring(wanted.size()));
    }
    for (std::size_t index = 0; index < points.size(); ++index) {
        if (!AreSame(points[index], wanted[index])) {
            Fail(FormatSurveyLine(points[index]) + L" came back instead of " + FormatSurveyLine(wanted[index]));
        }
    }
    Print(L"   " + Counted(points.size(), L"point", L"points") + L": all equal to the last digit, descriptions kept\n");
}

int Tour(const Options& options) {
    const std::wstring folder = Absolute(options.folder);
    const DWORD attributes = ::GetFileAttributesW((folder + L"\\").c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        Fail(Named(options.folder) + L": there is no such folder");
    }
    const WorkFolder work(options.keep, folder);
    Guide guide;
    TourArchive(guide, work, folder);
    TourSurvey(guide, work);
    Print(L"\nAll of it held." +
          (work.IsKept() ? L" The archive and the survey are in " + work.Path() + L"."
                         : std::wstring(L" \"orva --help\" lists what else there is.")) +
          L"\n");
    return exitSuccess;
}

} // namespace

void AddTourCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "tour", "Shows what orva does, on a folder of yours and on a survey.\n\nThe folder is listed, packed, unpacked "
                "elsewhere and compared byte by byte; a survey becomes a LandXML document and comes back. Each step "
                "shows the command that it runs. The folder itself is only read.");
    command.Text("DIR", options->folder, "the folder");
    command.Text("-k,--keep", options->keep, "FOLDER",
                 "work in this new folder and keep what is made (default: a temporary folder that goes again)");
    command.Example("C:\\jobs", "with the folder C:\\jobs");
    command.Statuses("everything came back as it was", "something did not, and the tour stopped there");
    command.Run([options] { return Tour(*options); });
}

} // namespace orva
