// Files by their number.
#pragma once

#include <cstdint>
#include <cstdio>

int _fileno(FILE* pFile);
std::intptr_t _get_osfhandle(int nFile);
int _write(int nFile, const void* pData, unsigned uSize);
long long _filelengthi64(int nFile);
FILE* _wfsopen(const wchar_t* pszPath, const wchar_t* pszMode, int nShare);

#define _O_BINARY 0x8000 // of fcntl.h
int _setmode(int nFile, int nMode);
