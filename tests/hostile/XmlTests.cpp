// XML that ends too early, lies about its encoding, nests deeply or grows when it is read.

#include "hostile/Random.h"
#include "support/CrashName.h"
#include "support/MessageBoxes.h"
#include "support/TempFolder.h"
#include "tarnu/TarnuWin32Utils.h"

#include <gtest/gtest.h>
#include <psapi.h>
#include <string>
#include <vector>

namespace tarnu::test::hostile {
namespace {

const std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<!DOCTYPE site [<!ENTITY unit \"meter\">]>\n"
                             "<!-- a survey -->\n"
                             "<site xmlns=\"urn:site\" xmlns:p=\"urn:points\" name=\"gr\xC3\xBCn\">\n"
                             "  <p:point p:id='1' height=\"12.5\">&unit; &#x41; &lt;</p:point>\n"
                             "  <![CDATA[ <raw> ]]><?note text?><empty/>\n"
                             "</site>\n";

/// How the bytes are loaded: by path, through the system's stream, through the library's own.
struct Way {
    bool fromStream;
    bool ownFileStream;
};
constexpr Way ways[] = {{false, false}, {true, false}, {true, true}};

/// A document that grows beyond this is left.
constexpr std::size_t mostNodes = 200'000;

struct Loaded {
    bool hasRoot = false;
    std::size_t nodes = 0;
};

/// Loads what stands in a file, and takes all of it apart.
Loaded Load(const std::wstring& path, Way way) {
    Loaded loaded;
    OrvaXml xml(path.c_str(), /*asynchronous=*/false, way.fromStream, way.ownFileStream);
    xml.Load();
    const OrvaXml::DocumentPointer dom = xml.GetDocument();
    OrvaXml::ElementPointer root;
    loaded.hasRoot = dom && dom->get_documentElement(root.GetAddressOf()) == S_OK && root;
    xml.Walk(
        [&](const CString& name, IXMLDOMNode* node, void*) {
            EXPECT_FALSE(name.IsEmpty());
            BSTR text = nullptr;
            node->get_text(&text);
            ::SysFreeString(text);
            return ++loaded.nodes < mostNodes;
        },
        nullptr);
    if (loaded.hasRoot) {
        double value = 0;
        OrvaXml::TryGetDouble(root.Get(), L"height", value);
        OrvaXml::GetString(root.Get(), L"name");
        try {
            OrvaXmlNodeArray children;
            OrvaXmlGetChildNodes(dom.Get(), L"empty", &children);
            OrvaXmlAttributeArray attributes;
            OrvaXmlGetAttributes(root.Get(), &attributes);
        } catch (const CString& missing) { // what the document lacks
            EXPECT_FALSE(missing.IsEmpty());
        }
    }
    return loaded;
}

SIZE_T PrivateBytes() {
    PROCESS_MEMORY_COUNTERS memory{};
    memory.cb = sizeof memory;
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &memory, sizeof memory);
    return memory.PagefileUsage;
}

/// Names that stand for ten of the ones before, @p levels times over.
std::string EntityBomb(int levels) {
    std::string text = "<!DOCTYPE a [<!ENTITY e0 \"ha\">";
    for (int level = 1; level <= levels; ++level) {
        text += "<!ENTITY e" + std::to_string(level) + " \"";
        for (int count = 0; count < 10; ++count)
            text += "&e" + std::to_string(level - 1) + ";";
        text += "\">";
    }
    return text + "]><a>&e" + std::to_string(levels) + ";</a>";
}

std::string Utf16(const std::string& ascii, bool isBigEndian, bool withMark) {
    std::string bytes;
    const auto add = [&](char high, char low) { (bytes += isBigEndian ? high : low) += isBigEndian ? low : high; };
    if (withMark) add('\xFE', '\xFF');
    for (const char character : ascii)
        add('\0', character);
    return bytes;
}

class HostileXml : public ::testing::Test {
protected:
    Loaded LoadBytes(const std::string& bytes, Way way) {
        const std::wstring path = m_folder.MakeFile(L"input.xml", bytes);
        return Load(path, way);
    }

    TempFolder m_folder;
    MessageBoxes m_boxes; // loading from a stream shows what is wrong
};

} // namespace

TEST_F(HostileXml, TruncatedAtEveryByte) {
    const std::size_t complete = document.rfind('>') + 1;
    for (const Way way : ways) {
        for (std::size_t size = 0; size <= document.size(); ++size) {
            NameInput("%zu bytes of the document, from a stream: %d, own: %d", size, way.fromStream, way.ownFileStream);
            const Loaded loaded = LoadBytes(document.substr(0, size), way);
            EXPECT_EQ(size >= complete, loaded.hasRoot) << InputName();
        }
    }
}

TEST_F(HostileXml, BytesChangedAtRandom) {
    Random random(20'240'608);
    unsigned good = 0;
    constexpr unsigned rounds = 1000;
    for (unsigned round = 0; round < rounds; ++round) {
        std::string bytes = document;
        for (std::size_t count = 1 + random.Below(4); count > 0; --count) {
            const std::size_t at = random.Below(bytes.size());
            switch (random.Below(4)) {
            case 0:
                bytes[at] = static_cast<char>(random.Bits());
                break;
            case 1:
                bytes.erase(at, 1 + random.Below(10));
                break;
            case 2:
                bytes.insert(at, bytes.substr(random.Below(bytes.size()), 1 + random.Below(40)));
                break;
            default:
                bytes[at] = random.Pick("<>&;\"'=/!?[]\0\xFF");
                break;
            }
            if (bytes.empty()) bytes = " ";
        }
        NameInput("round %u", round);
        const Loaded loaded = LoadBytes(bytes, random.Pick(ways));
        EXPECT_LE(loaded.nodes, bytes.size() + 20) << "more nodes than the text has room for: " << InputName();
        good += loaded.hasRoot ? 1 : 0;
    }
    EXPECT_GT(good, rounds / 40) << "some changes do no harm";
    EXPECT_LT(good, rounds);
}

TEST_F(HostileXml, EntitiesThatGrow) {
    // Parsers refuse the document or leave its entities as they are; one that expands them may take what that takes for
    // the small one.
    for (const Way way : ways) {
        for (const int levels : {2, 12, 40}) {
            NameInput("%d levels of entities", levels);
            const SIZE_T before = PrivateBytes();
            LoadBytes(EntityBomb(levels), way);
            EXPECT_LE(PrivateBytes(), before + (SIZE_T{64} << 20)) << InputName();
        }
        LoadBytes("<!DOCTYPE a [<!ENTITY e \"&f;\"><!ENTITY f \"&e;\">]><a b=\"&e;\">&f;</a>", way);
        // A file of ours never comes in through an entity.
        const std::wstring secret = m_folder.MakeFile(L"secret.txt", "secret");
        const std::string url(secret.begin(), secret.end());
        const std::wstring path =
            m_folder.MakeFile(L"input.xml", "<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///" + url + "\">]><a>&e;</a>");
        OrvaXml xml(path.c_str(), false, way.fromStream, way.ownFileStream);
        xml.Load();
        BSTR text = nullptr;
        OrvaXml::ElementPointer root;
        if (xml.GetDocument()->get_documentElement(root.GetAddressOf()) == S_OK && root) root->get_text(&text);
        EXPECT_EQ(std::wstring::npos, std::wstring(text != nullptr ? text : L"").find(L"secret"));
        ::SysFreeString(text);
    }
}

TEST_F(HostileXml, EncodingsThatLie) {
    const std::string declared = "<?xml version=\"1.0\" encoding=\"";
    const std::string names[] = {"UTF-8",      "utf-16",
                                 "UTF-16LE",   "UTF-16BE",
                                 "ISO-8859-1", "windows-1252",
                                 "US-ASCII",   "UCS-4",
                                 "UTF-32",     "UTF-7",
                                 "Shift_JIS",  "EBCDIC",
                                 "x-none",     "",
                                 "UTF-8\0",    std::string(3000, 'u')};
    const std::string bodies[] = {"<a>plain</a>",
                                  "<a>gr\xC3\xBCn</a>",
                                  "<a>gr\xFCn</a>",
                                  "<a>\xC0\xAF</a>",
                                  "<a>\xED\xA0\x80</a>",
                                  "<a>\xF4\x90\x80\x80</a>",
                                  std::string("<a>\0</a>", 8),
                                  "<a>\xEF\xBF\xBF</a>"};
    for (const Way way : ways) {
        for (const std::string& name : names) {
            for (const std::string& body : bodies) {
                const std::string text = declared + name + "\"?>" + body;
                NameInput("declared as %.40s", name.c_str());
                const Loaded plain = LoadBytes(text, way);
                EXPECT_TRUE(plain.hasRoot || &body != &bodies[0] || &name != &names[0]);
                LoadBytes("\xEF\xBB\xBF" + text, way);
            }
            for (const bool isBigEndian : {false, true}) {
                for (const bool withMark : {false, true}) {
                    std::string wide = Utf16(declared + name + "\"?>" + bodies[0], isBigEndian, withMark);
                    LoadBytes(wide, way);
                    wide.pop_back(); // half of a character at the end
                    LoadBytes(wide, way);
                }
            }
        }
    }
}

TEST_F(HostileXml, TenThousandLevels) {
    constexpr std::size_t levels = 10'000;
    std::string open;
    std::string close;
    for (std::size_t level = 0; level < levels; ++level) {
        open += "<a>";
        close += "</a>";
    }
    for (const Way way : ways) {
        NameInput("ten thousand levels");
        // Some parsers have a limit; then there is no document at all.
        const Loaded loaded = LoadBytes(open + close, way);
        EXPECT_EQ(loaded.hasRoot ? levels + 1 : 1, loaded.nodes);
        EXPECT_FALSE(LoadBytes(open, way).hasRoot);
        EXPECT_FALSE(LoadBytes(close, way).hasRoot);
    }
}

} // namespace tarnu::test::hostile
