#include "tarnu/geometry/OrvaPointArray.h"

#include <algorithm>
#include <climits>
#include <functional>
#include <new>
#include <utility>

OrvaPointArray::OrvaPointArray(int capacity, int growthStep) : m_growthStep(std::max(growthStep, 1)) {
    m_points.reserve(static_cast<std::size_t>(std::max(capacity, 0)));
}

OrvaPointArray::OrvaPointArray(std::span<const OrvaPoint3d> points) : m_borrowed(points), m_growthStep(8) {
    if (points.size() > INT_MAX) throw std::bad_alloc();
}

OrvaPointArray::OrvaPointArray(const OrvaPointArray& other)
    : m_points(other.begin(), other.end()), m_growthStep(other.m_growthStep) {}

OrvaPointArray& OrvaPointArray::operator=(const OrvaPointArray& other) {
    if (this != &other) {
        OrvaPointArray copy(other);
        *this = std::move(copy);
    }
    return *this;
}

OrvaPointArray::OrvaPointArray(OrvaPointArray&& other) noexcept
    : m_points(std::move(other.m_points))
    , m_borrowed(std::exchange(other.m_borrowed, {}))
    , m_growthStep(other.m_growthStep) {}

OrvaPointArray& OrvaPointArray::operator=(OrvaPointArray&& other) noexcept {
    if (this != &other) {
        m_points = std::move(other.m_points);
        other.m_points.clear();
        m_borrowed = std::exchange(other.m_borrowed, {});
        m_growthStep = other.m_growthStep;
    }
    return *this;
}

OrvaPointArray::~OrvaPointArray() = default;

void OrvaPointArray::Own(std::size_t more) {
    const std::span<const OrvaPoint3d> points = GetPoints();
    if (more > INT_MAX - points.size()) throw std::bad_alloc();
    const std::size_t length = points.size() + more;
    const bool isOwn = m_borrowed.data() == nullptr;
    if (isOwn && length <= m_points.capacity()) return;
    const std::size_t capacity = m_points.capacity();
    const std::size_t grown = capacity + std::max(capacity / 2, static_cast<std::size_t>(m_growthStep));
    std::vector<OrvaPoint3d> own;
    own.reserve(more == 0 ? length : std::max(length, grown));
    own.assign(points.begin(), points.end());
    m_points = std::move(own);
    m_borrowed = {};
}

void OrvaPointArray::Append(const OrvaPoint3d& point) {
    const OrvaPoint3d copy = point; // it may be one of the array's own, which growing moves
    Own(1);
    m_points.push_back(copy);
}

void OrvaPointArray::Append(std::span<const OrvaPoint3d> points) {
    if (points.empty()) return;
    const std::less<> before;
    const OrvaPoint3d* const own = m_points.data();
    const bool isPart =
        !m_points.empty() && !before(points.data(), own) && before(points.data(), own + m_points.size());
    const std::size_t offset = isPart ? static_cast<std::size_t>(points.data() - own) : 0;
    Own(points.size());
    const OrvaPoint3d* source = isPart ? m_points.data() + offset : points.data();
    // Room for all of them was made: appending moves nothing.
    for (std::size_t count = points.size(); count > 0; --count)
        m_points.push_back(*source++);
}

void OrvaPointArray::SetAt(int index, const OrvaPoint3d& point) {
    const OrvaPoint3d copy = point;
    Own(0);
    m_points[static_cast<std::size_t>(index)] = copy;
}

void OrvaPointArray::Clear() noexcept {
    m_points.clear();
    m_borrowed = {};
}
