#!/usr/bin/env bash
# Formats every C++ source of the project in place.
set -euo pipefail
cd "$(dirname "$0")/.."
find interfaces manager sensor algorithms pointer gesture containers logging platform input tools \
    tests bench fuzz examples \
    -name '*.h' -o -name '*.cpp' | xargs -r clang-format -i
