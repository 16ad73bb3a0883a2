#include "tarnu/archive/ZipPathInternal.h"

#include "tarnu/support/ExtendedPath.h"

#include <algorithm>
#include <iterator>

namespace tarnu::support {
namespace {

wchar_t UpperAscii(wchar_t character) noexcept {
    return character >= L'a' && character <= L'z' ? static_cast<wchar_t>(character - 32) : character;
}

/// The system takes these names, with any extension and in any folder, for devices.
bool IsDeviceName(std::wstring_view component) {
    std::wstring base(component.substr(0, component.find(L'.')));
    while (!base.empty() && base.back() == L' ')
        base.pop_back();
    std::transform(base.begin(), base.end(), base.begin(), UpperAscii);
    static constexpr std::wstring_view names[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$", L"CLOCK$"};
    if (std::find(std::begin(names), std::end(names), base) != std::end(names)) return true;
    if (base.size() != 4 || (!base.starts_with(L"COM") && !base.starts_with(L"LPT"))) return false;
    // Digits and the superscripts 1 to 3.
    return std::wstring_view(L"0123456789\x00B9\x00B2\x00B3").find(base[3]) != std::wstring_view::npos;
}

bool IsSafeComponent(std::wstring_view component) {
    constexpr std::wstring_view forbidden = L":\"<>|?*";
    const bool isPlain = std::all_of(component.begin(), component.end(), [forbidden](wchar_t character) {
        return character >= 0x20 && forbidden.find(character) == std::wstring_view::npos;
    });
    // The file system drops points and blanks at the end, so the name would stand for another file; ".." is among them.
    return isPlain && component.back() != L'.' && component.back() != L' ' && !IsDeviceName(component);
}

} // namespace

std::wstring SafeRelativePath(std::wstring_view name) {
    if (name.empty() || IsSeparator(name.front())) return {};
    std::wstring path;
    while (!name.empty()) {
        const auto end = std::find_if(name.begin(), name.end(), IsSeparator);
        const std::wstring_view component = name.substr(0, static_cast<std::size_t>(end - name.begin()));
        name.remove_prefix(std::min(component.size() + 1, name.size()));
        if (component.empty() || component == L".") continue;
        if (!IsSafeComponent(component)) return {};
        if (!path.empty()) path += L'\\';
        path += component;
    }
    return path;
}

} // namespace tarnu::support
