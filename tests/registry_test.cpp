// Registry values keep their bytes, and their errors are told apart.

#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

const WCHAR* const path = TEXT("Software\\QuorvelDeskClip test\\Inner");
const WCHAR* const name = TEXT("Value");

HKEY createKey(REGSAM rights) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, 0, rights, nullptr, &key, nullptr);
    return key;
}

struct Registry : testing::Test {
    HKEY key = createKey(KEY_QUERY_VALUE | KEY_SET_VALUE);

    ~Registry() override {
        RegDeleteValueW(key, name);
        RegCloseKey(key);
    }
    LSTATUS set(DWORD type, const std::vector<BYTE>& bytes) {
        return RegSetValueExW(key, name, 0, type, bytes.data(), static_cast<DWORD>(bytes.size()));
    }
};

TEST_F(Registry, keepsTypeAndBytes) {
    const struct {
        DWORD type;
        std::vector<BYTE> bytes;
    } rows[] = {
        {REG_SZ, {'a', 0, 0, 0}},
        {REG_EXPAND_SZ, {'a', 0, 0, 0}},
        {REG_BINARY, {1, 2, 3}},
        {REG_BINARY, {}},
        {REG_BINARY, std::vector<BYTE>(70000, 7)},
    };
    for (const auto& row : rows) {
        ASSERT_EQ(set(row.type, row.bytes), ERROR_SUCCESS);
        DWORD type = 0;
        DWORD size = 0;
        EXPECT_EQ(RegQueryValueExW(key, TEXT("VALUE"), nullptr, &type, nullptr, &size),
                  ERROR_SUCCESS);
        EXPECT_EQ(type, row.type);
        ASSERT_EQ(size, row.bytes.size());
        std::vector<BYTE> read(size);
        EXPECT_EQ(RegQueryValueExW(key, name, nullptr, &type, read.data(), &size), ERROR_SUCCESS);
        EXPECT_EQ(read, row.bytes);
    }
}

TEST_F(Registry, endsATextThatHasRoomForIt) {
    ASSERT_EQ(set(REG_SZ, {'a', 0}), ERROR_SUCCESS);
    BYTE read[] = {9, 9, 9, 9, 9};
    DWORD size = sizeof read;
    EXPECT_EQ(RegQueryValueExW(key, name, nullptr, nullptr, read, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(std::vector<BYTE>(read, read + 4), (std::vector<BYTE>{'a', 0, 0, 0}));
}

TEST_F(Registry, tellsItsErrorsApart) {
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(key, TEXT("Missing"), nullptr, nullptr, nullptr, &size),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegDeleteValueW(key, TEXT("Missing")), ERROR_FILE_NOT_FOUND);
    HKEY missing = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, TEXT("Software\\QuorvelDeskClip missing"), 0,
                            KEY_QUERY_VALUE, &missing),
              ERROR_FILE_NOT_FOUND);

    ASSERT_EQ(set(REG_BINARY, {1, 2, 3}), ERROR_SUCCESS);
    BYTE small[2];
    DWORD type = 0;
    size = sizeof small;
    EXPECT_EQ(RegQueryValueExW(key, name, nullptr, &type, small, &size), ERROR_MORE_DATA);
    EXPECT_EQ(type, DWORD{REG_BINARY});
    EXPECT_EQ(size, 3u);
}

TEST_F(Registry, asksForTheRightToWrite) {
    HKEY reader = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_QUERY_VALUE, &reader), ERROR_SUCCESS);
    const BYTE byte = 1;
    EXPECT_EQ(RegSetValueExW(reader, name, 0, REG_BINARY, &byte, 1), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueW(reader, name), ERROR_ACCESS_DENIED);
    RegCloseKey(reader);
}

}  // namespace
