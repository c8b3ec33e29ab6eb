// SPDX-License-Identifier: GPL-3.0-or-later
// The "+CPMS:" and "+CMGL:" lines read as pure functions: what they take, and that anything
// else leaves the outputs as they were.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "at/response_parsers.h"

namespace {

bool Cpms(const std::string& line, std::int32_t* used, std::int32_t* total) {
    return ParseCpmsLine(reinterpret_cast<const std::uint8_t*>(line.data()),
                         static_cast<std::uint32_t>(line.size()), used, total);
}

bool Cmgl(const std::string& line, CmglHeader* header) {
    return ParseCmglHeader(reinterpret_cast<const std::uint8_t*>(line.data()),
                           static_cast<std::uint32_t>(line.size()), header);
}

TEST(CpmsLine, TakesTheFirstPairOnly) {
    std::int32_t used = -1, total = -1;
    ASSERT_TRUE(Cpms("+CPMS: 3,30,7,100,0,30", &used, &total));
    EXPECT_EQ(used, 3);
    EXPECT_EQ(total, 30);
    ASSERT_TRUE(Cpms("+CPMS:0 , 25", &used, &total));
    EXPECT_EQ(used, 0);
    EXPECT_EQ(total, 25);
}

TEST(CpmsLine, AnythingElseLeavesTheCountsAlone) {
    for (const std::string& line : std::vector<std::string>{
             "", "OK", "+CPMS:", "+CPMS: 3", "+CPMS: 3,", "+CPMS: 3;30", "+CPMS: -1,30",
             "+CPMS: x,30", "+CPMS \"SM\",3,30", "+CMGL: 3,30", std::string("+CPMS: 3\0,30", 12)}) {
        std::int32_t used = 77, total = 88;
        EXPECT_FALSE(Cpms(line, &used, &total)) << line;
        EXPECT_EQ(used, 77) << line;
        EXPECT_EQ(total, 88) << line;
    }
}

TEST(CmglHeader, ReadsIndexStatusAndLengthWithAnyAlphaField) {
    CmglHeader header{};
    ASSERT_TRUE(Cmgl("+CMGL: 4,1,,23", &header));
    EXPECT_EQ(header.index, 4);
    EXPECT_EQ(header.status, 1);
    EXPECT_EQ(header.length, 23);
    ASSERT_TRUE(Cmgl("+CMGL: 12,0,\"Anna, at home\",160", &header));
    EXPECT_EQ(header.index, 12);
    EXPECT_EQ(header.status, 0);
    EXPECT_EQ(header.length, 160);
    ASSERT_TRUE(Cmgl("+CMGL:1 , 3 , , 0", &header));
    EXPECT_EQ(header.length, 0);
}

TEST(CmglHeader, AnythingElseLeavesTheHeaderAlone) {
    for (const std::string& line :
         std::vector<std::string>{"", "AT+CMGL=4", "+CMGL: 4,1,23", "+CMGL: 4,1,,", "+CMGL: ,1,,23",
                                  "+CMGL: 4,1,\"open,23", "+CMTI: \"SM\",4", "07919471",
                                  std::string("+CMGL: 4\0,1,,23", 15)}) {
        CmglHeader header{9, 8, 7};
        EXPECT_FALSE(Cmgl(line, &header)) << line;
        EXPECT_EQ(header.index, 9) << line;
        EXPECT_EQ(header.status, 8) << line;
        EXPECT_EQ(header.length, 7) << line;
    }
}

}  // namespace
