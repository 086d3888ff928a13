#!/usr/bin/env python3
"""Counts the cases of a JUnit file that ctest wrote: "pass N", then "fail NAME" for each other.

Whatever did not run to a good end counts as failed. No file, or one that is cut off, is one failure.
"""

import sys
import xml.etree.ElementTree as ElementTree


def main(path):
    try:
        cases = list(ElementTree.parse(path).getroot().iter("testcase"))
    except (OSError, ElementTree.ParseError) as fault:
        print(f"fail no readable result: {fault}")
        return
    good = [case for case in cases if case.get("status") == "run" and case.find("failure") is None]
    print(f"pass {len(good)}")
    for case in cases:
        if case not in good:
            print(f"fail {case.get('name')}")


if __name__ == "__main__":
    main(sys.argv[1])
