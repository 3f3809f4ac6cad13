// The finished file, byte by byte: what kind of program it is, what it needs, and what it carries.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>

#include "tests/scratch.h"

namespace {

template <typename Value>
Value valueAt(const std::string& bytes, std::size_t at) {
    Value value;
    if (at + sizeof value > bytes.size()) throw std::runtime_error("The file ends too early");
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

const std::string file = readFile(TEXT("Z:") PROGRAM_FILE);
const auto headersAt = static_cast<std::size_t>(valueAt<IMAGE_DOS_HEADER>(file, 0).e_lfanew);
const auto headers = valueAt<IMAGE_NT_HEADERS64>(file, headersAt);

// Where in the file the byte of that address stands.
std::size_t offsetOf(DWORD address) {
    for (WORD number = 0; number < headers.FileHeader.NumberOfSections; ++number) {
        const auto section = valueAt<IMAGE_SECTION_HEADER>(
            file, headersAt + sizeof headers + number * sizeof(IMAGE_SECTION_HEADER));
        if (address >= section.VirtualAddress &&
            address < section.VirtualAddress + section.SizeOfRawData)
            return address - section.VirtualAddress + section.PointerToRawData;
    }
    throw std::runtime_error("An address outside the file");
}

IMAGE_DATA_DIRECTORY directory(int number) { return headers.OptionalHeader.DataDirectory[number]; }

const std::size_t resourcesAt = offsetOf(directory(IMAGE_DIRECTORY_ENTRY_RESOURCE).VirtualAddress);

// A directory of resources has entries by name, of which there are none, and by number.
std::vector<IMAGE_RESOURCE_DIRECTORY_ENTRY> entriesAt(std::size_t offset) {
    std::size_t at = resourcesAt + offset;
    const auto list = valueAt<IMAGE_RESOURCE_DIRECTORY>(file, at);
    at += sizeof list;
    std::vector<IMAGE_RESOURCE_DIRECTORY_ENTRY> entries;
    for (; entries.size() < list.NumberOfIdEntries; at += sizeof entries[0])
        entries.push_back(valueAt<IMAGE_RESOURCE_DIRECTORY_ENTRY>(file, at));
    return entries;
}

// By type and number. All are in the one language.
std::map<std::pair<WORD, WORD>, std::string> readResources() {
    std::map<std::pair<WORD, WORD>, std::string> resources;
    for (const auto& type : entriesAt(0))
        for (const auto& each : entriesAt(type.OffsetToDirectory))
            for (const auto& language : entriesAt(each.OffsetToDirectory)) {
                const auto data =
                    valueAt<IMAGE_RESOURCE_DATA_ENTRY>(file, resourcesAt + language.OffsetToData);
                if (language.Id != 1033) throw std::runtime_error("Another language");
                resources[{type.Id, each.Id}] = file.substr(offsetOf(data.OffsetToData), data.Size);
            }
    return resources;
}

const std::map<std::pair<WORD, WORD>, std::string> resources = readResources();

const std::string& resource(const WCHAR* type, WORD id) { return resources.at({LOWORD(type), id}); }

// Reads a resource from front to back.
struct Reader {
    template <typename Value>
    Value take() {
        at += sizeof(Value);
        return valueAt<Value>(bytes, at - sizeof(Value));
    }
    // ASCII text with its end; a number where the format has one instead.
    std::string text() {
        std::string text;
        if (valueAt<WORD>(bytes, at) == 0xFFFF) {
            take<WORD>();
            return std::to_string(take<WORD>());
        }
        while (const WORD character = take<WORD>()) text += static_cast<char>(character);
        return text;
    }
    std::string numbers(int count) {
        std::string text;
        for (; count > 0; --count) text += " " + std::to_string(take<SHORT>());
        return text;
    }
    std::string bits() {
        std::ostringstream text;
        text << " " << std::hex << take<DWORD>();
        return text.str();
    }
    void align() { at = (at + 3) & ~std::size_t{3}; }

    const std::string& bytes;
    std::size_t at = 0;
};

std::string dialogText(const std::string& bytes) {
    Reader reader{bytes};
    std::ostringstream text;
    text << "version" << reader.numbers(2) << " help" << reader.bits();
    const std::string extended = reader.bits();
    text << " style" << reader.bits() << extended;
    const WORD count = reader.take<WORD>();
    text << " at" << reader.numbers(4) << " menu '" << reader.text();
    text << "' class '" << reader.text() << "' title '" << reader.text();
    text << "' font" << reader.numbers(2) << " " << int{reader.take<BYTE>()};
    text << " " << int{reader.take<BYTE>()} << " " << reader.text() << "\n";
    for (WORD number = 0; number < count; ++number) {
        reader.align();
        const std::string help = reader.bits(), extendedStyle = reader.bits();
        const std::string style = reader.bits(), place = reader.numbers(4);
        text << reader.take<int>() << " " << reader.text() << style << extendedStyle << place;
        text << " '" << reader.text() << "' help" << help << "\n";
        EXPECT_EQ(reader.take<WORD>(), 0);  // no creation data
    }
    EXPECT_EQ(reader.at, bytes.size());
    return text.str();
}

// Every entry of the version block with its path, as text or in bytes.
void readVersion(Reader& reader, const std::string& path, std::map<std::string, std::string>& all) {
    const std::size_t end = reader.at + valueAt<WORD>(reader.bytes, reader.at);
    reader.take<WORD>();
    const std::size_t length = reader.take<WORD>();
    const bool isText = reader.take<WORD>() == 1;
    const std::string name = path + "/" + reader.text();
    reader.align();
    if (isText && length > 0)
        all[name] = reader.text();
    else if (length > 0)
        all[name] = reader.bytes.substr(std::exchange(reader.at, reader.at + length), length);
    for (reader.align(); reader.at < end; reader.align()) readVersion(reader, name, all);
}

TEST(Executable, isAWindowedProgramWithTheSystemsGuards) {
    EXPECT_EQ(headers.FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_EQ(headers.OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_GUI);
    constexpr WORD guards = IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA |
                            IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE |
                            IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    EXPECT_EQ(headers.OptionalHeader.DllCharacteristics & guards, guards);
    EXPECT_FALSE(headers.FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
    EXPECT_GT(directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size, 0u);
    EXPECT_EQ(headers.FileHeader.PointerToSymbolTable, 0u);
    EXPECT_LT(file.size(), 1'200'000u);
}

// Known libraries of the system, which it never takes from the folder of a program.
TEST(Executable, importsKnownLibrariesOnly) {
    std::vector<std::string> names;
    for (std::size_t at = offsetOf(directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);;
         at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
        const DWORD name = valueAt<IMAGE_IMPORT_DESCRIPTOR>(file, at).Name;
        if (!name) break;
        names.push_back(CharLowerA(std::string(file.c_str() + offsetOf(name)).data()));
    }
    std::sort(names.begin(), names.end());
    const std::vector<std::string> expected{"advapi32.dll", "gdi32.dll", "kernel32.dll",
                                            "msvcrt.dll",   "ole32.dll", "shell32.dll",
                                            "user32.dll"};
    EXPECT_EQ(names, expected);
    EXPECT_EQ(directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT).Size, 0u);
}

TEST(Executable, carriesNineImagesOfItsIcon) {
    Reader reader{resource(RT_GROUP_ICON, 102)};
    EXPECT_EQ(reader.numbers(3), " 0 1 9");
    WORD number = 0;
    for (const int size : {16, 20, 24, 32, 40, 48, 64, 128, 256}) {
        SCOPED_TRACE(size);
        const std::string& image = resource(RT_ICON, ++number);
        EXPECT_EQ(reader.take<BYTE>(), size % 256);  // 256 stands as 0
        EXPECT_EQ(reader.take<BYTE>(), size % 256);
        EXPECT_EQ(reader.numbers(3), " 0 1 32");  // no palette, planes, bits
        EXPECT_EQ(reader.take<DWORD>(), image.size());
        EXPECT_EQ(reader.take<WORD>(), number);
        // The first chunk: width, height, 8 bits a channel, colour with alpha.
        const std::string side{0, 0, static_cast<char>(size >> 8), static_cast<char>(size)};
        EXPECT_EQ(image.substr(0, 16), std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR", 16));
        EXPECT_EQ(image.substr(16, 10), side + side + "\x08\x06");
    }
    EXPECT_EQ(reader.at, reader.bytes.size());
}

TEST(Executable, carriesTheSettingsDialog) {
    EXPECT_EQ(dialogText(resource(RT_DIALOG, 101)),
              "version 1 -1 help 0 style 80ca0840 40000 at 0 0 270 141 menu '' class '' "
              "title 'Quorvel Clip - Settings' font 9 0 0 1 Segoe UI\n"
              "-1 STATIC 50020000 0 12 10 246 10 'Recording &shortcut' help 0\n"
              "1001 EDIT 50810880 0 12 24 246 18 '' help 0\n"
              "-1 STATIC 50020000 0 12 46 246 18 "
              "'Click the box, then press a key combination. Tab moves on.' help 0\n"
              "1002 BUTTON 50010003 0 12 70 246 12 'Start with &Windows' help 0\n"
              "1003 STATIC 50020000 0 12 86 246 24 '' help 0\n"
              "1 BUTTON 50010001 0 146 116 53 16 '&Save' help 0\n"
              "2 BUTTON 50010000 0 205 116 53 16 'Cancel' help 0\n");
}

TEST(Executable, carriesItsVersion) {
    std::map<std::string, std::string> entries;
    Reader reader{resource(RT_VERSION, 1)};
    readVersion(reader, "", entries);
    const auto fixed = valueAt<VS_FIXEDFILEINFO>(entries["/VS_VERSION_INFO"], 0);
    EXPECT_EQ(fixed.dwSignature, 0xFEEF04BDu);
    EXPECT_TRUE(fixed.dwFileVersionMS == 4 && fixed.dwFileVersionLS == 0x30000);
    EXPECT_TRUE(fixed.dwProductVersionMS == 4 && fixed.dwProductVersionLS == 0x30000);
    entries.erase("/VS_VERSION_INFO");
    const std::string strings = "/VS_VERSION_INFO/StringFileInfo/040904B0/";
    const std::map<std::string, std::string> expected{
        {strings + "FileDescription", "Quorvel Desk Clip"},
        {strings + "FileVersion", "0.4.3.0"},
        {strings + "ProductName", "Quorvel Desk Clip"},
        {strings + "ProductVersion", "0.4.3 candidate"},
        {"/VS_VERSION_INFO/VarFileInfo/Translation", std::string("\x09\x04\xB0\x04", 4)}};
    EXPECT_EQ(entries, expected);
}

TEST(Executable, carriesItsManifest) {
    const std::string& manifest = resource(RT_MANIFEST, 1);
    const auto isOnce = [&](const std::string& part) {
        const std::size_t at = manifest.find(part);
        return at != std::string::npos && manifest.find(part, at + 1) == std::string::npos;
    };
    for (const char* const part :
         {"<assemblyIdentity name=\"Quorvel.Desk.Clip\" version=\"0.1.0.0\" "
          "processorArchitecture=\"amd64\" type=\"win32\"/>",
          "<description>Quorvel Desk Clip</description>",
          "<requestedExecutionLevel level=\"asInvoker\" uiAccess=\"false\"/>",
          "<supportedOS Id=\"{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}\"/>",
          "<dpiAwareness xmlns=\"http://schemas.microsoft.com/SMI/2016/WindowsSettings\">"
          "PerMonitorV2</dpiAwareness>",
          "<longPathAware xmlns=\"http://schemas.microsoft.com/SMI/2016/WindowsSettings\">"
          "true</longPathAware>",
          "supportedOS"})
        EXPECT_TRUE(isOnce(part)) << part;
    EXPECT_EQ(resources.size(), 9u + 4u) << "nothing else, and no other manifest";
}

}  // namespace
