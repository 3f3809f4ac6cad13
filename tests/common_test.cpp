// What every folder of the program uses.

#include <dxgi1_2.h>

#include <gtest/gtest.h>

#include "common/com_pointer.h"
#include "common/failure.h"
#include "platform/control.h"
#include "tests/scratch.h"

namespace {

TEST(Failure, saysTheStepAndTheCode) {
    const std::pair<HRESULT, std::string> rows[] = {
        {0, ""},
        {1, ""},  // S_FALSE
        {0x7FFFFFFF, ""},
        {-1, "step (0xffffffff)"},
        {static_cast<HRESULT>(0x80000000), "step (0x80000000)"},
    };
    for (const auto& [code, words] : rows)
        EXPECT_EQ(failureOf([code = code] { check(code, "step"); }), words);
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
    {
        ComPointer<IDXGIFactory1> factory;
        for (int round = 0; round < 2; ++round)  // `put` releases what is held.
            check(CreateDXGIFactory1(IID_IDXGIFactory1, factory.putUntyped()), "factory");
        const ComPointer copy = factory;
        ComPointer<IDXGIFactory1> moved = std::move(factory);
        EXPECT_TRUE(!factory && copy.get() == moved.get());
        moved = {};
        EXPECT_NE(desktop::openObjects(), held);
    }
    EXPECT_EQ(desktop::openObjects(), held);
}

}  // namespace
