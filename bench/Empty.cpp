// A module that does nothing: what loading one costs at least.
#include <windows.h>

extern "C" __declspec(dllexport) void Nothing() {}
