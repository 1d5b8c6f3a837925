"""What verdict.py and scripts/test make of runs that pass, fail and are lost: python3 -m unittest discover tests/repeat '*_test.py'"""
import contextlib
import io
import subprocess
import sys
import tempfile
import unittest
from importlib.machinery import SourceFileLoader
from importlib.util import module_from_spec, spec_from_loader
from pathlib import Path

from verdict import FAILED, LOST, PASSED, Program, judge

ROOT = Path(__file__).resolve().parent.parent.parent
CLOSING = "[==========] 1 test from 1 test suite ran. (5 ms total)\n"
GOOD = f"[ RUN      ] A.x\n[       OK ] A.x (3 ms)\n{CLOSING}[  PASSED  ] 1 test.\n"
BAD = f"[ RUN      ] A.x\n[  FAILED  ] A.x (3 ms)\n{CLOSING}[  PASSED  ] 0 tests.\n[  FAILED  ] 1 test, listed below:\n[  FAILED  ] A.x\n"
CUT = "[ RUN      ] A.x\n"
TOGETHER = """\
[ RUN      ] Suite.passes
[       OK ] Suite.passes (1 ms)
[ RUN      ] Suite.isSkipped
[  SKIPPED ] Suite.isSkipped (1 ms)
[ RUN      ] Suite.fails
wrong
[  FAILED  ] Suite.fails, where GetParam() = 1 (1 ms)
[ RUN      ] Suite.passesAfterIt
[       OK ] Suite.passesAfterIt (1 ms)
[ RUN      ] Suite.crashes
CRASH c0000005
"""


def gtest(**more) -> Program:
    return Program("A.x", ["cmake/wine-run", "a.exe", "--gtest_filter=A.x"], gtest=True, cases=1, **more)


def closing_line_counts(**more) -> Program:
    return Program("soak", ["cmake/wine-run", "soak.exe"], must_say="\nsoak survived", cases=1, **more)


class Judge(unittest.TestCase):
    def verdict(self, program, text, exit_code):
        return judge(program, text, exit_code).verdict

    def test_passes_by_output_and_exit_code_together(self):
        self.assertEqual(PASSED, self.verdict(gtest(), GOOD, 0))

    def test_a_failed_case_has_failed_whatever_the_exit_code(self):
        for exit_code in (0, 1, 5, None):
            self.assertEqual(FAILED, self.verdict(gtest(), BAD, exit_code))

    def test_lost_when_output_and_exit_code_contradict_each_other(self):
        self.assertEqual(LOST, self.verdict(gtest(), GOOD, 5))
        self.assertEqual(LOST, self.verdict(gtest(), CUT, 0))

    def test_lost_without_any_output(self):
        self.assertEqual(LOST, self.verdict(gtest(), "", 0))
        self.assertEqual(LOST, self.verdict(gtest(), "", 1))

    def test_a_cut_output_with_an_exit_code_has_failed(self):
        self.assertEqual(FAILED, self.verdict(gtest(), CUT, 1))

    def test_a_crash_and_a_hang_have_failed(self):
        self.assertEqual(FAILED, self.verdict(gtest(), CUT + "CRASH c0000005\n", 86))
        self.assertEqual(FAILED, self.verdict(gtest(), CUT + "HANG\n", 87))
        self.assertEqual(FAILED, self.verdict(gtest(), CUT + "CRASH c0000005\n", 0))
        self.assertEqual(FAILED, self.verdict(gtest(), GOOD + "CRASH c0000005\n", 86))

    def test_a_crash_of_a_process_that_the_case_started_is_none_of_its_own(self):
        self.assertEqual(PASSED, self.verdict(gtest(), CUT + "CRASH c0000005\n" + GOOD, 0))

    def test_out_of_time_has_failed(self):
        self.assertEqual(FAILED, self.verdict(gtest(), CUT, None))
        self.assertEqual(FAILED, self.verdict(gtest(), GOOD, None))
        self.assertEqual(FAILED, self.verdict(closing_line_counts(), "", None))

    def test_out_of_time_before_its_first_word_is_lost(self):
        self.assertEqual(LOST, self.verdict(gtest(), "", None))

    def test_forbidden_text_has_failed(self):
        self.assertEqual(FAILED, self.verdict(gtest(must_not_say=[":err:heap:"]), "x:err:heap: y\n" + GOOD, 0))

    def test_the_closing_lines_of_another_program_are_not_its_own(self):
        program = gtest()
        program.cases = 7
        self.assertEqual(LOST, self.verdict(program, GOOD, 0))
        self.assertEqual(FAILED, self.verdict(program, GOOD, 1))

    def test_a_program_with_a_closing_line_of_its_own(self):
        self.assertEqual(PASSED, self.verdict(closing_line_counts(), "calls\nsoak survived\n", 0))
        self.assertEqual(LOST, self.verdict(closing_line_counts(), "calls\nsoak survived\n", 1))
        self.assertEqual(LOST, self.verdict(closing_line_counts(), "calls\n", 0))
        self.assertEqual(FAILED, self.verdict(closing_line_counts(), "calls\nsoak failed\n", 1))

    def test_a_program_without_one_goes_by_its_exit_code(self):
        program = Program("golden", ["run.py"], cases=1)
        self.assertEqual(PASSED, self.verdict(program, "", 0))
        self.assertEqual(FAILED, self.verdict(program, "different", 1))

    def test_what_wine_does_not_run_is_never_lost(self):
        self.assertEqual(FAILED, self.verdict(Program("native", ["run.py"], cases=1), "", 1))


# Each runs the script that is its first argument, as ctest would run a test program under Wine.
PROJECT = r"""
cmake_minimum_required(VERSION 3.25)
project(planted NONE)
enable_testing()
file(WRITE ${CMAKE_BINARY_DIR}/wine-run "#!/bin/sh\nexec sh -c \"$1\"\n")
file(CHMOD ${CMAKE_BINARY_DIR}/wine-run PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
function(plant name script)
  add_test(NAME ${name} COMMAND ${CMAKE_BINARY_DIR}/wine-run "${script}" planted.exe --gtest_filter=${name})
  set_tests_properties(${name} PROPERTIES FAIL_REGULAR_EXPRESSION ":err:heap:" TIMEOUT 20)
endfunction()
set(good "cat '@FOLDER@/good'")
set(bad "cat '@FOLDER@/bad'")
plant(Planted.passes "${good}")
plant(Planted.lostOnce "test -f lost1 && exec ${good}; touch lost1; ${good}; exit 5")
plant(Planted.lost+silent/Once "test -f lost2 && exec ${good}; touch lost2")
plant(Planted.lostTwice "${good}; exit 5")
plant(Planted.fails "${bad}; exit 1")
plant(Planted.failsWithoutItsExitCode "${bad}")
plant(Planted.failsOnce "test -f once && exec ${good}; touch once; ${bad}; exit 1")
plant(Planted.crashes "echo CRASH; exit 86")
plant(Planted.tooLong "${good}; sleep 9")
set_tests_properties(Planted.tooLong PROPERTIES TIMEOUT 1)
plant(Planted.neverStartedOnce "test -f lost3 && exec ${good}; touch lost3; sleep 9")
set_tests_properties(Planted.neverStartedOnce PROPERTIES TIMEOUT 1)
plant(Planted.heapError "echo :err:heap: broken; ${good}")
add_test(NAME native.silent COMMAND false)
add_test(NAME disabled COMMAND false)
set_tests_properties(disabled PROPERTIES DISABLED TRUE)
add_test(NAME native.large COMMAND true)
plant(All/Long.case/one "${good}")
plant(All/Long.case/two "${good}")
set_tests_properties(native.large All/Long.case/one All/Long.case/two PROPERTIES LABELS "native;full")
add_test(NAME labelled COMMAND true)
set_tests_properties(labelled PROPERTIES LABELS native)
add_test(NAME Suite COMMAND ${CMAKE_BINARY_DIR}/wine-run "cat '@FOLDER@/together'; exit 86" planted.exe
  --gtest_filter=Suite.passes:Suite.isSkipped:Suite.fails:Suite.passesAfterIt:Suite.crashes:Suite.waits)
set_tests_properties(Suite PROPERTIES LABELS together)
"""


class Runner(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        loader = SourceFileLoader("fcoe_test", str(ROOT / "scripts/test"))
        cls.runner = module_from_spec(spec_from_loader("fcoe_test", loader))
        sys.modules["fcoe_test"] = cls.runner
        loader.exec_module(cls.runner)

    def setUp(self):
        self.enterContext(contextlib.chdir(self.enterContext(tempfile.TemporaryDirectory())))
        Path("good").write_text(GOOD)
        Path("bad").write_text(BAD)
        Path("together").write_text(TOGETHER)
        Path("CMakeLists.txt").write_text(PROJECT.replace("@FOLDER@", str(Path.cwd())))
        subprocess.run(["cmake", "-G", "Ninja", "-S", ".", "-B", "build"], check=True, capture_output=True)

    def run_tests(self, *arguments, full=False):
        said = io.StringIO()
        with contextlib.redirect_stdout(said):
            exit_code = self.runner.run(self.runner.Session(Path.cwd() / "build"), ["-j4", "-Q", *arguments], full)
        return exit_code, said.getvalue().rstrip().split("\n")

    def failed_by_number(self):
        return Path("build/Testing/Temporary/LastTestsFailed.log").read_text().split()

    def test_only_what_was_lost_is_run_again(self):
        exit_code, said = self.run_tests("-LE", "native|together")
        self.assertEqual(["4 lost by Wine and run again", "33% tests passed, 8 tests failed out of 12"], said[-2:])
        self.assertEqual(1, exit_code)
        failed = [line.split()[1] for line in said if line.startswith("FAILED: ")]
        self.assertCountEqual(["Planted.lostTwice", "Planted.fails", "Planted.failsWithoutItsExitCode",
                               "Planted.failsOnce", "Planted.crashes", "Planted.tooLong", "Planted.heapError",
                               "native.silent"], failed)
        self.assertEqual(["4:Planted.lostTwice", "5:Planted.fails", "6:Planted.failsWithoutItsExitCode",
                          "7:Planted.failsOnce", "8:Planted.crashes", "9:Planted.tooLong", "11:Planted.heapError",
                          "12:native.silent"], self.failed_by_number())

    def test_what_failed_is_heard_again_at_the_end(self):
        said = self.run_tests("-R", "passes|Planted.fails$")[1]
        begin = said.index("Planted.fails said in the end:") + 1
        self.assertEqual(["    " + line for line in BAD.splitlines()[:2]], said[begin:said.index("", begin)])

    def test_cases_of_one_process_are_told_apart(self):
        said = self.run_tests("-R", "passes$|Suite")[1]
        self.assertEqual(["FAILED: Suite.fails (Failed)", "FAILED: Suite.crashes (Failed)", "FAILED: Suite.waits (never begun: Failed)",
                          "0 lost by Wine and run again", "57% tests passed, 3 tests failed out of 7"], said[-5:])
        begin = said.index("Suite said in the end:") + 1
        self.assertEqual(["    " + line for line in TOGETHER.splitlines()[4:7]], said[begin:said.index("", begin)])

    def test_tests_of_one_name_are_refused(self):
        with Path("CMakeLists.txt").open("a") as project:
            project.write("\nadd_subdirectory(second)\n")
        Path("second").mkdir()
        Path("second/CMakeLists.txt").write_text("add_test(NAME native.silent COMMAND true)\n")
        subprocess.run(["cmake", "build"], check=True, capture_output=True)
        with self.assertRaisesRegex(SystemExit, "native.silent"):
            self.run_tests("-R", "passes$")

    def test_all_passed(self):
        self.assertEqual((0, ["0 lost by Wine and run again", "100% tests passed, 0 tests failed out of 1"]),
                         (lambda code, said: (code, said[-2:]))(*self.run_tests("-R", "passes$")))
        self.assertEqual([], self.failed_by_number())

    def test_what_is_for_the_full_run_is_told_and_not_counted(self):
        exit_code, said = self.run_tests("-R", "passes$|large|All.Long")
        self.assertEqual(["left out, for they take long or need large packages: native.large, 2 of All/Long.case; "
                          "./fcoe test --full runs them",
                          "0 lost by Wine and run again", "100% tests passed, 0 tests failed out of 1"], said[-3:])
        self.assertEqual(0, exit_code)

    def test_labels_left_out_by_the_caller_stay_so(self):
        self.assertEqual("100% tests passed, 0 tests failed out of 1", self.run_tests("-R", "passes$|labelled", "-LE", "native")[1][-1])

    def test_nothing_but_what_is_for_the_full_run_is_told(self):
        self.assertIn("native.large: ./fcoe test --full runs this", self.run_tests("-R", "large")[1])

    def test_the_full_run_leaves_out_nothing(self):
        exit_code, said = self.run_tests("-R", "passes$|large|All.Long", full=True)
        self.assertEqual(["0 lost by Wine and run again", "100% tests passed, 0 tests failed out of 4"], said[-2:])
        self.assertEqual(0, exit_code)

    def test_what_was_lost_once_has_passed_and_is_counted(self):
        exit_code, said = self.run_tests("-R", "Once$", "-E", "fails")
        self.assertEqual(["3 lost by Wine and run again", "100% tests passed, 0 tests failed out of 3"], said[-2:])
        self.assertEqual(0, exit_code)

    def test_one_failure_among_many_is_no_hundred_percent(self):
        self.assertEqual("99% tests passed, 1 tests failed out of 1552",
                         self.runner.closing_lines(1552, {"x": "Failed"}, [], [])[-1])

    def test_rerun_failed_takes_up_what_failed_by_this_judgement(self):
        self.run_tests("-R", "passes|WithoutItsExitCode|lostOnce")
        exit_code, said = self.run_tests("--rerun-failed")
        self.assertEqual(["0 lost by Wine and run again", "0% tests passed, 1 tests failed out of 1"], said[-2:])
        self.assertEqual(1, exit_code)

    def test_no_test_is_no_success_but_a_list_is(self):
        self.assertNotEqual(0, self.run_tests("--no-tests=error", "-R", "nosuch")[0])
        self.assertEqual(0, self.run_tests("-N")[0])


if __name__ == "__main__":
    unittest.main()
