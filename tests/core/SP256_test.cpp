#include "core/SP256.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// 32 bytes from 64 hexadecimal digits.
std::string B(const std::string& hex)
{
    std::string out;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        out += (char)std::stoi(hex.substr(i, 2), nullptr, 16);
    return out;
}

const std::string kZero(64, '0'),
    kOne = std::string(63, '0') + "1",
    kGx = "6b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296",
    kGy = "4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5",
    kY0 = "66485c780e2f83d72433bd5d84a06bb6541c2af31dae871728bf856a174f93f4",   // for x = 0
    kP = "ffffffff00000001000000000000000000000000ffffffffffffffffffffffff",
    kHalfN = "7fffffff800000007fffffffffffffffde737d56d38bcf4279dce5617e3192a8";

}   // namespace

TEST(SP256, OnlyPointsOnTheCurveBelowThePrime)
{
    const struct {
        std::string x, y;
        bool on;
    } rows[] = {
        {kGx, kGy, true},    {kZero, kY0, true},    {kGx, kY0, false},
        {kOne, kOne, false}, {kZero, kZero, false}, {kGx, kGy.substr(0, 63) + "4", false},
        {kP, kY0, false},   // x = p is 0 modulo p, but not a coordinate
    };
    for (const auto& row : rows)
        EXPECT_EQ(SP256::IsOnCurve((const uint8_t*)(B(row.x) + B(row.y)).data()), row.on)
            << row.x << " " << row.y;
}

TEST(SP256, LowSIsAtMostHalfTheOrderAndHighSTurnsIntoItsTwin)
{
    const std::string rows[][2] = {
        {kHalfN, kHalfN},
        {kHalfN.substr(0, 63) + "9", kHalfN},
        {"ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632550", kOne},   // n - 1
        {kOne, kOne},
    };
    for (const auto& row : rows) {
        std::string s = B(row[0]);
        EXPECT_EQ(SP256::IsLowS((const uint8_t*)s.data()), row[0] == row[1]) << row[0];
        SP256::MakeLowS((uint8_t*)&s[0]);
        EXPECT_EQ(s, B(row[1])) << row[0];
    }
}
