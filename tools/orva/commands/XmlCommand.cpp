#include "orva/Command.h"
#include "orva/Console.h"
#include "orva/XmlFile.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

/// Prints the nodes as a walk delivers them. The walk tells no depth, so it is followed: a node with children opens a
/// level, the last of its siblings closes one.
class TreePrinter {
public:
    ~TreePrinter() { Print(m_output); }

    void Visit(const CString& name, IXMLDOMNode* node) {
        DOMNodeType type = NODE_INVALID;
        node->get_nodeType(&type);
        if (type == NODE_ATTRIBUTE) {
            Line(m_depth + 1, L"@" + std::wstring(name) + L" = " + Quoted(TextIn(node)));
            return;
        }
        m_depth = m_hasNext.size();
        std::wstring text(name);
        if (type != NODE_ELEMENT && type != NODE_DOCUMENT) text += L' ' + Quoted(TextIn(node));
        Line(m_depth, text);

        VARIANT_BOOL hasChildren = VARIANT_FALSE;
        OrvaXml::NodePointer next;
        node->hasChildNodes(&hasChildren);
        node->get_nextSibling(next.GetAddressOf());
        bool hasNext = next != nullptr;
        if (hasChildren != VARIANT_FALSE) {
            m_hasNext.push_back(hasNext);
            return;
        }
        while (!hasNext && !m_hasNext.empty()) {
            hasNext = m_hasNext.back();
            m_hasNext.pop_back();
        }
    }

private:
    void Line(std::size_t depth, const std::wstring& text) {
        constexpr std::size_t deepest = 40; // deeper levels are numbered: their indentation would fill the disk
        m_output.append(2 * std::min(depth, deepest), L' ');
        if (depth > deepest) m_output += L"[" + std::to_wstring(depth) + L"] ";
        m_output += text + L'\n';
        if (m_output.size() > 65536) {
            Print(m_output);
            m_output.clear();
        }
    }

    std::vector<bool> m_hasNext; ///< of the open nodes, from the document down: whether a sibling follows
    std::size_t m_depth = 0;     ///< of the node printed last
    std::wstring m_output;
};

int PrintTree(const std::wstring& file) {
    OrvaXml xml(file.c_str(), /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    if (!LoadXml(xml)) return exitFailure;
    TreePrinter printer;
    const auto visit = [](const CString& name, IXMLDOMNode* node, void* userData) {
        static_cast<TreePrinter*>(userData)->Visit(name, node);
        return true;
    };
    return xml.Walk(visit, &printer) ? exitSuccess : exitFailure;
}

} // namespace

void AddXmlCommand(Command& program) {
    auto file = std::make_shared<std::wstring>();
    Command& command = program.Add(
        "xml",
        "Prints the node tree of an XML document.\n\nAttributes stand behind an @. Values and texts are quoted; "
        "in them \\\" is a quote, \\\\ a backslash, \\n, \\r and \\t are line feed, carriage return and tabulator, "
        "and \\u200E is the character of that code.");
    command.Text("FILE", *file, "the document").Required();
    command.Example("survey.xml", "all of the document");
    command.Run([file] { return PrintTree(*file); });
}

} // namespace orva
