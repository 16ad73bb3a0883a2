#include "tarnu/geometry/Faces.h"
#include "tarnu/geometry/OrvaArrayPointReader.h"
#include "tarnu/geometry/OrvaMultiPolyFaceReader.h"
#include "tarnu/geometry/OrvaSinglePointReader.h"
#include "tarnu/geometry/Points.h"

#include <gtest/gtest.h>
#include <iterator>
#include <vector>

namespace {

OrvaPointArray Polygon(int corners) {
    OrvaPointArray points;
    for (int corner = 0; corner < corners; ++corner)
        points.Append(OrvaPoint3d{static_cast<double>(corner), 0, 1});
    return points;
}

TEST(ReaderRanges, FacesStartAnewWithEachLoop) {
    OrvaMultiPolyFaceReader reader;
    for (const int corners : {3, 5, 4})
        reader.AddFace(Polygon(corners));
    OrvaPointArray skipped;
    reader.ReadFace(skipped);
    tarnu::Faces faces(reader);
    for (int pass = 0; pass < 2; ++pass) {
        std::vector<int> corners;
        for (const OrvaPointArray& face : faces)
            corners.push_back(face.GetLength());
        EXPECT_EQ((std::vector<int>{3, 5, 4}), corners);
    }
    EXPECT_EQ(3, faces.begin()->GetLength());
    OrvaMultiPolyFaceReader none;
    tarnu::Faces empty(none);
    EXPECT_TRUE(empty.begin() == empty.end());
    static_assert(std::input_iterator<tarnu::Faces::Iterator> && std::input_iterator<tarnu::Points::Iterator>);
}

TEST(ReaderRanges, PointsStartAnewWithEachLoop) {
    const OrvaPointArray array = Polygon(3);
    OrvaArrayPointReader reader(array);
    double skipped = 0;
    reader.ReadPoint(&skipped, nullptr, nullptr, nullptr);
    for (int pass = 0; pass < 2; ++pass) {
        std::vector<OrvaPoint3d> points;
        for (const OrvaPoint3d& point : tarnu::Points(reader))
            points.push_back(point);
        EXPECT_EQ(std::vector<OrvaPoint3d>(array.begin(), array.end()), points);
    }
    OrvaSinglePointReader single(1, 2, 3);
    EXPECT_EQ((OrvaPoint3d{1, 2, 3}), *tarnu::Points(single).begin());
    OrvaArrayPointReader none(nullptr);
    for ([[maybe_unused]] const OrvaPoint3d& point : tarnu::Points(none))
        ADD_FAILURE() << "there is no point";
}

} // namespace
