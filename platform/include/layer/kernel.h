// Files, private profiles, memory blocks, named objects and the process: what kernel32 offers.

#pragma once

#include "layer/types.h"

#define GENERIC_READ 0x80000000
#define GENERIC_WRITE 0x40000000
#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define FILE_SHARE_DELETE 0x00000004
#define OPEN_EXISTING 3
#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000
#define INVALID_FILE_ATTRIBUTES ((DWORD)-1)
#define FILE_NAME_NORMALIZED 0x0
#define VOLUME_NAME_DOS 0x0
#define MOVEFILE_REPLACE_EXISTING 0x00000001
#define MOVEFILE_WRITE_THROUGH 0x00000008

struct BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime, ftLastAccessTime, ftLastWriteTime;
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh, nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh, nFileIndexLow;
};

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD disposition, DWORD flags, HANDLE pattern);
BOOL CloseHandle(HANDLE handle);
BOOL FlushFileBuffers(HANDLE file);
BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information);
DWORD GetFinalPathNameByHandleW(HANDLE file, LPWSTR path, DWORD capacity, DWORD flags);
DWORD GetFileAttributesW(LPCWSTR name);
BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes);
BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags);
BOOL CopyFileW(LPCWSTR from, LPCWSTR to, BOOL failIfExists);
BOOL DeleteFileW(LPCWSTR name);

UINT GetPrivateProfileIntW(LPCWSTR section, LPCWSTR key, INT usual, LPCWSTR file);
BOOL WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR file);

#define GMEM_MOVEABLE 0x2
#define GMEM_ZEROINIT 0x40

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes);
LPVOID GlobalLock(HGLOBAL block);
BOOL GlobalUnlock(HGLOBAL block);
HGLOBAL GlobalFree(HGLOBAL block);

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES security, BOOL owned, LPCWSTR name);

DWORD GetLastError();
void SetLastError(DWORD code);
DWORD GetCurrentProcessId();
ULONGLONG GetTickCount64();
void Sleep(DWORD milliseconds);
DWORD GetModuleFileNameW(HMODULE module, LPWSTR name, DWORD capacity);
HMODULE GetModuleHandleW(LPCWSTR name);

// The program's entry point.
int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR tail, int show);
