// What every folder of the program uses.

#include <gtest/gtest.h>

#include "common/failure.h"
#include "tests/scratch.h"

namespace {

TEST(Failure, saysTheStepAndTheCode) {
    for (const HRESULT code : {0, 1, 0x7FFFFFFF})  // S_FALSE is none.
        EXPECT_EQ(failureOf([=] { check(code, "step"); }), "");
    EXPECT_EQ(failureOf([] { check(-1, "step"); }), "step (0xffffffff)");
    EXPECT_EQ(formatHresult("step", 10), "step (0x0000000a)");
    EXPECT_EQ(formatHresult(std::string(200, 'x').c_str(), 0), std::string(159, 'x'));
}

TEST(WideTexts, areWidenedWithTheirSignAndCutToTheirField) {
    EXPECT_TRUE(widenBytes("a\x7F\x80\xFF") == (WideText{'a', 0x7F, 0xFF80, 0xFFFF}));
    WCHAR field[4]{1, 1, 1, 1};
    fillText(field, TEXT("abcd"));
    EXPECT_TRUE(field == WideText(TEXT("abc")));
}

}  // namespace
