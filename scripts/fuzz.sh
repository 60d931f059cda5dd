#!/usr/bin/env bash
# Runs every fuzz target for SECONDS seconds each (default 60) on its corpus under fuzz/corpus/<name>.
# New inputs found are kept in a scratch corpus under the build directory, not in the repository; a
# crash leaves its input in build/fuzz/artifacts/ and fails the script. Usage: scripts/fuzz.sh [SECONDS]
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds="${1:-60}"
mox_require_packages "${MOX_BUILD_PACKAGES[@]}" "${MOX_TOOL_PACKAGES[@]}" clang-14 libclang-rt-14-dev

cd "$MOX_ROOT"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

mkdir -p build/fuzz/artifacts
status=0
for target in containers mesh tool; do
    program="build/fuzz/bin/moxsdk_${target}_fuzz"
    [ "$target" = tool ] && program="build/fuzz/bin/moxmesh_tool_fuzz"
    [ -x "$program" ] || continue
    scratch="build/fuzz/corpus/${target}"
    mkdir -p "$scratch"
    echo "=== ${target}: ${seconds} s ==="
    if ! ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
        "$program" -max_total_time="$seconds" -print_final_stats=1 -timeout=10 -rss_limit_mb=4096 \
        -artifact_prefix=build/fuzz/artifacts/ "$scratch" "fuzz/corpus/${target}"; then
        status=1
    fi
done
exit $status
