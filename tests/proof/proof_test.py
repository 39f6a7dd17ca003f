#!/usr/bin/env python3
"""Tests of scripts/proof.py: proof_test.py SOURCE WORK [TEST...]

What the tools print is read, a page is written from what is kept, and what fails, is missing or takes
too long is said there.
"""

import sys
import unittest

from places import WORK

WORK.mkdir(parents=True, exist_ok=True)
from page_test import *  # noqa: E402, F403
from reading_test import *  # noqa: E402, F403
from run_test import *  # noqa: E402, F403

if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
