// What every folder of the program uses.

#include <dxgi1_2.h>

#include <gtest/gtest.h>

#include "common/com_pointer.h"
#include "common/failure.h"
#include "platform/control.h"
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

TEST(ComPointers, countEveryReference) {
    const auto held = desktop::openObjects();
    ComPointer<IDXGIFactory1> factory;
    for (int round = 0; round < 2; ++round)  // `put` releases what is held.
        check(CreateDXGIFactory1(IID_IDXGIFactory1, factory.putUntyped()), "factory");
    ComPointer copy = factory, moved = std::move(factory);
    EXPECT_FALSE(factory);
    EXPECT_EQ(copy.get(), moved.get());
    copy = {};
    EXPECT_NE(desktop::openObjects(), held);
    moved = {};
    EXPECT_EQ(desktop::openObjects(), held);
}

}  // namespace
