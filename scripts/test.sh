#!/usr/bin/env bash
# Builds everything and runs all tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTQ7Z_BUILD_TESTS=ON
# The Khronos glTF validator (npm's gltf-validator) for the test of `model export-gltf`, into
# build/gltf-validator where the test looks. Without npm, or when the install fails, the test is
# skipped with its reason and the run goes on.
if command -v npm >/dev/null 2>&1 && [ ! -d build/gltf-validator/node_modules/gltf-validator ]; then
  npm install --prefix build/gltf-validator --no-audit --no-fund --silent gltf-validator >/dev/null 2>&1 ||
    echo "test.sh: npm could not install gltf-validator; the glTF validator test will be skipped" >&2
fi
cmake --build build -j2
ctest --test-dir build --output-on-failure -j2
