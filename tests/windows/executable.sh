#!/bin/bash
# executable.sh PROGRAM reads the finished program back: its kind, the guards that it asks of the system, the libraries
# that it imports, all of which Windows takes from System32 alone, and what it carries.

set -euo pipefail
export LC_ALL=C
tools=/usr/bin/x86_64-w64-mingw32

read_back() {
    local headers resources
    headers=$("$tools-objdump" -p -t "$1")
    grep -oE 'pei-x86-64|^Characteristics .*|Subsystem	.*|^DllChar.*|no symbols' <<<"$headers"
    sed -n 's/.*DLL Name: //p' <<<"$headers" | paste -sd ' '
    # It can be loaded anywhere, and loads no library at the first call.
    grep -oE '^Entry 5 .{16} 0000[0-9a-f]*[1-9a-f]|^Entry d .{16} 00000000' <<<"$headers" | cut -c1-7
    [ "$(stat -c %s "$1")" -ge 1200000 ] || echo small
    # The stack is aligned to 16 bytes, so 32 are never moved as if they were aligned.
    "$tools-objdump" -d "$1" | grep -E 'vmov(dqa|ap).*%ymm' | grep -F '(' || :
    # Of the images only their sizes, and the manifest without its frame.
    resources=$("$tools-windres" -J coff -O rc -i "$1")
    sed -n 's/^ *"\(.*\)\\000\\000", 1, 32, .* Element no.*/\1/p' <<<"$resources" | paste -sd ' '
    grep -E 'BLOCK|FILE(OS|TYPE|FLAGS)' <<<"$resources" | paste -sd ' '
    grep -vE '^ *(BEGIN|END)?$|^ */\*|^   Name|^  (0x|")|^[1-9] 3 |BLOCK|FILE(OS|TYPE|FLAGS)|Element|CONTROL' <<<"$resources"
    grep -E '^  " .*(name=|<desc|Level|Id=|SMI)' <<<"$resources"
}

diff - <(read_back "$1" | tr -s '[:blank:]' ' ') <<'END'
pei-x86-64
Characteristics 0x22e
Subsystem 00000002 (Windows GUI)
DllCharacteristics 00000160
no symbols
ADVAPI32.dll GDI32.dll KERNEL32.dll msvcrt.dll ole32.dll SHELL32.dll USER32.dll
Entry 5
Entry d
small
\020\020 \024\024 \030\030 \040\040 \050\050 \060\060 \100\100 \200\200 \000\000
 FILEFLAGSMASK 0x3f FILEOS 0x40004 FILETYPE 0x1 BLOCK "StringFileInfo" BLOCK "040904B0" BLOCK "VarFileInfo"
LANGUAGE 9, 1
101 DIALOGEX 0, 0, 270, 141
STYLE 0x80ca0840
EXSTYLE 0x40000
CAPTION "Quorvel Clip - Settings"
FONT 9, "Segoe UI"
102 14 /* RT_GROUP_ICON */
 0, 1, 9, /* Has 9 elements. */
1 VERSIONINFO
 FILEVERSION 0, 4, 3, 0
 PRODUCTVERSION 0, 4, 3, 0
 VALUE "FileDescription", "Quorvel Desk Clip"
 VALUE "FileVersion", "0.4.3.0"
 VALUE "ProductName", "Quorvel Desk Clip"
 VALUE "ProductVersion", "0.4.3 candidate"
 VALUE "Translation", 0x409, 1200
1 24 /* RT_MANIFEST */
 " <assemblyIdentity name=""Quorvel.Desk.Clip"" version=""0.1.0.0"" processorArchitecture=""amd64"" type=""win32""/>\n"
 " <description>Quorvel Desk Clip</description>\n"
 " <requestedExecutionLevel level=""asInvoker"" uiAccess=""false""/>\n"
 " <supportedOS Id=""{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}""/>\n"
 " <dpiAwareness xmlns=""http://schemas.microsoft.com/SMI/2016/WindowsSettings"">PerMonitorV2</dpiAwareness>\n"
 " <longPathAware xmlns=""http://schemas.microsoft.com/SMI/2016/WindowsSettings"">true</longPathAware>\n"
END
