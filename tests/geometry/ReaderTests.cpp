#include "tarnu/geometry/OrvaArrayPointReader.h"
#include "tarnu/geometry/OrvaMultiPolyFaceReader.h"
#include "tarnu/geometry/OrvaMultiTriFaceReader.h"
#include "tarnu/geometry/OrvaSingleFaceReader.h"
#include "tarnu/geometry/OrvaSinglePointReader.h"

#include <climits>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double largest = 1.7976931348623157e308;

OrvaPointArray Points(int count, double first = 0) {
    OrvaPointArray points;
    for (int index = 0; index < count; ++index)
        points.Append({first + index, -first - 2 * index, 1000.0 * index});
    return points;
}

std::vector<OrvaPoint3d> Listed(const OrvaPointArray& points) {
    return {points.begin(), points.end()};
}

struct Extents {
    double minX = 1, minY = 2, maxX = 3, maxY = 4;
    UINT visited = 99;
    explicit Extents(const OrvaFaceReader& reader) { visited = reader.GetExtents(&minX, &minY, &maxX, &maxY); }
    bool operator==(const Extents&) const = default;
    Extents(double x0, double y0, double x1, double y1, UINT count)
        : minX(x0), minY(y0), maxX(x1), maxY(y1), visited(count) {}
};

TEST(PointArray, BorrowsUntilItIsChanged) {
    OrvaPoint3d mine[3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    OrvaPointArray borrowed{std::span<const OrvaPoint3d>(mine)};
    EXPECT_EQ(3, borrowed.GetLength());
    EXPECT_EQ(mine, borrowed.GetPoints().data());
    const OrvaPointArray copy(borrowed); // points of its own
    OrvaPointArray moved(std::move(borrowed));
    EXPECT_EQ(mine, moved.GetPoints().data());
    mine[0].x = 100;
    EXPECT_EQ(1, copy[0].x);
    EXPECT_EQ(100, moved[0].x);
    moved.Append(moved[1]);
    mine[0].x = 200;
    EXPECT_EQ(100, moved[0].x);
    EXPECT_EQ((OrvaPoint3d{4, 5, 6}), moved[3]);
    moved.SetAt(0, {0, 0, 1});
    EXPECT_EQ(200, mine[0].x);
    moved.Clear();
    EXPECT_TRUE(moved.IsEmpty());
    OrvaPointArray set{std::span<const OrvaPoint3d>(mine)};
    set.SetAt(1, {0, 0, 2});
    EXPECT_EQ(2, set[1].z);
    EXPECT_EQ(9, set[2].z);
    EXPECT_EQ(6, mine[1].z);
    OrvaPointArray untouched{std::span<const OrvaPoint3d>(mine)};
    untouched.Clear();
    EXPECT_TRUE(untouched.IsEmpty());
    EXPECT_EQ(7, mine[2].x);
}

TEST(PointArray, AppendsItsOwnPoints) {
    OrvaPointArray points(2, 1);
    points.Append({1, 0, 0});
    points.Append({2, 0, 0});
    for (int round = 0; round < 5; ++round)
        points.Append(points.GetPoints()); // doubles, moving as it grows
    EXPECT_EQ(64, points.GetLength());
    for (int index = 0; index < 64; ++index)
        EXPECT_EQ(1 + index % 2, points[index].x);
    points.Append(points[1]);
    EXPECT_EQ(2, points[64].x);
    const OrvaPointArray& self = points;
    points = self;
    EXPECT_EQ(65, points.GetLength());
    OrvaPointArray other(-5, -5);
    other = std::move(points);
    EXPECT_EQ(65, other.GetLength());
    EXPECT_TRUE(points.IsEmpty()); // NOLINT: what a move leaves is part of the contract
    OrvaPointArray& same = other;
    other = std::move(same);
    EXPECT_EQ(65, other.GetLength());
}

TEST(PointArray, PointsAreEqualInAllCoordinates) {
    const OrvaPoint3d point{1, 2, 3};
    EXPECT_TRUE(point == (OrvaPoint3d{1, 2, 3}));
    for (const OrvaPoint3d& other : {OrvaPoint3d{9, 2, 3}, OrvaPoint3d{1, 9, 3}, OrvaPoint3d{1, 2, 9}})
        EXPECT_FALSE(point == other);
}

TEST(PointArray, AppendsOthersPointsAndRefusesTooMany) {
    OrvaPointArray arrays[2] = {OrvaPointArray(8, 1), OrvaPointArray(8, 1)}; // one of them lies behind the other
    for (int round = 0; round < 2; ++round) {
        arrays[round].Append({1.0 + round, 0, 0});
        arrays[1 - round].Append(arrays[round].GetPoints());
    }
    EXPECT_EQ(3, arrays[0].GetLength());
    EXPECT_EQ(2, arrays[1].GetLength());
    EXPECT_EQ(1, arrays[1][0].x);
    EXPECT_EQ(2, arrays[0][2].x);
    const std::vector<OrvaPoint3d> many(100, OrvaPoint3d{7, 0, 0});
    arrays[0].Append(many);
    EXPECT_EQ(103, arrays[0].GetLength());
    EXPECT_EQ(7, arrays[0][102].x);

    // Nothing is read of what is too long.
    const std::span<const OrvaPoint3d> longest(many.data(), INT_MAX);
    EXPECT_THROW(arrays[0].Append(longest), std::bad_alloc);
    EXPECT_EQ(103, arrays[0].GetLength());
    EXPECT_THROW(OrvaPointArray(std::span<const OrvaPoint3d>(many.data(), std::size_t{INT_MAX} + 1)), std::bad_alloc);
    EXPECT_EQ(INT_MAX, OrvaPointArray(longest).GetLength());
}

TEST(FaceReader, SingleDeliversTheCallersFaceOnce) {
    OrvaPointArray face = Points(5);
    OrvaSingleFaceReader reader(&face);
    OrvaPointArray out = Points(9, 50);
    ASSERT_TRUE(reader.ReadFace(out));
    EXPECT_EQ(Listed(face), Listed(out));
    out = Points(2);
    EXPECT_FALSE(reader.ReadFace(out));
    EXPECT_EQ(2, out.GetLength());
    face.Append({-7, 70, 0}); // not a copy: later changes are seen
    reader.Reset();
    ASSERT_TRUE(reader.ReadFace(out));
    EXPECT_EQ(6, out.GetLength());
    EXPECT_EQ(Extents(-7, -8, 4, 70, 6), Extents(reader));
    EXPECT_EQ(1u, reader.GetFaceCount());
    reader.Reset();
    ASSERT_TRUE(reader.ReadFace(face)); // into itself
    EXPECT_EQ(6, face.GetLength());

    const OrvaPointArray empty;
    for (const OrvaPointArray* none : {&empty, static_cast<const OrvaPointArray*>(nullptr)}) {
        OrvaSingleFaceReader nothing(none);
        EXPECT_EQ(1u, nothing.GetFaceCount());
        EXPECT_EQ(Extents(infinity, infinity, -infinity, -infinity, 0), Extents(nothing));
        EXPECT_TRUE(nothing.ReadFace(out));
        EXPECT_TRUE(out.IsEmpty());
        EXPECT_FALSE(nothing.ReadFace(out));
    }
}

TEST(FaceReader, MultiTriTakesTheFirstThreePoints) {
    OrvaMultiTriFaceReader reader;
    OrvaPointArray out = Points(4);
    EXPECT_FALSE(reader.ReadFace(out));
    EXPECT_EQ(4, out.GetLength());
    EXPECT_EQ(0u, reader.GetFaceCount());
    EXPECT_EQ(Extents(largest, largest, -largest, -largest, 0), Extents(reader));
    EXPECT_EQ(1u, reader.AddFace(Points(5, 10)));
    for (int few = 0; few < 3; ++few)
        EXPECT_EQ(1u, reader.AddFace(Points(few))) << few;
    EXPECT_EQ(2u, reader.AddFace(Points(3, 20)));
    ASSERT_TRUE(reader.ReadFace(out));
    EXPECT_EQ(Listed(Points(3, 10)), Listed(out));
    ASSERT_TRUE(reader.ReadFace(out));
    EXPECT_EQ(Listed(Points(3, 20)), Listed(out));
    EXPECT_FALSE(reader.ReadFace(out));
    EXPECT_EQ(3u, reader.AddFace(Points(3, 30))); // the cursor comes to it
    ASSERT_TRUE(reader.ReadFace(out));
    EXPECT_EQ(Listed(Points(3, 30)), Listed(out));
    EXPECT_EQ(Extents(10, -34, 32, -10, 9), Extents(reader));
    reader.Reset();
    ASSERT_TRUE(reader.ReadFace(out));
    EXPECT_EQ(Listed(Points(3, 10)), Listed(out));
    // What was read belongs to the caller.
    out.SetAt(0, {-1000, 0, 0});
    EXPECT_EQ(10, Extents(reader).minX);
}

TEST(FaceReader, MultiPolyKeepsCopiesOfAnyLength) {
    OrvaMultiPolyFaceReader reader;
    OrvaPointArray out = Points(4);
    EXPECT_FALSE(reader.ReadFace(out));
    EXPECT_EQ(Extents(largest, largest, -largest, -largest, 0), Extents(reader));
    {
        const OrvaPoint3d mine[2] = {{1, 1, 0}, {3, 5, 0}};
        EXPECT_EQ(1u, reader.AddFace(OrvaPointArray(std::span<const OrvaPoint3d>(mine))));
    }
    EXPECT_EQ(2u, reader.AddFace(OrvaPointArray()));
    EXPECT_EQ(3u, reader.AddFace(Points(7)));
    std::vector<int> lengths;
    const OrvaPoint3d elsewhere[9] = {};
    out = OrvaPointArray(std::span<const OrvaPoint3d>(elsewhere)); // refers to points that it must not touch
    while (reader.ReadFace(out))
        lengths.push_back(out.GetLength());
    EXPECT_EQ((std::vector<int>{2, 0, 7}), lengths);
    EXPECT_EQ(Extents(0, -12, 6, 5, 3), Extents(reader)); // faces, not points
    reader.Reset();
    ASSERT_TRUE(reader.ReadFace(out));
    EXPECT_EQ((OrvaPoint3d{3, 5, 0}), out[1]);
    EXPECT_EQ(3u, reader.GetFaceCount());
}

TEST(FaceReader, CoordinatesThatAreNoNumbersCountForNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    OrvaPointArray face;
    face.Append({nan, 5, 0});
    face.Append({2, nan, 0});
    const OrvaSingleFaceReader reader(face);
    EXPECT_EQ(Extents(2, 5, 2, 5, 2), Extents(reader));
    EXPECT_EQ(2u, reader.GetExtents(nullptr, nullptr, nullptr, nullptr));
}

TEST(PointReader, DeliversThenEndsAndLeavesTheOutputs) {
    const OrvaPointArray points = Points(2, 3);
    OrvaSinglePointReader single(3, -3, 0);
    OrvaArrayPointReader array(&points);
    for (OrvaPointReader* reader : {static_cast<OrvaPointReader*>(&single), static_cast<OrvaPointReader*>(&array)}) {
        for (int round = 0; round < 2; ++round) {
            double x = 0, y = 0, z = 9;
            bool atEnd = true;
            for (UINT index = 0; index < reader->GetPointCount(); ++index) {
                ASSERT_TRUE(reader->ReadPoint(&x, &y, &z, &atEnd));
                EXPECT_FALSE(atEnd);
                EXPECT_EQ(3.0 + index, x);
                EXPECT_EQ(-3.0 - 2 * index, y);
                EXPECT_EQ(1000.0 * index, z);
            }
            x = y = z = 77;
            EXPECT_FALSE(reader->ReadPoint(&x, &y, &z, &atEnd));
            EXPECT_TRUE(atEnd);
            EXPECT_EQ(77, x);
            EXPECT_EQ(77, y);
            EXPECT_EQ(77, z);
            EXPECT_FALSE(reader->ReadPoint(nullptr, nullptr, nullptr, nullptr));
            reader->Reset();
        }
        int question = 0;
        EXPECT_FALSE(reader->Probe(&question));
        EXPECT_TRUE(reader->ReadPoint(nullptr, nullptr, nullptr, nullptr));
    }
    EXPECT_EQ(1u, single.GetPointCount());
    EXPECT_EQ(2u, array.GetPointCount());
    OrvaPointArray growing;
    OrvaArrayPointReader reader(growing); // not a copy
    EXPECT_EQ(0u, reader.GetPointCount());
    EXPECT_FALSE(reader.ReadPoint(nullptr, nullptr, nullptr, nullptr));
    growing.Append({1, 2, 3});
    EXPECT_TRUE(reader.ReadPoint(nullptr, nullptr, nullptr, nullptr));
    OrvaArrayPointReader none(nullptr);
    EXPECT_EQ(0u, none.GetPointCount());
    EXPECT_FALSE(none.ReadPoint(nullptr, nullptr, nullptr, nullptr));
}

} // namespace
