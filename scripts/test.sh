#!/usr/bin/env bash
# Builds everything and runs all tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTQ7Z_BUILD_TESTS=ON
cmake --build build -j2
ctest --test-dir build --output-on-failure -j2
