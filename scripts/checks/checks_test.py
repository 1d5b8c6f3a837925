"""Each check finds a slip that is planted, and nothing beside it: python3 -m unittest discover scripts/checks '*_test.py'"""
import subprocess
import tempfile
import unittest
from pathlib import Path

CHECKS = Path(__file__).resolve().parent

# The check, the files of a small project, and the places that it must find: no more and no less.
PLANTED = {
    "model includes agent": ("includes", {"model/A.cpp": '#include "agent/B.h"\n', "agent/B.h": ""}, ["model/A.cpp:1"]),
    "product includes simulator": ("includes", {"agent/A.cpp": '\n#include "simulator/topology/B.h"\n',
                                                "simulator/topology/B.h": ""}, ["agent/A.cpp:2"]),
    "product includes tests": ("includes", {"hbaapi/A.cpp": '#include "tests/kit/B.h"\n', "tests/kit/B.h": ""},
                               ["hbaapi/A.cpp:1"]),
    "a tool includes the agent's insides": ("includes", {"tools/x/A.cpp": '#include "Common/Src/B.h"\n',
                                                         "Common/Src/B.h": ""}, ["tools/x/A.cpp:1"]),
    "a folder without a rule": ("includes", {"new/A.cpp": ""}, ["new/A.cpp:1"]),
    "arrows that go down": ("includes", {
        "agent/A.cpp": '#include "FcoeAgent/I.h"\n#include "agent/A.h"\n#include "model/M.h"\n', "agent/A.h": "",
        "model/M.h": '#include "hbaapi/H.h"\n', "hbaapi/H.h": '#include "Common/Src/C.h"\n',
        "Common/Src/C.h": "#include <vector>\n", "include/FcoeAgent/I.h": "",
        "tests/unit/T.cpp": '#include "agent/A.h"\n#include "Generated.h"\n'}, []),
    "a circle of headers": ("includes", {"model/A.h": '#include "model/B.h"\n', "model/B.h": '#include "C.h"\n',
                                         "model/C.h": '#include "model/A.h"\n'}, ["model/A"]),
    "a circle through sources": ("includes", {"include/FcoeAgent/A.h": "", "Common/Src/B.h": "",
                                              "Common/Src/A.cpp": '#include "Common/Src/B.h"\n',
                                              "Common/Src/B.cpp": '#include "FcoeAgent/A.h"\n'}, ["Common/A"]),
    "a registry key opened by the model": ("includes", {"model/A.cpp": "x = RegOpenKeyExW(a);\n"}, ["model/A.cpp:1"]),
    "an export named by the agent": ("includes", {"agent/A.cpp": 'f("ORVAN_GetTargetList");\n'}, ["agent/A.cpp:1"]),
    "a long source": ("lengths", {"model/A.cpp": "\n" * 401, "model/B.cpp": "\n" * 400, "tests/T.cpp": "\n" * 500,
                                  "tests/U.cpp": "\n" * 501, "tests/golden/x/log.txt": "\n" * 999,
                                  "script": "#!/bin/sh\n" + "\n" * 400}, ["model/A.cpp:401", "script:401", "tests/U.cpp:501"]),
    "the wrong order": ("assertions", {"tests/T.cpp": """
EXPECT_EQ(value, 5u);
ASSERT_EQ(log.Count("a, b(c)"), 3);
EXPECT_EQ(text, L"x, y");
EXPECT_STREQ(f(a, b), "x");
EXPECT_EQ(pointer, nullptr);
EXPECT_EQ(status, HBA_STATUS_ERROR);
EXPECT_EQ(
    value,
    0x10);
EXPECT_NE(x.y[3], 'c');
EXPECT_EQ(list, std::vector<int>{});
"""}, [f"tests/T.cpp:{line}" for line in (2, 3, 4, 5, 6, 7, 8, 11, 12)]),
    "the right order": ("assertions", {"tests/T.cpp": """
EXPECT_EQ(5u, value);
EXPECT_EQ(L"a, b", Text(1, 2));
EXPECT_EQ(expected, Answer(11));
EXPECT_EQ(HBA_STATUS_OK, 0u);
EXPECT_EQ(std::vector<int>{1}, list);
EXPECT_EQ(R"(a " b)", Text(3));
EXPECT_EQ(arguments[i], std::wstring(errors[0].text[i]));
EXPECT_TRUE(x);
"""}, []),
    "old idioms": ("idioms", {
        "agent/A.cpp": 'BOOL b = FALSE;\nCQelDebugScope trace(L"A::B",\n    &b);\nconst CQelDebugScope other(L"C");\n',
        "model/B.cpp": "Error(QEL_SOURCE_FILE, 1);\nEnterCriticalSection(&m_cs);\n",
        "model/C.cpp": 'constexpr wchar_t SOURCE_FILE[] = L"model/C.cpp";\nx = L"model\\\\C";\n',
        "model/D.cpp": 'constexpr wchar_t SOURCE_FILE[] = L"Common\\\\Src\\\\D";\nCQelTracedResult traced(L"D", FALSE);\n',
        "include/FcoeAgent/QelLock.h": "EnterCriticalSection(&m_cs);\n",
        "docs/x.md": "TO" "DO: later\n"},
        ["agent/A.cpp:2", "docs/x.md:1", "model/B.cpp:1", "model/B.cpp:2", "model/C.cpp:1"]),
}


class Planted(unittest.TestCase):
    def test_each_slip_is_found_and_nothing_else(self):
        for slip, (check, files, places) in PLANTED.items():
            with self.subTest(slip), tempfile.TemporaryDirectory() as folder:
                for name, text in files.items():
                    file = Path(folder, name)
                    file.parent.mkdir(parents=True, exist_ok=True)
                    file.write_text(text)
                done = subprocess.run([CHECKS / check, "--root", folder], capture_output=True, text=True)
                found = [":".join(line.split(": ")[0].split(":")[:2]) for line in done.stdout.splitlines()]
                self.assertEqual(sorted(places), sorted(found), done.stdout + done.stderr)
                self.assertEqual(1 if places else 0, done.returncode, done.stderr)


if __name__ == "__main__":
    unittest.main()
