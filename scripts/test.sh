#!/usr/bin/env bash
# The test command: installs what is missing, runs the lint (scripts/lint.sh: clang-format and clang-tidy
# over every C++ folder), then configures, builds (incrementally) and runs the whole test suite twice:
#   build/relwithdebinfo  RelWithDebInfo, -Wall -Wextra -Werror; also builds the benchmarks (not run)
#   build/sanitize        AddressSanitizer + UndefinedBehaviorSanitizer, halt on error, leak detection on
# then the Python package's tests (scripts/python.sh builds build/python and installs .venv; pytest from
# Debian's python3-pytest), then runs each libFuzzer target for 60 seconds (scripts/fuzz.sh, clang 14).
# The Khronos glTF-Validator (npm) is installed into each build tree for the tool's tests; without the npm
# registry they skip.
# Both include the install test (the library installed and used by an outside CMake project).
# Exits non-zero on the first failure.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# assimp-testmodels: sample model files for tests that read real-world meshes.
mox_require_packages "${MOX_BUILD_PACKAGES[@]}" "${MOX_TOOL_PACKAGES[@]}" libgtest-dev libgmock-dev \
    libbenchmark-dev pkg-config assimp-testmodels

cd "$MOX_ROOT"
# Lint first: a finding stops the run, like a failing test.
"$MOX_ROOT/scripts/lint.sh"

for preset in relwithdebinfo sanitize; do
    echo "=== $preset ==="
    cmake --preset "$preset"
    # The glTF validator for the tool's tests, inside the build tree (skipped tests when offline).
    mox_install_gltf_validator "build/$preset/gltf-validator"
    cmake --build --preset "$preset"
    # The preset runs 2 tests at a time, shows the output of failures, and sets ASAN_OPTIONS and
    # UBSAN_OPTIONS for the sanitizer build.
    ctest --preset "$preset"
done

# The Python package, installed into .venv, and its tests (they also run build/python's moxmesh).
echo "=== python ==="
"$MOX_ROOT/scripts/python.sh"
MOXSDK_BUILD_DIR="$MOX_ROOT/build/python" "$MOX_ROOT/.venv/bin/python" -m pytest -q -p no:cacheprovider "$MOX_ROOT/python/tests"

# Each fuzz target for a minute on its corpus (AddressSanitizer and UndefinedBehaviorSanitizer).
"$MOX_ROOT/scripts/fuzz.sh" 60
echo "Lint found nothing, all tests passed in both builds and in Python, and the fuzz targets found nothing."
