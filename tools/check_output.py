#!/usr/bin/env python3
"""Runs a program that must end with 0 and print a text that matches a regular expression.

usage: check_output.py EXPRESSION PROGRAM [ARGUMENT…]
"""
import re
import subprocess
import sys


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__.strip())
    result = subprocess.run(sys.argv[2:], capture_output=True, text=True, errors="replace", stdin=subprocess.DEVNULL, check=False)
    print(result.stdout + result.stderr)
    if result.returncode != 0:
        sys.exit(f"the program ended with {result.returncode}")
    if not re.search(sys.argv[1], result.stdout, re.DOTALL):
        sys.exit(f"what it printed does not match {sys.argv[1]}")


if __name__ == "__main__":
    main()
