#include "inktest.h"

#include <libutility/ink/angle.h>

#include <limits>

namespace {
constexpr double T = 6.283185307179586;
}

TEST(Angle, FoldsIntoOneTurnWithSinglePrecisionTurnCount)
{
    const double cases[][2] = {
        { -0.5, T - 0.5 },
        { T, T }, // exactly one turn stays one turn
        { 2 * T, T },
        { -T, 0.0 },
        { 7.0, 7.0 - T },
        // The turn count 2^24 + 0.5 rounds to 2^24 in single precision; what is left
        // exceeds one turn and becomes 0 (exact arithmetic would give 0.5 T).
        { T * 16777217.5, 0.0 },
        { -1e300, 0.0 },
        { std::numeric_limits<double>::infinity(), 0.0 },
        { std::numeric_limits<double>::quiet_NaN(), 0.0 },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c[0]);
        EXPECT_EQ(CAngle(c[0]).getAngle(), c[1]);
        CAngle set;
        set.setAngle(c[0]);
        EXPECT_EQ(set.getAngle(), c[1]);
    }
}

TEST(Angle, ArithmeticFoldsAndComparesRawValues)
{
    CAngle a(T - 0.5);
    a.addAngle(1.0);
    EXPECT_NEAR(a.getAngle(), 0.5, 1e-12);
    a.subAngle(1.0);
    EXPECT_NEAR(a.getAngle(), T - 0.5, 1e-12);
    EXPECT_TRUE(CAngle(1.0).approximatelyEqualTo(1.0));
    EXPECT_FALSE(CAngle(1.0).approximatelyEqualTo(1.0 + 1e-9));
    // Near 0 and near one turn are far apart in raw radians.
    EXPECT_FALSE(CAngle(0.0).approximatelyEqualTo(CAngle(T)));

    inktest::readInto(a, inktest::bytes({ 0, 0, 0, 0, 0, 0, 0xF0, 0xBF })); // -1.0
    EXPECT_EQ(a.getAngle(), T - 1.0);
}
