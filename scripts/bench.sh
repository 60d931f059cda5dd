#!/usr/bin/env bash
# Benchmarks against peer libraries: installs what is missing, builds Release (preset "bench", in
# build/bench), runs moxpeers_bench and prints, per mesh, our operations beside the nearest operations of
# Assimp, meshoptimizer and OpenMesh, with both times and their ratio (scripts/benchtable.py).
#
# Usage: scripts/bench.sh [--full] [FILTER]
#   --full  adds the meshes of 4M triangles (by default the torus goes up to 1M triangles)
#   FILTER  a regular expression on the benchmark names, "<mesh>/<side>.<operation>", e.g. 'torus_tri_1M/'
#           (one mesh) or 'torus_tri_1M/.*Normals' (the normal rows of ours and of the peers)
# Environment: MOX_BENCH_DATA, the directory of .obj files measured besides the procedural meshes
# (default: ../shared/data from the repository root; none when it does not exist); MOX_BENCH_MIN_TIME,
# the minimum timed seconds per benchmark (default 0.5, Google Benchmark's own); MOX_BENCH_REPETITIONS,
# runs of each benchmark, of which the table shows the fastest (default 1).
# The benchmark's progress goes to stderr, the table to stdout; the raw results stay in
# build/bench/moxpeers.json.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

lFull=()
lFilter=""
for lArgument in "$@"; do
    case "$lArgument" in
        --full) lFull=(--full) ;;
        -h|--help) sed -n '2,15p' "${BASH_SOURCE[0]}" | sed 's/^# \{0,1\}//'; exit 0 ;;
        -*) echo "error: unknown option $lArgument (see --help)" >&2; exit 2 ;;
        *) lFilter="$lArgument" ;;
    esac
done

mox_require_packages "${MOX_BUILD_PACKAGES[@]}" "${MOX_TOOL_PACKAGES[@]}" "${MOX_BENCH_PACKAGES[@]}"

cd "$MOX_ROOT"
cmake --preset bench >/dev/null
cmake --build --preset bench --target moxpeers_bench >&2

export MOX_BENCH_DATA="${MOX_BENCH_DATA:-$MOX_ROOT/../shared/data}"
lResults=build/bench/moxpeers.json
rm -f "$lResults"
build/bench/bin/moxpeers_bench "${lFull[@]}" --benchmark_filter="${lFilter:-.}" \
    --benchmark_min_time="${MOX_BENCH_MIN_TIME:-0.5}" --benchmark_repetitions="${MOX_BENCH_REPETITIONS:-1}" \
    --benchmark_out="$lResults" --benchmark_out_format=json >&2
if [ ! -s "$lResults" ]; then
    echo "error: no benchmark ran (filter '${lFilter}')" >&2
    exit 1
fi
python3 scripts/benchtable.py "$lResults"
