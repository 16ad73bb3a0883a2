// The DOM helpers that work on files: create, load, save.

#include "tarnu/xml/OrvaXmlHelpers.h"
#include "tarnu/xml/XmlNodesInternal.h"

#include <cwchar>

using namespace tarnu::support;

namespace {

constexpr XmlContext fileContext{L"OrvaXmlLoadFile", L"COM Error:"};

/// Appends the processing instructions.
/// @return whether the XML declaration is among them
bool AppendInstructions(IXMLDOMDocument* document, const OrvaXmlStringArray& instructions) {
    bool hasDeclaration = false;
    for (std::size_t index = 0; index < instructions.size(); index += 2) {
        if (index + 1 >= instructions.size()) Fail(L"InstructionsIndex >= InstructionsSize!");
        const CString& name = instructions[index];
        const CString& value = instructions[index + 1];
        if (name.IsEmpty()) Fail(L"CurNodeName is empty!");
        if (value.IsEmpty()) Fail(L"CurNodeValue is empty!");
        ComPtr<IXMLDOMProcessingInstruction> created;
        if (FAILED(document->createProcessingInstruction(MakeBstr(name).Get(), MakeBstr(value).Get(),
                                                         created.GetAddressOf())) ||
            !created) {
            Fail(L"CreatedAdditionalNode is NULL!");
        }
        Append(document, created.Get(), L"pAppendedAdditionalNode is empty!");
        if (name == L"xml") hasDeclaration = true;
    }
    return hasDeclaration;
}

/// There is no such file. One that can't be looked at may be there, and is not to be written over unasked.
bool IsMissing(const CString& fileName) noexcept {
    if (::GetFileAttributesW(fileName) != INVALID_FILE_ATTRIBUTES) return false;
    const DWORD error = ::GetLastError();
    return error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION && error != ERROR_LOCK_VIOLATION;
}

/// Appends the root element with its attributes.
void AppendRoot(IXMLDOMDocument* document, const OrvaXmlStringArray& nodes) {
    constexpr wchar_t missing[] = L"pAppendedNode is NULL!";
    if (nodes.empty()) Fail(missing);
    const ComPtr<IXMLDOMElement> root = NewElement(document, nodes.front(), missing);
    Append(document, root.Get(), missing);
    for (std::size_t index = 1; index < nodes.size(); ++index) {
        const CString& entry = nodes[index];
        const int equals = entry.Find(L'=');
        if (equals < 0) continue;
        CString name = entry.Left(equals);
        CString value = entry.Mid(equals + 1);
        name.Trim();
        value.Trim();
        if (!name.IsEmpty() && !value.IsEmpty()) SetAttribute(root.Get(), name, value);
    }
}

/// Calls a function of this family that throws its status text; false when it did.
template <class Work>
bool Succeeds(Work&& work) {
    try {
        return work();
    } catch (const CString&) {
        return false;
    }
}

} // namespace

bool OrvaXmlCreateFile(const CString& fileName, IXMLDOMDocument* document, const OrvaXmlStringArray& instructions,
                       const OrvaXmlStringArray& nodes, bool recreate) {
    return Perform(fileContext, [&] {
        if (document == nullptr) Fail(L"pDoc is NULL!");
        if (!IsMissing(fileName)) {
            if (!recreate) {
                if (!Succeeds([&] { return OrvaXmlLoadFile(fileName, document); })) {
                    Fail(L"Load failed!\nFile = " + fileName);
                }
                return true;
            }
            if (::_wremove(fileName) != 0) Fail(L"Removal of file failed!\nFile = " + fileName);
        }
        if (!AppendInstructions(document, instructions)) Fail(L"bXmlInstruction is FALSE!");
        AppendRoot(document, nodes);
        if (!Succeeds([&] { return OrvaXmlSaveFile(fileName, document); })) Fail(L"Save() failed!");
        return true;
    });
}

bool OrvaXmlLoadFile(const CString& fileName, IXMLDOMDocument* document) {
    return Perform(fileContext, [&] {
        if (fileName.IsEmpty()) Fail(L"XMLFullFilename is empty!");
        if (document == nullptr) Fail(L"pDoc is NULL!");
        if (FAILED(document->put_async(VARIANT_FALSE))) Fail(plainFailure);
        Variant source;
        if (!SetText(source, fileName)) throw std::bad_alloc();
        VARIANT_BOOL loaded = VARIANT_FALSE;
        const HRESULT result = document->load(source.Get(), &loaded);
        if (FAILED(result)) {
            Fail(L"Exception on pDoc->raw_load of file:\n" + fileName + L"\n" +
                 HresultText(result, document, IID_IXMLDOMDocument));
        }
        if (loaded == VARIANT_FALSE) Fail(L"pDoc->load failed!");
        return true;
    });
}

bool OrvaXmlSaveFile(const CString& fileName, IXMLDOMDocument* document) {
    return Perform(fileContext, [&] {
        if (fileName.IsEmpty()) Fail(L"XMLFullFilename is empty!");
        if (document == nullptr) Fail(L"pDoc is NULL!");
        Variant target;
        if (!SetText(target, fileName)) throw std::bad_alloc();
        const HRESULT result = document->save(target.Get());
        if (FAILED(result)) Fail(HresultText(result, document, IID_IXMLDOMDocument));
        return true;
    });
}
