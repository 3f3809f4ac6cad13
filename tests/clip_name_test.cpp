// Names of clips.

#include "store/clip_name.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"

namespace {

TEST(ClipName, hasExactlyOneForm) {
    const WideText example = TEXT("clip-3f2a9c1e-7b4d-4e21-9a6f-0c5d8e7b1a23.mp4");
    EXPECT_TRUE(isValidClipName(example));
    EXPECT_EQ(partialPath(example).string(), Path(example).string() + ".partial.mp4");
    for (const WideText& name :
         {WideText(), example.substr(1), example + TEXT(" "), partialPath(example).string<WCHAR>()})
        EXPECT_FALSE(isValidClipName(name)) << Path(name).string();
    // Upper case, the neighbors of the digits, a hyphen for a digit and the other way round, and a
    // character whose low eight bits are the digit's.
    const std::pair<std::size_t, std::u16string> wrong[] = {
        {0, u"C"},  {5, u"Fg`/\u0133"}, {40, u":-"}, {13, u"0"}, {18, u"0"},
        {23, u"0"}, {28, u"0"},         {41, u"_"},  {42, u"M"}};
    for (const auto& [index, letters] : wrong)
        for (const char16_t letter : letters) {
            WideText name = example;
            name[index] = static_cast<WCHAR>(letter);
            EXPECT_FALSE(isValidClipName(name)) << Path(name).string();
        }
}

}  // namespace
