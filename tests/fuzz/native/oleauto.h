// The one type and function of COM that headers under test name.
#pragma once

using BSTR = wchar_t*;
void SysFreeString(BSTR bstr);
