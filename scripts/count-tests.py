"""Prints how many tests of a JUnit report of ctest passed, and how many did not.

    count-tests.py <report.xml>

A test that was skipped, disabled or not run has not passed.
"""

import sys
import xml.etree.ElementTree as ElementTree


def main(path):
    try:
        cases = list(ElementTree.parse(path).getroot().iter("testcase"))
    except (OSError, ElementTree.ParseError) as error:
        print(f"error: No report of the tests: {error}", file=sys.stderr)
        return 1
    passed = sum(case.get("status") == "run" for case in cases)
    print(passed, len(cases) - passed)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
