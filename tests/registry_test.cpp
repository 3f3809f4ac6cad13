// What the registry answers, where the program could be wrong and a lenient answer would hide it.

#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

const WCHAR* const path = TEXT("Software\\QuorvelDeskClip test\\Inner");
const WCHAR* const name = TEXT("Value");

TEST(Registry, keepsBytesAndTellsItsErrorsApart) {
    HKEY key = nullptr, reader = nullptr, missing = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE,
                    nullptr, &key, nullptr);
    RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_QUERY_VALUE, &reader);
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, TEXT("Software\\QuorvelDeskClip missing"), 0,
                            KEY_QUERY_VALUE, &missing),
              ERROR_FILE_NOT_FOUND);
    const BYTE stored[] = {'a', 0, 'b', 0};  // the first two, and no end behind them
    ASSERT_EQ(RegSetValueExW(key, name, 0, REG_SZ, stored, 2), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(reader, name, 0, REG_SZ, stored, 2), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueW(reader, name), ERROR_ACCESS_DENIED);

    const struct {
        const WCHAR* name;
        DWORD room;
        LSTATUS status;
        std::vector<BYTE> read;
    } rows[] = {
        {TEXT("VALUE"), 2, ERROR_SUCCESS, {'a', 0, 9, 9, 9}},
        {name, 5, ERROR_SUCCESS, {'a', 0, 0, 0, 9}},  // an end is made up where there is room
        {name, 1, ERROR_MORE_DATA, {}},
        {TEXT("Missing"), 5, ERROR_FILE_NOT_FOUND, {}},
    };
    for (const auto& row : rows) {
        std::vector<BYTE> read(5, 9);
        DWORD size = row.room, type = 0;
        EXPECT_EQ(RegQueryValueExW(reader, row.name, nullptr, &type, read.data(), &size),
                  row.status);
        if (row.status == ERROR_SUCCESS) {
            EXPECT_EQ(read, row.read);
        }
        if (row.status != ERROR_FILE_NOT_FOUND) {
            EXPECT_TRUE(size == 2 && type == REG_SZ);
        }
    }
    EXPECT_EQ(RegDeleteValueW(key, name), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValueW(key, name), ERROR_FILE_NOT_FOUND);
    RegCloseKey(reader);
    RegCloseKey(key);
}

}  // namespace
