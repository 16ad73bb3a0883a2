/// @file
/// PointSelection: the point numbers that a user wants.
#ifndef TARNU_TOOLS_ORVA_POINTSELECTION_H
#define TARNU_TOOLS_ORVA_POINTSELECTION_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orva {

/// A list of point numbers, kept as ascending ranges that do not overlap.
class PointSelection {
public:
    /// Everything is selected when the text is empty. A text that is no such list is a wrong command line.
    explicit PointSelection(const std::wstring& text);

    bool Holds(std::uint32_t number) const;

private:
    bool m_isEverything;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_ranges;
};

} // namespace orva

#endif // TARNU_TOOLS_ORVA_POINTSELECTION_H
