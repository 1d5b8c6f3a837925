// Files by their number.
#pragma once

#include <cstdio>

int _fileno(FILE* pFile);
int _write(int nFile, const void* pData, unsigned uSize);
long long _filelengthi64(int nFile);
FILE* _wfsopen(const wchar_t* pszPath, const wchar_t* pszMode, int nShare);

#define _O_BINARY 0x8000 // of fcntl.h
int _setmode(int nFile, int nMode);
