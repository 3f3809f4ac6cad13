// Names of clips.

#include "store/clip_name.h"

#include <gtest/gtest.h>

#include "tests/scratch.h"

namespace {

const WideText example = TEXT("clip-3f2a9c1e-7b4d-4e21-9a6f-0c5d8e7b1a23.mp4");

WideText changed(std::size_t index, char character) {
    WideText name = example;
    name[index] = static_cast<WCHAR>(character);
    return name;
}

TEST(ClipName, hasExactlyOneForm) {
    EXPECT_TRUE(isValidClipName(example));
    EXPECT_EQ(partialPath(example).string(), Path(example).string() + ".partial.mp4");
    const WideText wrong[] = {
        TEXT(""),
        example.substr(1),
        example + TEXT(" "),
        partialPath(example).string<WCHAR>(),
        changed(0, 'C'),  // beginning
        changed(5, 'F'),  // upper-case digit
        changed(5, 'g'),  // no digit, nor are the neighbors of the digits
        changed(5, '`'),
        changed(5, '/'),
        changed(40, ':'),
        changed(40, '-'),  // hyphen for a digit
        changed(13, '0'),  // digit for a hyphen
        changed(18, '0'),
        changed(23, '0'),
        changed(28, '0'),
        changed(41, '_'),
        changed(42, 'M'),
        // The low eight bits of this character are the digit's.
        changed(5, '3').replace(5, 1, 1, static_cast<WCHAR>(0x0133)),
    };
    for (const WideText& name : wrong) EXPECT_FALSE(isValidClipName(name)) << Path(name).string();
}

}  // namespace
