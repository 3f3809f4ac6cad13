// The layer's numbers are those of the platform that it stands for.

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/parity/row.h"

namespace {

std::vector<Row> rowsIn(const char* file) {
    std::ifstream input(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(input), {}};
    std::vector<Row> rows(bytes.size() / sizeof(Row));
    std::memcpy(rows.data(), bytes.data(), rows.size() * sizeof(Row));
    return rows;
}

TEST(Parity, everyNumberIsThePublishedOne) {
    const std::vector<Row> ours = rowsIn(LAYER_TABLE);
    const std::vector<Row> published = rowsIn(WINDOWS_TABLE);
    ASSERT_GT(ours.size(), 500u);
    ASSERT_EQ(ours.size(), published.size());
    for (std::size_t index = 0; index < ours.size(); ++index) {
        ASSERT_STREQ(ours[index].name, published[index].name);
        EXPECT_EQ(ours[index].value, published[index].value) << ours[index].name;
        EXPECT_EQ(ours[index].more, published[index].more) << ours[index].name;
    }
}

}  // namespace
