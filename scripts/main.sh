#!/usr/bin/env bash
# Builds the tq7z program and runs the main job on the sample data that ships with the project.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTQ7Z_BUILD_TESTS=OFF > /dev/null
cmake --build build -j2 --target tq7z
tq7z=build/bin/tq7z
out=build/sample-out
mkdir -p "$out"
# The chunk tree of the sample chunk file.
"$tq7z" chunks samples/chunks/walker.chunky
# What the sample model file holds.
"$tq7z" model info samples/models/walker.sgm
