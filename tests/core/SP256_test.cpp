#include "core/SP256.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Bytes(const char* hex)
{
    std::string out;
    for (int i = 0; hex[i] && hex[i + 1]; i += 2)
        out += (char)std::stoi(std::string(hex + i, 2), nullptr, 16);
    return out;
}

const char kGx[] = "6b17d1f2e12c4247f8bce6e563a440f277037d812deb33a0f4a13945d898c296";
const char kGy[] = "4fe342e2fe1a7f9b8ee7eb4a7c0f9e162bce33576b315ececbb6406837bf51f5";
const char kY0[] = "66485c780e2f83d72433bd5d84a06bb6541c2af31dae871728bf856a174f93f4";
const char kP[] = "ffffffff00000001000000000000000000000000ffffffffffffffffffffffff";
const char kOne[] = "0000000000000000000000000000000000000000000000000000000000000001";
const char kZero[] = "0000000000000000000000000000000000000000000000000000000000000000";

}   // namespace

TEST(SP256, OnlyPointsOnTheCurveBelowThePrime)
{
    const struct {
        std::string x, y;
        bool on;
    } rows[] = {
        {Bytes(kGx), Bytes(kGy), true},
        {Bytes(kZero), Bytes(kY0), true},   // x = 0 has a point
        {Bytes(kGx), Bytes(kY0), false},
        {Bytes(kOne), Bytes(kOne), false},
        {Bytes(kZero), Bytes(kZero), false},
        {Bytes(kP), Bytes(kY0), false},   // x = p is 0 modulo p, but not a coordinate
    };
    for (const auto& row : rows) {
        std::string point = row.x + row.y;
        EXPECT_EQ(SP256::IsOnCurve((const uint8_t*)point.data()), row.on) << row.x << row.y;
    }
    std::string flipped = Bytes(kGx) + Bytes(kGy);
    flipped[63] ^= 1;
    EXPECT_FALSE(SP256::IsOnCurve((const uint8_t*)flipped.data()));
}

TEST(SP256, LowSIsAtMostHalfTheOrderAndHighSTurnsIntoItsTwin)
{
    const struct {
        const char* s;
        const char* low;
    } rows[] = {
        {"7fffffff800000007fffffffffffffffde737d56d38bcf4279dce5617e3192a8",
         "7fffffff800000007fffffffffffffffde737d56d38bcf4279dce5617e3192a8"},   // (n - 1) / 2
        {"7fffffff800000007fffffffffffffffde737d56d38bcf4279dce5617e3192a9",
         "7fffffff800000007fffffffffffffffde737d56d38bcf4279dce5617e3192a8"},
        {"ffffffff00000000ffffffffffffffffbce6faada7179e84f3b9cac2fc632550", kOne},   // n - 1
        {kOne, kOne},
    };
    for (const auto& row : rows) {
        std::string s = Bytes(row.s);
        EXPECT_EQ(SP256::IsLowS((const uint8_t*)s.data()), std::string(row.s) == row.low) << row.s;
        SP256::MakeLowS((uint8_t*)&s[0]);
        EXPECT_EQ(s, Bytes(row.low)) << row.s;
    }
}
