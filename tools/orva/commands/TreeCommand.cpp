#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring folder;
    std::wstring pattern = L"*";
    std::vector<std::string> attributes;
    bool hasFiles = false;
};

/// An attribute by the name that the command line gives it, and its field in the attribute filter.
struct NamedField {
    const char* name;
    unsigned shift;
};
constexpr NamedField fields[] = {{"archive", 0},   {"compressed", 2}, {"hidden", 6},    {"normal", 8},
                                 {"readonly", 10}, {"system", 12},    {"temporary", 14}};

constexpr DWORD filesOnly = 0x20;

/// The attribute filter of words such as "hidden" (must be set) and "!readonly" (must be clear).
DWORD FilterOf(const std::vector<std::string>& words) {
    DWORD filter = filesOnly;
    for (const std::string& word : words) {
        const bool isClear = word.starts_with('!');
        const std::string name = word.substr(isClear ? 1 : 0);
        const auto* field = std::find_if(std::begin(fields), std::end(fields),
                                         [&name](const NamedField& candidate) { return name == candidate.name; });
        if (field == std::end(fields)) throw UsageError("--attributes: there is no attribute \"" + word + "\"");
        filter |= DWORD{isClear ? 2u : 1u} << field->shift;
    }
    return filter;
}

struct Node {
    CString name;
    bool isFolder = true;
    std::uint64_t size = 0;
    std::vector<std::unique_ptr<Node>> children;
};

/// Folders in front of files, each in natural order.
bool ComesBefore(const std::unique_ptr<Node>& left, const std::unique_ptr<Node>& right) {
    if (left->isFolder != right->isFolder) return left->isFolder;
    return tarnu::natural_compare(tarnu::text_view(left->name), tarnu::text_view(right->name)) < 0;
}

/// The nodes of a tree by their path relative to its root.
class Tree {
public:
    Tree() { m_nodes.emplace(CString(), &m_root); }

    /// Adds an entry below its folder, which must have been added before.
    void Add(const OrvaPath& relative, bool isFolder, std::uint64_t size) {
        // Cut by hand: OrvaPath's own operations end at 260 characters, a tree does not.
        const CString& text = relative.GetText();
        const int separator = text.ReverseFind(L'\\');
        const auto found = m_nodes.find(text.Left(std::max(separator, 0)));
        if (found == m_nodes.end()) return; // its folder came into being during the walk
        auto node = std::make_unique<Node>();
        node->name = text.Mid(separator + 1);
        node->isFolder = isFolder;
        node->size = size;
        if (isFolder) m_nodes.emplace(text, node.get());
        found->second->children.push_back(std::move(node));
    }

    Node& Root() { return m_root; }

private:
    Node m_root;
    std::map<CString, Node*> m_nodes; ///< of the folders
};

/// Prints the entries below a node. Keeps its own stack: a tree may be deeper than a thread's stack.
void PrintBelow(Node& root) {
    struct Level {
        Node* node;
        std::size_t next = 0;
        std::wstring indent;
    };
    std::vector<Level> levels;
    const auto enter = [&levels](Node& node, std::wstring indent) {
        std::sort(node.children.begin(), node.children.end(), ComesBefore);
        levels.push_back({&node, 0, std::move(indent)});
    };
    enter(root, {});
    std::wstring text;
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.node->children.size()) {
            levels.pop_back();
            continue;
        }
        Node& child = *level.node->children[level.next++];
        const bool isLast = level.next == level.node->children.size();
        text += level.indent + (isLast ? L"└── " : L"├── ") + child.name.GetString();
        text += child.isFolder ? std::wstring(L"\\") : L"  " + FormatSize(child.size);
        text += L"\n";
        if (child.isFolder) enter(child, level.indent + (isLast ? L"    " : L"│   "));
        if (text.size() > 8192) {
            Print(text);
            text.clear();
        }
    }
    Print(text);
}

int ListTree(const Options& options) {
    const DWORD filter = FilterOf(options.attributes);
    const OrvaPath folder(options.folder.c_str(), OrvaPath::Normalized);
    OrvaFileAttributeData data;
    OrvaGetFileAttributeData(folder, /*infoLevel=*/0, &data); // false for a folder, with its attributes
    if (data.dwFileAttributes == INVALID_FILE_ATTRIBUTES || (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        PrintError(L"orva: " + Named(options.folder) + L": there is no such folder\n");
        return exitFailure;
    }

    Tree tree;
    std::uint64_t folderCount = 0;
    std::uint64_t fileCount = 0;
    std::uint64_t bytes = 0;
    OrvaBFSDirectoryTree folders;
    folders.Open(folder, L"*", 0);
    for (const OrvaFileEntry& entry : OrvaWalk(folders)) {
        if (entry.name.IsEmpty()) continue; // the root
        tree.Add(entry.name, /*isFolder=*/true, 0);
        ++folderCount;
    }
    if (options.hasFiles) {
        OrvaBFSFileTree files;
        files.Open(folder, options.pattern.c_str(), filter);
        for (const OrvaFileEntry& entry : OrvaWalk(files)) {
            const std::uint64_t size =
                (std::uint64_t{entry.findData->nFileSizeHigh} << 32) | entry.findData->nFileSizeLow;
            tree.Add(entry.name, /*isFolder=*/false, size);
            ++fileCount;
            bytes += size;
        }
    }

    Print(std::wstring(folder) + L"\n");
    PrintBelow(tree.Root());
    std::wstring summary = Counted(folderCount, L"folder", L"folders");
    if (options.hasFiles) summary += L", " + Counted(fileCount, L"file", L"files") + L", " + FormatSize(bytes);
    Print(summary + L"\n");
    return exitSuccess;
}

} // namespace

void AddTreeCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "tree", "Lists a folder as a tree.\n\nFolders come first, all names in natural order: part9 before part10.");
    command.Text("DIR", options->folder, "the folder").Required();
    command.Flag("-f,--files", options->hasFiles, "list files, too, with their sizes");
    const Option& pattern =
        command.Text("-p,--pattern", options->pattern, "PATTERN", "list files, but only those with such a name");
    std::vector<std::string> words;
    for (const NamedField& field : fields)
        words.emplace_back(field.name);
    const Option& attributes =
        command.WordList("-a,--attributes", options->attributes, words, "ATTRIBUTE",
                         "list files, but only those with all of these attributes, and without those behind a !");
    command.Example("C:\\jobs --files", "all of it, with sizes");
    command.Example(". --pattern *.xml --attributes !hidden", "the XML files here and below that are not hidden");
    command.Run([options, &pattern, &attributes] {
        // Either filter is about files.
        if (pattern.isGiven || attributes.isGiven) options->hasFiles = true;
        return ListTree(*options);
    });
}

} // namespace orva
